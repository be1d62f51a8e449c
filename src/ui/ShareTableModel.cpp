#include "ShareTableModel.h"

#include "StatusIcons.h"

#include "core/AutoMountScheduler.h"
#include "core/MountEngine.h"

#include <QColor>
#include <QFont>

namespace {
QList<qint64> currentIds(const MountEngine &engine)
{
    QList<qint64> ids;
    ids.reserve(engine.store().size());
    for (const VolumeRecord &r : engine.store().records())
        ids.append(r.internal_ID_Int);
    return ids;
}
} // namespace

ShareTableModel::ShareTableModel(MountEngine &engine, AutoMountScheduler *scheduler, QObject *parent)
    : QAbstractTableModel(parent)
    , m_engine(engine)
    , m_scheduler(scheduler)
    , m_ids(currentIds(engine))
{
    connect(&engine, &MountEngine::recordChanged, this, &ShareTableModel::onRecordChanged);
    connect(&engine, &MountEngine::recordsChanged, this, &ShareTableModel::onRecordsChanged);
    if (scheduler) {
        connect(scheduler, &AutoMountScheduler::pausedChanged, this, [this] {
            if (!m_ids.isEmpty())
                Q_EMIT dataChanged(index(0, 0), index(int(m_ids.size()) - 1, ColumnCount - 1));
        });
    }
}

int ShareTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_ids.size());
}

int ShareTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

qint64 ShareTableModel::idAt(int row) const
{
    return row >= 0 && row < m_ids.size() ? m_ids.at(row) : 0;
}

int ShareTableModel::rowOf(qint64 id) const
{
    return int(m_ids.indexOf(id));
}

ShareStatusLabel::Label ShareTableModel::labelOf(const VolumeRecord &record) const
{
    return ShareStatusLabel::derive({record.runtime_isMounted_Bool, m_scheduler && m_scheduler->isAutoMountPaused(),
                                     record.runtime_status_String, record.hostname_String});
}

QColor ShareTableModel::colorFor(ShareStatusLabel::Kind kind)
{
    using ShareStatusLabel::Kind;
    if (kind == Kind::MountedPaused || kind == Kind::Paused)
        return QColor(0x2f, 0x6f, 0xb5);
    switch (ShareStatusLabel::severity(kind)) {
    case ShareStatusLabel::Severity::Good:
        return QColor(0x1e, 0x8e, 0x3e);
    case ShareStatusLabel::Severity::Busy:
        return QColor(0xb2, 0x6a, 0x00);
    case ShareStatusLabel::Severity::Failure:
        return QColor(0xc5, 0x22, 0x1f);
    case ShareStatusLabel::Severity::Neutral:
        break;
    }
    return QColor(0x5f, 0x63, 0x68);
}

QVariant ShareTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_ids.size())
        return {};
    const VolumeRecord *record = m_engine.record(m_ids.at(index.row()));
    if (!record)
        return {};
    if (role == RecordIdRole)
        return record->internal_ID_Int;

    switch (index.column()) {
    case NameColumn:
        if (role == Qt::DisplayRole)
            return record->nickname_String.isEmpty()
                       ? record->hostname_String + QLatin1Char('/') + record->volume_String
                       : record->nickname_String;
        if (role == Qt::DecorationRole && record->isLocked)
            return StatusIcons::lockIcon();
        if (role == Qt::ToolTipRole && record->isLocked)
            return tr("Managed by %1").arg(record->managedBy);
        break;
    case UrlColumn:
        if (role == Qt::DisplayRole)
            return record->mountURLText();
        break;
    case LabelColumn: {
        if (role != Qt::DisplayRole && role != Qt::ForegroundRole && role != Qt::DecorationRole
            && role != LabelKindRole && role != Qt::FontRole)
            break;
        const ShareStatusLabel::Label label = labelOf(*record);
        if (role == Qt::DisplayRole)
            return label.text;
        if (role == LabelKindRole)
            return int(label.kind);
        if (role == Qt::ForegroundRole)
            return colorFor(label.kind);
        if (role == Qt::DecorationRole)
            return StatusIcons::dot(colorFor(label.kind));
        QFont bold;
        bold.setBold(true);
        return bold;
    }
    case StatusColumn:
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
            return record->runtime_status_String;
        break;
    case GroupColumn:
        if (role == Qt::DisplayRole)
            return record->group_String;
        break;
    default:
        break;
    }
    return {};
}

QVariant ShareTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case NameColumn:
        return tr("Share");
    case UrlColumn:
        return tr("URL");
    case LabelColumn:
        return tr("State");
    case StatusColumn:
        return tr("Status");
    case GroupColumn:
        return tr("Group");
    default:
        return {};
    }
}

void ShareTableModel::onRecordChanged(qint64 id)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void ShareTableModel::onRecordsChanged()
{
    QList<qint64> ids = currentIds(m_engine);
    if (ids == m_ids) {
        if (!m_ids.isEmpty())
            Q_EMIT dataChanged(index(0, 0), index(int(m_ids.size()) - 1, ColumnCount - 1));
        return;
    }
    beginResetModel();
    m_ids = std::move(ids);
    endResetModel();
}

void ShareTableModel::reload()
{
    beginResetModel();
    m_ids = currentIds(m_engine);
    endResetModel();
}
