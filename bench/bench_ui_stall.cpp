// The longest stall of the main thread while 20 mounts hang: the dashboard and the tray over the engine on the
// real ports of the test stack (GVfs), 20 WebDAV shares on a loopback listener that accepts connections and
// never answers. A 1 ms timer on the main thread records the largest gap between its ticks from the first
// mount request until every mount has ended (the mount time-out cancels them), and, for comparison, over 5 s
// of the same windows idle before. Prints figures; asserts nothing. Run under the test stack:
//   tests/stack/with-stack.sh STACK build/bench/bench_ui_stall
#include "support/linux/LinuxEngineHarness.h"
#include "ui/DashboardWindow.h"
#include "ui/TrayController.h"
#include "ui/UiContext.h"

#include "base/Preferences.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

// Accepts and holds every connection, answers nothing; prints its port; ends by itself after `lifetime` s.
const char kListener[] = R"(
import socket, sys, time
s = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind(("127.0.0.1", 0))
s.listen(128)
print(s.getsockname()[1], flush=True)
s.settimeout(0.5)
held = []
end = time.time() + float(sys.argv[1])
while time.time() < end:
    try:
        c, _ = s.accept()
        held.append(c)
    except socket.timeout:
        pass
)";

// The largest gap between ticks of a 1 ms timer, the moment it ended, and how many gaps exceeded 50 ms.
struct Watch
{
    qint64 longestNs = 0;
    qint64 longestAtMs = 0;
    int over50 = 0;
    int ticks = 0;
};

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    constexpr int kMounts = 20;
    constexpr int kMountTimeoutSeconds = 10;
    if (qEnvironmentVariableIsEmpty("TW_SMB_HOST")) {
        std::fprintf(stderr, "bench_ui_stall: run under tests/stack/with-stack.sh\n");
        return 2;
    }

    QProcess listener;
    listener.start(QStringLiteral("python3"), {QStringLiteral("-c"), QString::fromLatin1(kListener), QStringLiteral("90")});
    if (!listener.waitForReadyRead(10000)) {
        std::fprintf(stderr, "bench_ui_stall: the listener did not start\n");
        return 1;
    }
    const int port = listener.readLine().trimmed().toInt();
    const auto stopListener = [&listener] {
        if (listener.state() != QProcess::NotRunning) {
            listener.terminate(); // by its PID
            if (!listener.waitForFinished(3000))
                listener.kill();
            listener.waitForFinished(2000);
        }
    };

    int ended = 0;
    double elapsedMs = 0;
    Watch baseline;
    Watch measured;
    {
        LinuxEngineHarness h(LinuxEngineHarness::ConsoleMode::Capture);
        h.defaults.setValue(Preferences::Keys::MountTimeout, QVariant(qlonglong(kMountTimeoutSeconds)));
        QList<qint64> ids;
        for (int i = 0; i < kMounts; ++i)
            ids << h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("hang%1").arg(i),
                              MountUsingProtocol_Enum::WebDAV, true, port);

        UiContext context;
        context.engine = h.engine;
        context.eventLog = &h.eventLog;
        context.defaults = &h.defaults;
        context.center = &h.center;
        context.scheduler = h.scheduler;
        context.credentials = &h.credentials;
        DashboardWindow window(context);
        TrayController tray(context);
        window.show();
        if (!QTest::qWaitForWindowExposed(&window))
            std::fprintf(stderr, "window not exposed\n");
        QTest::qWait(200);

        QObject::connect(h.engine, &MountEngine::mountFinished, [&ended](qint64, int) { ++ended; });
        Watch watch;
        QElapsedTimer sinceTick;
        QElapsedTimer total;
        QTimer probe;
        probe.setTimerType(Qt::PreciseTimer);
        probe.setInterval(1);
        QObject::connect(&probe, &QTimer::timeout, [&] {
            const qint64 gap = sinceTick.nsecsElapsed();
            if (gap > watch.longestNs) {
                watch.longestNs = gap;
                watch.longestAtMs = total.elapsed();
            }
            watch.over50 += gap > 50'000'000;
            sinceTick.restart();
            ++watch.ticks;
        });
        const auto run = [&](const std::function<void()> &begin, const std::function<bool()> &until) {
            watch = Watch();
            total.start();
            sinceTick.start();
            probe.start();
            begin();
            while (!until())
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
            probe.stop();
            return watch;
        };

        // The same windows with nothing to do: what this machine's scheduling alone costs the timer.
        baseline = run([] {}, [&] { return total.elapsed() >= 5000; });

        measured = run(
            [&] {
                for (qint64 id : std::as_const(ids))
                    h.engine->mount(id, true); // as the dashboard's Mount does
            },
            [&] { return ended >= kMounts || total.elapsed() >= (kMountTimeoutSeconds + 30) * 1000; });
        elapsedMs = total.nsecsElapsed() / 1e6;
    }
    stopListener();

    std::printf("bench_ui_stall: %d WebDAV mounts hanging on a loopback listener that never answers (real GVfs), "
                "dashboard and tray shown, mount time-out %d s\n",
                kMounts, kMountTimeoutSeconds);
    std::printf("  mounts ended: %d/%d after %.0f ms\n", ended, kMounts, elapsedMs);
    std::printf("  longest main-thread stall while they hang: %.2f ms at %lld ms; gaps over 50 ms: %d; 1 ms ticks: %d "
                "(target <= 50 ms)\n",
                measured.longestNs / 1e6, measured.longestAtMs, measured.over50, measured.ticks);
    std::printf("  same windows idle for 5 s before (the machine's own scheduling): longest gap %.2f ms; gaps over "
                "50 ms: %d; 1 ms ticks: %d\n",
                baseline.longestNs / 1e6, baseline.over50, baseline.ticks);
    return 0;
}
