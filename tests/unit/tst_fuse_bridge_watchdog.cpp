// The GVfs FUSE-bridge watchdog: reading the kernel's mount table, and detection and restart against a
// fake mount table file and a fake bridge program (no FUSE mount is touched).
#include "app/Defaults.h"
#include "app/NotificationCenter.h"
#include "core/FuseBridgeWatchdog.h"
#include "logging/LogEventManager.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <sys/stat.h>

using namespace std::chrono_literals;
using State = FuseBridgeWatchdog::State;

namespace {
const QByteArray kRootLine = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n";
QByteArray gvfsLine(const QByteArray &escapedPath, int id = 40)
{
    return QByteArray::number(id) + " 22 0:50 / " + escapedPath
           + " rw,nosuid,nodev,relatime shared:30 - fuse.gvfsd-fuse gvfsd-fuse rw,user_id=1000,group_id=1000\n";
}

bool writeFile(const QString &path, const QByteArray &content, bool executable = false)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    f.write(content);
    f.close();
    if (executable)
        f.setPermissions(f.permissions() | QFileDevice::ExeOwner);
    return true;
}
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
        QTest::addColumn<int>("state");
        const QString run = QStringLiteral("/run/user/1000/gvfs");
        QTest::newRow("healthy") << kRootLine + gvfsLine("/run/user/1000/gvfs") << run << 0 << int(State::Healthy);
        QTest::newRow("trailing slash in folder") << kRootLine + gvfsLine("/run/user/1000/gvfs") << run + QLatin1Char('/') << 0
                                                  << int(State::Healthy);
        QTest::newRow("listed, daemon gone") << kRootLine + gvfsLine("/run/user/1000/gvfs") << run << ENOTCONN << int(State::Dead);
        QTest::newRow("listed, I/O error") << kRootLine + gvfsLine("/run/user/1000/gvfs") << run << EIO << int(State::Dead);
        QTest::newRow("permission is not death") << kRootLine + gvfsLine("/run/user/1000/gvfs") << run << EACCES
                                                 << int(State::Healthy);
        QTest::newRow("not mounted") << kRootLine << run << 0 << int(State::Missing);
        QTest::newRow("empty table") << QByteArray() << run << 0 << int(State::Missing);
        QTest::newRow("another user's bridge") << kRootLine + gvfsLine("/run/user/1001/gvfs") << run << 0 << int(State::Missing);
        QTest::newRow("a mount below the folder") << kRootLine + gvfsLine("/run/user/1000/gvfs/sub") << run << 0
                                                  << int(State::Missing);
        QTest::newRow("other file system on the folder")
            << kRootLine + "41 22 0:51 / /run/user/1000/gvfs rw - tmpfs tmpfs rw\n" << run << 0 << int(State::Missing);
        QTest::newRow("covered by a later mount")
            << kRootLine + gvfsLine("/run/user/1000/gvfs") + "45 40 0:52 / /run/user/1000/gvfs rw - tmpfs tmpfs rw\n" << run
            << 0 << int(State::Missing);
        QTest::newRow("escaped blank in path") << kRootLine + gvfsLine("/home/a\\040b/gvfs") << QStringLiteral("/home/a b/gvfs")
                                               << 0 << int(State::Healthy);
        QTest::newRow("garbage lines ignored") << QByteArray("nonsense\n\n - - -\n") + gvfsLine("/run/user/1000/gvfs") << run
                                               << 0 << int(State::Healthy);
    }
    void classify()
    {
        QFETCH(QByteArray, mountInfo);
        QFETCH(QString, folder);
        QFETCH(int, statErrno);
        QFETCH(int, state);
        QCOMPARE(int(FuseBridgeWatchdog::classify(mountInfo, folder, statErrno)), state);
    }

    void restartsMissingBridge()
    {
        Env env;
        QVERIFY(writeFile(env.mountInfo, kRootLine));
        FuseBridgeWatchdog watchdog(env.options(env.bridge(true)), &env.eventLog);
        QSignalSpy lost(&watchdog, &FuseBridgeWatchdog::bridgeLost);
        QSignalSpy restarted(&watchdog, &FuseBridgeWatchdog::bridgeRestarted);
        QSignalSpy checked(&watchdog, &FuseBridgeWatchdog::checked);
        QVERIFY(checkOnce(watchdog, checked));
        QCOMPARE(lost.size(), 1);
        QCOMPARE(lost.first().first().value<State>(), State::Missing);
        QCOMPARE(restarted.size(), 1);
        QVERIFY(restarted.first().first().toLongLong() > 0);
        QCOMPARE(watchdog.lastStartedBridgePid(), restarted.first().first().toLongLong());
        QCOMPARE(watchdog.state(), State::Healthy);
        QCOMPARE(env.runCount(), 1);
        QCOMPARE(env.eventsContaining(QStringLiteral("CONNECTION_FAILED: GVfs FUSE bridge lost at ") + env.folder), 1);
        QCOMPARE(env.eventsContaining(QStringLiteral("CONNECTION_SUCCESS: GVfs FUSE bridge restarted at ") + env.folder), 1);

        // The bridge is there now: the next check finds it healthy and does nothing.
        QVERIFY(checkOnce(watchdog, checked));
        QCOMPARE(watchdog.state(), State::Healthy);
        QCOMPARE(env.runCount(), 1);
        QCOMPARE(lost.size(), 1);
    }

    void refusedRestartIsReportedOncePerOutage()
    {
        Env env;
        QVERIFY(writeFile(env.mountInfo, kRootLine));
        FuseBridgeWatchdog watchdog(env.options(env.dir.path() + QStringLiteral("/no-such-bridge")), &env.eventLog);
        QSignalSpy lost(&watchdog, &FuseBridgeWatchdog::bridgeLost);
        QSignalSpy checked(&watchdog, &FuseBridgeWatchdog::checked);
        for (int i = 0; i < 3; ++i)
            QVERIFY(checkOnce(watchdog, checked));
        QCOMPARE(watchdog.state(), State::Missing);
        QCOMPARE(lost.size(), 1);
        QCOMPARE(env.eventsContaining(QStringLiteral("GVfs FUSE bridge lost")), 1);
        QCOMPARE(env.eventsContaining(QStringLiteral("no-such-bridge is not available")), 1);

        // Back (mounted by someone else), then lost again: a new outage is reported again.
        QVERIFY(writeFile(env.mountInfo, kRootLine + gvfsLine(env.folder.toUtf8())));
        QVERIFY(checkOnce(watchdog, checked));
        QCOMPARE(watchdog.state(), State::Healthy);
        QVERIFY(writeFile(env.mountInfo, kRootLine));
        QVERIFY(checkOnce(watchdog, checked));
        QCOMPARE(lost.size(), 2);
    }

    void failedRestartWaitsForBackoff()
    {
        Env env;
        QVERIFY(writeFile(env.mountInfo, kRootLine));
        FuseBridgeWatchdog::Options options = env.options(env.bridge(false));
        options.restartBackoff = 60000ms;
        FuseBridgeWatchdog watchdog(options, &env.eventLog);
        QSignalSpy checked(&watchdog, &FuseBridgeWatchdog::checked);
        QSignalSpy restarted(&watchdog, &FuseBridgeWatchdog::bridgeRestarted);
        QVERIFY(checkOnce(watchdog, checked));
        QCOMPARE(env.runCount(), 1);
        QCOMPARE(restarted.size(), 0);
        QCOMPARE(env.eventsContaining(QStringLiteral("GVfs FUSE bridge not restarted: the bridge did not mount")), 1);
        QVERIFY(checkOnce(watchdog, checked));
        QCOMPARE(env.runCount(), 1); // within the back-off: no second start
        QCOMPARE(watchdog.state(), State::Missing);
    }

    void hangingCheckIsReportedUnresponsive()
    {
        Env env;
        // Reading a FIFO without a writer blocks, like a stat() on a hung FUSE folder.
        QVERIFY(::mkfifo(QFile::encodeName(env.mountInfo).constData(), 0600) == 0);
        FuseBridgeWatchdog::Options options = env.options(env.bridge(true));
        options.checkTimeout = 200ms;
        FuseBridgeWatchdog watchdog(options, &env.eventLog);
        QSignalSpy lost(&watchdog, &FuseBridgeWatchdog::bridgeLost);
        QSignalSpy checked(&watchdog, &FuseBridgeWatchdog::checked);
        watchdog.check();
        QVERIFY(checked.wait(3000));
        QCOMPARE(watchdog.state(), State::Unresponsive);
        QCOMPARE(lost.size(), 1);
        QVERIFY(watchdog.isCheckRunning());
        watchdog.check(); // refused while the first one hangs
        QCOMPARE(env.runCount(), 0); // a hanging bridge is never replaced

        // Release the blocked reader (it sees an empty table) so the thread ends before the test does.
        QFile writer(env.mountInfo);
        QVERIFY(writer.open(QIODevice::WriteOnly));
        writer.write(kRootLine + gvfsLine(env.folder.toUtf8()));
        writer.close();
        QTRY_VERIFY(!watchdog.isCheckRunning());
        QCOMPARE(watchdog.state(), State::Healthy);
    }

