#include "LinuxNetworkProbe.h"

#include "base/Console.h"

#include <QAbstractSocket>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QStringBuilder>
#include <QTcpSocket>
#include <QTimer>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

QString errnoText(int error)
{
    char buffer[256];
    // GNU strerror_r: returns a pointer that may or may not be `buffer`.
    return QString::fromLocal8Bit(strerror_r(error, buffer, sizeof buffer));
}

// Failures after which the server is merely not there right now. Other platforms report these as a
// connection that keeps "waiting" for the path to become usable; the probe treats them as unreachable
// (a time-out at once) rather than as errors:
//   ECONNREFUSED            nothing listens on the port
//   EHOSTUNREACH, EHOSTDOWN no route to / no answer from the host
//   ENETUNREACH, ENETDOWN   no usable network
//   ETIMEDOUT               no answer within the connect limit (kConnectTimeoutSeconds)
// Everything else (a name that does not resolve, an address family the system lacks, ...) is an error.
bool isWaitingError(int error)
{
    switch (error) {
    case ECONNREFUSED:
    case EHOSTUNREACH:
    case EHOSTDOWN:
    case ENETUNREACH:
    case ENETDOWN:
    case ETIMEDOUT:
        return true;
    default:
        return false;
    }
}

// Completion shared by the three paths that can end a probe (the connection attempt, the primary
// time-out in the waiting caller, the backup time-out). The first to complete wins; the others find
// `completed` set and do nothing. Shared ownership: the connection thread may outlive the probe call
// (a slow name lookup), so it keeps the state alive until it ends.
struct ProbeState
{
    std::mutex mutex;
    std::condition_variable changed;
    bool completed = false;
    bool cancelled = false; // the caller gave up: the connection reports nothing further
    SelectResult result = SelectResult::timeout();
    int cancelFd = -1;      // eventfd that wakes the connection's poll() on cancel

    ProbeState() : cancelFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~ProbeState()
    {
        if (cancelFd >= 0)
            ::close(cancelFd);
    }

    // Returns false when another path completed first.
    bool complete(const SelectResult &outcome)
    {
        std::lock_guard lock(mutex);
        if (completed)
            return false;
        completed = true;
        result = outcome;
        changed.notify_all();
        return true;
    }

    // Prints a line of the connection's progress unless the connection was cancelled. The line is
    // printed under the lock, so nothing is printed once cancel() has returned.
    bool report(const QString &line)
    {
        std::lock_guard lock(mutex);
        if (cancelled)
            return false;
        Console::line(line);
        return true;
    }

    void cancel()
    {
        std::lock_guard lock(mutex);
        cancelled = true;
        if (cancelFd >= 0) {
            const uint64_t one = 1;
            [[maybe_unused]] const auto written = ::write(cancelFd, &one, sizeof one);
        }
    }
};

struct Address
{
    sockaddr_storage storage{};
    socklen_t length = 0;
};

enum class ConnectOutcome { Connected, Failed, Cancelled };

// One non-blocking connect, waited for with poll() until `deadline` or a cancel.
ConnectOutcome connectOnce(const Address &address, Clock::time_point deadline, int cancelFd, int &error)
{
    const int fd = ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        error = errno;
        return ConnectOutcome::Failed;
    }
    auto outcome = ConnectOutcome::Failed;
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address.storage), address.length) == 0) {
        outcome = ConnectOutcome::Connected;
    } else if (errno != EINPROGRESS) {
        error = errno;
    } else {
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (left <= 0) {
                error = ETIMEDOUT;
                break;
            }
            pollfd fds[2] = {{fd, POLLOUT, 0}, {cancelFd, POLLIN, 0}};
            const int n = ::poll(fds, 2, int(left));
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                error = errno;
                break;
            }
            if (fds[1].revents != 0) {
                outcome = ConnectOutcome::Cancelled;
                break;
            }
            if (fds[0].revents != 0) {
                int soError = 0;
                socklen_t len = sizeof soError;
                if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &soError, &len) != 0)
                    soError = errno;
                if (soError == 0)
                    outcome = ConnectOutcome::Connected;
                else
                    error = soError;
                break;
            }
        }
    }
    ::close(fd);
    return outcome;
}

