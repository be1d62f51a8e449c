#include "Output.h"

#include "Command.h"

#include <QDateTime>
#include <QStringList>

namespace Output {

namespace {

// Every text shown comes from user data or the network (nicknames, URLs, server messages): escaped for
// the terminal.
QString str(const QJsonObject &o, const char *key)
{
    return Cli::printable(o.value(QLatin1String(key)).toString());
}

QString stateOf(const QJsonObject &record)
{
    if (record.value(QLatin1String("mountInProgress")).toBool())
        return QStringLiteral("mounting");
    if (record.value(QLatin1String("mounted")).toBool())
        return QStringLiteral("mounted");
    return QStringLiteral("-");
}

bool sameEvent(const QJsonObject &a, const QJsonObject &b)
{
    return a.value(QLatin1String("date")) == b.value(QLatin1String("date"))
        && a.value(QLatin1String("recordId")) == b.value(QLatin1String("recordId"))
        && a.value(QLatin1String("type")) == b.value(QLatin1String("type"))
        && a.value(QLatin1String("message")) == b.value(QLatin1String("message"));
}

QString pad(const QString &text, int width)
{
    return text.leftJustified(width);
}

} // namespace

QString asLine(const QString &text)
{
    return text.endsWith(QLatin1Char('\n')) ? text : text + QLatin1Char('\n');
}

QString shareName(const QJsonObject &record)
{
    const QString nickname = str(record, "nickname");
    const QString name = nickname.isEmpty() ? str(record, "hostname") + QLatin1Char('/') + str(record, "shareName") : nickname;
    return QStringLiteral("'%1' (ID %2)").arg(name).arg(record.value(QLatin1String("id")).toInteger());
}

QString recordTable(const QJsonArray &records)
{
    if (records.isEmpty())
        return QStringLiteral("No shares configured.\n");
    struct Row
    {
        QStringList cells;
    };
    QList<Row> rows;
    int managed = 0;
    rows.append({{QStringLiteral("ID"), QStringLiteral("NICKNAME"), QStringLiteral("PROTOCOL"), QStringLiteral("STATE"),
                  QStringLiteral("URL"), QStringLiteral("STATUS")}});
    for (const QJsonValue &value : records) {
        const QJsonObject r = value.toObject();
        QString status = str(r, "statusLabel");
        if (status.isEmpty())
            status = str(r, "status");
        QString nickname = str(r, "nickname");
        if (r.value(QLatin1String("isLocked")).toBool()) {
            nickname += QStringLiteral(" [managed]");
            ++managed;
        }
        rows.append({{QString::number(r.value(QLatin1String("id")).toInteger()), nickname, str(r, "protocolType"),
                      stateOf(r), str(r, "mountURL"), status}});
    }
    QList<int> widths(6, 0);
    for (const Row &row : rows) {
        for (int c = 0; c < 5; ++c)
            widths[c] = qMax(widths[c], int(row.cells.at(c).size()));
    }
    QString text;
    for (const Row &row : rows) {
        QString line;
        for (int c = 0; c < 5; ++c)
            line += pad(row.cells.at(c), widths[c]) + QStringLiteral("  ");
        line += row.cells.at(5);
        text += line.trimmed() + QLatin1Char('\n');
    }
    if (managed > 0) {
        text += QStringLiteral("%1 of %2 share(s) managed by your IT department (they cannot be edited or removed)\n")
                    .arg(managed)
                    .arg(records.size());
    }
    return text;
}

QString recordDetails(const QJsonObject &r)
{
    auto onOff = [&r](const char *key) {
        return r.value(QLatin1String(key)).toInt() != 0 ? QStringLiteral("on") : QStringLiteral("off");
    };
    const QJsonValue port = r.value(QLatin1String("port"));
    QStringList lines;
    lines << QStringLiteral("ID:            %1").arg(r.value(QLatin1String("id")).toInteger())
          << QStringLiteral("Nickname:      %1").arg(str(r, "nickname"))
          << QStringLiteral("URL:           %1").arg(str(r, "mountURL"))
          << QStringLiteral("Protocol:      %1").arg(str(r, "protocolType"))
          << QStringLiteral("Host:          %1").arg(str(r, "hostname"))
          << QStringLiteral("Share:         %1").arg(str(r, "shareName"))
          << QStringLiteral("Port:          %1").arg(port.isDouble() ? QString::number(port.toInteger()) : QStringLiteral("default"))
          << QStringLiteral("User:          %1")
                 .arg(r.value(QLatin1String("guest")).toInt() != 0 ? QStringLiteral("(guest)") : str(r, "username"))
          << QStringLiteral("Auto-mount:    %1").arg(onOff("autoMount"))
          << QStringLiteral("Mount in:      %1")
                 .arg(r.value(QLatin1String("mountInVolumes")).toInt() != 0 ? QStringLiteral("volumes folder")
                                                                            : str(r, "customMountPoint"));
    if (!str(r, "group").isEmpty())
        lines << QStringLiteral("Group:         %1").arg(str(r, "group"));
    if (!str(r, "macAddress").isEmpty())
        lines << QStringLiteral("Wake-on-LAN:   %1").arg(str(r, "macAddress"));
    if (!str(r, "allowedSSIDs").isEmpty())
        lines << QStringLiteral("Networks:      %1").arg(str(r, "allowedSSIDs"));
    if (r.value(QLatin1String("isLocked")).toBool()) {
        const QString by = str(r, "managedBy");
        lines << QStringLiteral("Managed by:    %1").arg(by.isEmpty() ? QStringLiteral("IT") : by);
    }
    lines << QStringLiteral("State:         %1").arg(stateOf(r));
    if (r.value(QLatin1String("mounted")).toBool())
        lines << QStringLiteral("Mount point:   %1").arg(str(r, "mountPoint"));
    lines << QStringLiteral("Status:        %1").arg(str(r, "status"));
    if (!str(r, "statusLabel").isEmpty() && str(r, "statusLabel") != str(r, "status"))
        lines << QStringLiteral("Label:         %1").arg(str(r, "statusLabel"));
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QString eventLine(const QJsonObject &e)
{
    QString line = str(e, "timestamp");
    const qint64 id = e.value(QLatin1String("recordId")).toInteger();
    if (id != 0) {
        line += QStringLiteral("  #%1 %2/%3").arg(id).arg(str(e, "hostname"), str(e, "shareName"));
    }
    line += QStringLiteral("  ") + str(e, "message");
    const QString status = str(e, "status");
    if (!status.isEmpty() && !str(e, "message").contains(status))
        line += QStringLiteral(" [") + status + QLatin1Char(']');
    return line;
}

QList<QJsonObject> newEvents(const QJsonArray &previous, const QJsonArray &current)
{
    QList<QJsonObject> fresh;
    if (previous.isEmpty()) {
        for (const QJsonValue &value : current)
            fresh.prepend(value.toObject());
        return fresh;
    }
    const QJsonObject last = previous.first().toObject();
    qsizetype anchor = -1;
    for (qsizetype i = 0; i < current.size(); ++i) {
        if (sameEvent(current.at(i).toObject(), last)) {
            anchor = i;
            break;
        }
    }
    if (anchor >= 0) {
        for (qsizetype i = anchor - 1; i >= 0; --i)
            fresh.append(current.at(i).toObject());
        return fresh;
    }
    const QDateTime lastDate = QDateTime::fromString(last.value(QLatin1String("date")).toString(), Qt::ISODateWithMs);
    for (qsizetype i = current.size() - 1; i >= 0; --i) {
        const QJsonObject e = current.at(i).toObject();
        const QDateTime date = QDateTime::fromString(e.value(QLatin1String("date")).toString(), Qt::ISODateWithMs);
        if (!lastDate.isValid() || (date.isValid() && date > lastDate))
            fresh.append(e);
    }
    return fresh;
}

} // namespace Output
