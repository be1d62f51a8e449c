// The FUSE-bridge watchdog's policy over a fake bridge: one report per outage, restart and back-off,
// refusals, and a hanging check reported as unresponsive.
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "core/FuseBridgeWatchdog.h"
#include "logging/LogEventManager.h"
#include "platform/fake/FakeFuseBridge.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace std::chrono_literals;
using State = FuseBridgeWatchdog::State;
using Health = FuseBridge::Health;
Q_DECLARE_METATYPE(FuseBridge::Health)

namespace {
const QString kFolder = QStringLiteral("/run/user/1000/gvfs");

struct Env
{
    explicit Env(bool restartAllowed = true, std::chrono::milliseconds checkTimeout = 5000ms)
        : watchdog(bridge, {.restartAllowed = restartAllowed, .checkTimeout = checkTimeout}, &eventLog)
    {
    }
    QTemporaryDir dir;
    Defaults defaults{dir.path() + QStringLiteral("/prefs.plist")};
    NotificationCenter center;
    LogEventManager eventLog{defaults, &center};
    std::shared_ptr<FakeFuseBridge> bridge = std::make_shared<FakeFuseBridge>(kFolder);
    FuseBridgeWatchdog watchdog;
    QSignalSpy checked{&watchdog, &FuseBridgeWatchdog::checked};
    QSignalSpy lost{&watchdog, &FuseBridgeWatchdog::bridgeLost};
    QSignalSpy restarted{&watchdog, &FuseBridgeWatchdog::bridgeRestarted};

    bool checkOnce()
    {
        const qsizetype before = checked.size();
        watchdog.check();
        return checked.size() > before || checked.wait(5000);
    }
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
    void outage_data()
    {
        QTest::addColumn<Health>("health");
        QTest::addColumn<bool>("restartAllowed");
        QTest::addColumn<QString>("refusal");     // the bridge's own obstacle
        QTest::addColumn<QString>("failure");     // what a restart answers (empty: it works)
        QTest::addColumn<QString>("outcome");     // the one event after the loss
        QTest::addColumn<int>("restarts");        // over three checks
        QTest::addColumn<State>("state");
        QTest::newRow("restarted") << Health::Missing << true << QString() << QString() << QString(QLatin1String("CONNECTION_SUCCESS: GVfs FUSE bridge restarted at ") + kFolder)
                                   << 1 << State::Healthy;
        QTest::newRow("dead mount restarted") << Health::Dead << true << QString() << QString() << QString(QLatin1String("GVfs FUSE bridge restarted at ") + kFolder)
                                              << 1 << State::Healthy;
        QTest::newRow("no bridge program") << Health::Missing << true << QStringLiteral("/usr/libexec/gvfsd-fuse is not available") << QString()
                                           << QStringLiteral("GVfs FUSE bridge not restarted: /usr/libexec/gvfsd-fuse is not available")
                                           << 0 << State::Missing;
        QTest::newRow("switched off") << Health::Missing << false << QString() << QString()
                                      << QStringLiteral("GVfs FUSE bridge not restarted: restarting is switched off") << 0 << State::Missing;
        // Started once, then the back-off keeps it from being started again on every check.
        QTest::newRow("bridge does not mount") << Health::Missing << true << QString() << QString(QLatin1String("the bridge did not mount ") + kFolder)
                                               << QString(QLatin1String("GVfs FUSE bridge not restarted: the bridge did not mount ") + kFolder)
                                               << 1 << State::Missing;
    }
    void outage()
    {
        QFETCH(Health, health);
        QFETCH(bool, restartAllowed);
        QFETCH(QString, refusal);
        QFETCH(QString, failure);
        QFETCH(QString, outcome);
        QFETCH(int, restarts);
        QFETCH(State, state);
        Env env(restartAllowed);
        env.bridge->setHealth(health);
        env.bridge->setRestartRefusal(refusal);
        env.bridge->setRestartFailure(failure);
        for (int i = 0; i < 3; ++i)
            QVERIFY(env.checkOnce());
        QCOMPARE(env.watchdog.state(), state);
        QCOMPARE(env.bridge->restartCount(), restarts);
        if (restarts > 0)
            QCOMPARE(env.bridge->lastRestartDetached(), health == Health::Dead);
        QCOMPARE(env.lost.size(), 1); // once per outage, not per check
        QCOMPARE(env.lost.first().first().value<State>(), health == Health::Dead ? State::Dead : State::Missing);
        QCOMPARE(env.eventsContaining(QStringLiteral("CONNECTION_FAILED: GVfs FUSE bridge lost at ") + kFolder), 1);
        QCOMPARE(env.eventsContaining(outcome), 1);
        QCOMPARE(env.restarted.size(), state == State::Healthy ? 1 : 0);
        if (state == State::Healthy)
            QCOMPARE(env.restarted.first().first().toLongLong(), env.watchdog.lastStartedBridgePid());

        // Back, then lost again: a new outage is reported again. A bridge that was started but too slow to
        // mount in time is reported restarted once it has.
        env.bridge->setHealth(Health::Healthy);
        QVERIFY(env.checkOnce());
        QCOMPARE(env.watchdog.state(), State::Healthy);
        QCOMPARE(env.restarted.size(), restarts);
        env.bridge->setHealth(Health::Missing);
        QVERIFY(env.checkOnce());
        QCOMPARE(env.lost.size(), 2);
    }

    void hangingCheckIsReportedUnresponsive()
    {
        Env env(true, 200ms);
        env.bridge->setHanging(true);
        env.watchdog.check();
        QVERIFY(env.checked.wait(3000));
        QCOMPARE(env.watchdog.state(), State::Unresponsive);
        QCOMPARE(env.lost.size(), 1);
        QVERIFY(env.watchdog.isCheckRunning());
        env.watchdog.check(); // refused while the first one hangs
        QCOMPARE(env.bridge->restartCount(), 0); // a hanging bridge is never replaced

        env.bridge->setHanging(false);
        QTRY_VERIFY(!env.watchdog.isCheckRunning());
        QCOMPARE(env.watchdog.state(), State::Healthy);
    }
};

QTEST_GUILESS_MAIN(TestFuseBridgeWatchdog)
#include "tst_fuse_bridge_watchdog.moc"
