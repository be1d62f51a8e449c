#include "ShareStatusLabel.h"

#include "core/VolumeRecord.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace ShareStatusLabel {

namespace {

QString tr(const char *text, const char *comment)
{
    return QCoreApplication::translate("ShareStatusLabel", text, comment);
}

bool isIdle(const QString &status)
{
    const QString trimmed = status.trimmed();
    return trimmed.isEmpty() || trimmed.compare(tr("Ready", "Idle status text"), Qt::CaseInsensitive) == 0;
}

bool hasAny(const QString &s, std::initializer_list<const char *> needles)
{
    for (const char *n : needles) {
        if (s.contains(QLatin1String(n)))
            return true;
    }
    return false;
}

} // namespace

Label derive(const Input &in)
{
    const QString &S = in.status;
    const QString s = S.toLower();

    if (in.mounted) {
        if (in.autoMountPaused)
            return {Kind::MountedPaused, tr("MOUNTED · PAUSED", "Mounted while auto-mount is paused")};
        return {Kind::Mounted, tr("MOUNTED ✓", "Mounted status indicator")};
    }

    const bool idle = isIdle(S);
    if (in.autoMountPaused && (s.contains(QLatin1String("pause")) || idle))
        return {Kind::Paused, tr("PAUSED", "Auto-mount paused status")};
    if (s.contains(QLatin1String("cleaned")))
        return {Kind::CleanedUp, tr("CLEANED UP", "Clean Up status indicator")};
    if (idle)
        return {Kind::Ready, tr("READY", "Ready status indicator")};
    if (hasAny(s, {"manually unmounted", "not mounted", "ejected"}))
        return {Kind::Ejected, tr("EJECTED", "Ejected status indicator")};
    if (s.contains(QLatin1String("connecting"))) {
        static const QRegularExpression seconds(QStringLiteral("\\d+s"));
        const QRegularExpressionMatch match = seconds.match(S);
        if (match.hasMatch())
            return {Kind::Connecting, tr("CONNECTING %1", "Connecting with countdown").arg(match.captured(0))};
        return {Kind::Connecting, tr("CONNECTING...", "Connecting status")};
    }
    if (s.contains(QLatin1String("attempting")))
        return {Kind::Mounting, tr("MOUNTING...", "Mounting status")};
    // Before the other failures: the certificate's subject in the text may hold any of their words.
    if (s.contains(QLatin1String("server certificate")))
        return {Kind::CertificateUntrusted, tr("UNTRUSTED CERTIFICATE", "Server certificate not trusted")};
    if (hasAny(s, {"error 65", "unreachable"}))
        return {Kind::HostUnreachable, tr("HOST UNREACHABLE", "Host unreachable error")};
    // "error 2" also catches the codes 20..29: kept, the order is part of the behaviour.
    if (hasAny(s, {"error 19", "enodev", "error 2", "not found"}))
        return {Kind::ShareNotFound, tr("SHARE NOT FOUND", "Share not found error")};
    if (s.contains(QLatin1String("error 5")))
        return {Kind::AccessDenied, tr("ACCESS DENIED", "Access denied error")};
    if (hasAny(s, {"error 80", "auth"}))
        return {Kind::AuthFailed, tr("AUTH FAILED", "Authentication failed error")};
    if (s.contains(QLatin1String("timeout")))
        return {Kind::TimedOut, tr("TIMED OUT", "Timeout error")};
    if (s.contains(QLatin1String("unable to connect")))
        return {Kind::ConnectFailed, tr("CONNECT FAILED", "Connection failed error")};
    if (!VolumeRecord::ipLiteral(in.hostname) && hasAny(s, {"unresolv", "not valid ip"}))
        return {Kind::HostUnresolved, tr("HOST UNRESOLVED", "Hostname unresolved error")};
    if (hasAny(s, {"error", "fail", "unable"}))
        return {Kind::Error, tr("ERROR", "Generic error status")};
    if (hasAny(s, {"resolved", "localhost"}))
        return {Kind::Resolved, tr("RESOLVED", "Hostname resolved status")};
    if (s.contains(QLatin1String("local connection")))
        return {Kind::LocalOk, tr("LOCAL OK", "Local connection OK status")};
    if (s.contains(QLatin1String("guest")))
        return {Kind::Authenticating, tr("AUTHENTICATING", "Authenticating status")};
    return {Kind::Other, S.toUpper()};
}

Severity severity(Kind kind)
{
    switch (kind) {
    case Kind::Mounted:
    case Kind::LocalOk:
    case Kind::Resolved:
        return Severity::Good;
    case Kind::MountedPaused:
    case Kind::Paused:
    case Kind::CleanedUp:
    case Kind::Ready:
    case Kind::Ejected:
    case Kind::Other:
        return Severity::Neutral;
    case Kind::Connecting:
    case Kind::Mounting:
    case Kind::Authenticating:
        return Severity::Busy;
    case Kind::HostUnreachable:
    case Kind::ShareNotFound:
    case Kind::AccessDenied:
    case Kind::AuthFailed:
    case Kind::TimedOut:
    case Kind::ConnectFailed:
    case Kind::HostUnresolved:
    case Kind::CertificateUntrusted:
    case Kind::Error:
        return Severity::Failure;
    }
    return Severity::Neutral;
}

} // namespace ShareStatusLabel
