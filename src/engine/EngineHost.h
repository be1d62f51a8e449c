#pragma once

#include "platform/PlatformPorts.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class AutoMountScheduler;
class ConfigurationManager;
class LegacyImporter;
class ShareSetManager;
class CredentialStore;
class Defaults;
class EnterpriseAuditLog;
class FuseBridgeWatchdog;
class LogEventManager;
class MountEngine;
class NotificationCenter;

// The long-lived objects of the engine, created once in a fixed order and destroyed in reverse:
// preferences domain, notification centre, audit log, event log, credential store, mount engine (which
// loads the records), FUSE-bridge watchdog and auto-mount scheduler, over the platform ports it is given.
// The tray application and the headless daemon both run on one EngineHost; the user interface attaches to
// the accessors.
//
// start() is the engine's part of the launch sequence: the APP_LAUNCH audit entry ("📋 [AUDIT] APP_LAUNCH:
// Tarnwell launched"), the one-time interval notice, the first-launch example shares, then the scheduler's
// tick. shutdown() is the quit: the scheduler stops, the records are saved, APP_QUIT is written, and it
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
        bool watchFuseBridge = true;
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
    PlatformPorts &ports() { return m_ports; }
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
    std::unique_ptr<MountEngine> m_engine;
    std::unique_ptr<FuseBridgeWatchdog> m_fuseWatchdog;
    std::unique_ptr<AutoMountScheduler> m_scheduler;
    std::unique_ptr<ShareSetManager> m_shareSets;
    std::unique_ptr<ConfigurationManager> m_configuration;
    std::unique_ptr<LegacyImporter> m_legacyImporter;
    std::function<void(const QString &, const QString &)> m_presentNotice;
    bool m_started = false;
    bool m_stopped = false;
};
