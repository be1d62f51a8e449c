#pragma once

#include <QDateTime>
#include <QObject>
#include <QSet>
#include <QString>
#include <QThreadPool>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>

class Clock;
class ClockTimer;
class Defaults;
class EnterpriseAuditLog;
class FuseBridgeWatchdog;
class LogEventManager;
class MountEngine;
class MountTable;
class NetworkProbe;
class NotificationCenter;
class SleepMonitor;
class VolumeRecord;
class WifiNetwork;
struct WorkerPools;

// What the scheduler is built from. Everything is owned by the caller and outlives the scheduler; only
// `center`, `auditLog`, `wifi`, `sleepMonitor` and `fuseWatchdog` may be null (no notifications, no audit
// entries, never on Wi-Fi, no wake handling, no FUSE-bridge watch).
struct AutoMountSchedulerDependencies
{
    MountEngine *engine = nullptr;
    Defaults *defaults = nullptr;
    NotificationCenter *center = nullptr;
    LogEventManager *eventLog = nullptr;
    EnterpriseAuditLog *auditLog = nullptr;
    MountTable *mountTable = nullptr;
    WifiNetwork *wifi = nullptr;
    SleepMonitor *sleepMonitor = nullptr;
    FuseBridgeWatchdog *fuseWatchdog = nullptr;
    Clock *clock = nullptr;
    // The probes pool of the engine root's WorkerPools (the scheduler waits for its tasks when destroyed).
    WorkerPools *pools = nullptr;
    // The TCP liveness probe of mounted servers goes through this port (1-second time-out).
    NetworkProbe *network = nullptr;
    // Whether the server of a mounted SMB/AFP/NFS share still answers (a TCP connection to its port).
    // BLOCKING: called on the scheduler's workers. Empty: the probe through `network`.
    std::function<bool(const VolumeRecord &record)> serverReachable;
};

// Keeps shares mounted without the user's help: the repeating tick (`checkSchedule`) that reconciles the
// records with the mount table, remounts auto-mount shares, follows weekly schedules and Wi-Fi allow-lists;
// the "Connecting... Ns" countdown that enforces the mount time-out; the 10-second clearing of eject status
// texts; the observer of volumes unmounted behind the application's back; the pause switch; an immediate
// check after the machine wakes; and the watch over the GVfs FUSE bridge.
//
// Tick, in order: sync with the mount table (the rest of the tick runs when the engine reports the sync
// finished, so decisions see fresh state), post "RefreshVolumeUI", then each record in list order:
//   in progress -> skip; neither auto nor schedule -> skip; allow-list not satisfied -> eject if mounted;
//   auto-mount -> mount when not mounted (WebDAV behind a 2-second share-URL probe);
//   schedule -> inside the window mount when not mounted (WebDAV probed likewise), outside eject.
// Pause: the switch is consulted right before a mount would start, so a paused scheduler starts no
// automatic mount (auto or schedule) but still syncs and still ejects what policy says must go (a
// network the share is not allowed on, the end of its schedule window).
// Wi-Fi state not known yet (right after start): records with an allow-list are left alone for that tick.
//
// Beyond the schedule, a mounted SMB/AFP/NFS share managed by the tick whose server stops answering a TCP
// probe (time-boxed, on a worker) is force-ejected and marked "Server unreachable" with a CONNECTION_FAILED
// event, once per outage; the tick then remounts it when the server is back. (WebDAV shares get the same
// treatment from the engine's own sync.)
//
// Beyond the tick: while a share that should be mounted has lost its server (its liveness probe failed,
// or an automatic mount failed with the server unreachable), a light TCP connect to that share's host and
// port alone (through `network`, every kReturnProbePeriod, one at a time per share, on the probes pool)
// notices the server's return and starts the mount at once instead of at the next tick. The tick keeps
// governing everything else.
//
// The unmount observer matches a volume to the mounted record with that mount point; unmounts caused by an
// eject of the engine (or by its sync's force-eject of a stale WebDAV mount) are left to report themselves.
//
// Threads: a QObject of the main thread; every public function is called there (checked by
// TW_ASSERT_MAIN_THREAD in debug builds). Nothing here blocks the main thread: probes run on the probes
// pool of the engine root's WorkerPools or the engine's pools, results come back queued.
// Timers come from the injected Clock, so tests drive the countdown and the status clearing by hand.
class AutoMountScheduler : public QObject
{
    Q_OBJECT
public:
    // Console lines and texts (part of the behaviour).
    static inline const QString kIntervalLine = QStringLiteral("⏱ [SCHED] Auto-Mount / Schedule check interval set to ");
    static inline const QString kObserverRegisteredLine =
        QStringLiteral("🔔 [NOTIFY] Unmount notification observer registered");
    static inline const QString kUnmountDetectedLine = QStringLiteral("🔔 [NOTIFY] System unmount detected: '%1'");
    static inline const QString kUnmountMatchedLine = QStringLiteral("🔔 [NOTIFY] Matched to record: ");
    static inline const QString kResumedLine = QStringLiteral("⏱ [SCHED] Resumed from sleep - checking shares now");
    static inline const QString kServerGoneLine =
        QStringLiteral("⏱ [SCHED] '%1' is mounted at '%2' but its server does not answer — ejecting stale mount");
    static inline const QString kConnectingStatus = QStringLiteral("Connecting... %1s");
    static inline const QString kShareUrlProbeFailedStatus =
        QStringLiteral("Share URL probe failed; Auto-Mount is waiting to remount");
    static inline const QString kServerUnreachableStatus = QStringLiteral("Server unreachable");
    static inline const QString kEjectedExternallyStatus = QStringLiteral("Ejected externally from ");
    static inline const QString kEjectedExternallyMessage = QStringLiteral("Volume was ejected outside of Tarnwell");
    static inline const QString kServerGoneEventText = QStringLiteral("Server unreachable; ejected stale mount at ");
    static inline const QString kPausedMessage = QStringLiteral("Auto-mount paused");
    static inline const QString kPausedTitle = QStringLiteral("Auto-mount pause status");
    static inline const QString kResumedMessage = QStringLiteral("Auto-mount resumed");
    static inline const QString kResumedTitle = QStringLiteral("Auto-mount resume status");