private:
    static bool checkOnce(FuseBridgeWatchdog &watchdog, QSignalSpy &checked)
    {
        watchdog.check();
        return checked.wait(5000);
    }

    struct Env
    {
        QTemporaryDir dir;
        Defaults defaults{dir.path() + QStringLiteral("/prefs.plist")};
        NotificationCenter center;
        LogEventManager eventLog{defaults, &center};
        QString mountInfo = dir.path() + QStringLiteral("/mountinfo");
        QString folder = dir.path() + QStringLiteral("/gvfs");
        QString runs = dir.path() + QStringLiteral("/runs");

        FuseBridgeWatchdog::Options options(const QString &program) const
        {
            FuseBridgeWatchdog::Options o;
            o.volumesFolder = folder;
            o.mountInfoPath = mountInfo;
            o.bridgeProgram = program;
            o.fuseDevice = dir.path(); // any existing path
            o.requireSessionBus = false;
            o.checkTimeout = 5000ms;
            o.restartWait = 300ms;
            return o;
        }
        // A stand-in bridge: counts its runs and, when `mounts`, adds the FUSE entry for its folder ($1).
        QString bridge(bool mounts)
        {
            const QString path = dir.path() + (mounts ? QStringLiteral("/bridge-ok") : QStringLiteral("/bridge-broken"));
            QByteArray script = "#!/bin/sh\necho run >> '" + runs.toUtf8() + "'\n";
            if (mounts)
                script += "echo \"41 22 0:51 / $1 rw - fuse.gvfsd-fuse gvfsd-fuse rw\" >> '" + mountInfo.toUtf8() + "'\n";
            writeFile(path, script, true);
            return path;
        }
        int runCount() const
        {
            QFile f(runs);
            return f.open(QIODevice::ReadOnly) ? int(f.readAll().count('\n')) : 0;
        }
        int eventsContaining(const QString &text) const
        {
            int n = 0;
            for (const LogEvent &e : eventLog.events())
                n += e.eventMessage.contains(text) ? 1 : 0;
            return n;
        }
    };
};

QTEST_GUILESS_MAIN(TestFuseBridgeWatchdog)
#include "tst_fuse_bridge_watchdog.moc"
