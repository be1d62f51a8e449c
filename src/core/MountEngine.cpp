#include "MountEngine.h"

#include "base/Console.h"
#include "base/ThreadCheck.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "core/RecordEvent.h"
#include "core/BoundedListing.h"
#include "core/CredentialStore.h"
#include "core/MountPipeline.h"
#include "core/MountPointFinder.h"
#include "core/NetworkTester.h"
#include "core/ScriptRunner.h"
#include "core/ShareUrlProbe.h"
#include "core/WorkerPools.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/MountResponseCode.h"
#include "platform/MountService.h"
#include "platform/MountTable.h"


namespace {
const QString kTimeoutLine = QStringLiteral("⏰ [MOUNT] Timeout after %1 seconds");
const QString kTimeoutEventText = QStringLiteral("Mount operation timed out after %1 seconds");
const QString kTimeoutStatus = QStringLiteral("Mount timeout after %1 seconds");

const QString kCleanStartPrefix = QStringLiteral("🧹 [CLEAN] Starting stale mount cleanup for ");
const QString kCleanRemovedPrefix = QStringLiteral("🧹 [CLEAN] Removed stale mount folder at ");
const QString kCleanRemovedStatus = QStringLiteral("Clean Up: removed %1 ghost folder(s); healthy mounts left connected");
const QString kCleanHealthyStatus = QStringLiteral("Clean Up left a healthy volume mounted");
const QString kCleanNotMountedStatus = QStringLiteral("Clean Up finished; share is not mounted");

const QString kSyncTableLine = QStringLiteral("🔄 [SYNC] OS remount table:");
const QString kSyncVolumeLine = QStringLiteral("🔄 [SYNC]   %1 ← %2");
const QString kSyncKnownPathLine = QStringLiteral("🔄 [SYNC] '%1' matched via known path '%2'");
const QString kSyncUrlLine = QStringLiteral("🔄 [SYNC] '%1' matched via remount URL at '%2'");
const QString kSyncClearedLine = QStringLiteral("🔄 [SYNC] '%1' no longer matched — clearing mounted flag. Last path: '%2'");
const QString kSyncStaleLine = QStringLiteral("🔄 [SYNC] '%1' is listed at '%2' but the share URL is unreachable — ejecting stale mount");
const QString kSyncStaleEventText = QStringLiteral("Server unreachable; ejected stale mount at ");
const QString kSyncStaleAuditDetails = QStringLiteral("Share URL probe failed while the OS still listed the volume");

const QString kVerifiedEventText = QStringLiteral("Connection verified at ");
const QString kLostEventText = QStringLiteral("Verification failed — no live mount at ");
const QString kNotAnsweringEventText = QStringLiteral("Verification failed — no answer within %1 s from %2");
const QString kUnreadableEventText = QStringLiteral("Verification failed — %1 at %2");
const QString kVerifyLine = QStringLiteral("🔎 [PROBE] Verify '%1' at '%2': %3");
const QString kVerifiedAudit = QStringLiteral("Mount verification success");
const QString kLostAudit = QStringLiteral("Mount verification failure");

const QString kCancelledStatus = QStringLiteral("Mount cancelled");
const QString kEjectCancelsMountLine = QStringLiteral("🔓 [EJECT] Mount in progress for '%1' — cancelling it");
const QString kEjectCancelledText = QStringLiteral("Mount in progress cancelled by eject; nothing was mounted");
const QString kEjectLateUndoneText = QStringLiteral("Mount finished after it was cancelled; unmounted again at ");
const QString kEjectLateLeftText = QStringLiteral("Mount finished after it was cancelled and could not be unmounted at ");
const QString kLateMountLine = QStringLiteral("🔓 [EJECT] '%1' was mounted at '%2' after its mount was cancelled — unmounting");
const QString kLateMountResultLine = QStringLiteral("🔓 [EJECT] Late mount at '%1' %2");
const QString kScriptTagMount = QStringLiteral("MOUNT");
const QString kScriptTagEject = QStringLiteral("EJECT");

constexpr double kSyncProbeSeconds = 2.0;

// Copies the runtime fields (never persisted) of `from` into `to`.
void copyRuntime(const VolumeRecord &from, VolumeRecord &to)
{
    to.runtime_mount_start_time = from.runtime_mount_start_time;
    to.runtime_status_String = from.runtime_status_String;
    to.runtime_computed_mountpoint_String = from.runtime_computed_mountpoint_String;
    to.mountedVolumeString = from.mountedVolumeString;
    to.runtime_isReachable_Bool = from.runtime_isReachable_Bool;
    to.runtime_isMounted_Bool = from.runtime_isMounted_Bool;
    to.runtime_get_mounted_found_Bool = from.runtime_get_mounted_found_Bool;
    to.runtime_remount_URL = from.runtime_remount_URL;
    to.runtime_ipAddress_String = from.runtime_ipAddress_String;
    to.runtime_requestID_Int32 = from.runtime_requestID_Int32;
}

QString lastComponent(const QString &path)
{
    QString p = path;
    while (p.endsWith(QLatin1Char('/')) && p.size() > 1)
        p.chop(1);
    return p.section(QLatin1Char('/'), -1);
}
} // namespace

