#include "MountResponseCodes.h"

#include "platform/MountResponseCode.h"

#include <gio/gio.h>

#include <cerrno>

namespace MountResponseCodes {

namespace {

bool isIo(GQuark domain)
{
    return domain == G_IO_ERROR;
}

// The errno values GVfs backends are seen to put into their messages, most specific first.
constexpr int kNamedErrnos[] = {ENOENT, ENODEV, EACCES, EPERM, ETIMEDOUT, ECONNREFUSED, EHOSTDOWN, EHOSTUNREACH,
                                ENETUNREACH, ECONNRESET, EEXIST, EINVAL, EIO};

// GVfs's WebDAV backend: the URL answers, but not as a WebDAV folder (missing path, plain web page).
// The daemon translates it with its own text domain, so the same translation is looked up here.
QString notWebDavShareText()
{
    return QString::fromUtf8(g_dgettext("gvfs", "Not a WebDAV enabled share"));
}

} // namespace

int errnoNamedIn(const QString &message)
{
    for (int e : kNamedErrnos) {
        if (message.endsWith(QString::fromUtf8(g_strerror(e))))
            return e;
    }
    return 0;
}

int mountCode(GQuark domain, int code, const QString &message, const MountAttemptFacts &facts)
{
    using namespace MountResponseCode;

    // Facts of the attempt first: they explain errors that GVfs reports only as "cancelled"/"handled".
    if (facts.timeLimitReached)
        return TimedOut;
    if (facts.credentialsRejected)
        return AuthFailed; // SMB: FAILED_HANDLED "Password dialog cancelled"; DAV: PERMISSION_DENIED
    if (facts.certificateRefused)
        return AuthFailed; // G_TLS_ERROR_BAD_CERTIFICATE "Unacceptable TLS certificate"

    if (domain == G_RESOLVER_ERROR)
        return HostLookupFailed; // DAV on an unknown name: NOT_FOUND "Error resolving ..."

    if (domain == G_TLS_ERROR) {
        switch (code) {
        case G_TLS_ERROR_BAD_CERTIFICATE: // certificate rejected without our question (policy of the daemon)
        case G_TLS_ERROR_CERTIFICATE_REQUIRED:
            return AuthFailed;
        default: // MISC "Error performing TLS handshake" (TLS to a plain port), NOT_TLS, EOF ...
            return IoError;
        }
    }

    if (!isIo(domain))
        return IoError; // D-Bus errors (daemon gone) and anything unexpected

    switch (code) {
    case G_IO_ERROR_ALREADY_MOUNTED: // "Location is already mounted" (SMB and DAV)
        return AlreadyExists;
    case G_IO_ERROR_NOT_FOUND: // NFS "Mount point does not exist"; DAV 404 on some servers
        return ShareNotFound;
    case G_IO_ERROR_PERMISSION_DENIED: // DAV "HTTP Error: Forbidden" (403) without a password exchange
        return PermissionDenied;
    case G_IO_ERROR_HOST_NOT_FOUND:
        return HostLookupFailed;
    case G_IO_ERROR_TIMED_OUT:
        return TimedOut;
    case G_IO_ERROR_CONNECTION_REFUSED: // DAV/AFP/FTP "Could not connect to H: Connection refused"
        return HostDown;
    case G_IO_ERROR_HOST_UNREACHABLE:
    case G_IO_ERROR_NETWORK_UNREACHABLE:
        return HostUnreachable;
    case G_IO_ERROR_CANCELLED: // the caller's cancellation (mount time-out)
        return Cancelled;
    case G_IO_ERROR_FAILED_HANDLED: // a password was needed and none was given
        return facts.promptDeclined ? AuthFailed : Cancelled;
    case G_IO_ERROR_NOT_SUPPORTED: // no GVfs backend for the scheme, or GVfs not running
    case G_IO_ERROR_NOT_MOUNTABLE_FILE:
        return NotSupported;
    case G_IO_ERROR_PARTIAL_INPUT: // DAV "Connection terminated unexpectedly" (server gone, HTTP to TLS)
    case G_IO_ERROR_CONNECTION_CLOSED:
        return IoError;
    case G_IO_ERROR_FAILED:
        break; // decided by the message below
    default:
        return IoError;
    }

    // G_IO_ERROR_FAILED: GVfs's SMB backend says "Failed to mount Windows share: " + strerror(errno).
    switch (errnoNamedIn(message)) {
    case ENOENT: // missing share (as guest and as user)
        return ShareNotFound;
    case ENODEV:
        return NoSuchDevice;
    case EACCES:
    case EPERM:
        return PermissionDenied;
    case ETIMEDOUT: // the server accepts the connection but never answers (after about 20 s)
        return TimedOut;
    case ECONNREFUSED: // nothing listens on the port
    case EHOSTDOWN:
    case ECONNRESET:
        return HostDown;
    case EHOSTUNREACH:
    case ENETUNREACH:
        return HostUnreachable;
    case EEXIST:
        return AlreadyExists;
    case EINVAL:
        // The SMB client library reports a host name it cannot resolve as EINVAL: tell the two apart.
        if (facts.hostResolves && !facts.hostResolves())
            return HostLookupFailed;
        return IoError;
    default:
        break;
    }
    if (message == notWebDavShareText() || message.endsWith(QStringLiteral("Not a WebDAV enabled share")))
        return ShareNotFound; // DAV: the path exists on the web server but is no WebDAV folder (or is missing)
    return IoError;
}

int mountCode(const GError *error, const MountAttemptFacts &facts)
{
    if (!error)
        return MountResponseCode::Success;
    return mountCode(error->domain, error->code, QString::fromUtf8(error->message), facts);
}

int unmountErrno(GQuark domain, int code)
{
    if (domain != G_IO_ERROR)
        return EIO;
    switch (code) {
    case G_IO_ERROR_BUSY: // GVfs's own refusal without the force flag (files open through FUSE never cause it)
        return EBUSY;
    case G_IO_ERROR_NOT_MOUNTED:
    case G_IO_ERROR_NOT_FOUND:
        return EINVAL; // what umount(2) says for a path that is no mount point
    case G_IO_ERROR_PERMISSION_DENIED:
        return EPERM;
    case G_IO_ERROR_TIMED_OUT:
    case G_IO_ERROR_CANCELLED:
        return 60; // ETIMEDOUT in the pipeline's numbering
    default:
        return EIO;
    }
}

} // namespace MountResponseCodes
