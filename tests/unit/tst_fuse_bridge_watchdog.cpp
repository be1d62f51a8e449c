// The GVfs FUSE-bridge watchdog: reading the kernel's mount table, and detection and restart against a
// fake mount table file and a fake bridge program (no FUSE mount is touched).
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "core/FuseBridgeWatchdog.h"
#include "logging/LogEventManager.h"

#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <memory>
#include <sys/stat.h>

using namespace std::chrono_literals;
using State = FuseBridgeWatchdog::State;

namespace {
const QByteArray kRootLine = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n";
QByteArray gvfsLine(const QByteArray &escapedPath)
{
    return "40 22 0:50 / " + escapedPath
           + " rw,nosuid,nodev,relatime shared:30 - fuse.gvfsd-fuse gvfsd-fuse rw,user_id=1000,group_id=1000\n";
}

bool writeFile(const QString &path, const QByteArray &content, bool executable = false)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(content) != content.size())
        return false;
    f.close();
    return !executable || f.setPermissions(f.permissions() | QFileDevice::ExeOwner);
}

// A temporary folder with a mount table file (only the root file system at first) and an event log; start()
// adds a stand-in bridge program and makes the watchdog under test and its signal spies.
struct Env
{
    QTemporaryDir dir;
    Defaults defaults{dir.path() + QStringLiteral("/prefs.plist")};
    NotificationCenter center;
    LogEventManager eventLog{defaults, &center};
    QString mountInfo = dir.path() + QStringLiteral("/mountinfo");
    QString folder = dir.path() + QStringLiteral("/gvfs");
    QString runs = dir.path() + QStringLiteral("/runs");
    bool ready = writeFile(mountInfo, kRootLine);
    std::unique_ptr<FuseBridgeWatchdog> watchdog;
    std::unique_ptr<QSignalSpy> checked, lost, restarted;

    // bridge: 0 the program is missing, 1 it runs without mounting, 2 it mounts its folder ($1). Runs are counted.
    FuseBridgeWatchdog &start(int bridge, std::chrono::milliseconds checkTimeout = 5000ms)
    {
        FuseBridgeWatchdog::Options o;
        o.volumesFolder = folder;
        o.mountInfoPath = mountInfo;
        o.bridgeProgram = dir.path() + QStringLiteral("/bridge");
        o.fuseDevice = dir.path(); // any existing path
        o.requireSessionBus = false;
        o.checkTimeout = checkTimeout;
        o.restartWait = 300ms;
        o.restartBackoff = 60000ms;
        QByteArray script = "#!/bin/sh\necho run >> '" + runs.toUtf8() + "'\n";
        if (bridge == 2)
            script += "echo \"41 22 0:51 / $1 rw - fuse.gvfsd-fuse gvfsd-fuse rw\" >> '" + mountInfo.toUtf8() + "'\n";
        if (bridge > 0)
            ready = writeFile(o.bridgeProgram, script, true) && ready;
        watchdog = std::make_unique<FuseBridgeWatchdog>(o, &eventLog);
        checked = std::make_unique<QSignalSpy>(watchdog.get(), &FuseBridgeWatchdog::checked);
        lost = std::make_unique<QSignalSpy>(watchdog.get(), &FuseBridgeWatchdog::bridgeLost);
        restarted = std::make_unique<QSignalSpy>(watchdog.get(), &FuseBridgeWatchdog::bridgeRestarted);
        return *watchdog;
    }
    bool checkOnce()
    {
        watchdog->check();
        return checked->wait(5000);
    }
    int runCount() const { return int(QFileInfo(runs).size() / 4); } // "run\n" per run
    int eventsContaining(const QString &text) const
    {
        int n = 0;
        for (const LogEvent &e : eventLog.events())
            n += e.eventMessage.contains(text) ? 1 : 0;
        return n;
    }
};
} // namespace

