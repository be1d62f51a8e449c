// The auto-mount scheduler driving the real engine over the in-process fakes, with a fake clock (timers
// fire when the test moves time) and a fake Wi-Fi network; first the pure decisions of its tick (schedule
// windows, weekday numbering, Wi-Fi allow-lists).
#include "support/EngineHarness.h"

#include "base/PreferencesApply.h"
#include "base/Preferences.h"
#include "core/AutoMountScheduler.h"
#include "core/ScheduleWindow.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace std::chrono_literals;

namespace {

const QString kHost = QStringLiteral("127.0.0.1");
// 2024-01-01 is a Monday (weekday 2); 2024-01-07 a Sunday (weekday 1).
const QDate kMonday(2024, 1, 1);
const QDate kSunday(2024, 1, 7);
const QList<int> kWorkdays{2, 3, 4, 5, 6};

QDateTime at(const QDate &day, int hour, int minute = 0, int second = 0)
{
    return QDateTime(day, QTime(hour, minute, second));
}

QDateTime at(const QDate &day, const QString &time)
{
    return QDateTime(day, QTime::fromString(time, QStringLiteral("HH:mm:ss")));
}

// The engine over the fakes with a started scheduler on a fake clock, Wi-Fi and sleep monitor.
struct Fixture : EngineHarness
{
    Fixture()
    {
        clock.setNow(at(kMonday, 12));
        scheduler->start();
    }
    // The servers' answer to the scheduler's liveness probe (the pipeline skips it for loopback hosts).
    void setServerUp(bool up) { network.setProbeResult(up ? SelectResult::ready() : SelectResult::timeout()); }

    qint64 add(MountUsingProtocol_Enum protocol = MountUsingProtocol_Enum::SMB, const QString &share = QStringLiteral("docs"))
    {
        return addShare(kHost, share, protocol);
    }
    qint64 addAuto(MountUsingProtocol_Enum protocol = MountUsingProtocol_Enum::SMB, const QString &share = QStringLiteral("docs"))
    {
        const qint64 id = add(protocol, share);
        edit(id, [](VolumeRecord &r) { r.auto_Mount = 1; });
        return id;
    }
    // One tick, then everything it started (mounts, ejects, probes) has finished and reported back.
    void tick()
    {
        QSignalSpy done(scheduler, &AutoMountScheduler::tickFinished);
        scheduler->checkSchedule();
        if (done.isEmpty())
            QVERIFY(done.wait(5000));
        drain();
    }
    void drain()
    {
        for (int i = 0; i < 5; ++i) {
            engine->waitForWorkers();
            settle(20);
        }
    }
    bool mounted(qint64 id) const { return record(id).runtime_isMounted_Bool; }
    QString status(qint64 id) const { return record(id).runtime_status_String; }
};

} // namespace

