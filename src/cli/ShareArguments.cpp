#include "ShareArguments.h"

#include "base/JsonNumber.h"

#include "Command.h"
#include "base/ShareFields.h"

#include <QRegularExpression>
#include <QUrl>

namespace ShareArguments {

namespace {

struct Alias
{
    const char *name;
    const char *protocol;
};

constexpr Alias kProtocolAliases[] = {
    {"smb", "SMB"},        {"cifs", "SMB"},        {"afp", "AFP"},       {"nfs", "NFS"},
    {"webdav", "WEBDAV"},  {"dav", "WEBDAV"},      {"http", "WEBDAV"},   {"webdavs", "WEBDAVS"},
    {"davs", "WEBDAVS"},   {"https", "WEBDAVS"},
};

QString trimSlashes(QString s)
{
    while (s.startsWith(QLatin1Char('/')))
        s.remove(0, 1);
    while (s.endsWith(QLatin1Char('/')))
        s.chop(1);
    return s;
}

bool isWebDav(const QString &protocol)
{
    return protocol == QLatin1String("WEBDAV") || protocol == QLatin1String("WEBDAVS");
}

std::optional<QString> valueOf(const QCommandLineParser &parser, const char *name)
{
    const QString option = QLatin1String(name);
    return parser.isSet(option) ? std::optional<QString>(parser.value(option)) : std::nullopt;
}

} // namespace

void addOptions(QCommandLineParser &parser, bool forEdit)
{
    const auto valued = [&parser](const char *name, const char *valueName, const char *help) {
        parser.addOption(QCommandLineOption(QLatin1String(name), QString::fromUtf8(help), QLatin1String(valueName)));
    };
    const auto flag = [&parser](const char *name, const char *help) {
        parser.addOption(QCommandLineOption(QLatin1String(name), QString::fromUtf8(help)));
    };
    valued("host", "HOST", "server name or address");
    valued("share", "NAME", "share name (WebDAV: path on the server; empty for the root)");
    valued("protocol", "PROTO", "smb, afp, nfs, webdav or webdavs (default smb)");
    valued("port", "PORT", "port number; 'default' for the protocol's own");
    valued("user", "USER", "user name (the password is asked for, or read with --password-stdin)");
    flag("guest", "guest access, no password");
    valued("nickname", "TEXT", "display name");
    flag("auto-mount", "keep the share mounted automatically");
    valued("mount-dir", "DIR", "mount at this folder instead of the volumes folder");
    valued("group", "GROUP", "group tag");
    valued("mac", "ADDR", "Wake-on-LAN hardware address of the server");
    if (forEdit) {
        flag("no-guest", "switch guest access off");
        flag("no-auto-mount", "switch auto-mount off");
        flag("in-volumes", "mount in the volumes folder again");
    }
}

Flags flagsFrom(const QCommandLineParser &parser)
{
    Flags f;
    f.host = valueOf(parser, "host");
    f.share = valueOf(parser, "share");
    f.protocol = valueOf(parser, "protocol");
    f.port = valueOf(parser, "port");
    f.user = valueOf(parser, "user");
    f.nickname = valueOf(parser, "nickname");
    f.mountDir = valueOf(parser, "mount-dir");
    f.group = valueOf(parser, "group");
    f.mac = valueOf(parser, "mac");
    // Options that the parser does not know (add has no --no-guest) read as unset.
    const auto isSet = [&parser](const char *name) { return parser.optionNames().contains(QLatin1String(name)); };
    if (isSet("guest"))
        f.guest = true;
    if (isSet("no-guest"))
        f.guest = false;
    if (isSet("auto-mount"))
        f.autoMount = true;
    if (isSet("no-auto-mount"))
        f.autoMount = false;
    if (isSet("in-volumes"))
        f.inVolumes = true;
    return f;
}

std::optional<QString> protocolFromName(const QString &name)
{
    const QString lower = name.trimmed().toLower();
    for (const Alias &alias : kProtocolAliases) {
        if (lower == QLatin1String(alias.name))
            return QLatin1String(alias.protocol);
    }
    return std::nullopt;
}

std::optional<QString> protocolFromScheme(const QString &scheme)
{
    return protocolFromName(scheme);
}

std::optional<ShareUrl> parseShareUrl(const QString &text, QString *error)
{
    const QString trimmed = text.trimmed();
    QUrl url(trimmed, QUrl::StrictMode);
    // Never echo a password back, not even in an error.
    const QString shown = url.isValid() ? url.toString(QUrl::RemovePassword) : QStringLiteral("(the given URL)");
    auto fail = [error, &shown](const QString &why) -> std::optional<ShareUrl> {
        if (error)
            *error = QStringLiteral("Malformed share URL %1: %2").arg(shown, why);
        return std::nullopt;
    };
    if (!url.isValid()) {
        // QUrl's message quotes the input, password included: give a generic reason instead.
        return fail(QStringLiteral("not a valid URL (expected e.g. smb://user@server/share)"));
    }
    if (url.scheme().isEmpty() || !trimmed.contains(QLatin1String("://")))
        return fail(QStringLiteral("a scheme is missing (smb://, afp://, nfs://, http:// or https://)"));
    const auto protocol = protocolFromScheme(url.scheme());
    if (!protocol)
        return fail(QStringLiteral("unknown scheme '%1' (use smb, afp, nfs, http or https)").arg(url.scheme()));
    if (!url.password().isEmpty()) {
        return fail(QStringLiteral("it carries a password; passwords are never taken from the command line "
                                   "(type it at the prompt or use --password-stdin)"));
    }
    if (url.host().isEmpty())
        return fail(QStringLiteral("the server name is missing"));
    if (url.hasQuery() || url.hasFragment())
        return fail(QStringLiteral("a share URL has no query or fragment"));

    ShareUrl result;
    result.protocolType = *protocol;
    result.hostname = url.host(QUrl::FullyDecoded);
    // An explicit port must be a real one: "smb://host:0/share" is refused, not read as the default.
    if (url.port() != -1) {
        if (const auto problem = ShareFields::checkPort(url.port()))
            return fail(*problem);
        result.port = url.port();
    }
    result.username = url.userName(QUrl::FullyDecoded);
    result.shareName = trimSlashes(url.path(QUrl::FullyDecoded));
    if (result.shareName.isEmpty() && !isWebDav(result.protocolType))
        return fail(QStringLiteral("the share name is missing (%1://server/SHARE)").arg(url.scheme().toLower()));
    return result;
}

bool isHardwareAddress(const QString &text)
{
    static const QRegularExpression pattern(
        QStringLiteral("^[0-9A-Fa-f]{2}([:-]?)[0-9A-Fa-f]{2}(\\1[0-9A-Fa-f]{2}){4}$"));
    return pattern.match(text.trimmed()).hasMatch();
}

std::optional<QJsonObject> toRecordJson(const Flags &flags, bool forAdd, QString *error)
{
    auto fail = [error](const QString &why) -> std::optional<QJsonObject> {
        if (error)
            *error = why;
        return std::nullopt;
    };

    QJsonObject o;
    std::optional<ShareUrl> url;
    if (flags.url) {
        QString why;
        url = parseShareUrl(*flags.url, &why);
        if (!url)
            return fail(why);
        o[QStringLiteral("protocolType")] = url->protocolType;
        o[QStringLiteral("hostname")] = url->hostname;
        o[QStringLiteral("shareName")] = url->shareName;
        if (url->port)
            o[QStringLiteral("port")] = *url->port;
        if (!url->username.isEmpty())
            o[QStringLiteral("username")] = url->username;
    }

    if (flags.host) {
        if (flags.host->trimmed().isEmpty())
            return fail(QStringLiteral("--host must not be empty"));
        o[QStringLiteral("hostname")] = flags.host->trimmed();
    }
    if (flags.share)
        o[QStringLiteral("shareName")] = *flags.share;
    if (flags.protocol) {
        const auto protocol = protocolFromName(*flags.protocol);
        if (!protocol)
            return fail(QStringLiteral("Unknown protocol '%1' (use smb, afp, nfs, webdav or webdavs)").arg(*flags.protocol));
        o[QStringLiteral("protocolType")] = *protocol;
    }
    if (flags.port) {
        if (flags.port->isEmpty() || flags.port->compare(QLatin1String("default"), Qt::CaseInsensitive) == 0) {
            o[QStringLiteral("port")] = QJsonValue(QJsonValue::Null);
        } else {
            bool ok = false;
            const int port = flags.port->toInt(&ok);
            if (!ok || port < 1 || port > 65535)
                return fail(QStringLiteral("--port must be a number from 1 to 65535 (or 'default'), not '%1'").arg(*flags.port));
            o[QStringLiteral("port")] = port;
        }
    }
    if (flags.user && flags.guest.value_or(false))
        return fail(QStringLiteral("--user and --guest exclude each other"));
    if (flags.user) {
        if (flags.user->trimmed().isEmpty())
            return fail(QStringLiteral("--user must not be empty (use --guest for guest access)"));
        o[QStringLiteral("username")] = flags.user->trimmed();
        o[QStringLiteral("guest")] = 0;
    }
    if (flags.guest) {
        if (*flags.guest && url && !url->username.isEmpty())
            return fail(QStringLiteral("--guest contradicts the user name in the URL"));
        o[QStringLiteral("guest")] = *flags.guest ? 1 : 0;
    }
    if (flags.nickname)
        o[QStringLiteral("nickname")] = *flags.nickname;
    if (flags.autoMount)
        o[QStringLiteral("autoMount")] = *flags.autoMount ? 1 : 0;
    if (flags.mountDir && flags.inVolumes.value_or(false))
        return fail(QStringLiteral("--mount-dir and --in-volumes exclude each other"));
    if (flags.mountDir) {
        if (!flags.mountDir->startsWith(QLatin1Char('/')))
            return fail(QStringLiteral("--mount-dir must be an absolute path, not '%1'").arg(Cli::printable(*flags.mountDir)));
        o[QStringLiteral("mountInVolumes")] = 0;
        o[QStringLiteral("customMountPoint")] = *flags.mountDir;
    }
    if (flags.inVolumes && *flags.inVolumes)
        o[QStringLiteral("mountInVolumes")] = 1;
    if (flags.group)
        o[QStringLiteral("group")] = *flags.group;
    if (flags.mac) {
        if (!flags.mac->isEmpty() && !isHardwareAddress(*flags.mac))
            return fail(QStringLiteral("--mac must be a hardware address like 00:11:22:33:44:55, not '%1'").arg(*flags.mac));
        o[QStringLiteral("macAddress")] = flags.mac->trimmed();
    }

    if (forAdd) {
        if (!o.contains(QStringLiteral("hostname")))
            return fail(QStringLiteral("A server is needed: give a share URL or --host"));
        if (!o.contains(QStringLiteral("protocolType")))
            o[QStringLiteral("protocolType")] = QStringLiteral("SMB");
        if (!o.contains(QStringLiteral("shareName"))) {
            if (!isWebDav(o.value(QStringLiteral("protocolType")).toString()))
                return fail(QStringLiteral("A share name is needed: give a share URL or --share"));
            o[QStringLiteral("shareName")] = QString();
        }
        if (!o.contains(QStringLiteral("username")) && !o.contains(QStringLiteral("guest")))
            o[QStringLiteral("guest")] = 1; // no user named: guest access
        if (o.value(QStringLiteral("guest")).toInt() == 1 && !o.contains(QStringLiteral("username")))
            o[QStringLiteral("username")] = QStringLiteral("guest");
    } else if (o.isEmpty()) {
        return fail(QStringLiteral("Nothing to change: give at least one setting"));
    }

    // The engine applies the same checks; asking first gives a usage error before anything is sent.
    ShareFields::Fields fields;
    const auto text = [&o](const char *key) {
        const QString k = QLatin1String(key);
        return o.contains(k) ? std::optional<QString>(o.value(k).toString()) : std::nullopt;
    };
    fields.hostname = text("hostname");
    fields.shareName = text("shareName");
    fields.username = text("username");
    fields.nickname = text("nickname");
    fields.customMountPoint = text("customMountPoint");
    fields.group = text("group");
    fields.macAddress = text("macAddress");
    if (o.value(QStringLiteral("port")).isDouble())
        fields.port = jsonInteger(o.value(QStringLiteral("port"))).value_or(-1); // -1: refused as out of range
    if (const auto problem = ShareFields::check(fields))
        return fail(*problem);
    return o;
}

} // namespace ShareArguments
