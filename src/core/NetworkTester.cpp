#include "core/NetworkTester.h"

#include "core/VolumeRecord.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "base/Preferences.h"

#include <QStringList>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

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

bool isNumericAddress(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    in6_addr buffer{};
    return inet_pton(AF_INET, bytes.constData(), &buffer) == 1 || inet_pton(AF_INET6, bytes.constData(), &buffer) == 1;
}

// Strict integer parse (optional sign, ASCII digits only): " 20" and "2x" are not integers.
std::optional<int> parseInteger(const QString &text)
{
    qsizetype i = 0;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    if (i == text.size() || text.size() - i > 9)
        return std::nullopt;
    for (qsizetype j = i; j < text.size(); ++j) {
        if (text[j] < u'0' || text[j] > u'9')
            return std::nullopt;
    }
    return text.toInt();
}

bool secondPartIsDockerRange(const QString &text)
{
    const QStringList parts = text.split(u'.');
    if (parts.size() < 2)
        return false;
    const auto second = parseInteger(parts.at(1));
    return second && *second >= 17 && *second <= 31;
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
    if (!state->report(NetworkTester::kSetupLine) || !state->report(NetworkTester::kPreparingLine))
        return;

    const auto deadline = Clock::now() + std::chrono::seconds(NetworkTester::kConnectTimeoutSeconds);
    std::vector<Address> addresses;
    // A bracketed IPv6 literal ("[::1]") is still a numeric endpoint, never a name to look up.
    const QByteArray endpointBytes = NetworkTester::isIPLiteral(endpoint).value_or(endpoint).toUtf8();
    Address numeric;
    auto *v4 = reinterpret_cast<sockaddr_in *>(&numeric.storage);
    auto *v6 = reinterpret_cast<sockaddr_in6 *>(&numeric.storage);
    if (inet_pton(AF_INET, endpointBytes.constData(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(quint16(port));
        numeric.length = sizeof(sockaddr_in);
        addresses.push_back(numeric);
    } else if (inet_pton(AF_INET6, endpointBytes.constData(), &v6->sin6_addr) == 1) {
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
            if (state->report(NetworkTester::kFailedPrefix + description))
                state->complete(SelectResult::error(NetworkTester::failureMessage(endpoint, port, description)));
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
        if (state->report(NetworkTester::kWaitingPrefix + description))
            state->complete(SelectResult::timeout());
    } else if (state->report(NetworkTester::kFailedPrefix + description)) {
        state->complete(SelectResult::error(NetworkTester::failureMessage(endpoint, port, description)));
    }
}

} // namespace

NetworkTester::NetworkTester(const Defaults *defaults)
    : m_defaults(defaults)
{
}

NetworkTester::NetworkTester(int primaryTimeoutSeconds)
    : m_fixedTimeoutSeconds(std::max(1, primaryTimeoutSeconds))
{
}

SelectResult NetworkTester::probe(const QString &host, const QString &numericAddress, int port) const
{
    const QString endpoint = host.isEmpty() ? numericAddress : host;
    if (endpoint.isEmpty())
        return SelectResult::error(kNoHostMessage);
    Q_ASSERT_X(port >= 0 && port <= 65535, "NetworkTester::probe", "port out of range");
    if (port < 0 || port > 65535)
        return SelectResult::error(QStringLiteral("Invalid port ") + QString::number(port));

    int primarySeconds = 0;
    if (m_fixedTimeoutSeconds)
        primarySeconds = *m_fixedTimeoutSeconds;
    else if (m_defaults)
        primarySeconds = Preferences::tcpConnectionTimeoutSeconds(*m_defaults);
    else
        return SelectResult::error(kNoAppDelegateMessage);

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
    const auto backupDeadline = start + std::chrono::seconds(primarySeconds + kBackupExtraSeconds);
    std::thread backup([state, backupDeadline] {
        std::unique_lock lock(state->mutex);
        if (state->changed.wait_until(lock, backupDeadline, [&] { return state->completed; }))
            return;
        Console::line(kBackupTimeoutLine);
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
        Console::line(kPrimaryTimeoutLine);
        state->cancel();
        state->complete(SelectResult::timeout());
        outcome = SelectResult::timeout();
    } else {
        state->cancel(); // stops a connection that is still trying other addresses
    }
    backup.join();
    return outcome;
}

bool NetworkTester::shouldSkipHost(const QString &host)
{
    const QString lower = host.toLower();
    if (lower == QLatin1String("localhost") || lower == QLatin1String("127.0.0.1") || lower == QLatin1String("::1")) {
        Console::line(kSkipLocalhostPrefix + host);
        return true;
    }
    if (lower.startsWith(QLatin1String("172.17."))) {
        Console::line(kSkipDockerBridgePrefix + host);
        return true;
    }
    // 17..31, not 16..31: 172.16.x.x is probed like any other address.
    if (lower.startsWith(QLatin1String("172.")) && secondPartIsDockerRange(lower)) {
        Console::line(kSkipDockerPrefix + host);
        return true;
    }
    return false;
}

bool NetworkTester::shouldSkipAddress(const QString &address)
{
    if (address.startsWith(QLatin1String("127."))) {
        Console::line(kSkipLoopbackIPPrefix + address);
        return true;
    }
    if (address.startsWith(QLatin1String("172.")) && secondPartIsDockerRange(address)) {
        Console::line(kSkipDockerIPPrefix + address);
        return true;
    }
    return false;
}

std::optional<QString> NetworkTester::isIPLiteral(const QString &text)
{
    // One test for the whole engine: the URL text brackets exactly what the probe treats as numeric.
    return VolumeRecord::ipLiteral(text);
}

QString NetworkTester::resolveHostName(const QString &host)
{
    if (const auto literal = isIPLiteral(host)) {
        Console::line(kDnsNumericLiteralPrefix + *literal);
        return *literal;
    }
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

bool NetworkTester::looksLikeNameResolutionFailure(const QString &text)
{
    static const QLatin1String kMarkers[] = {
        QLatin1String("dns"),
        QLatin1String("unresolv"),
        QLatin1String("not valid ip"),
        QLatin1String("could not be resolved"),
        QLatin1String("hostname could not"),
        QLatin1String("nodename nor servname"),
    };
    const QString lower = text.toLower();
    for (const auto &marker : kMarkers) {
        if (lower.contains(marker))
            return true;
    }
    return false;
}

QString NetworkTester::failureMessage(const QString &endpoint, int port, const QString &description)
{
    if (isNumericAddress(endpoint) && looksLikeNameResolutionFailure(description))
        return QStringLiteral("Could not connect to ") % endpoint % u':' % QString::number(port);
    return description;
}
