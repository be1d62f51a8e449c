#include "PortProbe.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QDeadlineTimer>

namespace PortProbes {

bool tcpConnects(const QString &address, int port, int timeoutMs)
{
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(quint16(port));
    if (port <= 0 || port > 65535 || ::inet_pton(AF_INET, address.toLatin1().constData(), &target.sin_addr) != 1)
        return false;
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    bool connected = false;
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&target), sizeof target) == 0) {
        connected = true;
    } else if (errno == EINPROGRESS) {
        const QDeadlineTimer deadline(timeoutMs);
        pollfd watched{fd, POLLOUT, 0};
        int ready = 0;
        do {
            ready = ::poll(&watched, 1, int(deadline.remainingTime()));
        } while (ready < 0 && errno == EINTR && !deadline.hasExpired());
        if (ready > 0) {
            int error = 0;
            socklen_t length = sizeof error;
            connected = ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0;
        }
    }
    ::close(fd);
    return connected;
}

} // namespace PortProbes
