#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

class FuseBridge;
class LogEventManager;

// Watches the FUSE bridge (the FuseBridge port: the GVfs FUSE daemon on the volumes folder, through which
// every share is reachable as a path). When it is gone or dead, the shares are still mounted but no path
// leads to them: the port restarts it and its mounts reappear by themselves, so nothing needs remounting.
// A bridge that hangs (the check does not come back in time) is only reported: it is another process's
// business and killing it could lose data.
//
// The policy is here: restarts are attempted only when allowed and when the port sees no obstacle, at
// most once per back-off period; each loss (once per outage) and each restart writes one event-log line
// and one console line.
//
// Threads: a QObject of the main thread; check() is called there. The port's blocking check and restart
// run on a detached thread of their own (a hung FUSE call would otherwise pin a pool thread and block
// shutdown), which shares ownership of the port; results come back queued. One check at a time.
class FuseBridgeWatchdog : public QObject
{
    Q_OBJECT
public:
    enum class State { Unknown, Healthy, Missing, Dead, Unresponsive };
    Q_ENUM(State)

    struct Options
    {
        bool restartAllowed = true;
        std::chrono::milliseconds checkTimeout{3000};
        std::chrono::milliseconds restartBackoff{60000};
    };

    static inline const QString kLostLine = QStringLiteral("⚠️ [SYNC] GVfs FUSE bridge lost at '%1' (%2)");
    static inline const QString kRestartedLine = QStringLiteral("✅ [SYNC] GVfs FUSE bridge restarted at '%1' (pid %2)");
    static inline const QString kRestartFailedLine = QStringLiteral("❌ [SYNC] GVfs FUSE bridge not restarted: %1");
    static inline const QString kLostEventText = QStringLiteral("GVfs FUSE bridge lost at %1 (%2)");
    static inline const QString kRestartedEventText = QStringLiteral("GVfs FUSE bridge restarted at %1");
    static inline const QString kRestartFailedEventText = QStringLiteral("GVfs FUSE bridge not restarted: %1");

    // eventLog may be null (console lines only).
    FuseBridgeWatchdog(std::shared_ptr<FuseBridge> bridge, Options options, LogEventManager *eventLog,
                       QObject *parent = nullptr);

    // Starts one check unless one is still running.
    void check();
    bool isCheckRunning() const { return m_checkRunning; }
    State state() const { return m_state; }
    // PID of the bridge this watchdog last started (0: none).
    qint64 lastStartedBridgePid() const { return m_lastPid; }
    const Options &options() const { return m_options; }

Q_SIGNALS:
    void checked(FuseBridgeWatchdog::State state);
    // The bridge was found gone, dead or hanging (once per outage).
    void bridgeLost(FuseBridgeWatchdog::State state);
    void bridgeRestarted(qint64 pid);

private:
    struct CheckResult
    {
        State state = State::Unknown;
        bool restartAttempted = false;
        bool restarted = false;
        qint64 pid = 0;
        QString failure;
    };

    void onCheckDone(const CheckResult &result);
    void onCheckTimeout();
    void reportLoss(State state);
    void reportRestarted(qint64 pid);
    QString restartRefusal() const;
    static QString describe(State state);

    std::shared_ptr<FuseBridge> m_bridge;
    QString m_folder;
    Options m_options;
    LogEventManager *m_eventLog;
    QTimer m_checkTimer;
    bool m_checkRunning = false;
    State m_state = State::Unknown;
    bool m_lossReported = false;
    std::optional<std::chrono::steady_clock::time_point> m_lastRestartAttempt;
    qint64 m_lastPid = 0;
    // A bridge that was started but had not mounted when the restart gave up: the check that first finds
    // the folder healthy again reports it as restarted.
    qint64 m_pendingPid = 0;
};