MountEngine::MountEngine(const MountEngineDependencies &dependencies, QObject *parent)
    : QObject(parent)
    , m_deps(dependencies)
    , m_mountPool(dependencies.pools->mount)
    , m_ioPool(dependencies.pools->io)
    , m_store(*dependencies.defaults, dependencies.center)
    , m_finder(std::make_unique<MountPointFinder>(*dependencies.fileSystem, *dependencies.mountTable,
                                                  *dependencies.mountService))
    , m_sharedFileSystem(dependencies.sharedFileSystem
                             ? dependencies.sharedFileSystem
                             : std::shared_ptr<FileSystem>(std::shared_ptr<FileSystem>(), dependencies.fileSystem))
{
    Q_ASSERT(m_deps.defaults && m_deps.eventLog && m_deps.mountService && m_deps.mountTable && m_deps.fileSystem
             && m_deps.network && m_deps.pools);
    TW_ASSERT_MAIN_THREAD();
    if (const Clock *clock = m_deps.clock)
        m_finder->setClock([clock] { return clock->now(); });
    m_store.load();
    connect(m_deps.mountTable, &MountTable::volumeMounted, this, &MountEngine::onVolumeMounted);
}

MountEngine::~MountEngine()
{
    for (const PendingMount &pending : std::as_const(m_pendingMounts))
        pending.cancellation->cancel();
    m_mountPool.waitForDone();
    m_ioPool.waitForDone();
}

void MountEngine::waitForWorkers()
{
    TW_ASSERT_MAIN_THREAD();
    m_mountPool.waitForDone();
    m_ioPool.waitForDone();
}

// --- Helpers -------------------------------------------------------------------------------------------

void MountEngine::refreshUI()
{
    if (m_deps.center)
        m_deps.center->post(Notifications::RefreshVolumeUI);
}

void MountEngine::postRecordChanged()
{
    if (m_deps.center)
        m_deps.center->post(Notifications::VolumeRecordChanged);
}

void MountEngine::addEvent(const VolumeRecord &record, EVENT_TYPE_ENUM type, const QString &text)
{
    m_deps.eventLog->addEvent(recordEvent(&record, type, LogEvent::message(type, text)), 0);
}

void MountEngine::audit(AuditEventType type, const VolumeRecord &record, const QString &details, bool success,
                        std::optional<int> errorCode)
{
    if (m_deps.auditLog)
        m_deps.auditLog->log(type, record.displayName(), record.hostname_String, details, success, errorCode);
}

bool MountEngine::updateRuntime(qint64 id, const std::function<void(VolumeRecord &)> &change)
{
    TW_ASSERT_MAIN_THREAD();
    VolumeRecord *record = m_store.find(id);
    if (!record)
        return false;
    change(*record);
    Q_EMIT recordChanged(id);
    refreshUI();
    return true;
}

bool MountEngine::setStatus(qint64 id, const QString &status)
{
    TW_ASSERT_MAIN_THREAD();
    return updateRuntime(id, [&status](VolumeRecord &r) { r.runtime_status_String = status; });
}

void MountEngine::writeBackPassword(const VolumeRecord &record)
{
    if (!m_deps.credentials || !record._cachedPassword)
        return;
    CredentialStore *credentials = m_deps.credentials;
    m_ioPool.start([credentials, record] { credentials->writeBack(record); });
}

// --- Records -------------------------------------------------------------------------------------------

qint64 MountEngine::addRecord(VolumeRecord record)
{
    if (record.internal_ID_Int == 0 || m_store.find(record.internal_ID_Int))
        record.internal_ID_Int = m_store.nextId();
    m_store.add(record);
    m_store.save();
    writeBackPassword(record);
    audit(AuditEventType::shareAdded, record, QStringLiteral("Share added: ") + record.displayName(), true);
    postRecordChanged();
    Q_EMIT recordsChanged();
    return record.internal_ID_Int;
}