class TestAutoMountScheduler : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void shouldBeMounted_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("end");
        QTest::addColumn<QList<int>>("weekdays");
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QStringList>("probes"); // "+HH:mm:ss" mounted at that time, "-HH:mm:ss" not

        const auto row = [](const char *tag, const char *start, const char *end, const QList<int> &weekdays,
                            const QDate &day, const char *probes) {
            QTest::newRow(tag) << QString::fromLatin1(start) << QString::fromLatin1(end) << weekdays << day
                               << QString::fromLatin1(probes).split(QLatin1Char(' '));
        };
        row("across midnight, inclusive", "22:00:00", "06:00:00", kWorkdays, kMonday,
            "+22:00:00 -21:59:59 +06:00:00 -06:00:01");
        // Equal times: a window across midnight that never closes.
        row("equal times", "08:00:00", "08:00:00", kWorkdays, kMonday, "+03:00:00 +08:00:00");
        row("same day, strict", "09:00:00", "17:00:00", kWorkdays, kMonday, "-09:00:00 +09:00:01 +16:59:59 -17:00:00");
        // Only hour and minute of the stored times count.
        row("start seconds ignored", "09:00:45", "17:00:00", kWorkdays, kMonday, "+09:00:30");
        row("end seconds ignored", "09:00:00", "17:00:59", kWorkdays, kMonday, "-17:00:30");
        // Weekdays, Sunday = 1 to Saturday = 7: today's number must be listed; an empty list never mounts.
        row("inside, weekday missing", "09:00:00", "17:00:00", kWorkdays, kSunday, "-12:00:00");
        row("inside, Sunday listed", "09:00:00", "17:00:00", {1}, kSunday, "+12:00:00");
        row("inside, Saturday listed", "09:00:00", "17:00:00", {7}, QDate(2024, 1, 6), "+12:00:00");
        row("empty list", "00:00:00", "00:00:00", {}, kMonday, "-12:00:00");
    }
    void shouldBeMounted()
    {
        QFETCH(QString, start);
        QFETCH(QString, end);
        QFETCH(QList<int>, weekdays);
        QFETCH(QDate, day);
        QFETCH(QStringList, probes);
        // The stored times carry an arbitrary date: only their time of day may matter.
        const QDateTime mountTime = at(QDate(2019, 6, 3), start);
        const QDateTime unmountTime = at(QDate(2021, 11, 20), end);
        for (const QString &probe : probes) {
            const QDateTime now = at(day, probe.mid(1));
            QVERIFY2(ScheduleWindow::shouldBeMounted(mountTime, unmountTime, weekdays, now) == probe.startsWith(u'+'),
                     qPrintable(probe));
        }
    }

    void isNetworkAllowed_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<std::optional<QString>>("current");
        QTest::addColumn<bool>("allowed");
        const auto name = [](const char *n) { return std::optional<QString>(QString::fromUtf8(n)); };
        QTest::newRow("listed") << "Office,Lab" << name("Lab") << true;
        QTest::newRow("no network") << "Office,Lab" << std::optional<QString>() << false;
        QTest::newRow("blanks trimmed") << "  Office ,  Lab  " << name("Office") << true;
        QTest::newRow("case matters") << "Office,Lab" << name("office") << false;
        QTest::newRow("substring is not a match") << "Office,Lab" << name("Offic") << false;
        QTest::newRow("empty list, no network") << "" << std::optional<QString>() << true;
        QTest::newRow("blank list counts as empty") << " , " << std::optional<QString>() << true;
        QTest::newRow("blank entry never matches") << "Office, ," << name("") << false;
    }
    void isNetworkAllowed()
    {
        QFETCH(QString, list);
        QFETCH(std::optional<QString>, current);
        QTEST(ScheduleWindow::isNetworkAllowed(list, current), "allowed");
    }

    void timerFollowsTheIntervalAndWakeUp()
    {
        Fixture f;
        QCOMPARE(f.scheduler->intervalSeconds(), 15);
        f.clock.advance(8s);
        // The page's apply step: the interval of 10 takes effect at once, counted from the change.
        f.defaults.setValue(Preferences::Keys::AutoMountCheckInterval, 10);
        AppDelegateFields fields;
        PreferencesApply::apply(f.defaults, fields, &f.center);
        QCOMPARE(fields.auto_mount_check_interval_Int, std::optional<int>(10));
        QCOMPARE(f.scheduler->intervalSeconds(), 10);
        QVERIFY(f.hasLine(AutoMountScheduler::kIntervalLine + QStringLiteral("10")));
        int before = f.scheduler->tickCount();
        f.clock.advance(7s); // 15 s after start: the old timer would have fired here
        QCOMPARE(f.scheduler->tickCount(), before);
        f.clock.advance(3s - 1ms); // not a millisecond early
        QCOMPARE(f.scheduler->tickCount(), before);
        f.clock.advance(1ms);
        QCOMPARE(f.scheduler->tickCount(), before + 1);

        // Waking from sleep checks at once (5 s before the next tick was due).
        const qint64 id = f.addAuto();
        f.clock.advance(5s);
        before = f.scheduler->tickCount();
        f.sleep.simulateSleep();
        QCOMPARE(f.scheduler->tickCount(), before);
        f.sleep.simulateResume();
        QCOMPARE(f.scheduler->tickCount(), before + 1);
        QVERIFY(f.hasLine(AutoMountScheduler::kResumedLine));
        f.drain();
        QVERIFY(f.mounted(id));
        // The interval counts from the wake-up: nothing at the old due time, one tick 10 s after waking.
        f.clock.advance(5s);
        QCOMPARE(f.scheduler->tickCount(), before + 1);
        f.clock.advance(5s);
        QCOMPARE(f.scheduler->tickCount(), before + 2);
        f.clock.advance(20s); // one per interval
        QCOMPARE(f.scheduler->tickCount(), before + 4);

        // The interval read is the clamped one.
        f.defaults.setValue(Preferences::Keys::AutoMountCheckInterval, 5000);
        f.scheduler->restartTimer();
        QCOMPARE(f.scheduler->intervalSeconds(), 1440);
    }

    void autoMountRemountsDroppedShareAndLostServer()
    {
        Fixture f;
        const qint64 id = f.addAuto();
        const qint64 manualId = f.add(MountUsingProtocol_Enum::SMB, QStringLiteral("manual"));
        f.notifications.clear();
        f.tick();
        QVERIFY(f.mounted(id));
        QVERIFY(!f.mounted(manualId)); // neither auto nor schedule: left alone
        QVERIFY(f.notifications.contains(Notifications::RefreshVolumeUI));
        // Mounted: the next tick does not mount again.
        f.tick();
        QCOMPARE(f.service.mountCalls().size(), 1);

        // The volume disappears from the table (connection dropped): the sync clears the flag and the same
        // tick remounts it.
        QVERIFY(f.table.removeVolume(f.record(id).runtime_computed_mountpoint_String));
        f.drain();
        f.tick();
        QVERIFY(f.mounted(id));
        QCOMPARE(f.service.mountCalls().size(), 2);

        // The server stops answering: the tick's check ejects the mount (forced) once.
        const QString path = f.record(id).runtime_computed_mountpoint_String;
        f.service.clearCalls();
        f.setServerUp(false);
        f.service.setDefaultResult(MountResult{64, QStringLiteral("host is down"), {}});
        QSignalSpy lost(f.scheduler, &AutoMountScheduler::serverLost);
        f.tick();
        QTRY_COMPARE(lost.size(), 1);
        f.drain();
        QVERIFY(!f.mounted(id));
        QVERIFY(!f.record(id).runtime_isReachable_Bool);
        QCOMPARE(f.eventCount(EVENT_TYPE_ENUM::CONNECTION_FAILED), 1);
        QCOMPARE(f.events().first().eventMessage,
                 QStringLiteral("CONNECTION_FAILED: Server unreachable; ejected stale mount at ") + path);
        const auto calls = f.service.unmountCalls();
        QVERIFY(std::ranges::any_of(calls, [&path](const auto &call) { return call.path == path && call.force; }));
        // While the server stays away the tick keeps trying, but reports the outage only once.
        f.tick();
        f.tick();
        QVERIFY(!f.mounted(id));
        QCOMPARE(lost.size(), 1);
        f.setServerUp(true);
        f.service.setDefaultResult(MountResult{});
        f.tick();
        QVERIFY(f.mounted(id));
    }

    void serverReturnIsNoticedBeforeTheTick()
    {
        Fixture f;
        const qint64 id = f.addAuto();
        f.edit(id, [](VolumeRecord &r) { r.port_Int = 1445; });
        const qint64 manual = f.add(MountUsingProtocol_Enum::SMB, QStringLiteral("manual"));
        f.tick();
        QVERIFY(f.mounted(id));

        // The server goes: the tick's liveness check drops the mount, and its return is watched from now.
        f.setServerUp(false);
        f.network.setConnectResult(NetworkProbe::Connect::Failed);
        f.service.setDefaultResult(MountResult{64, QStringLiteral("host is down"), {}});
        QSignalSpy lost(f.scheduler, &AutoMountScheduler::serverLost);
        f.tick();
        QTRY_COMPARE(lost.size(), 1);
        f.drain();
        QVERIFY(!f.mounted(id));
        QVERIFY(f.scheduler->isAwaitingServer(id));
        QVERIFY(!f.scheduler->isAwaitingServer(manual));
        const int ticks = f.scheduler->tickCount();
        const qsizetype mountsBefore = f.service.mountCalls().size();
        f.network.clearConnectCalls();
        for (int i = 0; i < 3; ++i) {
            f.clock.advance(AutoMountScheduler::kReturnProbePeriod);
            f.drain();
        }
        // One light probe every period, of that share's host and port only; no mount while nobody answers.
        QCOMPARE(f.network.connectCalls(), QStringList(3, QStringLiteral("127.0.0.1:1445")));
        QCOMPARE(f.service.mountCalls().size(), mountsBefore);

        // Back: mounted within one probe period, not at the next tick.
        f.setServerUp(true);
        f.network.setConnectResult(NetworkProbe::Connect::Connected);
        f.service.setDefaultResult(MountResult{});
        f.clock.advance(AutoMountScheduler::kReturnProbePeriod);
        QTRY_VERIFY(f.mounted(id));
        QCOMPARE(f.scheduler->tickCount(), ticks);
        QVERIFY(f.hasLine(AutoMountScheduler::kServerBackLine.arg(QStringLiteral("docs"), kHost).arg(1445)));
        QVERIFY(!f.scheduler->isAwaitingServer(id));
        // Mounted again: the watch is over.
        f.network.clearConnectCalls();
        f.clock.advance(2 * AutoMountScheduler::kReturnProbePeriod);
        f.drain();
        QVERIFY(f.network.connectCalls().isEmpty());
    }

    void pause()
    {
        Fixture f;
        QSignalSpy flips(f.scheduler, &AutoMountScheduler::pausedChanged);
        const auto pauseAudits = [&f] { // "share name: details" of the pause/resume entries, newest first
            QStringList texts;
            for (const AuditLogEntry &e : f.audits()) {
                if (e.shareName && e.shareName->startsWith(QLatin1String("Auto-mount")))
                    texts.append(*e.shareName + QStringLiteral(": ") + e.details);
            }
            return texts;
        };
        // Nothing mounted: pausing does nothing at all; resuming while not paused is no flip either.
        QVERIFY(!f.scheduler->pauseAutoMount());
        QVERIFY(!f.scheduler->isAutoMountPaused());
        QVERIFY(!f.notifications.contains(Notifications::RefreshVolumeUI));
        QVERIFY(pauseAudits().isEmpty());
        QVERIFY(!f.scheduler->resumeAutoMount());

        const qint64 keep = f.addAuto(MountUsingProtocol_Enum::SMB, QStringLiteral("keep"));
        f.tick();
        QVERIFY(f.mounted(keep));
        f.notifications.clear();
        QVERIFY(f.scheduler->pauseAutoMount());
        QVERIFY(f.scheduler->isAutoMountPaused());
        QVERIFY(f.notifications.contains(Notifications::RefreshVolumeUI));
        QVERIFY(!f.scheduler->pauseAutoMount()); // already paused
        const qint64 later = f.addAuto(MountUsingProtocol_Enum::SMB, QStringLiteral("later"));
        f.tick();
        QVERIFY(f.mounted(keep)); // pausing ejects nothing
        QVERIFY(!f.mounted(later));

        // Resuming works with nothing mounted.
        QVERIFY(f.ejectAndWait(keep));
        QVERIFY(f.scheduler->resumeAutoMount());
        QVERIFY(!f.scheduler->isAutoMountPaused());
        QCOMPARE(flips.size(), 2);
        f.tick();
        QVERIFY(f.mounted(later));

        QCOMPARE(pauseAudits(), (QStringList{QStringLiteral("Auto-mount resume status: Auto-mount resumed"),
                                             QStringLiteral("Auto-mount pause status: Auto-mount paused")}));
    }

    void scheduleWindow_data()
    {
        QTest::addColumn<QTime>("start");
        QTest::addColumn<QTime>("end");
        QTest::addColumn<QList<int>>("weekdays");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("mountedBefore");
        QTest::addColumn<bool>("mountedAfter");
        // The window's edge cases are shouldBeMounted's table; here, what the tick does with them.
        const QList<int> monday{2};
        QTest::newRow("inside across midnight mounts") << QTime(22, 0) << QTime(6, 0) << monday << at(kMonday, 23) << false << true;
        QTest::newRow("outside ejects") << QTime(22, 0) << QTime(6, 0) << monday << at(kMonday, 12) << true << false;
        QTest::newRow("outside stays off (auto-mount too)") << QTime(9, 0) << QTime(17, 0) << monday << at(kMonday, 17) << false << false;
        QTest::newRow("weekday missing ejects") << QTime(8, 0) << QTime(8, 0) << QList<int>{3, 4} << at(kMonday, 12) << true << false;
        QTest::newRow("empty weekday list never mounts") << QTime(8, 0) << QTime(8, 0) << QList<int>{} << at(kMonday, 12) << false << false;
    }

    void scheduleWindow()
    {
        QFETCH(QTime, start);
        QFETCH(QTime, end);
        QFETCH(QList<int>, weekdays);
        QFETCH(QDateTime, now);
        QFETCH(bool, mountedBefore);
        QFETCH(bool, mountedAfter);
        Fixture f;
        const qint64 id = f.add();
        f.edit(id, [&](VolumeRecord &r) {
            r.schedule_Mount = 1;
            r.auto_Mount = 1; // the schedule wins over auto-mount
            r.schedule_MountTime = QDateTime(QDate(2020, 5, 5), start);
            r.schedule_UnMountTime = QDateTime(QDate(2020, 5, 5), end);
            r.schedule_Weekdays = weekdays;
        });
        if (mountedBefore)
            QCOMPARE(f.mountAndWait(id), 0);
        f.clock.setNow(now);
        f.tick();
        QCOMPARE(f.mounted(id), mountedAfter);
        if (mountedBefore && !mountedAfter)
            QCOMPARE(f.status(id), QStringLiteral("Ejected"));
    }

    void allowList()
    {
        Fixture f;
        f.wifi.setCurrentNetworkName(QStringLiteral("Lab"));
        const qint64 id = f.addAuto();
        f.edit(id, [](VolumeRecord &r) { r.allowedSSIDs_String = QStringLiteral("Office, Lab"); });
        const qint64 anywhere = f.addAuto(MountUsingProtocol_Enum::SMB, QStringLiteral("anywhere"));
        f.tick();
        QVERIFY(f.mounted(id));

        f.wifi.setCurrentNetworkName(QStringLiteral("Home"));
        f.tick();
        QVERIFY(!f.mounted(id));
        QVERIFY(f.mounted(anywhere)); // no list: any network
        const qsizetype mounts = f.service.mountCalls().size();
        f.tick();
        QCOMPARE(f.service.mountCalls().size(), mounts); // not remounted on the wrong network

        f.wifi.setCurrentNetworkName(std::nullopt); // off Wi-Fi: not allowed either
        f.tick();
        QVERIFY(!f.mounted(id));

        f.wifi.setCurrentNetworkName(QStringLiteral("Office"));
        f.tick();
        QVERIFY(f.mounted(id));
    }

    void allowListWaitsUntilTheNetworkIsKnown()
    {
        // Start-up: the Wi-Fi state is not known yet, which must not read as "off Wi-Fi".
        Fixture f;
        f.wifi.setUnknown();
        const qint64 mounted = f.addAuto();
        const qint64 waiting = f.addAuto(MountUsingProtocol_Enum::SMB, QStringLiteral("waiting"));
        for (qint64 id : {mounted, waiting})
            f.edit(id, [](VolumeRecord &r) { r.allowedSSIDs_String = QStringLiteral("Office"); });
        QCOMPARE(f.mountAndWait(mounted), 0);
        const qsizetype mounts = f.service.mountCalls().size();
        f.tick();
        QVERIFY(f.mounted(mounted));
        QVERIFY(!f.mounted(waiting));
        QCOMPARE(f.service.mountCalls().size(), mounts); // neither ejected nor mounted on a guess

        f.wifi.setCurrentNetworkName(QStringLiteral("Home"));
        f.tick();
        QVERIFY(!f.mounted(mounted));
        QCOMPARE(f.status(mounted), QStringLiteral("Ejected"));
        QVERIFY(!f.mounted(waiting));
    }

    void webdavGate_data()
    {
        QTest::addColumn<bool>("scheduled");
        QTest::addColumn<QString>("statusBefore");
        QTest::addColumn<QString>("statusAfter");
        QTest::newRow("auto-mount") << false << QString() << AutoMountScheduler::kShareUrlProbeFailedStatus;
        QTest::newRow("schedule") << true << QString() << QStringLiteral("Server unreachable");
        QTest::newRow("schedule keeps an unreachable text")
            << true << QStringLiteral("Host UNREACHABLE (Error 65)") << QStringLiteral("Host UNREACHABLE (Error 65)");
    }
    void webdavGate()
    {
        QFETCH(bool, scheduled);
        QFETCH(QString, statusBefore);
        Fixture f;
        const qint64 id = f.add(MountUsingProtocol_Enum::WebDAV, QStringLiteral("dav"));
        f.edit(id, [&](VolumeRecord &r) {
            r.auto_Mount = scheduled ? 0 : 1;
            r.schedule_Mount = scheduled ? 1 : 0;
            r.schedule_MountTime = QDateTime(kMonday, QTime(0, 0));
            r.schedule_UnMountTime = QDateTime(kMonday, QTime(0, 0));
            r.schedule_Weekdays = {1, 2, 3, 4, 5, 6, 7};
        });
        f.engine->updateRuntime(id, [&](VolumeRecord &r) {
            r.runtime_status_String = statusBefore;
            r.runtime_isReachable_Bool = true;
        });
        f.network.setServersAnswer(false);
        f.tick();
        QVERIFY(!f.mounted(id));
        QVERIFY(f.service.mountCalls().isEmpty());
        QTEST(f.status(id), "statusAfter");
        QVERIFY(!f.record(id).runtime_isReachable_Bool);

        f.network.setServersAnswer(true);
        f.tick();
        QVERIFY(f.mounted(id));
    }

    void countdownToTimeout_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<int>("timeout");
        QTest::newRow("unset") << QVariant() << 60;
        QTest::newRow("15 seconds") << QVariant(15) << 15;
    }
    void countdownToTimeout()
    {
        QFETCH(QVariant, stored);
        QFETCH(int, timeout);
        Fixture f;
        if (stored.isValid())
            f.defaults.setValue(Preferences::Keys::MountTimeout, stored);
        f.service.setBlocking(QUrl()); // every mount hangs until cancelled
        const qint64 id = f.addAuto();
        QSignalSpy finished(f.engine, &MountEngine::mountFinished);
        f.scheduler->checkSchedule();
        QVERIFY(f.service.waitForBlocked(1, 5000));
        QVERIFY(f.scheduler->hasCountdown(id));
        QCOMPARE(f.status(id), QStringLiteral("Connecting... 0s"));

        for (int s = 1; s < timeout; ++s) {
            f.clock.advance(1s);
            QCOMPARE(f.status(id), QStringLiteral("Connecting... %1s").arg(s));
        }
        // A tick during the attempt does not start it again.
        f.scheduler->checkSchedule();
        QCOMPARE(f.service.mountCalls().size(), 1);
        QCOMPARE(f.eventCount(EVENT_TYPE_ENUM::MOUNT_TIMEOUT), 0);

        f.clock.advance(1s);
        QVERIFY(finished.wait(5000)); // the time-out cancelled the pending platform mount
        QCOMPARE(finished.first().at(1).toInt(), 89);
        QVERIFY(!f.scheduler->hasCountdown(id));
        QCOMPARE(f.eventCount(EVENT_TYPE_ENUM::MOUNT_TIMEOUT), 1);
        QVERIFY(f.hasLine(QStringLiteral("⏰ [MOUNT] Timeout after %1 seconds").arg(timeout)));
        QVERIFY(!f.mounted(id));
        f.clock.advance(5s); // no countdown left to fire
        QCOMPARE(f.eventCount(EVENT_TYPE_ENUM::MOUNT_TIMEOUT), 1);
    }

    void ejectStatusIsClearedTenSecondsLater()
    {
        Fixture f;
        const qint64 id = f.add();
        QCOMPARE(f.mountAndWait(id), 0);
        const QString path = f.record(id).runtime_computed_mountpoint_String;
        // Unmounts of other paths (the root, the volumes folder, another volume) are noticed, not matched.
        const int eventsBefore = int(f.events().size());
        for (const QString &other : {QStringLiteral("/"), QString(f.volumesFolder + QLatin1Char('/')),
                                     f.volumePath(QStringLiteral("smb-share:server=127.0.0.1,share=other"))}) {
            f.clearConsole();
            Q_EMIT f.table.volumeUnmounted(other);
            f.settle();
            QVERIFY(f.mounted(id));
            QCOMPARE(int(f.events().size()), eventsBefore);
            QVERIFY(f.hasLineContaining(QStringLiteral("System unmount detected")));
            QVERIFY2(!f.hasLineContaining(QStringLiteral("Matched to record")), qPrintable(other));
        }

        // Someone else unmounts it.
        f.clearConsole();
        f.notifications.clear();
        QVERIFY(f.table.removeVolume(path));
        QTRY_VERIFY(!f.mounted(id));
        QCOMPARE(f.status(id), QStringLiteral("Ejected externally from ") + path);
        QVERIFY(f.hasLine(QStringLiteral("🔔 [NOTIFY] System unmount detected: '") + path + QLatin1Char('\'')));
        QVERIFY(f.hasLine(QStringLiteral("🔔 [NOTIFY] Matched to record: docs")));
        QVERIFY(f.notifications.contains(Notifications::RefreshVolumeUI));
        QCOMPARE(f.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
        QCOMPARE(f.events().first().eventMessage, QStringLiteral("UMMOUNT_SUCCESS: Volume was ejected outside of Tarnwell"));
        f.clock.advance(9999ms);
        QCOMPARE(f.status(id), QStringLiteral("Ejected externally from ") + path);
        f.clock.advance(1ms);
        QCOMPARE(f.status(id), QString());

        // Our own eject: the unmount shows in the table too, but is not taken for an external one.
        QCOMPARE(f.mountAndWait(id), 0);
        f.clearConsole();
        QVERIFY(f.ejectAndWait(id));
        QCOMPARE(f.status(id), QStringLiteral("Ejected"));
        QVERIFY(f.scheduler->hasStatusClearTimer(id));
        QVERIFY(f.hasLineContaining(QStringLiteral("System unmount detected")));
        QVERIFY(!f.hasLineContaining(QStringLiteral("Matched to record")));
        f.clock.advance(5s);
        // A second eject replaces the pending clear: the text now stays until 10 s after it.
        QVERIFY(f.ejectAndWait(id));
        const QString second = f.status(id);
        QVERIFY(!second.isEmpty());
        f.clock.advance(9s);
        QCOMPARE(f.status(id), second);
        f.notifications.clear();
        f.clock.advance(1s);
        QCOMPARE(f.status(id), QString());
        QVERIFY(!f.scheduler->hasStatusClearTimer(id));
        QVERIFY(f.notifications.contains(Notifications::RefreshVolumeUI));

        // A status written after the eject (a new attempt) is not cleared.
        QVERIFY(f.ejectAndWait(id));
        f.engine->setStatus(id, QStringLiteral("Testing connection to 127.0.0.1"));
        f.clock.advance(10s);
        QCOMPARE(f.status(id), QStringLiteral("Testing connection to 127.0.0.1"));
    }
};

QTEST_GUILESS_MAIN(TestAutoMountScheduler)
#include "tst_automount_scheduler.moc"
