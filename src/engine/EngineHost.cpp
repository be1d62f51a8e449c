#include "EngineHost.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "base/Migrations.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "base/ThreadCheck.h"
#include "core/AutoMountScheduler.h"
#include "core/CredentialStore.h"
#include "core/FuseBridgeWatchdog.h"
#include "core/MountEngine.h"
#include "core/WorkerPools.h"
#include "discovery/NetworkDiscoveryManager.h"
#include "engine/RulesExchangeAdapter.h"
#include "enterprise/ActiveDirectoryManager.h"
#include "enterprise/ManagedPreferencesMonitor.h"
#include "enterprise/ManagedPreferencesReader.h"
#include "exchange/ConfigurationManager.h"
#include "exchange/LegacyImporter.h"
#include "exchange/ShareSetManager.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"
#include "platform/FileSystem.h"
#include "platform/FuseBridge.h"
#include "platform/ManagedPreferenceSource.h"
#include "platform/NetworkProbe.h"
#include "platform/ServiceBrowser.h"
#include "rules/RuleEngine.h"

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
    m_auditLog->setClock(m_ports.clock.get());
    m_eventLog->setClock(m_ports.clock.get());
    m_pools = std::make_unique<WorkerPools>();
    m_credentials = std::make_unique<CredentialStore>(m_ports.secretStore.get());

    MountEngineDependencies deps;
    deps.defaults = m_defaults.get();
    deps.center = m_center.get();
    deps.eventLog = m_eventLog.get();
    deps.auditLog = m_auditLog.get();
    deps.mountService = m_ports.mountService.get();
    deps.mountTable = m_ports.mountTable.get();
    deps.fileSystem = m_ports.fileSystem.get();
    deps.sharedFileSystem = m_ports.fileSystem;
    deps.credentials = m_credentials.get();
    deps.network = m_ports.networkProbe.get();
    deps.pools = m_pools.get();
    deps.clock = m_ports.clock.get();
    deps.certificates = m_ports.certificateReader.get();
    m_engine = std::make_unique<MountEngine>(deps);

    if (options.watchFuseBridge && m_ports.fuseBridge) {
        FuseBridgeWatchdog::Options watch;
        watch.restartAllowed = options.restartFuseBridge;
        m_fuseWatchdog = std::make_unique<FuseBridgeWatchdog>(m_ports.fuseBridge, watch, m_eventLog.get());
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
    sched.pools = m_pools.get();
    sched.network = m_ports.networkProbe.get();
    sched.serverReachable = options.serverReachable;
    m_scheduler = std::make_unique<AutoMountScheduler>(sched);

    if (m_ports.managedPreferences) {
        m_managedPreferences = std::make_unique<ManagedPreferencesMonitor>(
            *m_ports.managedPreferences, *m_engine, m_center.get(), m_ports.notifier.get());
    }
    if (m_ports.directory) {
        ActiveDirectoryManager::Dependencies directory;
        directory.directory = m_ports.directory.get();
        directory.defaults = m_defaults.get();
        directory.engine = m_engine.get();
        directory.auditLog = m_auditLog.get();
        directory.center = m_center.get();
        m_directory = std::make_unique<ActiveDirectoryManager>(directory);
    }
    NetworkDiscoveryManager::Dependencies discovery;
    discovery.browser = m_ports.serviceBrowser.get();
    discovery.interfaces = m_ports.networkInterfaces.get();
    discovery.lister = m_ports.shareLister.get();
    discovery.network = m_ports.networkProbe.get();
    m_discovery = std::make_unique<NetworkDiscoveryManager>(discovery);
    RuleEngineDependencies rules;
    rules.clock = m_ports.clock.get();
    rules.wifi = m_ports.wifi.get();
    rules.sleepMonitor = m_ports.sleepMonitor.get();
    rules.power = m_ports.powerSource.get();
    rules.applications = m_ports.runningApplications.get();
    rules.vpn = m_ports.vpnMonitor.get();
    rules.launcher = m_ports.processLauncher.get();
    rules.notifier = m_ports.notifier.get();
    rules.rulesFile = options.rulesFile;
    MountEngine *engine = m_engine.get();
    rules.volumes = [engine] {
        QList<RuleVolume> volumes;
        for (const VolumeRecord &record : engine->store().records())
            volumes.append({record.internal_ID_Int, record.displayName(), record.group_String, record.runtime_isMounted_Bool});
        return volumes;
    };
    rules.mount = [engine](qint64 id) { engine->mount(id, false); };
    rules.eject = [engine](qint64 id) { engine->eject(id); };
    m_rules = std::make_unique<RuleEngine>(rules);
    m_shareSets = std::make_unique<ShareSetManager>(*m_defaults, *m_engine);
    m_configuration = std::make_unique<ConfigurationManager>(ConfigurationManager::Dependencies{
        m_engine.get(), m_shareSets.get(), m_defaults.get(), m_center.get(), m_credentials.get()});
    m_legacyImporter = std::make_unique<LegacyImporter>(*m_configuration, *m_eventLog);
    m_rulesExchange = std::make_unique<RulesExchangeAdapter>(*m_rules);
    m_configuration->setRulesExchange(m_rulesExchange.get());
    // Import and export may be forbidden by the organisation; only an explicit false in a managed profile
    // blocks. Without a managed-preference source nothing is forbidden.
    ManagedPreferenceSource *managed = m_ports.managedPreferences.get();
    m_configuration->setPolicyReader([managed](const QString &key) -> std::optional<bool> {
        if (!managed)
            return std::nullopt;
        return ManagedPreferencesReader(*managed).boolean(key);
    });

    m_presentNotice = [](const QString &title, const QString &text) { Console::line(kNoticeLine.arg(title, text)); };
}

EngineHost::~EngineHost()
{
    if (m_started)
        shutdown();
    // Everything built on the engine goes first (discovery also waits for its workers, which use the ports);
    // then the scheduler and the watchdog, then the engine, which refers to the logs and ports.
    m_legacyImporter.reset();
    m_configuration.reset();
    m_rulesExchange.reset();
    m_shareSets.reset();
    m_rules.reset();
    m_discovery.reset();
    m_directory.reset();
    m_managedPreferences.reset();
    m_scheduler.reset();
    m_fuseWatchdog.reset();
    m_engine.reset();
    m_pools.reset();
}

void EngineHost::start()
{
    TW_ASSERT_MAIN_THREAD();
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

    if (m_managedPreferences) {
        m_managedPreferences->check();
        m_managedPreferences->watch();
    }
    if (m_defaults->boolean(Preferences::Keys::StartRuleEngineAtLaunch).value_or(false))
        m_rules->start();
}

void EngineHost::shutdown()
{
    if (!m_started || m_stopped)
        return;
    m_stopped = true;
    m_rules->stop();
    m_scheduler->stop();
    m_engine->store().save();
    m_auditLog->log(AuditEventType::appQuit, std::nullopt, std::nullopt, kQuitDetails, true);
    m_auditLog->waitForPendingWrites();
}
