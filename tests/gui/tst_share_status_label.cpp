// The status label cascade: one row per rule and per ordering consequence that a reordering would break.
#include "ui/ShareStatusLabel.h"

#include <QTest>

using ShareStatusLabel::Kind;

class TestShareStatusLabel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cascade_data()
    {
        QTest::addColumn<bool>("mounted");
        QTest::addColumn<bool>("paused");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("label");
        QTest::addColumn<int>("kind");
        // Mounted (M), paused (P) or neither (-).
        const auto row = [](const char *tag, const char *state, const char *status, const char *label, Kind kind,
                            const char *host = "nas.example") {
            QTest::newRow(tag) << (state[0] == 'M') << QByteArray(state).contains('P') << QString::fromUtf8(status)
                               << QString::fromUtf8(host) << QString::fromUtf8(label) << int(kind);
        };
        // Mounted: the status text never matters.
        row("mounted", "M", "Host unreachable (Error 65)", "MOUNTED ✓", Kind::Mounted);
        row("mounted, paused, any text", "MP", "Authentication failed", "MOUNTED · PAUSED", Kind::MountedPaused);
        // Idle and pause.
        row("empty", "-", "", "READY", Kind::Ready);
        row("Ready padded, other case", "-", "  ready \n", "READY", Kind::Ready);
        row("paused idle", "P", "", "PAUSED", Kind::Paused);
        row("paused text", "P", "Auto-mount paused", "PAUSED", Kind::Paused);
        row("paused but ejected", "P", "Ejected", "EJECTED", Kind::Ejected);
        row("pause word without the switch", "-", "Auto-mount paused", "AUTO-MOUNT PAUSED", Kind::Other);
        row("cleaned before idle test", "-", "Cleaned up 2 folders", "CLEANED UP", Kind::CleanedUp);
        row("manually unmounted", "-", "Manually unmounted", "EJECTED", Kind::Ejected);
        row("not mounted", "-", "Share not mounted", "EJECTED", Kind::Ejected);
        // Connecting: the seconds come from the text.
        row("countdown 0s", "-", "Connecting... 0s", "CONNECTING 0s", Kind::Connecting);
        row("countdown 12s", "-", "Connecting... 12s", "CONNECTING 12s", Kind::Connecting);
        row("connecting no count", "-", "Connecting to server", "CONNECTING...", Kind::Connecting);
        row("attempting", "-", "Attempting mount", "MOUNTING...", Kind::Mounting);
        // Errors in their order.
        row("error 65", "-", "Host unreachable (Error 65)", "HOST UNREACHABLE", Kind::HostUnreachable);
        row("unreachable beats not found", "-", "Server unreachable, share not found", "HOST UNREACHABLE",
            Kind::HostUnreachable);
        row("error 19", "-", "Error 19: share path not found", "SHARE NOT FOUND", Kind::ShareNotFound);
        row("enodev", "-", "ENODEV from server", "SHARE NOT FOUND", Kind::ShareNotFound);
        row("error 2", "-", "Mount failed: Error 2", "SHARE NOT FOUND", Kind::ShareNotFound);
        row("error 24 caught by error 2", "-", "Mount failed: Error 24", "SHARE NOT FOUND", Kind::ShareNotFound);
        row("error 5", "-", "Mount failed: Error 5", "ACCESS DENIED", Kind::AccessDenied);
        row("error 80", "-", "Mount failed: Error 80", "AUTH FAILED", Kind::AuthFailed);
        row("authentication", "-", "Authentication failed", "AUTH FAILED", Kind::AuthFailed);
        row("auth error -6600", "-", "Auth error - try again", "AUTH FAILED", Kind::AuthFailed);
        row("timeout", "-", "Connection timeout", "TIMED OUT", Kind::TimedOut);
        row("unable to connect", "-", "Unable to connect to server", "CONNECT FAILED", Kind::ConnectFailed);
        row("unresolved name", "-", "Hostname unresolvable and not valid IP", "HOST UNRESOLVED", Kind::HostUnresolved);
        row("unresolved text on an address", "-", "Hostname unresolvable and not valid IP",
            "HOSTNAME UNRESOLVABLE AND NOT VALID IP", Kind::Other, "192.0.2.7");
        row("unresolved text on bracketed v6", "-", "Hostname unresolvable", "HOSTNAME UNRESOLVABLE", Kind::Other,
            "[::1]");
        row("generic fail", "-", "Mount failed", "ERROR", Kind::Error);
        row("localhost resolved", "-", "Localhost resolved to 127.0.0.1", "RESOLVED", Kind::Resolved);
        row("local connection", "-", "Local connection - proceeding to mount", "LOCAL OK", Kind::LocalOk);
        row("guest", "-", "Using guest access", "AUTHENTICATING", Kind::Authenticating);
        row("permission denied falls through", "-", "Permission denied", "PERMISSION DENIED", Kind::Other);
    }

    void cascade()
    {
        QFETCH(bool, mounted);
        QFETCH(bool, paused);
        QFETCH(QString, status);
        QFETCH(QString, host);
        const ShareStatusLabel::Label result = ShareStatusLabel::derive({mounted, paused, status, host});
        QTEST(result.text, "label");
        QTEST(int(result.kind), "kind");
    }
};

QTEST_GUILESS_MAIN(TestShareStatusLabel)
#include "tst_share_status_label.moc"