bool MountEngine::updateRecord(const VolumeRecord &record)
{
    VolumeRecord *live = m_store.find(record.internal_ID_Int);
    if (!live)
        return false;
    VolumeRecord merged = record;
    copyRuntime(*live, merged);
    if (!merged._cachedPassword)
        merged._cachedPassword = live->_cachedPassword;
    m_store.update(merged);
    m_store.save();
    if (record._cachedPassword)
        writeBackPassword(merged);
    audit(AuditEventType::shareModified, merged, QStringLiteral("Share modified: ") + merged.displayName(), true);
    postRecordChanged();
    Q_EMIT recordsChanged();
    Q_EMIT recordChanged(merged.internal_ID_Int);
    return true;
}

MountEngine::UserChange MountEngine::addUserRecord(VolumeRecord record)
{
    if (auto refusal = RecordRules::checkAdd(m_store.records(), record))
        return {0, std::move(refusal)};
    return {addRecord(std::move(record)), std::nullopt};
}

MountEngine::UserChange MountEngine::editUserRecord(const VolumeRecord &record)
{
    const VolumeRecord *live = m_store.find(record.internal_ID_Int);
    if (!live)
        return {};
    if (auto refusal = RecordRules::checkEdit(m_store.records(), *live, record))
        return {0, std::move(refusal)};
    updateRecord(record);
    return {record.internal_ID_Int, std::nullopt};
}

MountEngine::RemoveResult MountEngine::removeRecord(qint64 id)
{
    RemoveResult result;
    const VolumeRecord *live = m_store.find(id);
    if (!live)
        return result;
    if (const auto refusal = RecordRules::checkRemove(*live)) {
        result.alertTitle = refusal->title;
        result.alertText = refusal->text;
        return result;
    }
    const VolumeRecord copy = *live;
    cancelMount(id);
    const bool ejectWaiting = m_pendingMounts.value(id).ejectRequested;
    m_pendingMounts.remove(id);
    m_lateMountGuards.remove(id);
    m_store.remove(id);
    m_store.save();
    audit(AuditEventType::shareRemoved, copy, QStringLiteral("Share removed: ") + copy.displayName(), true);
    if (m_deps.defaults->boolean(Preferences::Keys::DeleteAssociatedLogEntries).value_or(true))
        m_deps.eventLog->removeEventsForRecord(id);
    result.removed = true;
    postRecordChanged();
    Q_EMIT recordsChanged();
    if (ejectWaiting) // an eject was waiting for that mount to end: nothing of the share is left
        completeEject(id, m_pendingEjects.take(id), true);
    return result;
}

// --- Mount ---------------------------------------------------------------------------------------------

bool MountEngine::isMountInProgress(qint64 id) const
{
    TW_ASSERT_MAIN_THREAD();
    return m_pendingMounts.contains(id);
}

void MountEngine::mount(qint64 id, bool allowUI)
{
    TW_ASSERT_MAIN_THREAD();
    VolumeRecord *live = m_store.find(id);
    if (!live || m_pendingMounts.contains(id))
        return;

    live->runtime_mount_start_time = m_deps.clock ? m_deps.clock->now() : QDateTime::currentDateTime();
    live->runtime_status_String = kStatusConnecting;
    live->runtime_requestID_Int32 = ++m_nextRequestId;
    if (allowUI)
        audit(AuditEventType::mountAttempt, *live, QStringLiteral("Mount attempted: ") + live->displayName(), true);

    m_lateMountGuards.remove(id); // wanted again
    auto cancellation = std::make_shared<MountCancellation>();
    m_pendingMounts.insert(id, {cancellation, std::nullopt});
    const VolumeRecord copy = *live;
    Q_EMIT recordChanged(id);
    refreshUI();
    Q_EMIT mountStarted(id);

    MountPipeline::Context context{m_finder.get(), m_deps.mountService, m_deps.credentials, m_deps.network, m_deps.defaults};
    context.certificates = m_deps.certificates;
    const qint32 requestId = copy.runtime_requestID_Int32;
    // The destructor waits for the pool, so `this` outlives every worker.
    m_mountPool.start([this, context, copy, allowUI, cancellation, id, requestId] {
        auto progress = [this, id, requestId](const MountProgress &p) {
            QMetaObject::invokeMethod(
                this,
                [this, id, requestId, p] {
                    updateRuntime(id, [&](VolumeRecord &r) {
                        if (r.runtime_requestID_Int32 != requestId)
                            return;
                        if (!p.status.isEmpty())
                            r.runtime_status_String = p.status;
                        if (p.ipAddress)
                            r.runtime_ipAddress_String = *p.ipAddress;
                        if (p.reachable)
                            r.runtime_isReachable_Bool = *p.reachable;
                    });
                },
                Qt::QueuedConnection);
        };
        MountPipeline pipeline(context, copy, allowUI, cancellation, progress);
        const MountOutcome outcome = pipeline.run();
        QMetaObject::invokeMethod(this, [this, id, outcome] { applyOutcome(id, outcome); }, Qt::QueuedConnection);

        const bool succeeded = outcome.mounted.value_or(false) && !outcome.cancelled;
        if (succeeded && !copy.postMountScriptPath_String.isEmpty())
            ScriptRunner::run(copy.postMountScriptPath_String, kScriptTagMount);
    });
}

