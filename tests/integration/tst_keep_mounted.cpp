// Keeping shares mounted over the real stack: the scheduler with the real engine, GVfs (gvfsd + FUSE),
// Samba on loopback and the NetworkManager/logind mocks of the private system bus. A private smbd (same
// shares as the stack's, its own port) is killed and restarted here; the stack's own smbd is left alone.
#include "support/linux/LinuxEngineHarness.h"
#include "support/linux/TestStack.h"

#include "base/Preferences.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <unistd.h>

using namespace TestStack;

namespace {

// An smbd of this test only: the stack's configuration with its own port, state folders and log, in a
// process group of its own so that killing it takes the per-connection children along (a crash).
class PrivateSmbd
{
public:
    bool prepare()
    {
        QFile stackConf(env("TW_SMB_CONF"));
        if (!m_dir.isValid() || !stackConf.open(QIODevice::ReadOnly))
            return false;
        m_port = freePort();
        const QString d = m_dir.path();
        QStringList lines;
        for (const QString &line : QString::fromUtf8(stackConf.readAll()).split(QLatin1Char('\n'))) {
            const QString key = line.section(QLatin1Char('='), 0, 0).trimmed();
            static const QStringList dirs{QStringLiteral("lock directory"), QStringLiteral("state directory"),
                                          QStringLiteral("cache directory"), QStringLiteral("private dir"),
                                          QStringLiteral("pid directory"), QStringLiteral("ncalrpc dir")};
            if (key == QLatin1String("smb ports"))
                lines.append(QStringLiteral("  smb ports = %1").arg(m_port));
            else if (dirs.contains(key))
                lines.append(QStringLiteral("  %1 = %2/%3").arg(key, d, QString(key).replace(QLatin1Char(' '), QLatin1Char('_'))));
            else if (key == QLatin1String("passdb backend"))
                lines.append(QStringLiteral("  passdb backend = tdbsam:%1/passdb.tdb").arg(d));
            else if (key == QLatin1String("log file"))
                lines.append(QStringLiteral("  log file = %1/smbd.log").arg(d));
            else
                lines.append(line);
        }
        for (const QString &sub : {QStringLiteral("lock_directory"), QStringLiteral("state_directory"),
                                   QStringLiteral("cache_directory"), QStringLiteral("private_dir"),
                                   QStringLiteral("pid_directory"), QStringLiteral("ncalrpc_dir")})
            QDir().mkpath(d + QLatin1Char('/') + sub);
        m_conf = d + QStringLiteral("/smb.conf");
        QFile conf(m_conf);
        if (!conf.open(QIODevice::WriteOnly))
            return false;
        conf.write(lines.join(QLatin1Char('\n')).toUtf8());
        return true;
    }

    bool start()
    {
        m_process = std::make_unique<QProcess>();
        m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process->setStandardOutputFile(m_dir.path() + QStringLiteral("/smbd.stdout"));
        m_process->setChildProcessModifier([] { ::setsid(); });
        m_process->start(QStringLiteral("/usr/sbin/smbd"),
                         {QStringLiteral("--foreground"), QStringLiteral("--no-process-group"),
                          QStringLiteral("--configfile=") + m_conf});
        if (!m_process->waitForStarted(5000))
            return false;
        for (int i = 0; i < 150; ++i) {
            if (listening(m_port))
                return true;
            QTest::qWait(100);
        }
        return false;
    }

    // Like a crash: the whole process group at once, no goodbye to the clients.
    void kill()
    {
        if (!m_process || m_process->state() == QProcess::NotRunning)
            return;
        ::kill(-pid_t(m_process->processId()), SIGKILL);
        m_process->waitForFinished(10000);
    }

    ~PrivateSmbd() { kill(); }

    quint16 port() const { return m_port; }

private:
    QTemporaryDir m_dir;
    QString m_conf;
    quint16 m_port = 0;
    std::unique_ptr<QProcess> m_process;
};

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
    bool eventContaining(EVENT_TYPE_ENUM type, const QString &text) const { return eventCount(type, text) > 0; }
};

// Longest pause of the main event loop while it lives: a hang detector, not a speed target.
class LoopWatch
{
public:
    LoopWatch()
    {
        m_clock.start();
        m_timer.setInterval(50);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            m_maxGapMs = std::max(m_maxGapMs, m_clock.restart());
        });
        m_timer.start();
    }
    qint64 maxGapMs() const { return m_maxGapMs; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_maxGapMs = 0;
};

} // namespace

