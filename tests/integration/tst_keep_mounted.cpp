// Keeping shares mounted over the real stack: the scheduler with the real engine, GVfs (gvfsd + FUSE) and
// Samba on loopback. A private smbd (same shares as the stack's, its own port) is killed and restarted here;
// the stack's own smbd is left alone. The Wi-Fi allow-list is the scheduler's unit tests over the engine root,
// with the NetworkManager port itself in tst_network_sleep_ports.
#include "support/linux/LinuxEngineHarness.h"
#include "support/linux/PrivateSmbd.h"
#include "support/linux/TestStack.h"
#include "unit/UnitTestHelpers.h"

#include "base/Preferences.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <unistd.h>

using namespace TestStack;

namespace {

// The engine and scheduler over the real ports; auto-mount guest shares of the stack's Samba host.
struct KeepMounted : LinuxEngineHarness
{
    explicit KeepMounted(bool restartBridge = false)
        : LinuxEngineHarness(ConsoleMode::CaptureShowOnFailure, restartBridge)
    {
        defaults.setValue(Preferences::Keys::AutoMountCheckInterval, 10);
    }
    qint64 addGuestShare(int port, const QString &share)
    {
        return addRecord([&](VolumeRecord &r) {
            r.hostname_String = env("TW_SMB_HOST");
            r.port_Int = port;
            r.volume_String = share;
            r.auto_Mount = 1;
        });
    }
};

// Longest pause of the main event loop while it lives: a hang detector, not a speed target.
struct LoopWatch
{
    QTimer timer;
    QElapsedTimer clock;
    qint64 maxGapMs = 0;
    LoopWatch()
    {
        clock.start();
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { maxGapMs = std::max(maxGapMs, clock.restart()); });
        timer.start(50);
    }
};

} // namespace

class TestKeepMounted : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (env("TW_SMB_PORT").isEmpty() || env("TW_SMB_CONF").isEmpty())
            QSKIP("the test stack's Samba is not running");
        if (!QFileInfo::exists(LocalFileSystem::standardVolumesFolder()))
            QSKIP("the GVfs FUSE folder is missing");
    }

    void remountsAfterServerRestart()
    {
        PrivateSmbd smbd;
        QVERIFY(smbd.prepare());
        QVERIFY(smbd.start());
        KeepMounted k;
        const qint64 id = k.addGuestShare(smbd.port(), env("TW_SMB_GUEST_SHARE"));
        k.scheduler->start();
        QCOMPARE(k.scheduler->intervalSeconds(), 10);

        // The first tick (10 s after start) mounts it.
        QTRY_VERIFY_WITH_TIMEOUT(k.record(id).runtime_isMounted_Bool, 60000);
        const QString path = k.record(id).runtime_computed_mountpoint_String;
        QVERIFY2(path.startsWith(k.fileSystem.volumesFolder()), qPrintable(path));

        LoopWatch watch;
        smbd.kill();
        QTRY_VERIFY_WITH_TIMEOUT(!k.record(id).runtime_isMounted_Bool, 60000);
        const QString ejected = QStringLiteral("Server unreachable; ejected stale mount at ");
        QTRY_VERIFY_WITH_TIMEOUT(k.eventCount(EVENT_TYPE_ENUM::CONNECTION_FAILED, ejected), 30000);
        QVERIFY(!k.record(id).runtime_isReachable_Bool);
        // The scheduler keeps ticking and retrying while the server is away; the engine stays responsive.
        const int ticksBefore = k.scheduler->tickCount();
        QTRY_VERIFY_WITH_TIMEOUT(k.scheduler->tickCount() >= ticksBefore + 2, 40000);
        QVERIFY(!k.record(id).runtime_isMounted_Bool);

        int attemptsAfterReturn = 0;
        QObject::connect(k.engine, &MountEngine::mountStarted, k.engine,
                         [&attemptsAfterReturn](qint64) { ++attemptsAfterReturn; });
        QVERIFY(smbd.start());
        QElapsedTimer back;
        back.start();
        QTRY_VERIFY_WITH_TIMEOUT(k.record(id).runtime_isMounted_Bool, 60000);
        qInfo("server back -> remounted in %lld ms (interval 10 s)", back.elapsed());
        // Remounted by the first attempt after the server came back, i.e. within one tick.
        QCOMPARE(attemptsAfterReturn, 1);
        QVERIFY2(watch.maxGapMs < 5000, qPrintable(QStringLiteral("main loop blocked for %1 ms").arg(watch.maxGapMs)));
    }

    void restartsLostFuseBridge()
    {
        // Needs the stack's own gvfsd-fuse PID (the last line of the gvfs PID file, from the second on) to break it.
        QFile pids(env("TW_STACK_DIR") + QStringLiteral("/pids/gvfs.pid"));
        const QList<QByteArray> lines = readFile(pids.fileName()).trimmed().split('\n');
        const pid_t fusePid = lines.size() < 2 ? 0 : pid_t(lines.last().trimmed().toInt());
        if (fusePid <= 0 || !readFile(QStringLiteral("/proc/%1/comm").arg(fusePid)).startsWith("gvfsd-fuse"))
            QSKIP("no running gvfsd-fuse in the GVfs PID file");

        KeepMounted k(true);
        const qint64 id = k.addGuestShare(env("TW_SMB_PORT").toInt(), env("TW_SMB_GUEST_SHARE"));
        k.scheduler->start();
        k.scheduler->checkSchedule();
        QTRY_VERIFY_WITH_TIMEOUT(k.record(id).runtime_isMounted_Bool, 60000);

        QSignalSpy restarted(&k.watchdog, &FuseBridgeWatchdog::bridgeRestarted);
        QSignalSpy lost(&k.watchdog, &FuseBridgeWatchdog::bridgeLost);
        QVERIFY(::kill(fusePid, SIGKILL) == 0); // the bridge dies; its FUSE mount stays behind, dead
        k.scheduler->checkSchedule();
        // A restart may wait 15 s for the new bridge, and a slow one is recognised by the tick after.
        QTRY_VERIFY_WITH_TIMEOUT(!restarted.isEmpty() || k.watchdog.state() == FuseBridgeWatchdog::State::Missing, 45000);
        QCOMPARE(restarted.size(), 1);
        const qint64 newPid = restarted.first().first().toLongLong();
        // Hand the new bridge to the stack so that stop.sh ends it by its PID.
        if (pids.open(QIODevice::Append))
            pids.write(QByteArray::number(newPid) + '\n');
        pids.close();
        QVERIFY(!lost.isEmpty());
        QVERIFY(k.eventCount(EVENT_TYPE_ENUM::CONNECTION_FAILED, QStringLiteral("GVfs FUSE bridge lost at ")));
        QVERIFY(k.eventCount(EVENT_TYPE_ENUM::CONNECTION_SUCCESS, QStringLiteral("GVfs FUSE bridge restarted at ")));
        // The share is reachable through the new bridge without remounting.
        const QString path = k.record(id).runtime_computed_mountpoint_String;
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(path).isDir(), 20000);
    }
};

QTEST_GUILESS_MAIN(TestKeepMounted)
#include "tst_keep_mounted.moc"