// The connection attempt, on its own thread. Maps what happens onto the connection states the probe
// reacts to: setup, preparing, then ready / waiting (unreachable) / failed.
void runConnection(std::shared_ptr<ProbeState> state, QString endpoint, int port)
{
    if (!state->report(NetworkProbe::kSetupLine) || !state->report(NetworkProbe::kPreparingLine))
        return;

    const auto deadline = Clock::now() + std::chrono::seconds(NetworkProbe::kConnectTimeoutSeconds);
    std::vector<Address> addresses;
    // A bracketed IPv6 literal ("[::1]") is still a numeric endpoint, never a name to look up.
    QString bare = endpoint.trimmed();
    if (bare.startsWith(u'[') && bare.endsWith(u']'))
        bare = bare.mid(1, bare.size() - 2);
    const QByteArray numericBytes = bare.toUtf8();
    const QByteArray endpointBytes = endpoint.toUtf8();
    Address numeric;
    auto *v4 = reinterpret_cast<sockaddr_in *>(&numeric.storage);
    auto *v6 = reinterpret_cast<sockaddr_in6 *>(&numeric.storage);
    if (inet_pton(AF_INET, numericBytes.constData(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(quint16(port));
        numeric.length = sizeof(sockaddr_in);
        addresses.push_back(numeric);
    } else if (inet_pton(AF_INET6, numericBytes.constData(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(quint16(port));
        numeric.length = sizeof(sockaddr_in6);
        addresses.push_back(numeric);
    } else {
        addrinfo hints{};
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_flags = AI_NUMERICSERV;
        addrinfo *list = nullptr;
        const int rc = ::getaddrinfo(endpointBytes.constData(), QByteArray::number(port).constData(), &hints, &list);
        if (rc != 0) {
            // Worded so that the name-resolution test recognises it.
            const QString description = QStringLiteral("DNS resolution failed for ") % endpoint % QStringLiteral(": ")
                                        % (rc == EAI_SYSTEM ? errnoText(errno) : QString::fromLocal8Bit(gai_strerror(rc)));
            if (state->report(NetworkProbe::kFailedPrefix + description))
                state->complete(SelectResult::error(description));
            return;
        }
        for (addrinfo *ai = list; ai; ai = ai->ai_next) {
            Address a;
            std::memcpy(&a.storage, ai->ai_addr, std::min<size_t>(ai->ai_addrlen, sizeof a.storage));
            a.length = ai->ai_addrlen;
            addresses.push_back(a);
        }
        ::freeaddrinfo(list);
    }

    int lastError = EHOSTUNREACH;
    for (const Address &address : addresses) {
        int error = 0;
        switch (connectOnce(address, deadline, state->cancelFd, error)) {
        case ConnectOutcome::Connected:
            state->complete(SelectResult::ready());
            return;
        case ConnectOutcome::Cancelled:
            return;
        case ConnectOutcome::Failed:
            lastError = error;
            break;
        }
        if (lastError == ETIMEDOUT)
            break; // the connect limit covers all addresses together
    }

    const QString description = errnoText(lastError);
    if (isWaitingError(lastError)) {
        if (state->report(NetworkProbe::kWaitingPrefix + description))
            state->complete(SelectResult::timeout());
    } else if (state->report(NetworkProbe::kFailedPrefix + description)) {
        state->complete(SelectResult::error(description));
    }
}

} // namespace

LinuxNetworkProbe::LinuxNetworkProbe(QString wakeAddress, quint16 wakePort)
    : m_wakeAddress(std::move(wakeAddress))
    , m_wakePort(wakePort)
{
}

SelectResult LinuxNetworkProbe::probe(const QString &host, const QString &address, int port, std::chrono::seconds timeout)
{
    const QString endpoint = host.isEmpty() ? address : host;
    const auto primarySeconds = std::max<qint64>(1, timeout.count());
    auto state = std::make_shared<ProbeState>();
    if (state->cancelFd < 0)
        return SelectResult::error(QStringLiteral("Could not prepare connection: ") + errnoText(errno));

    const auto start = Clock::now();
    try {
        std::thread(runConnection, state, endpoint, port).detach();
    } catch (const std::system_error &e) {
        return SelectResult::error(QStringLiteral("Could not start connection: ") + QString::fromLocal8Bit(e.what()));
    }

    // The backup time-out: releases the waiter should the primary wait somehow overrun. It ends as soon
    // as any path completes.
    const auto backupDeadline = start + std::chrono::seconds(primarySeconds + NetworkProbe::kBackupExtraSeconds);
    std::thread backup([state, backupDeadline] {
        std::unique_lock lock(state->mutex);
        if (state->changed.wait_until(lock, backupDeadline, [&] { return state->completed; }))
            return;
        Console::line(NetworkProbe::kBackupTimeoutLine);
        state->completed = true;
        state->result = SelectResult::timeout();
        state->changed.notify_all();
    });

    SelectResult outcome = SelectResult::timeout();
    bool primaryTimedOut = false;
    {
        std::unique_lock lock(state->mutex);
        const bool done = state->changed.wait_until(lock, start + std::chrono::seconds(primarySeconds),
                                                    [&] { return state->completed; });
        if (done)
            outcome = state->result;
        else
            primaryTimedOut = true;
    }
    if (primaryTimedOut) {
        Console::line(NetworkProbe::kPrimaryTimeoutLine);
        state->cancel();
        state->complete(SelectResult::timeout());
        outcome = SelectResult::timeout();
    } else {
        state->cancel(); // stops a connection that is still trying other addresses
    }
    backup.join();
    return outcome;
}

QString LinuxNetworkProbe::resolve(const QString &host)
{
    static const QString kNothing = QStringLiteral("0.0.0.0");
    if (host.isEmpty())
        return kNothing;
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM; // one entry per address
    addrinfo *list = nullptr;
    if (::getaddrinfo(host.toUtf8().constData(), nullptr, &hints, &list) != 0)
        return kNothing;
    QString result = kNothing;
    for (addrinfo *ai = list; ai; ai = ai->ai_next) {
        char text[NI_MAXHOST];
        if (::getnameinfo(ai->ai_addr, ai->ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0) {
            result = QString::fromLatin1(text);
            break;
        }
    }
    ::freeaddrinfo(list);
    return result;
}

bool LinuxNetworkProbe::sendWakeOnLan(const QByteArray &packet, QString *error)
{
    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_port = htons(m_wakePort);
    if (inet_pton(AF_INET, m_wakeAddress.toLatin1().constData(), &destination.sin_addr) != 1) {
        if (error)
            *error = QStringLiteral("invalid destination address ") + m_wakeAddress;
        return false;
    }
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        if (error)
            *error = errnoText(errno);
        return false;
    }
    // Needed for the limited broadcast address; harmless for a unicast destination.
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    const auto sent = ::sendto(fd, packet.constData(), size_t(packet.size()), 0,
                               reinterpret_cast<const sockaddr *>(&destination), sizeof destination);
    const int sendError = errno;
    ::close(fd);
    if (sent != packet.size()) {
        if (error)
            *error = sent < 0 ? errnoText(sendError) : QStringLiteral("short write");
        return false;
    }
    return true;
}

NetworkProbe::Connect LinuxNetworkProbe::connect(const QString &host, quint16 port, std::chrono::milliseconds limit)
{
    QTcpSocket socket;
    socket.connectToHost(host, port);
    if (!socket.waitForConnected(std::max(1, int(limit.count()))))
        return socket.error() == QAbstractSocket::SocketTimeoutError ? Connect::TimedOut : Connect::Failed;
    socket.abort();
    return Connect::Connected;
}

NetworkProbe::HttpAnswer LinuxNetworkProbe::httpRequest(const QByteArray &method, const QUrl &url,
                                                        const QList<QPair<QByteArray, QByteArray>> &headers,
                                                        std::chrono::milliseconds timeout,
                                                        std::chrono::milliseconds extraWait)
{
    QNetworkAccessManager manager;
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    for (const auto &header : headers)
        request.setRawHeader(header.first, header.second);
    QNetworkReply *reply = manager.sendCustomRequest(request, method);
    // Reachability only: a self-signed certificate still proves the server answers.
    QObject::connect(reply, &QNetworkReply::sslErrors, reply, [reply] { reply->ignoreSslErrors(); });

    const int timeoutMs = std::max(1, int(timeout.count()));
    HttpAnswer answer;
    QEventLoop loop;
    QTimer requestTimer;
    requestTimer.setSingleShot(true);
    QObject::connect(&requestTimer, &QTimer::timeout, &loop, [&] {
        answer.timedOut = true;
        reply->abort();
    });
    QTimer waitTimer; // the caller's own limit: no answer by then is inconclusive
    waitTimer.setSingleShot(true);
    QObject::connect(&waitTimer, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    requestTimer.start(timeoutMs);
    waitTimer.start(timeoutMs + int(extraWait.count()));
    loop.exec();

    answer.answered = reply->isFinished();
    if (answer.answered)
        answer.httpStatus = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.error = reply->error();
    reply->disconnect();
    reply->abort();
    delete reply;
    return answer;
}
