#include "ShareListing.h"

#include <QRegularExpression>

namespace ShareListing {

namespace {

const QString kLocalSuffix = QStringLiteral(".local");

bool isDropped(const QString &name)
{
    return name == QLatin1String("IPC$") || name == QLatin1String("print$");
}

// The share name of one output line, or an empty string when the line names no share.
QString shareNameOf(const QString &rawLine)
{
    const QString line = rawLine.trimmed();
    if (line.isEmpty())
        return {};
    // Grepable form: type|name|comment. A name may contain spaces, so the fields are taken as they stand.
    const QStringList fields = line.split(QLatin1Char('|'));
    if (fields.size() >= 3)
        return fields.at(1);
    if (line.startsWith(QLatin1String("Share")) || line.contains(QLatin1String("Type"))
        || line.startsWith(QLatin1String("---")))
        return {};
    static const QRegularExpression kSpace(QStringLiteral("\\s+"));
    // A note of the client ("SMB1 disabled -- no workgroup available") is no share line of the tabular
    // form either: there every share line has a type column.
    const QStringList pieces = line.split(kSpace, Qt::SkipEmptyParts);
    if (pieces.size() < 2)
        return {};
    static const QStringList kTypes{QStringLiteral("Disk"), QStringLiteral("Printer"), QStringLiteral("Pipe"),
                                    QStringLiteral("IPC"), QStringLiteral("Device")};
    if (!kTypes.contains(pieces.at(1)))
        return {};
    return pieces.first();
}

struct FailureRow
{
    QList<QLatin1String> needles; // lower case
    const QString *message;
};

// First matching row wins. Each row holds the phrases of the message table and the NT_STATUS codes the
// client prints for the same case (see tests/unit/data/smbclient for what was observed).
const QList<FailureRow> &failureRows()
{
    static const QList<FailureRow> rows{
        {{QLatin1String("authentication"), QLatin1String("logon_failure"), QLatin1String("access denied"),
          QLatin1String("nt_status_access_denied"), QLatin1String("nt_status_wrong_password"),
          QLatin1String("nt_status_no_such_user"), QLatin1String("nt_status_account_disabled"),
          QLatin1String("nt_status_account_locked_out"), QLatin1String("nt_status_password_expired"),
          QLatin1String("nt_status_password_must_change")},
         &kAuthenticationMessage},
        {{QLatin1String("network is unreachable"), QLatin1String("connection refused"), QLatin1String("host is down"),
          QLatin1String("nt_status_connection_refused"), QLatin1String("nt_status_network_unreachable"),
          QLatin1String("nt_status_host_unreachable"), QLatin1String("nt_status_io_timeout"),
          QLatin1String("nt_status_connection_reset"), QLatin1String("nt_status_connection_disconnected")},
         &kCannotConnectMessage},
        // The client reports a name that does not resolve as NT_STATUS_UNSUCCESSFUL.
        {{QLatin1String("invalid parameter"), QLatin1String("invalid argument"),
          QLatin1String("nt_status_invalid_parameter"), QLatin1String("nt_status_unsuccessful"),
          QLatin1String("nt_status_bad_network_path")},
         &kHostnameMessage},
        {{QLatin1String("no such file"), QLatin1String("nt_status_bad_network_name"),
          QLatin1String("nt_status_object_name_not_found"), QLatin1String("nt_status_no_such_file")},
         &kNoSharesOrGuestMessage},
    };
    return rows;
}

} // namespace

QString hostWithoutSpaces(const QString &host)
{
    if (!host.contains(QLatin1Char(' ')))
        return host;
    QString name = host;
    name.replace(QLatin1Char(' '), QLatin1Char('-'));
    if (!name.endsWith(kLocalSuffix))
        name += kLocalSuffix;
    return name;
}

QList<ShareInfo> parse(const QString &output, const QString &host, const std::optional<QString> &address)
{
    QList<ShareInfo> shares;
    const QStringList lines = output.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QString name = shareNameOf(line);
        if (name.isEmpty() || isDropped(name))
            continue;
        ShareInfo info;
        info.name = name;
        info.serverHost = host;
        info.serverIP = address;
        info.isHidden = name.endsWith(QLatin1Char('$'));
        shares.append(info);
    }
    return shares;
}

QString classifyFailure(const QString &output)
{
    const QString lower = output.toLower();
    for (const FailureRow &row : failureRows()) {
        for (const QLatin1String &needle : row.needles) {
            if (lower.contains(needle))
                return *row.message;
        }
    }
    QString firstLine;
    for (const QString &line : output.split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty()) {
            firstLine = line.trimmed();
            break;
        }
    }
    return kOtherFailurePrefix + firstLine + QLatin1Char(')');
}

} // namespace ShareListing
