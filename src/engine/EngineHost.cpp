#include "EngineHost.h"

#include "base/Migrations.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "core/AutoMountScheduler.h"
#include "core/CredentialStore.h"
#include "core/FuseBridgeWatchdog.h"
#include "core/MountEngine.h"
#include "exchange/ConfigurationManager.h"
#include "exchange/LegacyImporter.h"
#include "exchange/ShareSetManager.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"
#include "platform/FileSystem.h"

EngineHost::EngineHost(PlatformPorts ports, QObject *parent)
    : EngineHost(std::move(ports), Options{}, parent)
{
}

EngineHost::EngineHost(PlatformPorts ports, const Options &options, QObject *parent)
    : QObject(parent)
    , m_ports(std::move(ports))
{
    m_defaults = std::make_unique<Defaults>(options.defaultsFile.isEmpty() ? Defaults::standardFilePath()
                                                                           : options.defaultsFile);
    m_center = std::make_unique<NotificationCenter>();
    m_auditLog = std::make_unique<EnterpriseAuditLog>(
        options.auditLogFile.isEmpty() ? EnterpriseAuditLog::standardFilePath() : options.auditLogFile);
    m_eventLog = std::make_unique<LogEventManager>(*m_defaults, m_center.get());
    m_credentials = std::make_unique<CredentialStore>(m_ports.secretStore.get());

    MountEngineDependencies deps;
    deps.defaults = m_defaults.get();
    deps.center = m_center.get();
    deps.eventLog = m_eventLog.get();
    deps.auditLog = m_auditLog.get();
    deps.mountService = m_ports.mountService.get();
    deps.mountTable = m_ports.mountTable.get();
    deps.fileSystem = m_ports.fileSystem.get();
    deps.credentials = m_credentials.get();
    m_engine = std::make_unique<MountEngine>(deps);

    if (options.watchFuseBridge && m_ports.fileSystem) {
        FuseBridgeWatchdog::Options watch;
        watch.volumesFolder = m_ports.fileSystem->volumesFolder();
        m_fuseWatchdog = std::make_unique<FuseBridgeWatchdog>(watch, m_eventLog.get());
    }

    AutoMountSchedulerDependencies sched;
    sched.engine = m_engine.get();
    sched.defaults = m_defaults.get();
    sched.center = m_center.get();
    sched.eventLog = m_eventLog.get();
    sched.auditLog = m_auditLog.get();
    sched.mountTable = m_ports.mountTable.get();
    sched.wifi = m_ports.wifi.get();
    sched.sleepMonitor = m_ports.sleepMonitor.get();
    sched.fuseWatchdog = m_fuseWatchdog.get();
    sched.clock = m_ports.clock.get();
    m_scheduler = std::make_unique<AutoMountScheduler>(sched);

    m_shareSets = std::make_unique<ShareSetManager>(*m_defaults, *m_engine);
    m_configuration = std::make_unique<ConfigurationManager>(ConfigurationManager::Dependencies{
        m_engine.get(), m_shareSets.get(), m_defaults.get(), m_center.get(), m_credentials.get()});
    m_legacyImporter = std::make_unique<LegacyImporter>(*m_configuration, *m_eventLog);

    m_presentNotice = [](const QString &title, const QString &text) { Console::line(kNoticeLine.arg(title, text)); };
}

EngineHost::~EngineHost()
{
    if (m_started)
        shutdown();
    // The scheduler and the watchdog refer to the engine; the engine to the logs and ports.
    m_legacyImporter.reset();
    m_configuration.reset();
    m_shareSets.reset();
    m_scheduler.reset();
    m_fuseWatchdog.reset();
    m_engine.reset();
}

void EngineHost::start()
{
    if (m_started)
        return;
    m_started = true;

    m_auditLog->log(AuditEventType::appLaunch, std::nullopt, std::nullopt, kLaunchDetails, true);

    if (const auto notice = Migrations::intervalNotice(*m_defaults)) {
        // Shown once the launch has finished, as the tray application does with its alert.
        const QString text = *notice;
        QMetaObject::invokeMethod(
            this, [this, text] { m_presentNotice(Migrations::kIntervalNoticeTitle, text); }, Qt::QueuedConnection);
    }

    const bool showConfiguration = m_defaults->boolean(Preferences::Keys::ShowConfigurationOnStart).value_or(false);
    Console::line(kShowConfigurationLine.arg(showConfiguration ? QStringLiteral("true") : QStringLiteral("false")));

    m_engine->store().firstLaunchIfNeeded();
    m_scheduler->start();
}

void EngineHost::shutdown()
{
    if (!m_started || m_stopped)
        return;
    m_stopped = true;
    m_scheduler->stop();
    m_engine->store().save();
    m_auditLog->log(AuditEventType::appQuit, std::nullopt, std::nullopt, kQuitDetails, true);
    m_auditLog->waitForPendingWrites();
}
