#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class ControlService;
class EngineHost;
class EngineLock;
class UnixSignalWatcher;

// The application's life in one process: refuses to start a second engine (a second launch forwards its
// tarnwell:// URLs to the running one over the session bus and ends; one that finds the user's files locked
// by an engine it cannot reach says so and fails), builds the EngineHost over the
// Linux ports, exports the control interface, starts the engine, and quits cleanly on SIGINT/SIGTERM or
// on request (records saved, APP_QUIT written and on disk before the process ends), within
// kShutdownLimitSeconds. Losing the session bus ends the engine cleanly as well: it could no longer be
// controlled, and a new one must be able to start.
//
// The tray user interface, when there is one, attaches after launch() through host() and the control
// service; the headless daemon runs exactly this without it.
//
// Thread: main thread. The Q(Core)Application must exist before launch().
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    static inline const QString kAlreadyRunningLine = QStringLiteral("Tarnwell is already running");
    static inline const QString kNoSessionBusLine =
        QStringLiteral("⚠️ [SETUP] No session bus: the control interface (tarnwellctl) is not available");
    static inline const QString kUrlFailedLine = QStringLiteral("❌ [SETUP] URL not handled: %1");
    static inline const QString kSecondEngineLine = QStringLiteral("❌ [SETUP] Not starting a second engine: %1");
    static inline const QString kBusLostLine = QStringLiteral("❌ [SETUP] Lost the session bus; shutting down");
    static inline const QString kShutdownTooLongLine =
        QStringLiteral("❌ [SETUP] Shutdown did not finish within %1 s; ending now");
    // How long a quit may take (a mount hanging in the kernel must not keep the process alive).
    static constexpr int kShutdownLimitSeconds = 20;

    enum class LaunchResult {
        Running,        // the engine runs; enter the event loop
        AlreadyRunning, // another process owns the bus name; URLs were forwarded; exit 0
        Failed,         // the URLs could not be forwarded to the running engine; exit 1
    };

    explicit AppDelegate(QStringList urls, QObject *parent = nullptr);
    ~AppDelegate() override;

    LaunchResult launch();

    // Shuts the engine down and leaves the event loop with status 0. Idempotent.
    void quit();

    EngineHost *host() const { return m_host.get(); }
    ControlService *control() const { return m_control.get(); }

private:
    // One object served on the session bus: the main control interface, or a subsystem's interface at its own
    // path (rules, exchange, enterprise, discovery).
    struct Served
    {
        QString path;
        QString what; // for the console line when it cannot be exported
        std::unique_ptr<QObject> object;
    };

    LaunchResult forwardToRunningInstance();
    void createServedObjects();
    bool exportControlInterface();
    void unexport();
    // Prints kBusLostLine when the engine served the bus and the bus is gone; whether it did.
    bool reportLostBus();

    QStringList m_urls;
    std::unique_ptr<EngineLock> m_lock; // held while the engine lives; released after it is gone
    std::unique_ptr<EngineHost> m_host;
    std::unique_ptr<ControlService> m_control;
    std::vector<Served> m_served; // besides m_control; destroyed before the host they refer to
    std::unique_ptr<UnixSignalWatcher> m_signals;
    bool m_exported = false;
    bool m_quitting = false;
};
