#pragma once

#include "core/RecordRules.h"
#include "core/RecordStore.h"
#include "core/SelectResult.h"
#include "core/VolumeRecord.h"
#include "logging/AuditEventType.h"
#include "logging/LogEvent.h"

#include <QHash>
#include <QSet>
#include <QObject>
#include <QString>
#include <QThreadPool>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class CertificateReader;
struct CertificateRead;
class Clock;
class CredentialStore;
class Defaults;
class EnterpriseAuditLog;
class FileSystem;
class LogEventManager;
class MountCancellation;
class MountPointFinder;
struct EjectOutcome;
class MountService;
class MountTable;
class NetworkProbe;
struct WorkerPools;
class NotificationCenter;
struct MountOutcome;

// What the engine is built from. Everything is owned by the caller and must outlive the engine; only
// `center`, `auditLog` and `credentials` may be null (then nothing is posted, audited, resp. every password
// is empty).
struct MountEngineDependencies
{
    Defaults *defaults = nullptr;
    NotificationCenter *center = nullptr;
    LogEventManager *eventLog = nullptr;
    EnterpriseAuditLog *auditLog = nullptr;
    MountService *mountService = nullptr;
    MountTable *mountTable = nullptr;
    FileSystem *fileSystem = nullptr;
    // The same file system, jointly owned, for verification listings on detached threads that may outlive
    // the engine (a hung FUSE path). Null: `fileSystem` is used without ownership.
    std::shared_ptr<FileSystem> sharedFileSystem;
    CredentialStore *credentials = nullptr;
    // Resolution, TCP probe, Wake-on-LAN and the share URL probe; called on workers only.
    NetworkProbe *network = nullptr;
    // The mount and I/O pools (owned by the engine root; the engine waits for its tasks when destroyed).
    WorkerPools *pools = nullptr;
    // Dates mount start times and the discovery's "recently created" test (null: the system time).
    Clock *clock = nullptr;
    // The certificate a TLS share's server presents (certificate trust); null: untrusted certificates are refused.
    CertificateReader *certificates = nullptr;
};

// The mount engine (the product's `TarnwellService`): owns the share records with their runtime state and
// runs the mount pipeline, eject, eject-all, Clean Up, verification, the OS mount-table sync and the share
// URL probe.
//
// Threads: the engine is a QObject of the main thread and every public function is called there (checked
// by TW_ASSERT_MAIN_THREAD in debug builds). The
// records, their status texts and runtime fields, the event log and the notifications are touched only on
// the main thread. Anything that may block (name resolution, TCP probe, secret store, the platform mount
// and unmount, listings of the volumes folder, which is a FUSE mount, HTTP probes, scripts) runs on the
// worker pools the engine root hands it (WorkerPools): a mount worker receives a COPY of the record and reports every status change
// and its result back with queued invocations, applied to the live record by internal_ID_Int (a record
// removed meanwhile is ignored). Mounts use a dedicated pool of 16 threads so a hanging mount never starves
// the others; ejects, clean-ups and probes use a second pool.
//
// Notifications: runtime changes post "RefreshVolumeUI" and emit recordChanged(id); the result of a mount
// and settings edits post "Tarnwell_VolumeRecordChanged".
//
// Lifetime: one instance for the application. The destructor cancels pending mounts and waits for the
// workers.
class MountEngine : public QObject
{
    Q_OBJECT
public:
    // Status texts the engine sets outside the pipeline's response table (part of the interface: the
    // status label derives from them).
    static inline const QString kStatusConnecting = QStringLiteral("Connecting... 0s");
    static inline const QString kStatusEjected = QStringLiteral("Ejected");
    static inline const QString kStatusEjectedAll = QStringLiteral("Ejected all");
    static inline const QString kStatusServerUnreachable = QStringLiteral("Server unreachable");


    // Loads the records from the preferences (RecordStore::load). The first-launch examples are left to
    // start-up (store().firstLaunchIfNeeded()).
    explicit MountEngine(const MountEngineDependencies &dependencies, QObject *parent = nullptr);
    ~MountEngine() override;

    RecordStore &store() { return m_store; }
    const RecordStore &store() const { return m_store; }
    const VolumeRecord *record(qint64 id) const { return m_store.find(id); }
    MountPointFinder &finder() { return *m_finder; }