void MountEngine::applyOutcome(qint64 id, const MountOutcome &outcome)
{
    std::optional<int> timedOut;
    bool ejectRequested = false;
    if (auto it = m_pendingMounts.find(id); it != m_pendingMounts.end()) {
        timedOut = it->timedOutAfterSeconds;
        ejectRequested = it->ejectRequested;
        m_pendingMounts.erase(it);
    }
    VolumeRecord *record = m_store.find(id);
    const int code = outcome.cancelled ? MountResponseCode::Cancelled : outcome.code;
    if (!record) {
        Q_EMIT mountFinished(id, code);
        if (ejectRequested)
            completeEject(id, m_pendingEjects.take(id), true);
        return;
    }
    record->runtime_mount_start_time.reset();
    if (outcome.cachedPassword && !record->_cachedPassword)
        record->_cachedPassword = outcome.cachedPassword;
    if (outcome.ipAddress)
        record->runtime_ipAddress_String = *outcome.ipAddress;
    if (outcome.reachable)
        record->runtime_isReachable_Bool = *outcome.reachable;

    if (outcome.cancelled) {
        record->runtime_status_String = timedOut ? kTimeoutStatus.arg(*timedOut) : kCancelledStatus;
        if (timedOut)
            audit(AuditEventType::mountFailure, *record, kTimeoutEventText.arg(*timedOut), false,
                  MountResponseCode::Cancelled);
    } else {
        if (!outcome.status.isEmpty())
            record->runtime_status_String = outcome.status;
        if (outcome.mounted) {
            record->runtime_isMounted_Bool = *outcome.mounted;
            if (*outcome.mounted) {
                record->runtime_get_mounted_found_Bool = true;
                record->runtime_computed_mountpoint_String = outcome.mountPoint;
                record->mountedVolumeString = lastComponent(outcome.mountPoint);
                if (outcome.remountUrl)
                    record->runtime_remount_URL = outcome.remountUrl;
            }
        }
        if (outcome.eventType)
            addEvent(*record, *outcome.eventType, outcome.eventText);
        if (outcome.auditType)
            audit(*outcome.auditType, *record, outcome.auditDetails, outcome.auditSuccess, outcome.auditErrorCode);
    }
    Q_EMIT recordChanged(id);
    postRecordChanged();
    refreshUI();
    Q_EMIT mountFinished(id, code);
    if (ejectRequested)
        finishEjectOfCancelledMount(id, outcome);
}

void MountEngine::finishEjectOfCancelledMount(qint64 id, const MountOutcome &outcome)
{
    const bool partOfEjectAll = m_pendingEjects.take(id);
    VolumeRecord *record = m_store.find(id);
    if (!record) {
        completeEject(id, partOfEjectAll, true);
        return;
    }
    if (!outcome.cancelled && outcome.mounted.value_or(false)) {
        // Finished before the cancellation reached it: eject what is mounted now.
        eject(id, partOfEjectAll);
        return;
    }
    m_lateMountGuards.insert(id, std::chrono::steady_clock::now() + kLateMountGuard);
    bool ok = true;
    if (outcome.lateMountUndone && !*outcome.lateMountUndone) {
        ok = false;
        record->runtime_status_String = kStatusEjectLateMountLeft;
        addEvent(*record, EVENT_TYPE_ENUM::UNMOUNT_ERROR, kEjectLateLeftText + outcome.lateMountPath);
        audit(AuditEventType::unmountFailure, *record, kEjectLateLeftText + outcome.lateMountPath, false);
    } else {
        const QString text = outcome.lateMountUndone ? kEjectLateUndoneText + outcome.lateMountPath : kEjectCancelledText;
        record->runtime_status_String = outcome.lateMountUndone ? kStatusEjectUndidLateMount : kStatusEjectCancelledMount;
        record->runtime_isMounted_Bool = false;
        record->runtime_get_mounted_found_Bool = false;
        addEvent(*record, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS, text);
        audit(AuditEventType::unmountSuccess, *record, text, true);
    }
    Q_EMIT recordChanged(id);
    refreshUI();
    completeEject(id, partOfEjectAll, ok);
}

