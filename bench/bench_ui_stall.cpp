// The longest stall of the main thread while 20 mounts hang: the dashboard and the tray over the engine on the
// real ports of the test stack (GVfs), 20 WebDAV shares on a loopback listener that accepts connections and
// never answers. A 1 ms timer on the main thread records the largest gap between its ticks from the first
// mount request until every mount has ended (the mount time-out cancels them). Prints figures; asserts
// nothing. Run under the test stack:
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
    qint64 longestNs = 0;
    double elapsedMs = 0;
    int ticks = 0;
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
        QElapsedTimer sinceTick;
        QTimer probe;
        probe.setTimerType(Qt::PreciseTimer);
        probe.setInterval(1);
        QObject::connect(&probe, &QTimer::timeout, [&] {
            longestNs = std::max(longestNs, sinceTick.nsecsElapsed());
            sinceTick.restart();
            ++ticks;
        });

        QElapsedTimer total;
        total.start();
        sinceTick.start();
        probe.start();
        for (qint64 id : std::as_const(ids))
            h.engine->mount(id, true); // as the dashboard's Mount does
        while (ended < kMounts && total.elapsed() < (kMountTimeoutSeconds + 30) * 1000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        probe.stop();
        elapsedMs = total.nsecsElapsed() / 1e6;
    }
    stopListener();

    std::printf("bench_ui_stall: %d WebDAV mounts hanging on a loopback listener that never answers (real GVfs), "
                "dashboard and tray shown, mount time-out %d s\n",
                kMounts, kMountTimeoutSeconds);
    std::printf("  mounts ended: %d/%d after %.0f ms; main-thread timer ticks: %d\n", ended, kMounts, elapsedMs, ticks);
    std::printf("  longest main-thread stall: %.2f ms (target <= 50 ms)\n", longestNs / 1e6);
    return 0;
}
