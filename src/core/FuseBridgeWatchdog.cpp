#include "FuseBridgeWatchdog.h"

#include "base/Console.h"
#include "logging/LogEvent.h"
#include "logging/LogEventManager.h"
#include "platform/FuseBridge.h"

#include <QCoreApplication>
#include <QPointer>

#include <thread>
#include <utility>

FuseBridgeWatchdog::FuseBridgeWatchdog(std::shared_ptr<FuseBridge> bridge, Options options, LogEventManager *eventLog,
                                       QObject *parent)
    : QObject(parent)
    , m_bridge(std::move(bridge))
    , m_folder(m_bridge->folder())
    , m_options(options)
    , m_eventLog(eventLog)
{
    m_checkTimer.setSingleShot(true);
    connect(&m_checkTimer, &QTimer::timeout, this, &FuseBridgeWatchdog::onCheckTimeout);
}

QString FuseBridgeWatchdog::describe(State state)
{
    switch (state) {
    case State::Missing:
        return QStringLiteral("not mounted");
    case State::Dead:
        return QStringLiteral("daemon gone");
    case State::Unresponsive:
        return QStringLiteral("not answering");
    case State::Healthy:
        return QStringLiteral("healthy");
    case State::Unknown:
        break;
    }
    return QStringLiteral("unknown");
}

QString FuseBridgeWatchdog::restartRefusal() const
{
    if (!m_options.restartAllowed)
        return QStringLiteral("restarting is switched off");
    return m_bridge->restartRefusal();
}

void FuseBridgeWatchdog::check()
{
    if (m_checkRunning)
        return;
    m_checkRunning = true;
    m_checkTimer.start(m_options.checkTimeout);

    const auto now = std::chrono::steady_clock::now();
    const bool backoffOver = !m_lastRestartAttempt || now - *m_lastRestartAttempt >= m_options.restartBackoff;
    const QString refusal = restartRefusal();
    const bool mayRestart = backoffOver && refusal.isEmpty();
    const std::shared_ptr<FuseBridge> bridge = m_bridge;
    QPointer<FuseBridgeWatchdog> self(this);

    // A detached thread, not a pool: stat() on a hung FUSE folder may never return.
    std::thread([self, bridge, mayRestart, refusal] {
        CheckResult result;
        switch (bridge->health()) {
        case FuseBridge::Health::Healthy:
            result.state = State::Healthy;
            break;
        case FuseBridge::Health::Missing:
            result.state = State::Missing;
            break;
        case FuseBridge::Health::Dead:
            result.state = State::Dead;
            break;
        }
        if (result.state == State::Missing || result.state == State::Dead) {
            if (!mayRestart) {
                result.failure = refusal;
            } else {
                result.restartAttempted = true;
                const FuseBridge::RestartResult restart = bridge->restart(result.state == State::Dead);
                result.restarted = restart.restarted;
                result.pid = restart.pid;
                result.failure = restart.failure;
            }
        }
        if (QCoreApplication *app = QCoreApplication::instance()) {
            QMetaObject::invokeMethod(
                app, [self, result] {
                    if (self)
                        self->onCheckDone(result);
                },
                Qt::QueuedConnection);
        }
    }).detach();
}

void FuseBridgeWatchdog::reportLoss(State state)
{
    if (m_lossReported)
        return;
    m_lossReported = true;
    Console::line(kLostLine.arg(m_folder, describe(state)));
    if (m_eventLog) {
        const QString text = kLostEventText.arg(m_folder, describe(state));
        m_eventLog->addEvent(LogEvent::general(EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                      LogEvent::message(EVENT_TYPE_ENUM::CONNECTION_FAILED, text)));
    }
    Q_EMIT bridgeLost(state);
}

void FuseBridgeWatchdog::reportRestarted(qint64 pid)
{
    m_lastPid = pid;
    Console::line(kRestartedLine.arg(m_folder).arg(pid));
    if (m_eventLog) {
        const QString text = kRestartedEventText.arg(m_folder);
        m_eventLog->addEvent(LogEvent::general(EVENT_TYPE_ENUM::CONNECTION_SUCCESS,
                                               LogEvent::message(EVENT_TYPE_ENUM::CONNECTION_SUCCESS, text)));
    }
    Q_EMIT bridgeRestarted(pid);
}

void FuseBridgeWatchdog::onCheckTimeout()
{
    if (!m_checkRunning)
        return;
    m_state = State::Unresponsive;
    reportLoss(State::Unresponsive);
    Q_EMIT checked(m_state);
}

void FuseBridgeWatchdog::onCheckDone(const CheckResult &result)
{
    m_checkRunning = false;
    m_checkTimer.stop();
    m_state = result.state;
    if (result.restartAttempted)
        m_lastRestartAttempt = std::chrono::steady_clock::now();

    if (result.state == State::Healthy) {
        if (m_pendingPid > 0)
            reportRestarted(std::exchange(m_pendingPid, 0));
        m_lossReported = false;
    } else if (result.state == State::Missing || result.state == State::Dead) {
        const bool firstReport = !m_lossReported;
        reportLoss(result.state);
        if (result.restarted) {
            m_pendingPid = 0;
            m_state = State::Healthy;
            m_lossReported = false;
            reportRestarted(result.pid);
        } else if (!result.failure.isEmpty() && (result.restartAttempted || firstReport)) {
            if (result.pid > 0)
                m_lastPid = m_pendingPid = result.pid;
            Console::line(kRestartFailedLine.arg(result.failure));
            if (m_eventLog) {
                const QString text = kRestartFailedEventText.arg(result.failure);
                m_eventLog->addEvent(LogEvent::general(EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                              LogEvent::message(EVENT_TYPE_ENUM::CONNECTION_FAILED, text)));
            }
        }
    }
    Q_EMIT checked(m_state);
}