bool MountEngine::isLateMountGuarded(qint64 id)
{
    auto it = m_lateMountGuards.find(id);
    if (it == m_lateMountGuards.end())
        return false;
    if (std::chrono::steady_clock::now() >= *it || m_pendingMounts.contains(id)) {
        m_lateMountGuards.erase(it);
        return false;
    }
    return true;
}

void MountEngine::onVolumeMounted(const QString &path)
{
    TW_ASSERT_MAIN_THREAD();
    if (m_lateMountGuards.isEmpty())
        return;
    QList<MountedVolume> volumes;
    for (const MountedVolume &volume : m_finder->networkVolumes()) {
        if (volume.path == path)
            volumes.append(volume);
    }
    if (volumes.isEmpty())
        return;
    const QList<qint64> guarded = m_lateMountGuards.keys();
    for (qint64 id : guarded) {
        const VolumeRecord *record = m_store.find(id);
        if (record && isLateMountGuarded(id) && m_finder->matchVolume(*record, volumes))
            undoLateMount(id, path);
    }
}

void MountEngine::undoLateMount(qint64 id, const QString &path)
{
    if (m_lateMountsBeingUndone.contains(path))
        return;
    const VolumeRecord *record = m_store.find(id);
    if (!record)
        return;
    Console::line(kLateMountLine.arg(record->volume_String, path));
    m_lateMountsBeingUndone.insert(path);
    MountService *service = m_deps.mountService;
    m_ioPool.start([this, service, id, path] {
        const UnmountResult result = service->unmount(path, true);
        QMetaObject::invokeMethod(
            this,
            [this, id, path, result] {
                m_lateMountsBeingUndone.remove(path);
                Console::line(kLateMountResultLine.arg(path, result.ok ? QStringLiteral("unmounted")
                                                                       : QStringLiteral("not unmounted: ") + result.errorText));
                if (VolumeRecord *record = m_store.find(id)) {
                    if (result.ok) {
                        record->runtime_isMounted_Bool = false;
                        record->runtime_get_mounted_found_Bool = false;
                        addEvent(*record, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS, kEjectLateUndoneText + path);
                    } else {
                        addEvent(*record, EVENT_TYPE_ENUM::UNMOUNT_ERROR, kEjectLateLeftText + path);
                    }
                    Q_EMIT recordChanged(id);
                    refreshUI();
                }
            },
            Qt::QueuedConnection);
    });
}

void MountEngine::cancelMount(qint64 id)
{
    TW_ASSERT_MAIN_THREAD();
    auto it = m_pendingMounts.find(id);
    if (it != m_pendingMounts.end())
        it->cancellation->cancel();
}

void MountEngine::timeoutMount(qint64 id, int seconds)
{
    TW_ASSERT_MAIN_THREAD();
    auto it = m_pendingMounts.find(id);
    if (it == m_pendingMounts.end() || it->timedOutAfterSeconds)
        return;
    Console::line(kTimeoutLine.arg(seconds));
    it->timedOutAfterSeconds = seconds;
    const std::shared_ptr<MountCancellation> cancellation = it->cancellation;
    if (VolumeRecord *record = m_store.find(id)) {
        record->runtime_status_String = kTimeoutStatus.arg(seconds);
        addEvent(*record, EVENT_TYPE_ENUM::MOUNT_TIMEOUT, kTimeoutEventText.arg(seconds));
        Q_EMIT recordChanged(id);
        refreshUI();
    }
    cancellation->cancel();
}

// --- Eject ---------------------------------------------------------------------------------------------

void MountEngine::eject(qint64 id, bool partOfEjectAll, bool userInitiated)
{
    TW_ASSERT_MAIN_THREAD();
    const VolumeRecord *live = m_store.find(id);
    if (!live || m_pendingEjects.contains(id))
        return;
    if (userInitiated)
        audit(AuditEventType::unmountAttempt, *live, QStringLiteral("Unmount attempted: ") + live->displayName(), true);
    m_pendingEjects.insert(id, partOfEjectAll);
    if (auto pending = m_pendingMounts.find(id); pending != m_pendingMounts.end()) {
        Console::line(kEjectCancelsMountLine.arg(live->volume_String));
        pending->ejectRequested = true;
        setStatus(id, kStatusCancellingForEject);
        pending->cancellation->cancel(); // the mount's end finishes the eject (applyOutcome)
        return;
    }
    const VolumeRecord copy = *live;
    MountPointFinder *finder = m_finder.get();
    m_ioPool.start([this, finder, copy, id, partOfEjectAll] {
        const EjectOutcome outcome = finder->eject(copy, partOfEjectAll, [&copy](const QString &) {
            if (!copy.preUnmountScriptPath_String.isEmpty())
                ScriptRunner::run(copy.preUnmountScriptPath_String, kScriptTagEject);
        });
        QMetaObject::invokeMethod(this, [this, id, outcome] { applyEjectOutcome(id, outcome); }, Qt::QueuedConnection);
    });
}

