#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <optional>

class LogEventManager;

// Watches the GVfs FUSE bridge: the gvfsd-fuse mount on the volumes folder through which every GVfs share
// is reachable as a path. When it is gone (no "fuse.gvfsd-fuse" entry for the folder in the mount table of
// the kernel) or dead (still listed, but the folder answers ENOTCONN because the daemon died), the shares
// are still mounted in GVfs but no path leads to them. Recovery: a dead entry is lazily unmounted
// ("fusermount3 -u -z"), then the bridge is started again on the same folder, detached, as gvfsd itself
// would have started it; its mounts reappear by themselves, so nothing needs remounting. A bridge that
// hangs (the check does not come back in time) is only reported: it is another process's business and
// killing it could lose data.
//
// Restarts are attempted only when the session allows: the bridge program is executable, /dev/fuse exists
// and a session bus is there (gvfsd-fuse talks to gvfsd over it); and at most once per back-off period.
// Each loss and each restart writes one event-log line and one console line.
//
// Threads: a QObject of the main thread; check() is called there. The check and the recovery touch the
// FUSE folder and run on a detached thread of their own (a hung FUSE call would otherwise pin a pool
// thread and block shutdown); results come back queued. One check at a time.
class FuseBridgeWatchdog : public QObject
{
    Q_OBJECT
public:
    enum class State { Unknown, Healthy, Missing, Dead, Unresponsive };
    Q_ENUM(State)

    struct Options
    {
        QString volumesFolder;
        QString mountInfoPath = QStringLiteral("/proc/self/mountinfo");
        QString bridgeProgram = QStringLiteral("/usr/libexec/gvfsd-fuse");
        QString fuseDevice = QStringLiteral("/dev/fuse");
        // gvfsd-fuse reaches gvfsd over the session bus; without one a restart is pointless.
        bool requireSessionBus = true;
        bool restartAllowed = true;
        std::chrono::milliseconds checkTimeout{3000};
        std::chrono::milliseconds restartBackoff{60000};
        // How long a restarted bridge may take to mount the folder.
        std::chrono::milliseconds restartWait{5000};
    };

    static inline const QString kFuseType = QStringLiteral("fuse.gvfsd-fuse");
    static inline const QString kLostLine = QStringLiteral("⚠️ [SYNC] GVfs FUSE bridge lost at '%1' (%2)");
    static inline const QString kRestartedLine = QStringLiteral("✅ [SYNC] GVfs FUSE bridge restarted at '%1' (pid %2)");
    static inline const QString kRestartFailedLine = QStringLiteral("❌ [SYNC] GVfs FUSE bridge not restarted: %1");
    static inline const QString kLostEventText = QStringLiteral("GVfs FUSE bridge lost at %1 (%2)");
    static inline const QString kRestartedEventText = QStringLiteral("GVfs FUSE bridge restarted at %1");
    static inline const QString kRestartFailedEventText = QStringLiteral("GVfs FUSE bridge not restarted: %1");

    // eventLog may be null (console lines only).
    FuseBridgeWatchdog(Options options, LogEventManager *eventLog, QObject *parent = nullptr);

    // Starts one check unless one is still running.
    void check();
    bool isCheckRunning() const { return m_checkRunning; }
    State state() const { return m_state; }
    // PID of the bridge this watchdog last started (0: none).
    qint64 lastStartedBridgePid() const { return m_lastPid; }
    const Options &options() const { return m_options; }

    // Pure: the state of the bridge on `folder` given the text of a mountinfo file and the errno of a
    // stat() of the folder (0 = fine).
    static State classify(const QByteArray &mountInfo, const QString &folder, int statErrno);
    // The file-system type mounted exactly on `folder` (mountinfo's octal escapes undone); nullopt when
    // nothing is mounted there.
    static std::optional<QString> mountTypeAt(const QByteArray &mountInfo, const QString &folder);

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
    QString restartRefusal() const;
    static QString describe(State state);

    Options m_options;
    LogEventManager *m_eventLog;
    QTimer m_checkTimer;
    bool m_checkRunning = false;
    State m_state = State::Unknown;
    bool m_lossReported = false;
    std::optional<std::chrono::steady_clock::time_point> m_lastRestartAttempt;
    qint64 m_lastPid = 0;
};
