#include "ShareCsv.h"

#include "core/RecordFields.h"

#include <QHash>

namespace ShareCsv {

QStringList splitFields(const QString &line)
{
    QStringList fields;
    QString current;
    bool inQuotes = false;
    for (const QChar c : line) {
        if (c == u'"')
            inQuotes = !inQuotes;
        else if (c == u',' && !inQuotes) {
            fields.append(current);
            current.clear();
        } else
            current.append(c);
    }
    fields.append(current);
    return fields;
}

bool parseBool(const QString &cell)
{
    const QString v = cell.trimmed().toLower();
    return v == QLatin1String("yes") || v == QLatin1String("y") || v == QLatin1String("true") || v == QLatin1String("1")
        || v == QLatin1String("on");
}

MountUsingProtocol_Enum parseProtocol(const QString &cell)
{
    const QString v = cell.trimmed().toUpper();
    if (v == QLatin1String("AFP"))
        return MountUsingProtocol_Enum::AFP;
    if (v == QLatin1String("NFS"))
        return MountUsingProtocol_Enum::NFS;
    if (v == QLatin1String("WEBDAV"))
        return MountUsingProtocol_Enum::WebDAV;
    if (v == QLatin1String("WEBDAVS"))
        return MountUsingProtocol_Enum::WebDAVS;
    return MountUsingProtocol_Enum::SMB;
}

QString protocolName(MountUsingProtocol_Enum protocol)
{
    switch (protocol) {
    case MountUsingProtocol_Enum::SMB:
        return QStringLiteral("SMB");
    case MountUsingProtocol_Enum::AFP:
        return QStringLiteral("AFP");
    case MountUsingProtocol_Enum::NFS:
        return QStringLiteral("NFS");
    case MountUsingProtocol_Enum::WebDAV:
        return QStringLiteral("WEBDAV");
    case MountUsingProtocol_Enum::WebDAVS:
        return QStringLiteral("WEBDAVS");
    }
    return QStringLiteral("SMB");
}

bool isRealPassword(const QString &cell)
{
    return !cell.isEmpty() && !cell.toUpper().startsWith(kPlaceholderPrefix);
}

Parsed parse(const QString &text)
{
    Parsed parsed;
    QString body = text;
    if (body.startsWith(QChar(0xFEFF)))
        body.remove(0, 1);
    const QStringList lines = body.split(QLatin1Char('\n'));

    QHash<QString, int> column;
    struct
    {
        int nickname, protocol, username, guest, port, group, automount, password;
    } columns{-1, -1, -1, -1, -1, -1, -1, -1};
    const VolumeRecord fresh;
    bool haveHeader = false;
    for (int i = 0; i < lines.size(); ++i) {
        const int lineNumber = i + 1;
        const QString line = lines.at(i).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        QStringList fields = splitFields(line);
        if (!haveHeader) {
            haveHeader = true;
            for (int c = 0; c < fields.size(); ++c) {
                const QString name = fields.at(c).trimmed().toLower();
                if (!column.contains(name)) // the first of two equally named columns counts
                    column.insert(name, c);
            }
            if (!column.contains(QStringLiteral("hostname")) || !column.contains(QStringLiteral("sharename"))) {
                parsed.error = kMissingColumns;
                return parsed;
            }
            auto at = [&column](const char *name) { return column.value(QLatin1String(name), -1); };
            columns = {at("nickname"), at("protocol"), at("username"), at("guest"),
                       at("port"),     at("group"),    at("automount"), at("password")};
            continue;
        }
        for (QString &f : fields)
            f = f.trimmed();
        const int hostColumn = column.value(QStringLiteral("hostname"));
        const int shareColumn = column.value(QStringLiteral("sharename"));
        if (fields.size() <= std::max(hostColumn, shareColumn)) {
            parsed.warnings.append(kNotEnoughColumns.arg(lineNumber));
            parsed.warningLines.append(lineNumber);
            continue;
        }
        if (fields.at(hostColumn).isEmpty()) {
            parsed.warnings.append(kHostnameRequired.arg(lineNumber));
            parsed.warningLines.append(lineNumber);
            continue;
        }
        auto cell = [&](int index) -> std::optional<QString> {
            if (index < 0 || index >= fields.size())
                return std::nullopt;
            return fields.at(index);
        };
        Row row;
        row.line = lineNumber;
        row.record = fresh; // a copy: building a record from scratch reads the clock and time zone
        VolumeRecord &r = row.record;
        r.hostname_String = fields.at(hostColumn);
        r.volume_String = fields.at(shareColumn);
        if (auto v = cell(columns.nickname))
            r.nickname_String = *v;
        if (auto v = cell(columns.protocol))
            r.mounting_using_protocol_Enum = parseProtocol(*v);
        if (auto v = cell(columns.username))
            r.username_String = *v;
        if (auto v = cell(columns.guest))
            r.no_password_guest_login = parseBool(*v) ? 1 : 0;
        if (auto v = cell(columns.port)) {
            bool ok = false;
            const qint64 port = v->toLongLong(&ok);
            if (ok && port >= 1 && port <= 65535)
                r.port_Int = port;
        }
        if (auto v = cell(columns.group))
            r.group_String = *v;
        if (auto v = cell(columns.automount))
            r.auto_Mount = parseBool(*v) ? 1 : 0;
        if (auto v = cell(columns.password); v && isRealPassword(*v))
            row.password = *v;
        if (const auto problem = RecordFields::check(r)) {
            parsed.warnings.append(QStringLiteral("Line %1: %2").arg(lineNumber).arg(*problem));
            parsed.warningLines.append(lineNumber);
            continue;
        }
        parsed.rows.append(row);
    }
    if (!haveHeader)
        parsed.error = kMissingColumns;
    return parsed;
}

namespace {

QString field(QString value)
{
    // Neither survives the field rule: quotes are dropped, a line break would end the row.
    value.remove(QLatin1Char('"'));
    value.replace(QLatin1Char('\r'), QLatin1Char(' '));
    value.replace(QLatin1Char('\n'), QLatin1Char(' '));
    if (value.contains(QLatin1Char(',')) || value.startsWith(QLatin1Char('#')))
        return QLatin1Char('"') + value + QLatin1Char('"');
    return value;
}

} // namespace

QString write(const QList<VolumeRecord> &records)
{
    QString out = kHeader + QLatin1Char('\n');
    for (const VolumeRecord &r : records) {
        const QStringList cells{field(r.nickname_String),
                                field(r.hostname_String),
                                field(r.volume_String),
                                protocolName(r.mounting_using_protocol_Enum),
                                field(r.username_String),
                                r.no_password_guest_login ? QStringLiteral("yes") : QStringLiteral("no"),
                                r.port_Int && *r.port_Int >= 1 ? QString::number(*r.port_Int) : QString(),
                                field(r.group_String),
                                r.auto_Mount ? QStringLiteral("yes") : QStringLiteral("no")};
        out += cells.join(QLatin1Char(',')) + QLatin1Char('\n');
    }
    return out;
}

} // namespace ShareCsv