void MountEngine::applyEjectOutcome(qint64 id, const EjectOutcome &outcome)
{
    const bool partOfEjectAll = m_pendingEjects.take(id);
    if (VolumeRecord *record = m_store.find(id)) {
        if (outcome.clearMounted) {
            record->runtime_isMounted_Bool = false;
            record->runtime_get_mounted_found_Bool = false;
        }
        if (!outcome.status.isEmpty())
            record->runtime_status_String = outcome.status;
        if (outcome.eventType)
            addEvent(*record, *outcome.eventType, outcome.eventText);
        if (outcome.auditType)
            audit(*outcome.auditType, *record, outcome.auditDetails, outcome.auditSuccess, outcome.auditErrorCode);
        Q_EMIT recordChanged(id);
        refreshUI();
    }
    completeEject(id, partOfEjectAll, outcome.ok);
}

void MountEngine::completeEject(qint64 id, bool partOfEjectAll, bool ok)
{
    Q_EMIT ejectFinished(id, ok);
    if (partOfEjectAll && m_ejectAllRunning && --m_ejectAllRemaining <= 0) {
        m_ejectAllRunning = false;
        m_store.save();
        Q_EMIT ejectAllFinished();
    }
}

void MountEngine::ejectAll()
{
    TW_ASSERT_MAIN_THREAD();
    if (m_ejectAllRunning)
        return;
    QList<qint64> ids;
    for (const VolumeRecord &record : m_store.records()) {
        if (record.runtime_isMounted_Bool && !m_pendingEjects.contains(record.internal_ID_Int))
            ids.append(record.internal_ID_Int);
    }
    if (ids.isEmpty()) {
        m_store.save();
        Q_EMIT ejectAllFinished();
        return;
    }
    m_ejectAllRunning = true;
    m_ejectAllRemaining = int(ids.size());
    for (qint64 id : std::as_const(ids))
        eject(id, true);
}

// --- Clean Up, verify ----------------------------------------------------------------------------------

void MountEngine::cleanUp(qint64 id)
{
    TW_ASSERT_MAIN_THREAD();
    const VolumeRecord *live = m_store.find(id);
    if (!live || m_pendingCleanUps.contains(id))
        return;
    m_pendingCleanUps.insert(id, true);
    const VolumeRecord copy = *live;
    MountPointFinder *finder = m_finder.get();
    m_ioPool.start([this, finder, copy, id] {
        Console::line(kCleanStartPrefix + copy.volume_String);
        const bool custom = !copy.mount_inside_Volumes;
        QStringList removed;
        for (const QString &path : finder->cleanUpPaths(copy)) {
            const bool isCustom = custom && path == copy.unique_mountpoint_fullpath_String;
            if (finder->isConfirmedGhost(path, isCustom) && finder->removeGhost(path, isCustom)) {
                Console::line(kCleanRemovedPrefix + path);
                removed.append(path);
            }
        }
        const QList<MountedVolume> volumes = finder->networkVolumes();
        const bool live = finder->matchVolume(copy, volumes).has_value()
                          || (finder->isSpecificPath(copy.runtime_computed_mountpoint_String)
                              && finder->isLiveMount(copy.runtime_computed_mountpoint_String, volumes));
        QMetaObject::invokeMethod(
            this,
            [this, id, removed, live] {
                m_pendingCleanUps.remove(id);
                VolumeRecord *record = m_store.find(id);
                if (record) {
                    const qsizetype n = removed.size();
                    if (n > 0 && live)
                        record->runtime_status_String = kCleanRemovedStatus.arg(n);
                    else if (n == 0 && (live || record->runtime_isMounted_Bool))
                        record->runtime_status_String = kCleanHealthyStatus;
                    else
                        record->runtime_status_String = kCleanNotMountedStatus;
                    audit(AuditEventType::shareModified, *record, record->runtime_status_String, true);
                    Q_EMIT recordChanged(id);
                    refreshUI();
                }
                Q_EMIT cleanUpFinished(id);
            },
            Qt::QueuedConnection);
    });
}

