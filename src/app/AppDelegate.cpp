#include "AppDelegate.h"

#include "control/ControlNames.h"
#include "control/ControlService.h"
#include "control/ExchangeControl.h"
#include "control/ExchangeNames.h"
#include "ExchangeAdaptor.h"
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
    if (m_exported) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterObject(ControlNames::kObjectPath);
        bus.unregisterObject(ExchangeNames::kObjectPath);
        bus.unregisterService(ControlNames::kServiceName);
    }
    m_exchange.reset();
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
    // The exchange interface, served through the adaptor generated from its XML (owned by m_exchange).
    new ExchangeAdaptor(m_exchange.get());
    if (!bus.registerObject(ExchangeNames::kObjectPath, m_exchange.get(), QDBusConnection::ExportAdaptors))
        Console::line(QStringLiteral("❌ [SETUP] Cannot export the exchange interface: ") + bus.lastError().message());
    if (!bus.registerService(ControlNames::kServiceName)) {
        bus.unregisterObject(ControlNames::kObjectPath);
        bus.unregisterObject(ExchangeNames::kObjectPath);
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
    m_exchange = std::make_unique<ExchangeControl>(m_host->configuration(), m_host->shareSets(),
                                                   m_host->legacyImporter());

    if (haveBus && !exportControlInterface()) {
        // Another instance took the name between the check and now. Nothing was started: no launch entry.
        m_exchange.reset();
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
        bus.unregisterObject(ExchangeNames::kObjectPath);
        m_exported = false;
    }
    if (m_host)
        m_host->shutdown();
    QCoreApplication::exit(0);
}