class TestFuseBridgeWatchdog : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void classify_data()
    {
        QTest::addColumn<QByteArray>("mountInfo");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<int>("statErrno");
        QTest::addColumn<State>("state");
        const QByteArray listed = kRootLine + gvfsLine("/run/user/1000/gvfs");
        const QString run = QStringLiteral("/run/user/1000/gvfs");
        const QByteArray tmpfs = "45 40 0:52 / /run/user/1000/gvfs rw - tmpfs tmpfs rw\n";
        QTest::newRow("healthy") << listed << run << 0 << State::Healthy;
        QTest::newRow("trailing slash in folder") << listed << run + u'/' << 0 << State::Healthy;
        QTest::newRow("listed, daemon gone") << listed << run << ENOTCONN << State::Dead;
        QTest::newRow("permission is not death") << listed << run << EACCES << State::Healthy;
        QTest::newRow("not mounted") << kRootLine << run << 0 << State::Missing;
        QTest::newRow("a mount below the folder") << kRootLine + gvfsLine(run.toUtf8() + "/sub") << run << 0
                                                  << State::Missing;
        QTest::newRow("other file system on the folder") << kRootLine + tmpfs << run << 0 << State::Missing;
        QTest::newRow("covered by a later mount") << listed + tmpfs << run << 0 << State::Missing;
        QTest::newRow("escaped blank in path") << kRootLine + gvfsLine("/home/a\\040b/gvfs") << "/home/a b/gvfs" << 0
                                               << State::Healthy;
        QTest::newRow("garbage lines ignored") << "nonsense\n\n - - -\n" + gvfsLine(run.toUtf8()) << run << 0
                                               << State::Healthy;
    }
    void classify()
    {
        QFETCH(QByteArray, mountInfo);
        QFETCH(QString, folder);
        QFETCH(int, statErrno);
        QFETCH(State, state);
        QCOMPARE(FuseBridgeWatchdog::classify(mountInfo, folder, statErrno), state);
    }

    void restartOfMissingBridge_data()
    {
        QTest::addColumn<int>("bridge"); // 0: program missing, 1: runs but does not mount, 2: mounts
        QTest::addColumn<QString>("outcome"); // event text, %1 the temporary folder
        QTest::addColumn<int>("runs");
        QTest::addColumn<State>("state");
        QTest::newRow("restarted") << 2 << "CONNECTION_SUCCESS: GVfs FUSE bridge restarted at %1/gvfs" << 1
                                   << State::Healthy;
        QTest::newRow("no bridge program") << 0 << "%1/bridge is not available" << 0 << State::Missing;
        // Started once, then the back-off keeps it from being started again on every check.
        QTest::newRow("bridge does not mount")
            << 1 << "GVfs FUSE bridge not restarted: the bridge did not mount %1/gvfs" << 1 << State::Missing;
    }
    void restartOfMissingBridge()
    {
        QFETCH(int, bridge);
        QFETCH(QString, outcome);
        QFETCH(int, runs);
        QFETCH(State, state);
        Env env;
        FuseBridgeWatchdog &watchdog = env.start(bridge);
        QVERIFY(env.ready);
        for (int i = 0; i < 3; ++i)
            QVERIFY(env.checkOnce());
        QCOMPARE(watchdog.state(), state);
        QCOMPARE(env.runCount(), runs);
        QCOMPARE(env.lost->size(), 1); // once per outage, not per check
        QCOMPARE(env.lost->first().first().value<State>(), State::Missing);
        QCOMPARE(env.eventsContaining(QStringLiteral("CONNECTION_FAILED: GVfs FUSE bridge lost at ") + env.folder), 1);
        QCOMPARE(env.eventsContaining(outcome.arg(env.dir.path())), 1);
        QCOMPARE(env.restarted->size(), state == State::Healthy ? 1 : 0);
        if (state == State::Healthy) {
            QVERIFY(watchdog.lastStartedBridgePid() > 0);
            QCOMPARE(env.restarted->first().first().toLongLong(), watchdog.lastStartedBridgePid());
        }

        // Back (mounted by someone else), then lost again: a new outage is reported again.
        QVERIFY(writeFile(env.mountInfo, kRootLine + gvfsLine(env.folder.toUtf8())));
        QVERIFY(env.checkOnce());
        QCOMPARE(watchdog.state(), State::Healthy);
        QVERIFY(writeFile(env.mountInfo, kRootLine));
        QVERIFY(env.checkOnce());
        QCOMPARE(env.lost->size(), 2);
    }

    void hangingCheckIsReportedUnresponsive()
    {
        Env env;
        // Reading a FIFO without a writer blocks, like a stat() on a hung FUSE folder.
        QVERIFY(QFile::remove(env.mountInfo));
        QVERIFY(::mkfifo(QFile::encodeName(env.mountInfo).constData(), 0600) == 0);
        FuseBridgeWatchdog &watchdog = env.start(2, 200ms);
        QVERIFY(env.ready);
        watchdog.check();
        QVERIFY(env.checked->wait(3000));
        QCOMPARE(watchdog.state(), State::Unresponsive);
        QCOMPARE(env.lost->size(), 1);
        QVERIFY(watchdog.isCheckRunning());
        watchdog.check(); // refused while the first one hangs
        QCOMPARE(env.runCount(), 0); // a hanging bridge is never replaced

        // Release the blocked reader so the thread ends before the test does.
        QVERIFY(writeFile(env.mountInfo, kRootLine + gvfsLine(env.folder.toUtf8())));
        QTRY_VERIFY(!watchdog.isCheckRunning());
        QCOMPARE(watchdog.state(), State::Healthy);
    }
};

QTEST_GUILESS_MAIN(TestFuseBridgeWatchdog)
#include "tst_fuse_bridge_watchdog.moc"