void MountEngine::verify(qint64 id, std::function<void(bool connected)> done)
{
    TW_ASSERT_MAIN_THREAD();
    const VolumeRecord *record = m_store.find(id);
    if (!record) {
        if (done)
            QMetaObject::invokeMethod(this, [done] { done(false); }, Qt::QueuedConnection);
        return;
    }
    if (auto it = m_pendingVerifies.find(id); it != m_pendingVerifies.end()) {
        if (done)
            it->callbacks.append(std::move(done));
        return;
    }
    const quint64 serial = ++m_nextVerifySerial;
    PendingVerify &pending = m_pendingVerifies[id];
    pending.serial = serial;
    pending.path = record->runtime_computed_mountpoint_String;
    if (done)
        pending.callbacks.append(std::move(done));
    const QString path = pending.path;

    std::optional<VerifyResult> known;
    if (!m_finder->isSpecificPath(path) || !m_finder->isLiveMount(path))
        known = VerifyResult::NotMounted;
    else if (m_unansweredFolders.contains(path))
        known = VerifyResult::NotAnswering; // no second thread on a folder that still hangs
    if (known) {
        QMetaObject::invokeMethod(this, [this, id, serial, result = *known] { finishVerify(id, serial, result); },
                                  Qt::QueuedConnection);
        return;
    }
    BoundedListing::start(
        m_sharedFileSystem, path, kVerifyBound, this,
        [this, id, serial, path](BoundedListing::Outcome outcome, const QString &error) {
            switch (outcome) {
            case BoundedListing::Outcome::Listed:
                finishVerify(id, serial, VerifyResult::Connected);
                return;
            case BoundedListing::Outcome::Failed:
                finishVerify(id, serial, VerifyResult::Unreadable, error);
                return;
            case BoundedListing::Outcome::TimedOut:
                m_unansweredFolders.insert(path);
                finishVerify(id, serial, VerifyResult::NotAnswering);
                return;
            }
        },
        [this, path] { m_unansweredFolders.remove(path); });
}

void MountEngine::finishVerify(qint64 id, quint64 serial, VerifyResult result, const QString &error)
{
    auto it = m_pendingVerifies.find(id);
    if (it == m_pendingVerifies.end() || it->serial != serial)
        return;
    const PendingVerify pending = m_pendingVerifies.take(id);
    const bool connected = result == VerifyResult::Connected;
    if (VolumeRecord *record = m_store.find(id)) {
        const QString &path = pending.path;
        const bool believed = record->runtime_isMounted_Bool && record->runtime_isReachable_Bool;
        QString status;
        QString eventText;
        switch (result) {
        case VerifyResult::Connected:
            status = kVerifiedStatus.arg(path);
            eventText = kVerifiedEventText + path;
            break;
        case VerifyResult::NotMounted:
            status = kLostStatus;
            eventText = kLostEventText + path;
            break;
        case VerifyResult::NotAnswering:
            status = kNotAnsweringStatus;
            eventText = kNotAnsweringEventText.arg(kVerifyBound.count() / 1000).arg(path);
            break;
        case VerifyResult::Unreadable:
            status = kUnreadableStatus.arg(error);
            eventText = kUnreadableEventText.arg(error, path);
            break;
        }
        Console::line(kVerifyLine.arg(record->displayName(), path, status));
        record->runtime_status_String = status;
        if (connected) {
            record->runtime_isMounted_Bool = true;
            record->runtime_isReachable_Bool = true;
        } else {
            record->runtime_isMounted_Bool = false;
            record->runtime_isReachable_Bool = false;
        }
        if (connected != believed) {
            if (connected) {
                addEvent(*record, EVENT_TYPE_ENUM::CONNECTION_SUCCESS, eventText);
                audit(AuditEventType::mountSuccess, *record, kVerifiedAudit, true);
            } else {
                addEvent(*record, EVENT_TYPE_ENUM::CONNECTION_FAILED, eventText);
                audit(AuditEventType::mountFailure, *record, kLostAudit, false);
            }
            m_store.save();
        }
        Q_EMIT recordChanged(id);
        refreshUI();
    }
    for (const auto &callback : pending.callbacks)
        callback(connected);
    Q_EMIT verifyFinished(id, connected);
}

// --- Mount table sync ----------------------------------------------------------------------------------