    // --- Records (settings) ---
    // Appends the record; an ID of 0 (or one already used) is replaced by store().nextId(). Saves, posts
    // "Tarnwell_VolumeRecordChanged", audits shareAdded, writes a cached password back to the secret store
    // (on a worker). Returns the ID given.
    qint64 addRecord(VolumeRecord record);
    // A settings edit: the record's stored fields replace the live record's, its runtime fields are kept.
    // Saves, posts "Tarnwell_VolumeRecordChanged", audits shareModified and writes a cached password back.
    // False when no record has that ID.
    bool updateRecord(const VolumeRecord &record);
    // A user's add or settings edit (command line, tray, importer): checked against RecordRules first
    // (duplicates; edits of a locked record), and nothing changes when refused. Otherwise as addRecord() /
    // updateRecord(), and `id` is the record's ID. An edit of an unknown ID gives id 0 without a refusal.
    struct UserChange
    {
        qint64 id = 0;
        std::optional<RecordRules::Refusal> refusal;
    };
    UserChange addUserRecord(VolumeRecord record);
    UserChange editUserRecord(const VolumeRecord &record);
    struct RemoveResult
    {
        bool removed = false;
        QString alertTitle; // set when refused (RecordRules::checkRemove)
        QString alertText;
    };
    // Refused for a locked (managed) record. Otherwise removes, saves, posts the change, audits
    // shareRemoved and, when "delete_associated_log_entries" is on (the default), deletes the record's
    // event-log entries.
    RemoveResult removeRecord(qint64 id);

    // --- Runtime changes by other parts of the engine (scheduler, observers) ---
    // Applies `change` to the live record (if it still exists), then emits recordChanged and posts
    // "RefreshVolumeUI". Returns false when there is no such record.
    bool updateRuntime(qint64 id, const std::function<void(VolumeRecord &)> &change);
    bool setStatus(qint64 id, const QString &status);

    // --- Mount ---
    // Starts the mount pipeline for the record on a mount worker. allowUI: the user asked (dashboard, menu,
    // command line): the platform may prompt ("AllowUI"), and the attempt is audited as MOUNT_ATTEMPT;
    // automatic callers (tick, schedule, rules, sets) pass false ("NoUI"). Ignored when the record is unknown
    // or a mount of it is already in progress. Sets runtime_mount_start_time and "Connecting... 0s" at once
    // and emits mountStarted(id); mountFinished(id, code) follows on the main thread (code: the platform's
    // response code, or -1 when the attempt ended before the platform call, or 89 when cancelled).
    void mount(qint64 id, bool allowUI = false);
    bool isMountInProgress(qint64 id) const;
    // Cancels the pending platform mount of the record (no event is written); the pipeline then ends.
    void cancelMount(qint64 id);
    // The mount time-out: prints "⏰ [MOUNT] Timeout after N seconds", cancels the pending mount and adds
    // MOUNT_TIMEOUT "Mount operation timed out after N seconds". The attempt ends with that status.
    void timeoutMount(qint64 id, int seconds);

    // --- Eject, Clean Up, verification ---
    // Ejects on a worker; ejectFinished(id, ok) follows. userInitiated: audit the UNMOUNT_ATTEMPT first.
    // While a mount of the record is in flight, the eject cancels it instead and reports, when the mount
    // has ended, what became of it: nothing mounted, a late success unmounted again at once, or (when it
    // finished before the cancellation reached it) the normal eject of what is mounted. For kLateMountGuard
    // afterwards a mount of the share that the platform still completes (GVfs may finish a cancelled mount
    // in its daemon) is unmounted as soon as the mount table shows it, unless a new mount was asked for.
    void eject(qint64 id, bool partOfEjectAll = false, bool userInitiated = false);
    static constexpr std::chrono::minutes kLateMountGuard{10};
    static inline const QString kStatusCancellingForEject =
        QStringLiteral("Eject requested — cancelling the mount in progress");
    static inline const QString kStatusEjectCancelledMount =
        QStringLiteral("Ejected — the mount in progress was cancelled, nothing is mounted");
    static inline const QString kStatusEjectUndidLateMount =
        QStringLiteral("Ejected — the mount finished after it was cancelled and was unmounted again");
    static inline const QString kStatusEjectLateMountLeft =
        QStringLiteral("Eject failed: the mount finished after it was cancelled and could not be unmounted");
    // Whether an eject of the record is running (its unmount may already show in the mount table before
    // ejectFinished arrives).
    bool isEjectInProgress(qint64 id) const { return m_pendingEjects.contains(id); }
    // Ejects every mounted record (with the eject-all texts) and saves the store when all are done;
    // ejectAllFinished() follows.
    void ejectAll();
    // The user's Clean Up: removes confirmed ghost folders of the share on a worker; cleanUpFinished(id).
    void cleanUp(qint64 id);
    // Checks the share for real: its mount point must be live in the mount table and its folder must list
    // within kVerifyBound (on a detached thread: a hung server's FUSE path blocks, a dead one fails). Sets
    // the verification status; on failure clears the mounted flag and marks the share unreachable. Event,
    // audit entry and save only when the outcome differs from what the engine believed (mounted and
    // reachable), so repeated checks add nothing. While an earlier listing of the folder is still stuck,
    // the answer is "not connected" at once. `done(connected)` and verifyFinished() follow on the main
    // thread (never inside this call); a verify of a record already being verified joins that check.
    void verify(qint64 id, std::function<void(bool connected)> done = {});

