// Mount + unmount latency of the stack's guest SMB share through the whole engine (pipeline, discovery,
// eject) against a bare GIO mount of the same URI and against the platform call the engine wraps
// (GvfsMountService on a worker), interleaved in the same run, rounds spaced by 1.5 s (GVfs keeps an
// unmounted share's backend for about a second). Prints the medians and their ratios (target: engine <= 1.10
// x bare GIO). Run under the test stack:
//   tests/stack/with-stack.sh STACK build/bench/bench_mount_engine [rounds]
#include "BenchFigures.h"
#include "BareGioMount.h"
#include "platform/MountResponseCode.h"
#include "platform/MountService.h"
#include "support/linux/LinuxEngineHarness.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <future>

namespace {

template<typename F>
auto onWorker(F f) -> decltype(f())
{
    auto future = std::async(std::launch::async, std::move(f));
    while (future.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return future.get();
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(10, QString::fromLocal8Bit(argv[1]).toInt()) : 12;
    const QString host = qEnvironmentVariable("TW_SMB_HOST");
    const int port = qEnvironmentVariableIntValue("TW_SMB_PORT");
    const QString share = qEnvironmentVariable("TW_SMB_GUEST_SHARE");
    if (host.isEmpty() || port <= 0 || share.isEmpty()) {
        std::fprintf(stderr, "bench_mount_engine: run under tests/stack/with-stack.sh\n");
        return 2;
    }
    // The engine's lines would dominate the timing on a terminal; they are kept for a failure report.
    LinuxEngineHarness harness(LinuxEngineHarness::ConsoleMode::Capture);
    MountEngine &engine = *harness.engine;
    MountTable &table = harness.table;
    MountService &service = *harness.host->ports().mountService;
    const qint64 id = harness.addShare(host, share, MountUsingProtocol_Enum::SMB, true, port);
    const VolumeRecord &record = harness.record(id);

    MountRequest request;
    request.url = QUrl(record.mountURLText());
    request.guest = true;

    // A share left mounted by an earlier, interrupted run would make every mount answer 17.
    for (const MountedVolume &volume : table.mountedVolumes()) {
        if (volume.remountUrl && volume.remountUrl->host() == host && volume.remountUrl->port() == port)
            onWorker([&] { return service.unmount(volume.path, true); });
    }

    QList<double> engineMs;
    QList<double> bareMs;
    QList<double> gioMs;
    QList<double> gioListingMs;
    for (int i = 0; i < rounds; ++i) {
        QTest::qWait(1500);
        if (const auto gio = onWorker([&] { return bareGioRoundTrip(request.url); })) {
            gioMs.append(gio->mountMs + gio->unmountMs);
            gioListingMs.append(gio->firstListingMs);
        } else {
            std::fprintf(stderr, "bare GIO round %d failed\n", i);
            return 1;
        }
        QTest::qWait(1500);
        {
            QElapsedTimer timer;
            timer.start();
            const MountResult mounted = onWorker([&] { return service.mount(request, nullptr); });
            const UnmountResult unmounted = onWorker([&] { return service.unmount(mounted.mountPath, false); });
            bareMs.append(timer.nsecsElapsed() / 1e6);
            if (mounted.code != 0 || !unmounted.ok) {
                std::fprintf(stderr, "bare round %d failed: code %d, unmount %d\n", i, mounted.code, int(unmounted.ok));
                return 1;
            }
        }
        // gvfsd-fuse keeps answering ENOENT for a while for a name whose mount just went away, and both
        // sides reuse the same name: let it forget between the timed parts.
        QTest::qWait(1500);
        {
            QSignalSpy mountedSpy(&engine, &MountEngine::mountFinished);
            QSignalSpy ejectedSpy(&engine, &MountEngine::ejectFinished);
            QElapsedTimer timer;
            timer.start();
            harness.clearConsole();
            engine.mount(id);
            if (!mountedSpy.wait(60000) || mountedSpy.first().at(1).toInt() != 0) {
                std::fprintf(stderr, "engine round %d: mount failed\n", i);
                return 1;
            }
            engine.eject(id);
            if (!ejectedSpy.wait(60000) || !ejectedSpy.first().at(1).toBool()) {
                std::fprintf(stderr, "engine round %d: eject failed\n%s\n", i, qPrintable(harness.console().join(QLatin1Char('\n'))));
                return 1;
            }
            engineMs.append(timer.nsecsElapsed() / 1e6);
        }
    }
    const double bare = median(bareMs);
    const double viaEngine = median(engineMs);
    const double gio = median(gioMs);
    const double gioListing = median(gioListingMs);
    std::printf("mount+unmount of smb://%s:%d/%s, %d rounds each (interleaved)\n", qPrintable(host), port,
                qPrintable(share), rounds);
    std::printf("  bare GIO:              median %.1f ms (+ %.1f ms until its folder first lists, not included)\n",
                gio, gioListing);
    std::printf("  bare GvfsMountService: median %.1f ms\n", bare);
    std::printf("  MountEngine:           median %.1f ms\n", viaEngine);
    std::printf("  ratio engine/bare GIO: %.3f (target <= 1.10); against bare GIO + first listing: %.3f\n",
                gio > 0 ? viaEngine / gio : 0.0, viaEngine / (gio + gioListing));
    std::printf("  ratio engine/service:  %.3f\n", bare > 0 ? viaEngine / bare : 0.0);
    return 0;
}
