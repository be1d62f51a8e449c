#include "EngineWait.h"

#include "ControlClient.h"

#include "control/ControlNames.h"

#include <QDBusServiceWatcher>
#include <QTimer>

EngineWait::EngineWait(ControlClient &client)
    : m_client(client)
{
}

void EngineWait::finish()
{
    m_finished = true;
    m_loop.quit();
}

EngineWait::End EngineWait::run(std::optional<int> seconds, const std::function<bool()> &poll)
{
    bool gone = false;
    QDBusServiceWatcher watcher(ControlNames::kServiceName, m_client.bus(), QDBusServiceWatcher::WatchForUnregistration);
    connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this, &gone] {
        gone = true;
        m_loop.quit();
    });
    QTimer deadline;
    deadline.setSingleShot(true);
    connect(&deadline, &QTimer::timeout, &m_loop, &QEventLoop::quit);
    QTimer poller;
    connect(&poller, &QTimer::timeout, this, [this, &poll] {
        if (!m_finished && poll())
            finish();
    });
    if (seconds)
        deadline.start(*seconds * 1000);
    if (poll)
        poller.start(kPollIntervalMs);
    if (!m_finished)
        m_loop.exec();
    if (m_finished)
        return End::Finished;
    return gone ? End::EngineGone : End::TimedOut;
}

QCommandLineOption EngineWait::waitOption()
{
    return QCommandLineOption(QStringLiteral("wait"), QStringLiteral("wait until the operation has ended"));
}

QCommandLineOption EngineWait::timeoutOption(int defaultSeconds)
{
    return QCommandLineOption(QStringLiteral("timeout"),
                              QStringLiteral("how long to wait (default %1)").arg(defaultSeconds),
                              QStringLiteral("SECONDS"));
}

std::optional<int> EngineWait::seconds(const QCommandLineParser &parser, const QCommandLineOption &timeout,
                                       int fallback, QString *error)
{
    if (!parser.isSet(timeout))
        return fallback;
    const QString text = parser.value(timeout);
    bool ok = false;
    const int seconds = text.toInt(&ok);
    if (!ok || seconds < 1 || seconds > kMaxSeconds) {
        *error = QStringLiteral("--timeout must be a number of seconds from 1 to %1, not '%2'").arg(kMaxSeconds).arg(text);
        return std::nullopt;
    }
    return seconds;
}
