#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <chrono>
#include <future>

// Small helpers of the integration tests that run under tests/stack/with-stack.sh. Loopback only.
namespace TestStack {
QString env(const char *name);       // a variable the stack exported (empty when absent)
quint16 freePort();                  // a loopback TCP port nobody listens on (bound, noted, closed)
bool listening(quint16 port);        // something accepts TCP connections on 127.0.0.1:port (200 ms bound)
bool mocks(const QStringList &args); // tests/stack/components/mocks.sh ARGS[0] STACK ARGS[1..]: switch SSID, sleep, ...

// Runs f on a worker thread, as the engine does, while the calling (main) thread keeps its event loop and
// GLib's default context turning (the volume monitor hears of mounts there); at most 180 s of turning.
template<typename F>
auto onWorker(F f) -> decltype(f())
{
    auto future = std::async(std::launch::async, std::move(f));
    QElapsedTimer timer;
    timer.start();
    while (future.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready && timer.elapsed() < 180000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return future.get();
}
} // namespace TestStack
