#include "LogEventTableModel.h"

#include "base/NotificationCenter.h"
#include "logging/LogEventManager.h"

LogEventTableModel::LogEventTableModel(LogEventManager &log, NotificationCenter *center, QObject *parent)
    : QAbstractTableModel(parent)
    , m_log(log)
    , m_rows(int(log.events().size()))
{
    if (center) {
        connect(center, &NotificationCenter::posted, this, [this](const QString &name) {
            if (name == Notifications::RefreshLogEventTableView)
                reload();
        });
    } else {
        connect(&log, &LogEventManager::changed, this, &LogEventTableModel::reload);
    }
}

void LogEventTableModel::reload()
{
    beginResetModel();
    m_rows = int(m_log.events().size());
    endResetModel();
}

int LogEventTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

int LogEventTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant LogEventTableModel::data(const QModelIndex &index, int role) const
{
    // m_rows is what the view was told; the list may have changed before the refresh notification arrives.
    if (!index.isValid() || index.row() >= m_rows || index.row() >= m_log.events().size())
        return {};
    const LogEvent &event = m_log.events().at(index.row());
    const QDateTime local = event.eventDate.toLocalTime();
    if (role == SortRole) {
        switch (index.column()) {
        case DateColumn:
        case TimeColumn:
            return local;
        default:
            return data(index, Qt::DisplayRole).toString().toLower();
        }
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    switch (index.column()) {
    case DateColumn:
        return local.toString(QStringLiteral("yyyy-MM-dd"));
    case TimeColumn:
        return local.toString(QStringLiteral("HH:mm:ss"));
    case StatusColumn:
        return eventTypeRawValue(event.event_type_Enum);
    case StatusTextColumn:
        return event.statusText;
    case MessageColumn:
        return event.eventMessage;
    case ServerColumn:
        return event.hostname_String;
    default:
        return {};
    }
}

QVariant LogEventTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case DateColumn:
        return tr("Date");
    case TimeColumn:
        return tr("Time");
    case StatusColumn:
        return tr("Status");
    case StatusTextColumn:
        return tr("Status Text");
    case MessageColumn:
        return tr("Message");
    case ServerColumn:
        return tr("Server");
    default:
        return {};
    }
}

QString LogEventTableModel::copyText(int row) const
{
    if (row < 0 || row >= m_rows || row >= m_log.events().size())
        return {};
    const LogEvent &event = m_log.events().at(row);
    QStringList parts{event.timestampText(), eventTypeRawValue(event.event_type_Enum), event.statusText,
                      event.eventMessage, event.hostname_String};
    if (!event.sharename_String.isEmpty())
        parts.append(event.sharename_String);
    return parts.join(QLatin1Char('\t'));
}
