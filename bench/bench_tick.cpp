// Cost of one auto-mount tick, and how soon a share comes back after its server does.
//
//   tick: 1,000 records (half auto-mount and mounted, a quarter scheduled outside their window and not
//         mounted, a quarter manual), nothing to mount: median and worst main-thread time of checkSchedule()
//         until the per-record pass has finished (target: median <= 5 ms).
//   remount: the engine over the in-process mount service with the real clock and the shortest interval
//         (10 s); the "server" comes back at a random moment, the figure is the time until the share is
//         mounted again (target: <= interval + 1 s).
#include "support/EngineHarness.h"

#include "base/Preferences.h"
#include "platform/SystemClock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <cstdio>

namespace {

// The engine over the in-process fakes (console lines dropped: they would dominate the figures) with a
// scheduler whose server check always answers.
EngineHost::Options benchOptions()
{
    EngineHost::Options options = EngineHarness::defaultOptions();
    options.serverReachable = [](const VolumeRecord &) { return true; };
    return options;
}

struct Bench : EngineHarness
{
    explicit Bench(bool systemClock)
        : EngineHarness(ConsoleMode::Discard, benchOptions(), [systemClock](PlatformPorts &ports) {
            if (systemClock)
                ports.clock = std::make_unique<SystemClock>();
        })
    {
    }
};

void benchTick()
{
    Bench b(false);
    b.clock.setNow(QDateTime(QDate(2024, 1, 1), QTime(12, 0)));
    QList<VolumeRecord> records;
    QList<MountedVolume> volumes;
    for (int i = 0; i < 1000; ++i) {
        VolumeRecord r;
        r.internal_ID_Int = i + 1;
        r.hostname_String = QStringLiteral("127.0.0.%1").arg(1 + i % 200);
        r.volume_String = QStringLiteral("share%1").arg(i);
        r.no_password_guest_login = 1;
        if (i % 2 == 0) {
            r.auto_Mount = 1;
            r.runtime_isMounted_Bool = true;
            r.runtime_computed_mountpoint_String = b.volumesFolder + QStringLiteral("/smb-share:server=%1,share=%2")
                                                                 .arg(r.hostname_String, r.volume_String);
            volumes.append({r.runtime_computed_mountpoint_String,
                            QUrl(QStringLiteral("smb://%1/%2").arg(r.hostname_String, r.volume_String)), false});
        } else if (i % 4 == 1) {
            r.schedule_Mount = 1;
            r.schedule_MountTime = QDateTime(QDate(2024, 1, 1), QTime(22, 0));
            r.schedule_UnMountTime = QDateTime(QDate(2024, 1, 1), QTime(6, 0));
        }
        records.append(r);
    }
    b.engine->store().setRecords(records);
    b.table.setVolumes(volumes);

    QList<double> ms;
    for (int run = 0; run < 61; ++run) {
        QSignalSpy done(b.scheduler, &AutoMountScheduler::tickFinished);
        QElapsedTimer t;
        t.start();
        b.scheduler->checkSchedule();
        const double elapsed = double(t.nsecsElapsed()) / 1e6;
        if (done.isEmpty())
            done.wait(5000);
        // Let the liveness probes of the mounted half come back before the next run.
        QCoreApplication::processEvents();
        QTest::qWait(5);
        if (run > 0) // the first run warms caches
            ms.append(elapsed);
    }
    QList<double> syncMs;
    for (int run = 0; run < 31; ++run) {
        QElapsedTimer t;
        t.start();
        b.engine->syncWithMountTable();
        syncMs.append(double(t.nsecsElapsed()) / 1e6);
        QCoreApplication::processEvents();
    }
    std::sort(syncMs.begin(), syncMs.end());
    std::sort(ms.begin(), ms.end());
    std::printf("tick, 1000 records, nothing to mount: median %.2f ms, p90 %.2f ms, max %.2f ms over %lld runs "
                "(target median <= 5 ms)\n",
                ms.at(ms.size() / 2), ms.at(ms.size() * 9 / 10), ms.last(), qlonglong(ms.size()));
    std::printf("  of which the engine's mount-table sync alone: median %.2f ms\n", syncMs.at(syncMs.size() / 2));
    if (b.service.mountCalls().size() != 0)
        std::printf("  warning: %lld mounts were started\n", qlonglong(b.service.mountCalls().size()));
}

void benchRemount()
{
    Bench b(true);
    b.defaults.setValue(Preferences::Keys::AutoMountCheckInterval, 10);
    VolumeRecord r;
    r.hostname_String = QStringLiteral("127.0.0.1");
    r.volume_String = QStringLiteral("docs");
    r.no_password_guest_login = 1;
    r.auto_Mount = 1;
    const qint64 id = b.engine->addRecord(r);
    b.scheduler->start();

    QList<double> seconds;
    for (int sample = 0; sample < 3; ++sample) {
        // Server down: every mount fails with "host is down".
        b.service.setDefaultResult(MountResult{64, QStringLiteral("host is down"), {}});
        if (const VolumeRecord *live = b.engine->record(id); live && live->runtime_isMounted_Bool)
            b.table.removeVolume(live->runtime_computed_mountpoint_String);
        QTest::qWait(200);
        // The server returns at a random point of the tick cycle.
        QTest::qWait(int(QRandomGenerator::global()->bounded(10000)));
        b.service.setDefaultResult(MountResult{});
        QElapsedTimer back;
        back.start();
        while (back.elapsed() < 30000 && !b.engine->record(id)->runtime_isMounted_Bool)
            QTest::qWait(20);
        seconds.append(back.elapsed() / 1000.0);
        std::printf("remount after server return: %.2f s\n", seconds.last());
        std::fflush(stdout);
    }
    std::printf("remount after server return: max %.2f s over %lld samples (interval %d s; target <= %d s)\n",
                *std::max_element(seconds.begin(), seconds.end()), qlonglong(seconds.size()),
                b.scheduler->intervalSeconds(), b.scheduler->intervalSeconds() + 1);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchTick();
    if (!qEnvironmentVariableIsSet("TW_BENCH_TICK_ONLY"))
        benchRemount();
    return 0;
}
