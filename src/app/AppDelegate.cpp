#include "AppDelegate.h"

#include "control/ControlNames.h"
#include "control/ControlService.h"
#include "control/EnterpriseControl.h"
#include "control/EnterpriseNames.h"
#include "enterprise1adaptor.h"
#include "control/DiscoveryControl.h"
#include "control/RulesControl.h"
#include "control/RulesNames.h"
#include "engine/EngineHost.h"
#include "platform/linux/LinuxPlatform.h"
#include "UnixSignalWatcher.h"

#include "base/Console.h"
#include "base/NotificationCenter.h"
#include "core/AutoMountScheduler.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <csignal>

AppDelegate::AppDelegate(QStringList urls, QObject *parent)
    : QObject(parent)
    , m_urls(std::move(urls))
{
}

AppDelegate::~AppDelegate()
{
    if (m_enterpriseExported)
        QDBusConnection::sessionBus().unregisterObject(EnterpriseNames::kObjectPath);
    m_enterprise.reset();
    if (m_exported) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterObject(ControlNames::kObjectPath);
        bus.unregisterObject(DiscoveryControl::kObjectPath);
        bus.unregisterObject(RulesNames::kObjectPath);
        bus.unregisterService(ControlNames::kServiceName);
    }
    m_rulesControl.reset();
    m_control.reset();
    m_host.reset(); // shuts down if quit() was never reached
}

AppDelegate::LaunchResult AppDelegate::forwardToRunningInstance()
{
    Console::line(kAlreadyRunningLine);
    bool ok = true;
    for (const QString &url : std::as_const(m_urls)) {
        // A blocking call is acceptable here: this process has nothing else to do and ends right after.
        QDBusMessage call = QDBusMessage::createMethodCall(ControlNames::kServiceName, ControlNames::kObjectPath,
                                                           ControlNames::kInterface, QStringLiteral("HandleUrl"));
        call << url;
        const QDBusMessage answer = QDBusConnection::sessionBus().call(call, QDBus::Block, 10000);
        if (answer.type() == QDBusMessage::ErrorMessage) {
            Console::line(kUrlFailedLine.arg(answer.errorMessage()));
            ok = false;
        }
    }
    return ok ? LaunchResult::AlreadyRunning : LaunchResult::Failed;
}

bool AppDelegate::exportControlInterface()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    // The object goes first: a client that sees the name must find the object behind it.
    if (!bus.registerObject(ControlNames::kObjectPath, m_control.get(), QDBusConnection::ExportScriptableContents)) {
        Console::line(QStringLiteral("❌ [SETUP] Cannot export the control interface: ") + bus.lastError().message());
        return true; // the engine still runs; only remote control is missing
    }
    if (m_rulesControl && !bus.registerObject(RulesNames::kObjectPath, m_rulesControl.get(), QDBusConnection::ExportAdaptors))
        Console::line(QStringLiteral("❌ [SETUP] Cannot export the rules interface: ") + bus.lastError().message());
    if (!bus.registerService(ControlNames::kServiceName)) {
        bus.unregisterObject(ControlNames::kObjectPath);
        bus.unregisterObject(RulesNames::kObjectPath);
        return false; // lost the race against another instance
    }
    m_exported = true;
    // Discovery is served beside the main interface, by an object the control service owns.
    auto *discovery = new DiscoveryControl(m_host->discovery(), m_host->engine(), m_control.get());
    if (!bus.registerObject(DiscoveryControl::kObjectPath, discovery, QDBusConnection::ExportAdaptors))
        Console::line(QStringLiteral("❌ [SETUP] Cannot export the discovery interface: ") + bus.lastError().message());
    return true;
}

// The enterprise interface lives on the same bus name at its own path; it is registered once the main
// interface owns the name, and a failure costs only remote access to it.
void AppDelegate::exportEnterpriseInterface()
{
    m_enterprise = std::make_unique<EnterpriseControl>(m_host->engine(), m_host->managedPreferences(),
                                                       m_host->directoryMappings());
    new Enterprise1Adaptor(m_enterprise.get()); // owned by the object it adapts
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(EnterpriseNames::kObjectPath, m_enterprise.get(), QDBusConnection::ExportAdaptors)) {
        Console::line(QStringLiteral("❌ [SETUP] Cannot export the enterprise interface: ") + bus.lastError().message());
        return;
    }
    m_enterpriseExported = true;
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
    m_rulesControl = std::make_unique<RulesControl>(m_host->rules(), m_host->engine());

    if (haveBus && !exportControlInterface()) {
        // Another instance took the name between the check and now. Nothing was started: no launch entry.
        m_rulesControl.reset();
        m_control.reset();
        m_host.reset();
        return forwardToRunningInstance();
    }

    if (m_exported)
        exportEnterpriseInterface();

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
        bus.unregisterObject(DiscoveryControl::kObjectPath);
        bus.unregisterObject(RulesNames::kObjectPath);
        m_exported = false;
    }
    if (m_enterpriseExported) {
        QDBusConnection::sessionBus().unregisterObject(EnterpriseNames::kObjectPath);
        m_enterpriseExported = false;
    }
    if (m_host)
        m_host->shutdown();
    QCoreApplication::exit(0);
}