    static inline const QString kServerBackLine =
        QStringLiteral("⏱ [SCHED] '%1' server %2:%3 answers again — mounting now");
    static constexpr std::chrono::milliseconds kCountdownPeriod{1000};
    static constexpr std::chrono::milliseconds kReturnProbePeriod{2000};
    static constexpr std::chrono::milliseconds kReturnProbeLimit{1000};
    static constexpr std::chrono::milliseconds kEjectStatusClearDelay{10000};
    static constexpr double kShareUrlGateSeconds = 2.0;
    // A sync that has not finished after this long no longer holds the ticks back.
    static constexpr std::chrono::seconds kSyncStallLimit{30};

    explicit AutoMountScheduler(const AutoMountSchedulerDependencies &dependencies, QObject *parent = nullptr);
    ~AutoMountScheduler() override;

    // Registers the unmount observer, the preferences and wake observers, and starts the tick timer.
    void start();
    // Stops every timer and observer (quit).
    void stop();

    // Reads "auto_mount_check_interval_Int" (15 when absent or not an integer, clamped to 10..1440),
    // (re)starts the tick timer and prints the interval line.
    void restartTimer();
    int intervalSeconds() const { return m_intervalSeconds; }
    bool isTimerActive() const;

    // The tick.
    void checkSchedule();
    // One firing of a record's countdown.
    void updateMountCountdownFor(qint64 id);

    bool isAutoMountPaused() const { return m_isAutoMountPaused; }
    // Pausing needs at least one mounted share (otherwise nothing happens and false is returned); resuming
    // works whenever paused. Each real flip posts "RefreshVolumeUI", writes the audit entry and emits
    // pausedChanged.
    bool pauseAutoMount();
    bool resumeAutoMount();

    // For tests and views.
    bool hasCountdown(qint64 id) const { return m_countdowns.count(id) > 0; }
    bool hasStatusClearTimer(qint64 id) const { return m_statusClears.count(id) > 0; }
    int tickCount() const { return m_tickCount; }
    // Shares whose server's return is being watched.
    bool isAwaitingServer(qint64 id) const { return m_awaitingServer.contains(id); }

Q_SIGNALS:
    void pausedChanged(bool paused);
    // The per-record part of a tick has run (after the sync finished).
    void tickFinished();
    // A mounted share's server was found gone and the share marked unreachable.
    void serverLost(qint64 id);

private:
    enum class Gate { AutoMount, Schedule };
    struct Countdown
    {
        std::unique_ptr<ClockTimer> timer;
        QDateTime start;
    };
    struct StatusClear
    {
        std::unique_ptr<ClockTimer> timer;
        QString status; // the eject text to clear; a newer status is left alone
    };

    void onSyncFinished();
    void evaluateRecords();
    void evaluateRecord(qint64 id, const QDateTime &now, bool wifiKnown, const std::optional<QString> &ssid);
    void mountThroughGate(qint64 id, Gate gate);
    bool mayStartAutomaticMount(qint64 id) const;
    void checkServerAlive(const VolumeRecord &record);
    void onServerCheck(qint64 id, const QString &path, bool reachable);
    void ejectByPolicy(qint64 id);
    bool wantsMounted(const VolumeRecord &record, const QDateTime &now) const;
    void awaitServer(qint64 id);
    void probeReturns();
    void onReturnProbe(qint64 id, bool answers);

    void onMountStarted(qint64 id);
    void onMountFinished(qint64 id, int code);
    void onEjectFinished(qint64 id, bool ok);
    void startStatusClear(qint64 id);
    void onVolumeUnmounted(const QString &path);
    void onNotification(const QString &name);
    void onResumed();
    void onFuseBridgeRecovered();
    void setPaused(bool paused);
    void postRefresh();

    AutoMountSchedulerDependencies m_deps;
    std::unique_ptr<ClockTimer> m_timer;
    std::unique_ptr<ClockTimer> m_returnTimer;
    QSet<qint64> m_awaitingServer;     // lost their server; watched for its return
    QSet<qint64> m_returnProbes;       // return probes in flight
    int m_intervalSeconds = 15;
    bool m_started = false;
    bool m_isAutoMountPaused = false;
    bool m_waitingForSync = false;
    QDateTime m_syncRequestedAt;
    int m_tickCount = 0;
    std::unordered_map<qint64, Countdown> m_countdowns;
    std::unordered_map<qint64, StatusClear> m_statusClears;
    QSet<qint64> m_gateProbes;        // share-URL probes in flight
    QSet<qint64> m_serverChecks;      // liveness probes in flight
    QSet<qint64> m_serverLost;        // reported once per outage
    QList<QMetaObject::Connection> m_connections;
    QThreadPool &m_pool;
};
