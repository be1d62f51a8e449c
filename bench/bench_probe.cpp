// Median latency of one reachability probe on loopback: to a port nothing listens on (answered by a
// refusal) and to a listening port. Prints figures; asserts nothing.
#include "base/Console.h"
#include "core/NetworkTester.h"
#include "platform/linux/LinuxNetworkProbe.h"

#include <QElapsedTimer>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

int boundSocket(quint16 &port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr *>(&a), sizeof a);
    socklen_t len = sizeof a;
    ::getsockname(fd, reinterpret_cast<sockaddr *>(&a), &len);
    port = ntohs(a.sin_port);
    return fd;
}

void measure(const char *what, quint16 port, int rounds, int drainFd)
{
    LinuxNetworkProbe network;
    NetworkTester tester(5, network);
    std::vector<double> ms;
    int unexpected = 0;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer t;
        t.start();
        const SelectResult r = tester.probe(QStringLiteral("127.0.0.1"), QString(), port);
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
        if (r.isError())
            ++unexpected;
        if (drainFd >= 0) { // keep the accept queue short
            const int c = ::accept(drainFd, nullptr, nullptr);
            if (c >= 0)
                ::close(c);
        }
    }
    std::sort(ms.begin(), ms.end());
    std::printf("probe %-28s rounds=%d median=%.3f ms p90=%.3f ms max=%.3f ms errors=%d\n", what, rounds,
                ms[ms.size() / 2], ms[ms.size() * 9 / 10], ms.back(), unexpected);
}

} // namespace

int main()
{
    Console::setSink([](const QString &) {}); // the probe's progress lines would dominate the timing
    constexpr int kRounds = 200;

    quint16 closedPort = 0;
    ::close(boundSocket(closedPort));
    measure("closed loopback port", closedPort, kRounds, -1);

    quint16 openPort = 0;
    const int listener = boundSocket(openPort);
    ::listen(listener, 64);
    measure("open loopback port", openPort, kRounds, listener);
    ::close(listener);
    return 0;
}