class TestKeepMounted : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void remountsAfterServerRestart();
    void allowListFollowsWifi();
    void restartsLostFuseBridge();
};

void TestKeepMounted::initTestCase()
{
    if (env("TW_SMB_PORT").isEmpty() || env("TW_SMB_CONF").isEmpty())
        QSKIP("the test stack's Samba is not running");
    if (!QFileInfo::exists(LocalFileSystem::standardVolumesFolder()))
        QSKIP("the GVfs FUSE folder is missing");
}

void TestKeepMounted::remountsAfterServerRestart()
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
    QTRY_VERIFY_WITH_TIMEOUT(k.eventContaining(EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                               QStringLiteral("Server unreachable; ejected stale mount at ")),
                             30000);
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
    QVERIFY2(watch.maxGapMs() < 5000, qPrintable(QStringLiteral("main loop blocked for %1 ms").arg(watch.maxGapMs())));
}

void TestKeepMounted::allowListFollowsWifi()
{
    if (env("TW_MOCK_NM_PID").isEmpty())
        QSKIP("the NetworkManager mock is not running");
    QVERIFY(mocks({QStringLiteral("ssid"), QStringLiteral("Office")}));
    KeepMounted k;
    QTRY_COMPARE(k.wifi.currentNetworkName(), std::optional<QString>(QStringLiteral("Office")));
    const qint64 id = k.addGuestShare(env("TW_SMB_PORT").toInt(), env("TW_SMB_GUEST_SHARE"));
    VolumeRecord r = k.record(id);
    r.allowedSSIDs_String = QStringLiteral("Office, Lab");
    QVERIFY(k.engine->updateRecord(r));
    k.scheduler->start();
    k.scheduler->checkSchedule();
    QTRY_VERIFY_WITH_TIMEOUT(k.record(id).runtime_isMounted_Bool, 60000);
    const QString path = k.record(id).runtime_computed_mountpoint_String;
    QVERIFY(QFileInfo(path).isDir());

    QVERIFY(mocks({QStringLiteral("ssid"), QStringLiteral("Guest WiFi")}));
    QTRY_COMPARE(k.wifi.currentNetworkName(), std::optional<QString>(QStringLiteral("Guest WiFi")));
    k.scheduler->checkSchedule();
    QTRY_VERIFY_WITH_TIMEOUT(!k.record(id).runtime_isMounted_Bool, 30000);
    QCOMPARE(k.record(id).runtime_status_String, QStringLiteral("Ejected"));
    QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(path), 10000);
    QVERIFY(mocks({QStringLiteral("ssid")}));
}

void TestKeepMounted::restartsLostFuseBridge()
{
    // Needs the stack's own gvfsd-fuse PID (second line of the gvfs PID file) to break it.
    QFile pids(env("TW_STACK_DIR") + QStringLiteral("/pids/gvfs.pid"));
    if (!pids.open(QIODevice::ReadOnly))
        QSKIP("no GVfs PID file");
    const QList<QByteArray> lines = pids.readAll().trimmed().split('\n');
    pids.close();
    if (lines.size() < 2)
        QSKIP("gvfsd-fuse PID unknown");
    const pid_t fusePid = pid_t(lines.last().trimmed().toInt());
    QFile comm(QStringLiteral("/proc/%1/comm").arg(fusePid));
    if (!comm.open(QIODevice::ReadOnly) || !comm.readAll().startsWith("gvfsd-fuse"))
        QSKIP("the last GVfs PID is not a running gvfsd-fuse");
    comm.close();

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
    QVERIFY(k.eventContaining(EVENT_TYPE_ENUM::CONNECTION_FAILED, QStringLiteral("GVfs FUSE bridge lost at ")));
    QVERIFY(k.eventContaining(EVENT_TYPE_ENUM::CONNECTION_SUCCESS, QStringLiteral("GVfs FUSE bridge restarted at ")));
    // The share is reachable through the new bridge without remounting.
    const QString path = k.record(id).runtime_computed_mountpoint_String;
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(path).isDir(), 20000);
}

QTEST_GUILESS_MAIN(TestKeepMounted)
#include "tst_keep_mounted.moc"
