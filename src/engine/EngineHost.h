#pragma once

#include "platform/PlatformPorts.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class ActiveDirectoryManager;
class AutoMountScheduler;
class ConfigurationManager;
class CredentialStore;
class Defaults;
class EnterpriseAuditLog;
class FuseBridgeWatchdog;
class LegacyImporter;
class LogEventManager;
class ManagedPreferencesMonitor;
class MountEngine;
class NetworkDiscoveryManager;
class NotificationCenter;
class RuleEngine;
class RulesExchangeAdapter;
class ShareSetManager;
class VolumeRecord;
struct WorkerPools;

// The long-lived objects of the engine, created once in a fixed order and destroyed in reverse:
// preferences domain, notification centre, audit log, event log (both dated by the ports' clock), worker
// pools, credential store, mount engine (which loads the records), FUSE-bridge watchdog and auto-mount
// scheduler, over the platform ports it is given and nothing else: the executables pass
// LinuxPlatform::createPorts(), the tests FakePlatform::createPorts() (or the Linux ports under the stack).
// The tray application and the headless daemon both run on one EngineHost; the user interface attaches to
// the accessors.
//
// start() is the engine's part of the launch sequence: the APP_LAUNCH audit entry ("📋 [AUDIT] APP_LAUNCH:
// Tarnwell launched"), the one-time interval notice, the first-launch example shares, then the scheduler's
// tick, then the managed shares (applied at once and again whenever the managed profiles change).
// shutdown() is the quit: the scheduler stops, the records are saved, APP_QUIT is written, and it
// returns once the audit writer has put every entry on disk.
//
// Thread: main thread only.
class EngineHost : public QObject
{
    Q_OBJECT
public:
    static inline const QString kLaunchDetails = QStringLiteral("Tarnwell launched");
    static inline const QString kQuitDetails = QStringLiteral("Tarnwell quit");
    static inline const QString kShowConfigurationLine = QStringLiteral("🔧 [SETUP] show_configuration_on_start: %1");
    static inline const QString kNoticeLine = QStringLiteral("ℹ️ [MIGRATE] %1: %2");

    struct Options
    {
        QString defaultsFile;  // empty: Defaults::standardFilePath()
        QString auditLogFile;  // empty: EnterpriseAuditLog::standardFilePath()
        bool watchFuseBridge = true;   // when the ports have a FUSE bridge
        bool restartFuseBridge = true; // the watchdog may restart a lost bridge
        // Replaces the scheduler's liveness probe of mounted servers (benches: always answering).
        std::function<bool(const VolumeRecord &record)> serverReachable;
        QString rulesFile; // empty: $XDG_DATA_HOME/Tarnwell/rules.json
    };

    explicit EngineHost(PlatformPorts ports, const Options &options, QObject *parent = nullptr);
    explicit EngineHost(PlatformPorts ports, QObject *parent = nullptr);
    ~EngineHost() override;

    // Where a one-time notice goes (title, text). The default prints it as a console line; the tray
    // application shows an alert instead.
    void setNoticePresenter(std::function<void(const QString &title, const QString &text)> presenter)
    {
        m_presentNotice = std::move(presenter);
    }

    void start();
    // Idempotent; also run by the destructor when start() ran and shutdown() did not.
    void shutdown();
    bool isRunning() const { return m_started && !m_stopped; }

    Defaults &defaults() { return *m_defaults; }
    NotificationCenter &center() { return *m_center; }
    EnterpriseAuditLog &auditLog() { return *m_auditLog; }
    LogEventManager &eventLog() { return *m_eventLog; }
    CredentialStore &credentials() { return *m_credentials; }
    MountEngine &engine() { return *m_engine; }
    AutoMountScheduler &scheduler() { return *m_scheduler; }
    FuseBridgeWatchdog *fuseWatchdog() { return m_fuseWatchdog.get(); } // null when not watching
    WorkerPools &pools() { return *m_pools; }
    // Created with its rules loaded and stopped; start() starts it when "startRuleEngineAtLaunch" is on.
    RuleEngine &rules() { return *m_rules; }
    PlatformPorts &ports() { return m_ports; }
    // Null when the ports bring no managed-preference source, resp. no directory service.
    ManagedPreferencesMonitor *managedPreferences() { return m_managedPreferences.get(); }
    ActiveDirectoryManager *directoryMappings() { return m_directory.get(); }
    NetworkDiscoveryManager &discovery() { return *m_discovery; }
    // Share sets and the configuration exchange (their policy gate and rules exchange are set by the caller).
    ShareSetManager &shareSets() { return *m_shareSets; }
    ConfigurationManager &configuration() { return *m_configuration; }
    LegacyImporter &legacyImporter() { return *m_legacyImporter; }

private:
    PlatformPorts m_ports;
    std::unique_ptr<Defaults> m_defaults;
    std::unique_ptr<NotificationCenter> m_center;
    std::unique_ptr<EnterpriseAuditLog> m_auditLog;
    std::unique_ptr<LogEventManager> m_eventLog;
    std::unique_ptr<CredentialStore> m_credentials;
    std::unique_ptr<WorkerPools> m_pools; // outlives the engine and the scheduler, which wait for their tasks
    std::unique_ptr<MountEngine> m_engine;
    std::unique_ptr<FuseBridgeWatchdog> m_fuseWatchdog;
    std::unique_ptr<AutoMountScheduler> m_scheduler;
    std::unique_ptr<ManagedPreferencesMonitor> m_managedPreferences;
    std::unique_ptr<ActiveDirectoryManager> m_directory;
    std::unique_ptr<NetworkDiscoveryManager> m_discovery; // over the discovery ports
    std::unique_ptr<RuleEngine> m_rules;
    std::unique_ptr<ShareSetManager> m_shareSets;
    std::unique_ptr<RulesExchangeAdapter> m_rulesExchange;
    std::unique_ptr<ConfigurationManager> m_configuration;
    std::unique_ptr<LegacyImporter> m_legacyImporter;
    std::function<void(const QString &, const QString &)> m_presentNotice;
    bool m_started = false;
    bool m_stopped = false;
};
