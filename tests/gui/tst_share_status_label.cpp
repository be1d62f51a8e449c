// The status label cascade: one row per rule and per ordering consequence that a reordering would break.
#include "ui/ShareStatusLabel.h"

#include <QTest>

using ShareStatusLabel::Kind;

class TestShareStatusLabel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cascade_data();
    void cascade();
};

void TestShareStatusLabel::cascade_data()
{
    QTest::addColumn<bool>("mounted");
    QTest::addColumn<bool>("paused");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("kind");

    const QString name = QStringLiteral("nas.example");
    const QString ip = QStringLiteral("192.0.2.7");
    // Mounted: the status text never matters.
    QTest::newRow("mounted") << true << false << QStringLiteral("Host unreachable (Error 65)") << name << QStringLiteral("MOUNTED ✓") << int(Kind::Mounted);
    QTest::newRow("mounted, paused, any text") << true << true << QStringLiteral("Authentication failed") << name << QStringLiteral("MOUNTED · PAUSED")
                                              << int(Kind::MountedPaused);
    // Idle and pause.
    QTest::newRow("empty") << false << false << QStringLiteral("") << name << QStringLiteral("READY") << int(Kind::Ready);
    QTest::newRow("Ready padded, other case") << false << false << QStringLiteral("  ready \n") << name << QStringLiteral("READY") << int(Kind::Ready);
    QTest::newRow("paused idle") << false << true << QStringLiteral("") << name << QStringLiteral("PAUSED") << int(Kind::Paused);
    QTest::newRow("paused text") << false << true << QStringLiteral("Auto-mount paused") << name << QStringLiteral("PAUSED") << int(Kind::Paused);
    QTest::newRow("paused but ejected") << false << true << QStringLiteral("Ejected") << name << QStringLiteral("EJECTED") << int(Kind::Ejected);
    QTest::newRow("pause word without the switch") << false << false << QStringLiteral("Auto-mount paused") << name
                                                   << QStringLiteral("AUTO-MOUNT PAUSED") << int(Kind::Other);
    QTest::newRow("cleaned before idle test") << false << false << QStringLiteral("Cleaned up 2 folders") << name << QStringLiteral("CLEANED UP")
                                              << int(Kind::CleanedUp);
    QTest::newRow("manually unmounted") << false << false << QStringLiteral("Manually unmounted") << name << QStringLiteral("EJECTED") << int(Kind::Ejected);
    QTest::newRow("not mounted") << false << false << QStringLiteral("Share not mounted") << name << QStringLiteral("EJECTED") << int(Kind::Ejected);
    // Connecting: the seconds come from the text.
    QTest::newRow("countdown 0s") << false << false << QStringLiteral("Connecting... 0s") << name << QStringLiteral("CONNECTING 0s") << int(Kind::Connecting);
    QTest::newRow("countdown 12s") << false << false << QStringLiteral("Connecting... 12s") << name << QStringLiteral("CONNECTING 12s")
                                   << int(Kind::Connecting);
    QTest::newRow("connecting no count") << false << false << QStringLiteral("Connecting to server") << name << QStringLiteral("CONNECTING...")
                                         << int(Kind::Connecting);
    QTest::newRow("attempting") << false << false << QStringLiteral("Attempting mount") << name << QStringLiteral("MOUNTING...") << int(Kind::Mounting);
    // Errors in their order.
    QTest::newRow("error 65") << false << false << QStringLiteral("Host unreachable (Error 65)") << name << QStringLiteral("HOST UNREACHABLE")
                              << int(Kind::HostUnreachable);
    QTest::newRow("unreachable beats not found") << false << false << QStringLiteral("Server unreachable, share not found") << name
                                                 << QStringLiteral("HOST UNREACHABLE") << int(Kind::HostUnreachable);
    QTest::newRow("error 19") << false << false << QStringLiteral("Error 19: share path not found") << name << QStringLiteral("SHARE NOT FOUND")
                              << int(Kind::ShareNotFound);
    QTest::newRow("enodev") << false << false << QStringLiteral("ENODEV from server") << name << QStringLiteral("SHARE NOT FOUND") << int(Kind::ShareNotFound);
    QTest::newRow("error 2") << false << false << QStringLiteral("Mount failed: Error 2") << name << QStringLiteral("SHARE NOT FOUND")
                             << int(Kind::ShareNotFound);
    QTest::newRow("error 24 caught by error 2") << false << false << QStringLiteral("Mount failed: Error 24") << name
                                                << QStringLiteral("SHARE NOT FOUND") << int(Kind::ShareNotFound);
    QTest::newRow("error 5") << false << false << QStringLiteral("Mount failed: Error 5") << name << QStringLiteral("ACCESS DENIED") << int(Kind::AccessDenied);
    QTest::newRow("error 80") << false << false << QStringLiteral("Mount failed: Error 80") << name << QStringLiteral("AUTH FAILED") << int(Kind::AuthFailed);
    QTest::newRow("authentication") << false << false << QStringLiteral("Authentication failed") << name << QStringLiteral("AUTH FAILED")
                                    << int(Kind::AuthFailed);
    QTest::newRow("auth error -6600") << false << false << QStringLiteral("Auth error - try again") << name << QStringLiteral("AUTH FAILED")
                                      << int(Kind::AuthFailed);
    QTest::newRow("timeout") << false << false << QStringLiteral("Connection timeout") << name << QStringLiteral("TIMED OUT") << int(Kind::TimedOut);
    QTest::newRow("unable to connect") << false << false << QStringLiteral("Unable to connect to server") << name << QStringLiteral("CONNECT FAILED")
                                       << int(Kind::ConnectFailed);
    QTest::newRow("unresolved name") << false << false << QStringLiteral("Hostname unresolvable and not valid IP") << name
                                     << QStringLiteral("HOST UNRESOLVED") << int(Kind::HostUnresolved);
    QTest::newRow("unresolved text on an address") << false << false << QStringLiteral("Hostname unresolvable and not valid IP") << ip
                                                   << QStringLiteral("HOSTNAME UNRESOLVABLE AND NOT VALID IP") << int(Kind::Other);
    QTest::newRow("unresolved text on bracketed v6") << false << false << QStringLiteral("Hostname unresolvable") << QStringLiteral("[::1]")
                                                     << QStringLiteral("HOSTNAME UNRESOLVABLE") << int(Kind::Other);
    QTest::newRow("generic fail") << false << false << QStringLiteral("Mount failed") << name << QStringLiteral("ERROR") << int(Kind::Error);
    QTest::newRow("localhost resolved") << false << false << QStringLiteral("Localhost resolved to 127.0.0.1") << name << QStringLiteral("RESOLVED")
                                        << int(Kind::Resolved);
    QTest::newRow("local connection") << false << false << QStringLiteral("Local connection - proceeding to mount") << name
                                      << QStringLiteral("LOCAL OK") << int(Kind::LocalOk);
    QTest::newRow("guest") << false << false << QStringLiteral("Using guest access") << name << QStringLiteral("AUTHENTICATING")
                           << int(Kind::Authenticating);
    QTest::newRow("permission denied falls through") << false << false << QStringLiteral("Permission denied") << name
                                                     << QStringLiteral("PERMISSION DENIED") << int(Kind::Other);
}

void TestShareStatusLabel::cascade()
{
    QFETCH(bool, mounted);
    QFETCH(bool, paused);
    QFETCH(QString, status);
    QFETCH(QString, host);
    const ShareStatusLabel::Label result = ShareStatusLabel::derive({mounted, paused, status, host});
    QTEST(result.text, "label");
    QTEST(int(result.kind), "kind");
}

QTEST_GUILESS_MAIN(TestShareStatusLabel)
#include "tst_share_status_label.moc"
