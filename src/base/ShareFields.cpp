#include "ShareFields.h"

#include <QDir>
#include <QRegularExpression>

namespace {

std::optional<QString> problem(const char *field, const QString &text)
{
    return QStringLiteral("'%1' %2").arg(QLatin1String(field), text);
}

// Control characters never belong in a share's text: they corrupt terminals, logs and the files that
// carry the share (CSV lines, shell arguments of scripts).
bool isControl(char32_t c)
{
    return c < 0x20 || c == 0x7f || (c >= 0x80 && c < 0xa0) || c == 0x2028 || c == 0x2029
        || (c >= 0x202a && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069) || c == 0x200e || c == 0x200f;
}

bool hasControl(const QString &text)
{
    for (char32_t c : text.toUcs4()) {
        if (isControl(c))
            return true;
    }
    return false;
}

std::optional<QString> checkText(const char *field, const QString &text, int maxLength)
{
    if (text.size() > maxLength)
        return problem(field, QStringLiteral("is too long (%1 characters; at most %2)").arg(text.size()).arg(maxLength));
    if (hasControl(text))
        return problem(field, QStringLiteral("must not contain control characters (line breaks, tabs, NUL, escapes)"));
    return std::nullopt;
}

} // namespace

namespace ShareFields {

std::optional<QString> checkHost(const QString &host)
{
    if (host.trimmed().isEmpty())
        return problem("hostname", QStringLiteral("must not be empty"));
    if (host.size() > kMaxHostLength) {
        return problem("hostname",
                       QStringLiteral("is too long (%1 characters; at most %2)").arg(host.size()).arg(kMaxHostLength));
    }
    // Names, IPv4 and IPv6 literals (with brackets and a zone): nothing a shell, a URL or a terminal would
    // read as something else.
    for (const QChar c : host) {
        const bool allowed = c.isLetterOrNumber() || c == u'.' || c == u'-' || c == u'_' || c == u':' || c == u'['
            || c == u']' || c == u'%';
        if (!allowed) {
            const QString shown = c.unicode() < 0x20 || c.unicode() == 0x7f
                ? QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'))
                : QString(c);
            return problem("hostname", QStringLiteral("must not contain '%1' (a server name or address is letters, "
                                                      "digits, '.', '-', '_' and, for IPv6, ':', '[', ']', '%')")
                                           .arg(shown));
        }
    }
    return std::nullopt;
}

std::optional<QString> checkPort(qint64 port)
{
    if (port < 1 || port > 65535)
        return problem("port", QStringLiteral("must be a number from 1 to 65535, not %1").arg(port));
    return std::nullopt;
}

std::optional<QString> checkMountFolder(const QString &path)
{
    if (path.isEmpty())
        return std::nullopt;
    if (auto p = checkText("customMountPoint", path, kMaxPathLength))
        return p;
    if (!path.startsWith(QLatin1Char('/')))
        return problem("customMountPoint", QStringLiteral("must be an absolute path, not '%1'").arg(path));
    const QString clean = QDir::cleanPath(path);
    if (clean != path || path.contains(QLatin1String("/../")) || path.endsWith(QLatin1String("/..")))
        return problem("customMountPoint", QStringLiteral("must be a plain path ('%1', not '%2')").arg(clean, path));
    return std::nullopt;
}

std::optional<QString> checkHardwareAddress(const QString &address)
{
    if (address.isEmpty())
        return std::nullopt;
    static const QRegularExpression pattern(
        QStringLiteral("^[0-9A-Fa-f]{2}([:-]?)[0-9A-Fa-f]{2}(\\1[0-9A-Fa-f]{2}){4}$"));
    if (!pattern.match(address).hasMatch()) {
        const QString shown = hasControl(address) || address.size() > 64 ? QStringLiteral("this") : address;
        return problem("macAddress",
                       QStringLiteral("must be a hardware address like 00:11:22:33:44:55, not '%1'").arg(shown));
    }
    return std::nullopt;
}

std::optional<QString> check(const Fields &f)
{
    if (f.hostname)
        if (auto p = checkHost(*f.hostname))
            return p;
    if (f.shareName)
        if (auto p = checkText("shareName", *f.shareName, kMaxShareLength))
            return p;
    if (f.port)
        if (auto p = checkPort(*f.port))
            return p;
    if (f.username)
        if (auto p = checkText("username", *f.username, kMaxTextLength))
            return p;
    if (f.nickname)
        if (auto p = checkText("nickname", *f.nickname, kMaxTextLength))
            return p;
    if (f.customMountPoint)
        if (auto p = checkMountFolder(*f.customMountPoint))
            return p;
    if (f.group)
        if (auto p = checkText("group", *f.group, kMaxTextLength))
            return p;
    if (f.macAddress)
        if (auto p = checkHardwareAddress(*f.macAddress))
            return p;
    if (f.allowedSSIDs)
        if (auto p = checkText("allowedSSIDs", *f.allowedSSIDs, kMaxNetworkListLength))
            return p;
    return std::nullopt;
}

} // namespace ShareFields
