#include "UnixSignalWatcher.h"

#include "base/Console.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int s_fds[2] = {-1, -1}; // [0] written by the handler, [1] read by the notifier

void handleSignal(int number)
{
    const int saved = errno;
    const unsigned char byte = static_cast<unsigned char>(number);
    // Nothing else is safe here; a full socket only loses a repeated signal.
    [[maybe_unused]] const ssize_t n = ::write(s_fds[0], &byte, 1);
    errno = saved;
}

} // namespace

UnixSignalWatcher::UnixSignalWatcher(const QList<int> &signals, QObject *parent)
    : QObject(parent)
    , m_signals(signals)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, s_fds) != 0) {
        Console::line(QStringLiteral("❌ [SETUP] Cannot watch signals: ") + QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    m_notifier = new QSocketNotifier(s_fds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignalWatcher::readSignals);

    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = handleSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int number : m_signals)
        ::sigaction(number, &action, nullptr);
}

UnixSignalWatcher::~UnixSignalWatcher()
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = SIG_DFL;
    for (int number : m_signals)
        ::sigaction(number, &action, nullptr);
    if (s_fds[0] >= 0) {
        ::close(s_fds[0]);
        ::close(s_fds[1]);
        s_fds[0] = s_fds[1] = -1;
    }
}

void UnixSignalWatcher::readSignals()
{
    unsigned char byte = 0;
    while (::read(s_fds[1], &byte, 1) == 1)
        Q_EMIT signalReceived(int(byte));
}