    // Reads the certificate the server of the record presents (CertificateTrust::host/port), on an I/O
    // worker, for the user to decide whether to trust it. `done` follows on the main thread (never inside
    // this call); an unknown ID or a build without a certificate reader gives an error.
    void readServerCertificate(qint64 id, std::function<void(CertificateRead)> done);
    // The same for a record as being edited (not necessarily stored yet: its host and port as typed).
    void readServerCertificate(const VolumeRecord &share, std::function<void(CertificateRead)> done);
    static constexpr std::chrono::milliseconds kVerifyBound{3000};
    static inline const QString kVerifiedStatus = QStringLiteral("Verified — connected at %1");
    static inline const QString kLostStatus = QStringLiteral("Connection lost — mount point not found");
    static inline const QString kNotAnsweringStatus = QStringLiteral("Connection lost — server not answering");
    static inline const QString kUnreadableStatus = QStringLiteral("Connection lost — mount folder unreadable: %1");

    // --- Mount table ---
    // Reconciles the records with the OS mount table; WebDAV records that are listed get their share URL
    // probed on a worker and are force-ejected when it does not answer. syncFinished() follows when every
    // probe is done (at once when there is none). A sync requested while one runs is merged into it.
    void syncWithMountTable();
    bool isSyncRunning() const { return m_syncRunning; }

    // The share-URL probe (WebDAV/WebDAVS; every other record is reachable) run on a worker; `done` is
    // called on the main thread. An unknown record is reported unreachable.
    void probeShareUrl(qint64 id, double timeoutSeconds, std::function<void(bool reachable)> done);

    // Waits until every worker of the engine is idle (tests, benchmarks, shutdown). Not for normal use on
    // the main thread: results still arrive through the event loop afterwards.
    void waitForWorkers();

Q_SIGNALS:
    void mountStarted(qint64 id);
    void mountFinished(qint64 id, int code);
    void ejectFinished(qint64 id, bool ok);
    void ejectAllFinished();
    void cleanUpFinished(qint64 id);
    void syncFinished();
    void verifyFinished(qint64 id, bool connected);
    // Records were added, removed or edited (settings).
    void recordsChanged();
    // A record's runtime fields or status changed.
    void recordChanged(qint64 id);

private:
    struct PendingMount
    {
        std::shared_ptr<MountCancellation> cancellation;
        std::optional<int> timedOutAfterSeconds;
        bool ejectRequested = false;
    };
    void finishEjectOfCancelledMount(qint64 id, const MountOutcome &outcome);
    void completeEject(qint64 id, bool partOfEjectAll, bool ok);
    bool isLateMountGuarded(qint64 id);
    void undoLateMount(qint64 id, const QString &path);
    void onVolumeMounted(const QString &path);

    enum class VerifyResult { Connected, NotMounted, NotAnswering, Unreadable };
    struct PendingVerify
    {
        quint64 serial = 0;
        QString path;
        QList<std::function<void(bool)>> callbacks;
    };
    void finishVerify(qint64 id, quint64 serial, VerifyResult result, const QString &error = QString());

    void applyOutcome(qint64 id, const MountOutcome &outcome);
    void applyEjectOutcome(qint64 id, const EjectOutcome &outcome);
    void finishSyncProbe();
    void addEvent(const VolumeRecord &record, EVENT_TYPE_ENUM type, const QString &text);
    void audit(AuditEventType type, const VolumeRecord &record, const QString &details, bool success,
               std::optional<int> errorCode = std::nullopt);
    void writeBackPassword(const VolumeRecord &record);
    void refreshUI();
    void postRecordChanged();

    MountEngineDependencies m_deps;
    QThreadPool &m_mountPool;
    QThreadPool &m_ioPool;
    RecordStore m_store;
    std::unique_ptr<MountPointFinder> m_finder;
    QHash<qint64, PendingMount> m_pendingMounts;
    QHash<qint64, bool> m_pendingEjects; // id -> part of eject-all
    QHash<qint64, bool> m_pendingCleanUps;
    QHash<qint64, std::chrono::steady_clock::time_point> m_lateMountGuards; // id -> until
    QSet<QString> m_lateMountsBeingUndone;
    std::shared_ptr<FileSystem> m_sharedFileSystem;
    QHash<qint64, PendingVerify> m_pendingVerifies;
    quint64 m_nextVerifySerial = 0;
    QSet<QString> m_unansweredFolders; // verification listings that have not come back yet
    int m_ejectAllRemaining = 0;
    bool m_ejectAllRunning = false;
    bool m_syncRunning = false;
    int m_syncProbesRemaining = 0;
    qint32 m_nextRequestId = 0;
};
