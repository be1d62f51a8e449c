#include "AppDelegate.h"

#include "control/Control1Proxy.h"
#include "control/ControlNames.h"
#include "control/ControlService.h"
#include "engine/EngineHost.h"
#include "platform/linux/LinuxPlatform.h"
#include "UnixSignalWatcher.h"

#include "base/Console.h"
#include "base/NotificationCenter.h"
#include "core/AutoMountScheduler.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include <csignal>

AppDelegate::AppDelegate(QStringList urls, QObject *parent)
    : QObject(parent)
    , m_urls(std::move(urls))
{
}

AppDelegate::~AppDelegate()
{
    if (m_exported) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterObject(ControlNames::kObjectPath);
        bus.unregisterService(ControlNames::kServiceName);
    }
    m_control.reset();
    m_host.reset(); // shuts down if quit() was never reached
}

AppDelegate::LaunchResult AppDelegate::forwardToRunningInstance()
{
    Console::line(kAlreadyRunningLine);
    bool ok = true;
    Control1Proxy running(ControlNames::kServiceName, ControlNames::kObjectPath, QDBusConnection::sessionBus());
    running.setTimeout(10000);
    for (const QString &url : std::as_const(m_urls)) {
        // Waiting is acceptable here: this process has nothing else to do and ends right after.
        QDBusPendingReply<> answer = running.HandleUrl(url);
        answer.waitForFinished();
        if (answer.isError()) {
            Console::line(kUrlFailedLine.arg(answer.error().message()));
            ok = false;
        }
    }
    return ok ? LaunchResult::AlreadyRunning : LaunchResult::Failed;
}

bool AppDelegate::exportControlInterface()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    // The object goes first: a client that sees the name must find the object behind it.
    if (!bus.registerObject(ControlNames::kObjectPath, m_control.get(), QDBusConnection::ExportAdaptors)) {
        Console::line(QStringLiteral("❌ [SETUP] Cannot export the control interface: ") + bus.lastError().message());
        return true; // the engine still runs; only remote control is missing
    }
    if (!bus.registerService(ControlNames::kServiceName)) {
        bus.unregisterObject(ControlNames::kObjectPath);
        return false; // lost the race against another instance
    }
    m_exported = true;
    return true;
}

AppDelegate::LaunchResult AppDelegate::launch()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const bool haveBus = bus.isConnected();
    if (!haveBus)
        Console::line(kNoSessionBusLine);
    else if (bus.interface()->isServiceRegistered(ControlNames::kServiceName).value())
        return forwardToRunningInstance();

    m_host = std::make_unique<EngineHost>(LinuxPlatform::createPorts());
    m_control = std::make_unique<ControlService>(m_host->engine(), m_host->eventLog(), m_host->auditLog());
    AutoMountScheduler *scheduler = &m_host->scheduler();
    m_control->setPauseHooks({[scheduler] { return scheduler->isAutoMountPaused(); },
                              [scheduler] { return scheduler->pauseAutoMount(); },
                              [scheduler] { scheduler->resumeAutoMount(); }});
    NotificationCenter *center = &m_host->center();
    m_control->setShowHandler([center] { center->post(Notifications::DisplayMainWindow); });

    if (haveBus && !exportControlInterface()) {
        // Another instance took the name between the check and now. Nothing was started: no launch entry.
        m_control.reset();
        m_host.reset();
        return forwardToRunningInstance();
    }

    m_signals = std::make_unique<UnixSignalWatcher>(QList<int>{SIGINT, SIGTERM, SIGHUP});
    connect(m_signals.get(), &UnixSignalWatcher::signalReceived, this, [this](int) { quit(); });

    m_host->start();

    for (const QString &url : std::as_const(m_urls)) {
        QMetaObject::invokeMethod(
            this,
            [this, url] {
                const auto result = m_control->handleUrl(url);
                if (!result.ok())
                    Console::line(kUrlFailedLine.arg(result.error.message));
            },
            Qt::QueuedConnection);
    }
    return LaunchResult::Running;
}

void AppDelegate::quit()
{
    if (m_quitting)
        return;
    m_quitting = true;
    if (m_exported) {
        // Stop answering first, so no client talks to an engine that is going away.
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(ControlNames::kServiceName);
        bus.unregisterObject(ControlNames::kObjectPath);
        m_exported = false;
    }
    if (m_host)
        m_host->shutdown();
    QCoreApplication::exit(0);
}
