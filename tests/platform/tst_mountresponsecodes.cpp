// The GIO failure -> response code table, row by row as observed against GVfs 1.50 with Samba and Apache.
#include "platform/MountResponseCode.h"
#include "platform/linux/MountResponseCodes.h"

#include <QTest>

#include <gio/gio.h>

#include <cerrno>

namespace {
QByteArray smbFailure(int errnum)
{
    return QByteArray("Failed to mount Windows share: ") + g_strerror(errnum);
}

// Facts of the attempt, as bits of the table's "facts" column. With neither Name bit the host name must not be
// looked up at all.
enum Fact { Rejected = 1, Declined = 2, CertificateRefused = 4, TimeLimit = 8, NameUnknown = 16, NameKnown = 32 };
} // namespace

class TestMountResponseCodes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mountCode_data()
    {
        QTest::addColumn<quint32>("domain"); // 0: no error at all
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<int>("facts");
        QTest::addColumn<int>("expected");
        using namespace MountResponseCode;
        const quint32 io = G_IO_ERROR;
        const auto row = [](const char *tag, quint32 domain, int code, const QByteArray &message, int facts,
                            int expected) { QTest::newRow(tag) << domain << code << message << facts << expected; };

        row("success", 0, 0, {}, 0, Success);
        row("smb password refused", io, G_IO_ERROR_FAILED_HANDLED, "Password dialog cancelled", Rejected, AuthFailed);
        row("no password and no prompt", io, G_IO_ERROR_FAILED_HANDLED, "Password dialog cancelled", Declined,
            AuthFailed);
        row("handled without a reason", io, G_IO_ERROR_FAILED_HANDLED, {}, 0, Cancelled);
        row("forbidden", io, G_IO_ERROR_PERMISSION_DENIED, "HTTP Error: Forbidden", 0, PermissionDenied);
        row("certificate refused", G_TLS_ERROR, G_TLS_ERROR_BAD_CERTIFICATE, "Unacceptable TLS certificate",
            CertificateRefused, AuthFailed);
        row("tls handshake to a plain port", G_TLS_ERROR, G_TLS_ERROR_MISC, "Error performing TLS handshake", 0,
            IoError);
        row("already mounted", io, G_IO_ERROR_ALREADY_MOUNTED, "Location is already mounted", 0, AlreadyExists);
        row("smb missing share", io, G_IO_ERROR_FAILED, smbFailure(ENOENT), 0, ShareNotFound);
        row("smb no device", io, G_IO_ERROR_FAILED, smbFailure(ENODEV), 0, NoSuchDevice);
        row("smb refused port", io, G_IO_ERROR_FAILED, smbFailure(ECONNREFUSED), 0, HostDown);
        row("smb silent server", io, G_IO_ERROR_FAILED, smbFailure(ETIMEDOUT), 0, TimedOut);
        row("smb no route", io, G_IO_ERROR_FAILED, smbFailure(EHOSTUNREACH), 0, HostUnreachable);
        row("smb access denied", io, G_IO_ERROR_FAILED, smbFailure(EACCES), 0, PermissionDenied);
        // The SMB library reports an unresolvable name as EINVAL; only then is the name looked up.
        row("smb unknown name", io, G_IO_ERROR_FAILED, smbFailure(EINVAL), NameUnknown, HostLookupFailed);
        row("smb bad argument, name known", io, G_IO_ERROR_FAILED, smbFailure(EINVAL), NameKnown, IoError);
        row("unexplained failure", io, G_IO_ERROR_FAILED, "Something else", 0, IoError);
        row("dav not a dav folder", io, G_IO_ERROR_FAILED, "Not a WebDAV enabled share", 0, ShareNotFound);
        row("dav refused port", io, G_IO_ERROR_CONNECTION_REFUSED,
            "Could not connect to 127.0.0.1: Connection refused", 0, HostDown);
        row("dav unknown name", G_RESOLVER_ERROR, G_RESOLVER_ERROR_NOT_FOUND, "Error resolving “x.invalid”", 0,
            HostLookupFailed);
        row("dav server gone", io, G_IO_ERROR_PARTIAL_INPUT, "Connection terminated unexpectedly", 0, IoError);
        row("nfs not found", io, G_IO_ERROR_NOT_FOUND, "Mount point does not exist", 0, ShareNotFound);
        row("host unreachable", io, G_IO_ERROR_HOST_UNREACHABLE, {}, 0, HostUnreachable);
        row("timed out", io, G_IO_ERROR_TIMED_OUT, {}, 0, TimedOut);
        row("caller cancelled", io, G_IO_ERROR_CANCELLED, "Operation was cancelled", 0, Cancelled);
        row("own time limit", io, G_IO_ERROR_CANCELLED, "Operation was cancelled", TimeLimit, TimedOut);
        row("no backend", io, G_IO_ERROR_NOT_SUPPORTED, {}, 0, NotSupported);
        row("daemon gone", G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN, {}, 0, IoError);
    }
    void mountCode()
    {
        QFETCH(quint32, domain);
        QFETCH(int, code);
        QFETCH(QByteArray, message);
        QFETCH(int, facts);
        MountAttemptFacts attempt;
        attempt.credentialsRejected = facts & Rejected;
        attempt.promptDeclined = facts & Declined;
        attempt.certificateRefused = facts & CertificateRefused;
        attempt.timeLimitReached = facts & TimeLimit;
        int lookups = 0;
        attempt.hostResolves = [&] { ++lookups; return !(facts & NameUnknown); };
        GError *error = domain ? g_error_new_literal(domain, code, message.constData()) : nullptr;
        QTEST(MountResponseCodes::mountCode(error, attempt), "expected");
        g_clear_error(&error);
        QCOMPARE(lookups, (facts & (NameUnknown | NameKnown)) ? 1 : 0);
    }

    void unmountErrno_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("expected");
        QTest::newRow("busy") << int(G_IO_ERROR_BUSY) << EBUSY;
        QTest::newRow("not mounted") << int(G_IO_ERROR_NOT_MOUNTED) << EINVAL;
        QTest::newRow("permission") << int(G_IO_ERROR_PERMISSION_DENIED) << EPERM;
        QTest::newRow("timed out") << int(G_IO_ERROR_TIMED_OUT) << int(MountResponseCode::TimedOut);
        QTest::newRow("other") << int(G_IO_ERROR_FAILED) << EIO;
    }
    void unmountErrno()
    {
        QFETCH(int, code);
        QTEST(MountResponseCodes::unmountErrno(G_IO_ERROR, code), "expected");
    }
};

QTEST_GUILESS_MAIN(TestMountResponseCodes)
#include "tst_mountresponsecodes.moc"
