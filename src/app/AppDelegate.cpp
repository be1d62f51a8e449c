#include "AppDelegate.h"

#include "EngineLock.h"
#include "UnixSignalWatcher.h"
#include "base/Console.h"
#include "base/Paths.h"
#include "base/NotificationCenter.h"
#include "control/Control1Proxy.h"
#include "control/ControlNames.h"
#include "control/ControlService.h"
#include "control/DiscoveryControl.h"
#include "control/EnterpriseControl.h"
#include "control/EnterpriseNames.h"
#include "control/ExchangeControl.h"
#include "control/ExchangeNames.h"
#include "control/RulesControl.h"
#include "control/RulesNames.h"
#include "core/AutoMountScheduler.h"
#include "engine/EngineHost.h"
#include "platform/linux/LinuxPlatform.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QTimer>

#include <chrono>
#include <csignal>
#include <thread>
#include <unistd.h>

namespace {
const QString kLockFileName = QStringLiteral("/engine.lock");
constexpr int kBusCheckMs = 1000;
} // namespace

AppDelegate::AppDelegate(QStringList urls, QObject *parent)
    : QObject(parent)
    , m_urls(std::move(urls))
{
}

AppDelegate::~AppDelegate()
{
    unexport();
    m_served.clear();
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

void AppDelegate::createServedObjects()
{
    EngineHost &host = *m_host;
    m_served.push_back({RulesNames::kObjectPath, QStringLiteral("rules"),
                        std::make_unique<RulesControl>(host.rules(), host.engine())});
    m_served.push_back({ExchangeNames::kObjectPath, QStringLiteral("exchange"),
                        std::make_unique<ExchangeControl>(host.configuration(), host.shareSets(),
                                                          host.legacyImporter())});
    m_served.push_back({EnterpriseNames::kObjectPath, QStringLiteral("enterprise"),
                        std::make_unique<EnterpriseControl>(host.engine(), host.managedPreferences(),
                                                            host.directoryMappings())});
    m_served.push_back({DiscoveryControl::kObjectPath, QStringLiteral("discovery"),
                        std::make_unique<DiscoveryControl>(host.discovery(), host.engine())});
}

bool AppDelegate::exportControlInterface()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    // The objects go first: a client that sees the name must find the objects behind it. A subsystem's
    // interface that cannot be exported costs only remote access to that subsystem.
    if (!bus.registerObject(ControlNames::kObjectPath, m_control.get(), QDBusConnection::ExportAdaptors)) {
        Console::line(QStringLiteral("❌ [SETUP] Cannot export the control interface: ") + bus.lastError().message());
        return true; // the engine still runs; only remote control is missing
    }
    for (const Served &served : m_served) {
        if (!bus.registerObject(served.path, served.object.get(), QDBusConnection::ExportAdaptors)) {
            Console::line(QStringLiteral("❌ [SETUP] Cannot export the %1 interface: ").arg(served.what)
                          + bus.lastError().message());
        }
    }
    m_exported = true;
    if (!bus.registerService(ControlNames::kServiceName)) {
        unexport();
        return false; // lost the race against another instance
    }
    return true;
}

void AppDelegate::unexport()
{
    if (!m_exported)
        return;
    m_exported = false;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterService(ControlNames::kServiceName);
    bus.unregisterObject(ControlNames::kObjectPath);
    for (const Served &served : m_served)
        bus.unregisterObject(served.path);
}

AppDelegate::LaunchResult AppDelegate::launch()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const bool haveBus = bus.isConnected();
    if (!haveBus)
        Console::line(kNoSessionBusLine);
    else if (bus.interface()->isServiceRegistered(ControlNames::kServiceName).value())
        return forwardToRunningInstance();

    QString why;
    m_lock = EngineLock::acquire(Paths::configDir() + kLockFileName, &why);
    if (!m_lock) {
        Console::line(kSecondEngineLine.arg(why));
        return LaunchResult::Failed;
    }

    m_host = std::make_unique<EngineHost>(LinuxPlatform::createPorts());
    m_control = std::make_unique<ControlService>(m_host->engine(), m_host->eventLog(), m_host->auditLog());
    AutoMountScheduler *scheduler = &m_host->scheduler();
    m_control->setPauseHooks({[scheduler] { return scheduler->isAutoMountPaused(); },
                              [scheduler] { return scheduler->pauseAutoMount(); },
                              [scheduler] { scheduler->resumeAutoMount(); }});
    NotificationCenter *center = &m_host->center();
    m_control->setShowHandler([center] { center->post(Notifications::DisplayMainWindow); });
    createServedObjects();

    if (haveBus && !exportControlInterface()) {
        // Another instance took the name between the check and now. Nothing was started: no launch entry.
        m_served.clear();
        m_control.reset();
        m_host.reset();
        m_lock.reset();
        return forwardToRunningInstance();
    }

    if (haveBus) {
        // Without the bus nobody can reach this engine, and it would hold the lock a new one needs. GIO's
        // own session connection raises SIGTERM when the bus goes away, Qt may leave the event loop, and
        // this check sees a connection that knows it is closed: whichever comes first ends the engine
        // through quit(), with the line.
        connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
            if (m_quitting)
                return;
            reportLostBus();
            quit();
        });
        auto *busCheck = new QTimer(this);
        connect(busCheck, &QTimer::timeout, this, [this] {
            if (!QDBusConnection::sessionBus().isConnected()) {
                reportLostBus();
                quit();
            }
        });
        busCheck->start(kBusCheckMs);
    }

    m_signals = std::make_unique<UnixSignalWatcher>(QList<int>{SIGINT, SIGTERM, SIGHUP});
    connect(m_signals.get(), &UnixSignalWatcher::signalReceived, this, [this](int number) {
        if (!reportLostBus())
            Console::line(QStringLiteral("🛑 [SETUP] Signal %1 received; quitting").arg(number));
        quit();
    });

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

bool AppDelegate::reportLostBus()
{
    if (!m_exported)
        return false;
    // Answers at once either way; the connection may not know yet that the bus is gone.
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.interface()->isServiceRegistered(ControlNames::kServiceName).isValid())
        return false;
    Console::line(kBusLostLine);
    return true;
}

void AppDelegate::quit()
{
    if (m_quitting)
        return;
    m_quitting = true;
    // Past the limit the process ends without the rest of the shutdown: what was saved is on disk (every
    // store writes through), and a mount stuck in the kernel must not keep a stopped engine alive.
    std::thread([] {
        std::this_thread::sleep_for(std::chrono::seconds(kShutdownLimitSeconds));
        Console::line(kShutdownTooLongLine.arg(kShutdownLimitSeconds));
        ::_exit(2);
    }).detach();
    // Stop answering first, so no client talks to an engine that is going away.
    unexport();
    if (m_host)
        m_host->shutdown();
    QCoreApplication::exit(0);
}