void MountEngine::syncWithMountTable()
{
    TW_ASSERT_MAIN_THREAD();
    if (m_syncRunning)
        return;
    m_syncRunning = true;

    const MountPointFinder::VolumeIndex index(m_finder->networkVolumes());
    Console::line(kSyncTableLine);
    for (const MountedVolume &volume : index.volumes())
        Console::line(kSyncVolumeLine.arg(volume.path, volume.remountUrl ? volume.remountUrl->toString() : QString()));

    QList<std::pair<VolumeRecord, QString>> toProbe;
    bool changed = false;
    for (qsizetype i = 0; i < m_store.size(); ++i) {
        VolumeRecord *record = &m_store.at(i);
        bool byKnownPath = false;
        const std::optional<MountedVolume> match = m_finder->matchVolume(*record, index, &byKnownPath);
        const QString name = record->volume_String;
        if (!match) {
            record->runtime_get_mounted_found_Bool = false;
            if (record->runtime_isMounted_Bool) {
                Console::line(kSyncClearedLine.arg(name, record->runtime_computed_mountpoint_String));
                record->runtime_isMounted_Bool = false;
                changed = true;
                Q_EMIT recordChanged(record->internal_ID_Int);
            }
            continue;
        }
        if (!record->runtime_isMounted_Bool && isLateMountGuarded(record->internal_ID_Int)) {
            undoLateMount(record->internal_ID_Int, match->path); // a cancelled mount the platform finished anyway
            continue;
        }
        const QString path =
            byKnownPath ? record->runtime_computed_mountpoint_String : m_finder->contentPath(match->path, *record);
        Console::line((byKnownPath ? kSyncKnownPathLine : kSyncUrlLine).arg(name, path));
        if (!record->runtime_isMounted_Bool || record->runtime_computed_mountpoint_String != path) {
            record->runtime_isMounted_Bool = true;
            record->runtime_computed_mountpoint_String = path;
            record->mountedVolumeString = lastComponent(path);
            changed = true;
            Q_EMIT recordChanged(record->internal_ID_Int);
        }
        record->runtime_get_mounted_found_Bool = true;
        if (MountProtocol::isWebDAV(record->mounting_using_protocol_Enum))
            toProbe.append({*record, path});
    }
    if (changed)
        refreshUI();

    if (toProbe.isEmpty()) {
        m_syncRunning = false;
        Q_EMIT syncFinished();
        return;
    }
    m_syncProbesRemaining = int(toProbe.size());
    MountPointFinder *finder = m_finder.get();
    NetworkProbe *network = m_deps.network;
    for (const auto &[copy, path] : std::as_const(toProbe)) {
        m_ioPool.start([this, finder, network, copy = copy, path = path] {
            const bool reachable = ShareUrlProbe::probe(*network, copy, kSyncProbeSeconds);
            bool ejected = false;
            if (!reachable) {
                Console::line(kSyncStaleLine.arg(copy.volume_String, path));
                ejected = finder->forceEject(path);
            }
            const qint64 id = copy.internal_ID_Int;
            QMetaObject::invokeMethod(
                this,
                [this, id, reachable, path, ejected] {
                    if (!reachable) {
                        Q_UNUSED(ejected)
                        if (VolumeRecord *record = m_store.find(id)) {
                            record->runtime_isMounted_Bool = false;
                            record->runtime_get_mounted_found_Bool = false;
                            record->runtime_isReachable_Bool = false;
                            record->runtime_status_String = kStatusServerUnreachable;
                            addEvent(*record, EVENT_TYPE_ENUM::CONNECTION_FAILED, kSyncStaleEventText + path);
                            audit(AuditEventType::mountFailure, *record, kSyncStaleAuditDetails, false);
                            Q_EMIT recordChanged(id);
                            refreshUI();
                        }
                    } else if (VolumeRecord *record = m_store.find(id)) {
                        record->runtime_isReachable_Bool = true;
                    }
                    finishSyncProbe();
                },
                Qt::QueuedConnection);
        });
    }
}

void MountEngine::finishSyncProbe()
{
    if (--m_syncProbesRemaining > 0)
        return;
    m_syncRunning = false;
    Q_EMIT syncFinished();
}

void MountEngine::probeShareUrl(qint64 id, double timeoutSeconds, std::function<void(bool reachable)> done)
{
    TW_ASSERT_MAIN_THREAD();
    const VolumeRecord *live = m_store.find(id);
    if (!live) {
        QMetaObject::invokeMethod(this, [done] { done(false); }, Qt::QueuedConnection);
        return;
    }
    if (!MountProtocol::isWebDAV(live->mounting_using_protocol_Enum)) {
        QMetaObject::invokeMethod(this, [done] { done(true); }, Qt::QueuedConnection);
        return;
    }
    const VolumeRecord copy = *live;
    NetworkProbe *network = m_deps.network;
    m_ioPool.start([this, network, copy, timeoutSeconds, done] {
        const bool reachable = ShareUrlProbe::probe(*network, copy, timeoutSeconds);
        QMetaObject::invokeMethod(this, [done, reachable] { done(reachable); }, Qt::QueuedConnection);
    });
}
