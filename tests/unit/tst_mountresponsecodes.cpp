// The GIO failure -> response code table, row by row as observed against GVfs 1.50 with Samba and Apache.
#include "platform/MountResponseCode.h"
#include "platform/linux/MountResponseCodes.h"

#include <QTest>

#include <gio/gio.h>

#include <cerrno>

Q_DECLARE_METATYPE(MountAttemptFacts)

namespace {
QString smbFailure(int errnum)
{
    return QStringLiteral("Failed to mount Windows share: ") + QString::fromUtf8(g_strerror(errnum));
}
} // namespace

class TestMountResponseCodes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mountCode_data();
    void mountCode();
    void unknownSmbHostIsToldFromBadArgument();
    void unmountErrno_data();
    void unmountErrno();
};

void TestMountResponseCodes::mountCode_data()
{
    QTest::addColumn<quint32>("domain");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    QTest::addColumn<MountAttemptFacts>("facts");
    QTest::addColumn<int>("expected");
    using namespace MountResponseCode;
    const quint32 io = G_IO_ERROR;
    const MountAttemptFacts none;
    MountAttemptFacts rejected;
    rejected.credentialsRejected = true;
    MountAttemptFacts declined;
    declined.promptDeclined = true;
    MountAttemptFacts refusedCertificate;
    refusedCertificate.certificateRefused = true;
    MountAttemptFacts limit;
    limit.timeLimitReached = true;

    QTest::newRow("success") << io << 0 << QString() << none << Success; // no error: see nullError
    QTest::newRow("smb password refused") << io << int(G_IO_ERROR_FAILED_HANDLED)
                                          << QStringLiteral("Password dialog cancelled") << rejected << AuthFailed;
    QTest::newRow("dav password refused") << io << int(G_IO_ERROR_PERMISSION_DENIED)
                                          << QStringLiteral("HTTP Error: Unauthorized") << rejected << AuthFailed;
    QTest::newRow("no password and no prompt") << io << int(G_IO_ERROR_FAILED_HANDLED)
                                               << QStringLiteral("Password dialog cancelled") << declined << AuthFailed;
    QTest::newRow("handled without a reason") << io << int(G_IO_ERROR_FAILED_HANDLED) << QString() << none << Cancelled;
    QTest::newRow("forbidden") << io << int(G_IO_ERROR_PERMISSION_DENIED) << QStringLiteral("HTTP Error: Forbidden")
                               << none << PermissionDenied;
    QTest::newRow("certificate refused") << quint32(G_TLS_ERROR) << int(G_TLS_ERROR_BAD_CERTIFICATE)
                                         << QStringLiteral("Unacceptable TLS certificate") << refusedCertificate
                                         << AuthFailed;
    QTest::newRow("tls handshake to a plain port") << quint32(G_TLS_ERROR) << int(G_TLS_ERROR_MISC)
                                                   << QStringLiteral("Error performing TLS handshake") << none << IoError;
    QTest::newRow("already mounted") << io << int(G_IO_ERROR_ALREADY_MOUNTED)
                                     << QStringLiteral("Location is already mounted") << none << AlreadyExists;
    QTest::newRow("smb missing share") << io << int(G_IO_ERROR_FAILED) << smbFailure(ENOENT) << none << ShareNotFound;
    QTest::newRow("smb no device") << io << int(G_IO_ERROR_FAILED) << smbFailure(ENODEV) << none << NoSuchDevice;
    QTest::newRow("smb refused port") << io << int(G_IO_ERROR_FAILED) << smbFailure(ECONNREFUSED) << none << HostDown;
    QTest::newRow("smb silent server") << io << int(G_IO_ERROR_FAILED) << smbFailure(ETIMEDOUT) << none << TimedOut;
    QTest::newRow("smb no route") << io << int(G_IO_ERROR_FAILED) << smbFailure(EHOSTUNREACH) << none << HostUnreachable;
    QTest::newRow("smb access denied") << io << int(G_IO_ERROR_FAILED) << smbFailure(EACCES) << none << PermissionDenied;
    QTest::newRow("unexplained failure") << io << int(G_IO_ERROR_FAILED) << QStringLiteral("Something else") << none
                                         << IoError;
    QTest::newRow("dav not a dav folder") << io << int(G_IO_ERROR_FAILED) << QStringLiteral("Not a WebDAV enabled share")
                                          << none << ShareNotFound;
    QTest::newRow("dav refused port") << io << int(G_IO_ERROR_CONNECTION_REFUSED)
                                      << QStringLiteral("Could not connect to 127.0.0.1: Connection refused") << none
                                      << HostDown;
    QTest::newRow("dav unknown name") << quint32(G_RESOLVER_ERROR) << int(G_RESOLVER_ERROR_NOT_FOUND)
                                      << QStringLiteral("Error resolving “x.invalid”") << none << HostLookupFailed;
    QTest::newRow("dav server gone") << io << int(G_IO_ERROR_PARTIAL_INPUT)
                                     << QStringLiteral("Connection terminated unexpectedly") << none << IoError;
    QTest::newRow("nfs not found") << io << int(G_IO_ERROR_NOT_FOUND) << QStringLiteral("Mount point does not exist")
                                   << none << ShareNotFound;
    QTest::newRow("host unreachable") << io << int(G_IO_ERROR_HOST_UNREACHABLE) << QString() << none << HostUnreachable;
    QTest::newRow("network unreachable") << io << int(G_IO_ERROR_NETWORK_UNREACHABLE) << QString() << none
                                         << HostUnreachable;
    QTest::newRow("timed out") << io << int(G_IO_ERROR_TIMED_OUT) << QString() << none << TimedOut;
    QTest::newRow("caller cancelled") << io << int(G_IO_ERROR_CANCELLED) << QStringLiteral("Operation was cancelled")
                                      << none << Cancelled;
    QTest::newRow("own time limit") << io << int(G_IO_ERROR_CANCELLED) << QStringLiteral("Operation was cancelled")
                                    << limit << TimedOut;
    QTest::newRow("no backend") << io << int(G_IO_ERROR_NOT_SUPPORTED) << QString() << none << NotSupported;
    QTest::newRow("daemon gone") << quint32(G_DBUS_ERROR) << int(G_DBUS_ERROR_SERVICE_UNKNOWN) << QString() << none
                                 << IoError;
}

