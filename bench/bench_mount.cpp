// Mount + unmount latency of the stack's guest SMB share: a bare GIO mount (g_file_mount_enclosing_volume
// and g_mount_unmount_with_operation, nothing else) against GvfsMountService, which adds the password
// answers, the code mapping, the wait until the FUSE folder lists and the mount-table note. Interleaved,
// median of N rounds each, printed. Run under the test stack:
//   tests/stack/with-stack.sh STACK build/bench/bench_mount [rounds] [pause-ms]
//
// GVfs keeps a share's previous backend alive for about a second after it is unmounted, and until it exits
// gvfsd-fuse routes the new mount's FUSE folder to it and answers EIO. The service waits that out (its
// callers list the folder at once); a bare mount returns a folder that is not usable yet. Rounds are
// therefore spaced by a pause (default 1500 ms, not timed), as mounts of one share are in use; with
// pause-ms 0 the back-to-back figures show the cost of that wait.
#include "BenchFigures.h"
#include "BareGioMount.h"
#include "platform/MountResponseCode.h"
#include "platform/linux/GvfsMountService.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QUrl>

#include <gio/gio.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

bool serviceRoundTrip(GvfsMountService &service, const QUrl &url, double *mountMs, double *unmountMs)
{
    MountRequest request;
    request.url = url;
    request.guest = true;
    QElapsedTimer timer;
    timer.start();
    const MountResult result = service.mount(request, nullptr);
    *mountMs = timer.nsecsElapsed() / 1e6;
    if (result.code != MountResponseCode::Success)
        return false;
    timer.restart();
    const UnmountResult unmounted = service.unmount(result.mountPath, false);
    *unmountMs = timer.nsecsElapsed() / 1e6;
    return unmounted.ok;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QString port = qEnvironmentVariable("TW_SMB_PORT");
    if (port.isEmpty()) {
        std::fprintf(stderr, "bench_mount: needs the test stack (TW_SMB_PORT)\n");
        return 2;
    }
    const int rounds = std::max(10, argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 15);
    const int pauseMs = std::max(0, argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : 1500);
    const auto pause = [pauseMs] { g_usleep(gulong(pauseMs) * 1000); };
    const QUrl url(QStringLiteral("smb://%1:%2/%3")
                       .arg(qEnvironmentVariable("TW_SMB_HOST"), port, qEnvironmentVariable("TW_SMB_GUEST_SHARE")));
    GvfsMountService service; // no table: the bare side has none either

    std::vector<double> bareMount, bareUnmount, serviceMount, serviceUnmount;
    int failures = 0;
    std::vector<double> bareListing;
    double m = 0, u = 0;
    // One warm-up of each so the backend binaries and the server's first session are not measured.
    bareGioRoundTrip(url);
    pause();
    serviceRoundTrip(service, url, &m, &u);
    pause();
    for (int i = 0; i < rounds; ++i) {
        if (const std::optional<BareGioTimes> bare = bareGioRoundTrip(url)) {
            bareMount.push_back(bare->mountMs);
            bareListing.push_back(bare->firstListingMs);
            bareUnmount.push_back(bare->unmountMs);
        } else {
            ++failures;
        }
        pause();
        const bool serviceOk = serviceRoundTrip(service, url, &m, &u);
        pause();
        if (serviceOk) {
            serviceMount.push_back(m);
            serviceUnmount.push_back(u);
        } else {
            ++failures;
        }
    }
    const double bare = median(bareMount) + median(bareUnmount);
    const double svc = median(serviceMount) + median(serviceUnmount);
    std::printf("bench_mount: guest SMB share, %d rounds, %d failed, %d ms between round trips\n", rounds, failures,
                pauseMs);
    std::printf("  bare GIO        mount %8.1f ms  unmount %8.1f ms  (medians)\n", median(bareMount), median(bareUnmount));
    std::printf("  GvfsMountService mount %8.1f ms  unmount %8.1f ms  (medians)\n", median(serviceMount),
                median(serviceUnmount));
    std::printf("  bare GIO first listing of the new folder %6.1f ms (median, not in the bare figures)\n",
                median(bareListing));
    std::printf("  service/bare round trip: %.2f; against bare mount + first listing: %.2f\n", bare > 0 ? svc / bare : 0.0,
                svc / (bare + median(bareListing)));
    // ENGINE PATH: the whole engine (pipeline, discovery, eject) over the same share is measured against
    // GvfsMountService by bench_mount_engine in the same way; engine/bare = (engine/service) x (service/bare).
    return failures == 0 ? 0 : 1;
}