void TestMountResponseCodes::mountCode()
{
    QFETCH(quint32, domain);
    QFETCH(int, code);
    QFETCH(QString, message);
    QFETCH(MountAttemptFacts, facts);
    QFETCH(int, expected);
    if (QByteArray(QTest::currentDataTag()) == "success") {
        QCOMPARE(MountResponseCodes::mountCode(static_cast<const GError *>(nullptr), facts), expected);
        return;
    }
    GError *error = g_error_new_literal(domain, code, message.toUtf8().constData());
    QCOMPARE(MountResponseCodes::mountCode(error, facts), expected);
    g_error_free(error);
}

void TestMountResponseCodes::unknownSmbHostIsToldFromBadArgument()
{
    // The SMB library reports an unresolvable name as EINVAL; only then is the name looked up.
    int lookups = 0;
    MountAttemptFacts facts;
    facts.hostResolves = [&] { ++lookups; return false; };
    const QString invalid = smbFailure(EINVAL);
    QCOMPARE(MountResponseCodes::mountCode(G_IO_ERROR, G_IO_ERROR_FAILED, invalid, facts),
             MountResponseCode::HostLookupFailed);
    facts.hostResolves = [&] { ++lookups; return true; };
    QCOMPARE(MountResponseCodes::mountCode(G_IO_ERROR, G_IO_ERROR_FAILED, invalid, facts), MountResponseCode::IoError);
    QCOMPARE(lookups, 2);
    QCOMPARE(MountResponseCodes::mountCode(G_IO_ERROR, G_IO_ERROR_FAILED, smbFailure(ENOENT), facts),
             MountResponseCode::ShareNotFound);
    QCOMPARE(lookups, 2);
}

void TestMountResponseCodes::unmountErrno_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("expected");
    QTest::newRow("busy") << int(G_IO_ERROR_BUSY) << EBUSY;
    QTest::newRow("not mounted") << int(G_IO_ERROR_NOT_MOUNTED) << EINVAL;
    QTest::newRow("not found") << int(G_IO_ERROR_NOT_FOUND) << EINVAL;
    QTest::newRow("permission") << int(G_IO_ERROR_PERMISSION_DENIED) << EPERM;
    QTest::newRow("timed out") << int(G_IO_ERROR_TIMED_OUT) << int(MountResponseCode::TimedOut);
    QTest::newRow("other") << int(G_IO_ERROR_FAILED) << EIO;
}

void TestMountResponseCodes::unmountErrno()
{
    QFETCH(int, code);
    QFETCH(int, expected);
    QCOMPARE(MountResponseCodes::unmountErrno(G_IO_ERROR, code), expected);
}

QTEST_GUILESS_MAIN(TestMountResponseCodes)
#include "tst_mountresponsecodes.moc"
