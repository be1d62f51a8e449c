#include "AutoMountScheduler.h"

#include "base/Console.h"
#include "base/ThreadCheck.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "core/RecordEvent.h"
#include "core/FuseBridgeWatchdog.h"
#include "core/WorkerPools.h"
#include "core/MountEngine.h"
#include "core/MountPointFinder.h"
#include "core/NetworkTester.h"
#include "core/ScheduleWindow.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEvent.h"
#include "logging/LogEventManager.h"
#include "platform/Clock.h"
#include "platform/NetworkProbe.h"
#include "platform/MountTable.h"
#include "platform/SleepMonitor.h"
#include "platform/WifiNetwork.h"

#include <QDir>

#include <algorithm>

namespace {

// The liveness probe of a mounted share's server: short, because it only asks "is anybody there".
constexpr int kServerProbeSeconds = 1;

bool serverAnswers(NetworkProbe &network, const VolumeRecord &record)
{
    const int port = record.port_Int && *record.port_Int > 0 ? int(*record.port_Int)
                                                               : MountProtocol::defaultPort(record.mounting_using_protocol_Enum);
    return NetworkTester(kServerProbeSeconds, network).probe(record.hostname_String, QString(), port).isReady();
}

bool isBlank(const QString &text)
{
    return text.trimmed().isEmpty();
}

} // namespace

AutoMountScheduler::AutoMountScheduler(const AutoMountSchedulerDependencies &dependencies, QObject *parent)
    : QObject(parent)
    , m_deps(dependencies)
    , m_pool(dependencies.pools->probes)
{
    Q_ASSERT(m_deps.engine && m_deps.defaults && m_deps.eventLog && m_deps.mountTable && m_deps.clock && m_deps.pools);
    Q_ASSERT(m_deps.serverReachable || m_deps.network);
    TW_ASSERT_MAIN_THREAD();
    if (!m_deps.serverReachable) {
        NetworkProbe *network = m_deps.network;
        m_deps.serverReachable = [network](const VolumeRecord &record) { return serverAnswers(*network, record); };
    }
    m_timer = m_deps.clock->createTimer();
    connect(m_timer.get(), &ClockTimer::timeout, this, &AutoMountScheduler::checkSchedule);
    m_returnTimer = m_deps.clock->createTimer();
    connect(m_returnTimer.get(), &ClockTimer::timeout, this, &AutoMountScheduler::probeReturns);

    MountEngine *engine = m_deps.engine;
    connect(engine, &MountEngine::syncFinished, this, &AutoMountScheduler::onSyncFinished);
    connect(engine, &MountEngine::mountStarted, this, &AutoMountScheduler::onMountStarted);
    connect(engine, &MountEngine::mountFinished, this, &AutoMountScheduler::onMountFinished);
    connect(engine, &MountEngine::ejectFinished, this, &AutoMountScheduler::onEjectFinished);
}

AutoMountScheduler::~AutoMountScheduler()
{
    stop();
    m_pool.waitForDone();
}

void AutoMountScheduler::start()
{
    TW_ASSERT_MAIN_THREAD();
    if (m_started)
        return;
    m_started = true;
    m_connections.append(
        connect(m_deps.mountTable, &MountTable::volumeUnmounted, this, &AutoMountScheduler::onVolumeUnmounted));
    Console::line(kObserverRegisteredLine);
    if (m_deps.center) {
        m_connections.append(connect(m_deps.center, &NotificationCenter::posted, this,
                                     [this](const QString &name, const QVariantMap &) { onNotification(name); }));
    }
    if (m_deps.sleepMonitor)
        m_connections.append(connect(m_deps.sleepMonitor, &SleepMonitor::resumed, this, &AutoMountScheduler::onResumed));
    if (m_deps.fuseWatchdog) {
        m_connections.append(connect(m_deps.fuseWatchdog, &FuseBridgeWatchdog::bridgeRestarted, this,
                                     &AutoMountScheduler::onFuseBridgeRecovered));
    }
    restartTimer();
    m_returnTimer->start(kReturnProbePeriod, false);
}

void AutoMountScheduler::stop()
{
    TW_ASSERT_MAIN_THREAD();
    for (const QMetaObject::Connection &c : std::as_const(m_connections))
        disconnect(c);
    m_connections.clear();
    if (m_timer)
        m_timer->stop();
    if (m_returnTimer)
        m_returnTimer->stop();
    m_countdowns.clear();
    m_statusClears.clear();
    m_started = false;
}

void AutoMountScheduler::restartTimer()
{
    TW_ASSERT_MAIN_THREAD();
    m_intervalSeconds = Preferences::autoMountCheckIntervalSeconds(*m_deps.defaults);
    m_timer->stop();
    m_timer->start(std::chrono::seconds(m_intervalSeconds), false);
    Console::line(kIntervalLine + QString::number(m_intervalSeconds));
}

bool AutoMountScheduler::isTimerActive() const
{
    return m_timer && m_timer->isActive();
}

void AutoMountScheduler::onNotification(const QString &name)
{
    if (name == Notifications::PreferencesChanged)
        restartTimer();
}

void AutoMountScheduler::postRefresh()
{
    if (m_deps.center)
        m_deps.center->post(Notifications::RefreshVolumeUI);
}

// --- The tick ------------------------------------------------------------------------------------------

void AutoMountScheduler::checkSchedule()
{
    TW_ASSERT_MAIN_THREAD();
    ++m_tickCount;
    const QDateTime now = m_deps.clock->now();
    // One tick at a time: a sync still probing WebDAV servers holds the next tick back, unless it is stuck.
    if (m_waitingForSync && m_syncRequestedAt.isValid()
        && m_syncRequestedAt.secsTo(now) < qint64(kSyncStallLimit.count()))
        return;
    const bool stalled = m_waitingForSync;
    m_waitingForSync = true;
    m_syncRequestedAt = now;
    if (m_deps.engine->isSyncRunning()) {
        if (!stalled)
            return; // someone else's sync: its syncFinished continues this tick
        // That sync is stuck: decide on what is known rather than never again.
        m_waitingForSync = false;
        evaluateRecords();
        return;
    }
    m_deps.engine->syncWithMountTable(); // syncFinished may arrive before this returns
}

void AutoMountScheduler::onSyncFinished()
{
    if (!m_waitingForSync)
        return;
    m_waitingForSync = false;
    evaluateRecords();
}

void AutoMountScheduler::evaluateRecords()
{
    postRefresh();
    const QDateTime now = m_deps.clock->now();
    const bool wifiKnown = !m_deps.wifi || m_deps.wifi->isKnown();
    const std::optional<QString> ssid = m_deps.wifi ? m_deps.wifi->currentNetworkName() : std::nullopt;

    // IDs first: mounts and ejects started below change records while the loop runs.
    QList<qint64> ids;
    ids.reserve(m_deps.engine->store().size());
    bool anyInVolumesFolder = false;
    const MountPointFinder &finder = m_deps.engine->finder();
    for (const VolumeRecord &record : m_deps.engine->store().records()) {
        ids.append(record.internal_ID_Int);
        if (record.runtime_isMounted_Bool && finder.isInsideVolumesFolder(record.runtime_computed_mountpoint_String))
            anyInVolumesFolder = true;
    }
    for (qint64 id : std::as_const(ids))
        evaluateRecord(id, now, wifiKnown, ssid);

    // The FUSE bridge matters only while shares are reached through it.
    if (m_deps.fuseWatchdog && anyInVolumesFolder)
        m_deps.fuseWatchdog->check();
    Q_EMIT tickFinished();
}

void AutoMountScheduler::evaluateRecord(qint64 id, const QDateTime &now, bool wifiKnown,
                                        const std::optional<QString> &ssid)
{
    const VolumeRecord *record = m_deps.engine->record(id);
    if (!record)
        return;
    if (m_deps.engine->isMountInProgress(id) || record->runtime_mount_start_time)
        return;
    const bool autoMount = record->auto_Mount == 1;
    const bool scheduled = record->schedule_Mount == 1;
    if (!autoMount && !scheduled)
        return;

    if (!isBlank(record->allowedSSIDs_String)) {
        if (!wifiKnown)
            return; // the network is not known yet: neither mount nor eject on a guess
        if (!ScheduleWindow::isNetworkAllowed(record->allowedSSIDs_String, ssid)) {
            if (record->runtime_isMounted_Bool)
                ejectByPolicy(id);
            return;
        }
    }

    if (scheduled) {
        const bool inside = ScheduleWindow::shouldBeMounted(record->schedule_MountTime, record->schedule_UnMountTime,
                                                            record->schedule_Weekdays, now);
        if (!inside) {
            if (record->runtime_isMounted_Bool)
                ejectByPolicy(id);
            return;
        }
    }
    if (record->runtime_isMounted_Bool) {
        checkServerAlive(*record);
        return;
    }
    mountThroughGate(id, scheduled ? Gate::Schedule : Gate::AutoMount);
}

bool AutoMountScheduler::mayStartAutomaticMount(qint64 id) const
{
    const VolumeRecord *record = m_deps.engine->record(id);
    return record && !m_isAutoMountPaused && !record->runtime_isMounted_Bool && !m_deps.engine->isMountInProgress(id)
           && (record->auto_Mount == 1 || record->schedule_Mount == 1);
}

void AutoMountScheduler::mountThroughGate(qint64 id, Gate gate)
{
    if (!mayStartAutomaticMount(id))
        return;
    const VolumeRecord *record = m_deps.engine->record(id);
    if (!MountProtocol::isWebDAV(record->mounting_using_protocol_Enum)) {
        m_deps.engine->mount(id, false);
        return;
    }
    if (m_gateProbes.contains(id))
        return;
    m_gateProbes.insert(id);
    m_deps.engine->probeShareUrl(id, kShareUrlGateSeconds, [this, id, gate](bool reachable) {
        m_gateProbes.remove(id);
        if (reachable) {
            // The world may have changed while the probe ran (paused, mounted by the user, ...).
            if (mayStartAutomaticMount(id))
                m_deps.engine->mount(id, false);
            return;
        }
        awaitServer(id);
        m_deps.engine->updateRuntime(id, [gate](VolumeRecord &r) {
            r.runtime_isReachable_Bool = false;
            if (gate == Gate::AutoMount)
                r.runtime_status_String = kShareUrlProbeFailedStatus;
            else if (!r.runtime_status_String.contains(QLatin1String("unreachable"), Qt::CaseInsensitive))
                r.runtime_status_String = kServerUnreachableStatus;
        });
    });
}

void AutoMountScheduler::ejectByPolicy(qint64 id)
{
    m_deps.engine->eject(id, false, false);
}

// --- Liveness of mounted shares ------------------------------------------------------------------------

void AutoMountScheduler::checkServerAlive(const VolumeRecord &record)
{
    // WebDAV shares are probed by the engine's sync.
    if (MountProtocol::isWebDAV(record.mounting_using_protocol_Enum))
        return;
    const qint64 id = record.internal_ID_Int;
    if (m_serverChecks.contains(id))
        return;
    m_serverChecks.insert(id);
    const VolumeRecord copy = record;
    const QString path = record.runtime_computed_mountpoint_String;
    const auto reachableFn = m_deps.serverReachable;
    m_pool.start([this, copy, path, reachableFn] {
        const bool reachable = reachableFn(copy);
        QMetaObject::invokeMethod(
            this, [this, id = copy.internal_ID_Int, path, reachable] { onServerCheck(id, path, reachable); },
            Qt::QueuedConnection);
    });
}

void AutoMountScheduler::onServerCheck(qint64 id, const QString &path, bool reachable)
{
    m_serverChecks.remove(id);
    const VolumeRecord *record = m_deps.engine->record(id);
    if (!record)
        return;
    if (reachable) {
        m_serverLost.remove(id);
        return;
    }
    // Only a share still believed mounted at the probed path is stale; anything else changed meanwhile.
    if (!record->runtime_isMounted_Bool || record->runtime_computed_mountpoint_String != path
        || m_serverLost.contains(id))
        return;
    m_serverLost.insert(id);
    awaitServer(id);
    Console::line(kServerGoneLine.arg(record->volume_String, path));
    m_deps.engine->updateRuntime(id, [](VolumeRecord &r) {
        r.runtime_isMounted_Bool = false;
        r.runtime_get_mounted_found_Bool = false;
        r.runtime_isReachable_Bool = false;
        r.runtime_status_String = kServerUnreachableStatus;
    });
    if (const VolumeRecord *updated = m_deps.engine->record(id)) {
        m_deps.eventLog->addEvent(recordEvent(updated, EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                           LogEvent::message(EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                                             kServerGoneEventText + path)));
    }
    // Drop the dead mount so the remount finds the place free; blocking, so on a worker.
    MountPointFinder *finder = &m_deps.engine->finder();
    m_pool.start([finder, path] { finder->forceEject(path); });
    Q_EMIT serverLost(id);
}

// --- Countdown -----------------------------------------------------------------------------------------

void AutoMountScheduler::onMountStarted(qint64 id)
{
    // A new attempt owns the status now; an old eject text must not be cleared over it.
    m_statusClears.erase(id);
    Countdown countdown;
    countdown.timer = m_deps.clock->createTimer();
    // The engine stamps runtime_mount_start_time at the same instant; the scheduler keeps its own stamp
    // from the injected clock so the countdown is measured on one time line.
    countdown.start = m_deps.clock->now();
    connect(countdown.timer.get(), &ClockTimer::timeout, this, [this, id] { updateMountCountdownFor(id); });
    countdown.timer->start(kCountdownPeriod, false);
    m_countdowns[id] = std::move(countdown);
}

void AutoMountScheduler::updateMountCountdownFor(qint64 id)
{
    TW_ASSERT_MAIN_THREAD();
    const auto it = m_countdowns.find(id);
    if (it == m_countdowns.end())
        return;
    if (!m_deps.engine->isMountInProgress(id)) {
        m_countdowns.erase(it);
        return;
    }
    const qint64 elapsed = it->second.start.msecsTo(m_deps.clock->now()) / 1000;
    const int timeout = Preferences::mountTimeoutSeconds(*m_deps.defaults);
    m_deps.engine->setStatus(id, kConnectingStatus.arg(elapsed)); // posts "RefreshVolumeUI"
    if (elapsed >= timeout) {
        m_countdowns.erase(it);
        m_deps.engine->timeoutMount(id, timeout);
    }
}

void AutoMountScheduler::onMountFinished(qint64 id, int code)
{
    m_countdowns.erase(id);
    if (code == 0) {
        m_serverLost.remove(id);
        m_awaitingServer.remove(id);
        return;
    }
    // An automatic mount that found nobody answering: watch for the server's return.
    const VolumeRecord *record = m_deps.engine->record(id);
    if (record && !record->runtime_isReachable_Bool && wantsMounted(*record, m_deps.clock->now()))
        awaitServer(id);
}

// --- The server's return -------------------------------------------------------------------------------

bool AutoMountScheduler::wantsMounted(const VolumeRecord &record, const QDateTime &now) const
{
    if (m_isAutoMountPaused)
        return false;
    if (record.schedule_Mount == 1) {
        if (!ScheduleWindow::shouldBeMounted(record.schedule_MountTime, record.schedule_UnMountTime,
                                             record.schedule_Weekdays, now))
            return false;
    } else if (record.auto_Mount != 1) {
        return false;
    }
    if (isBlank(record.allowedSSIDs_String))
        return true;
    const bool wifiKnown = !m_deps.wifi || m_deps.wifi->isKnown();
    return wifiKnown
           && ScheduleWindow::isNetworkAllowed(record.allowedSSIDs_String,
                                               m_deps.wifi ? m_deps.wifi->currentNetworkName() : std::nullopt);
}

void AutoMountScheduler::awaitServer(qint64 id)
{
    m_awaitingServer.insert(id);
}

void AutoMountScheduler::probeReturns()
{
    if (m_awaitingServer.isEmpty() || !m_deps.network)
        return;
    const QDateTime now = m_deps.clock->now();
    const QList<qint64> ids(m_awaitingServer.begin(), m_awaitingServer.end());
    for (qint64 id : ids) {
        const VolumeRecord *record = m_deps.engine->record(id);
        if (!record || record->runtime_isMounted_Bool || !wantsMounted(*record, now)) {
            m_awaitingServer.remove(id); // mounted meanwhile, gone, or no longer wanted
            continue;
        }
        if (m_deps.engine->isMountInProgress(id) || m_returnProbes.contains(id) || m_gateProbes.contains(id))
            continue;
        m_returnProbes.insert(id);
        const QString host = record->hostname_String.trimmed();
        const quint16 port = quint16(record->port_Int && *record->port_Int > 0
                                         ? *record->port_Int
                                         : MountProtocol::defaultPort(record->mounting_using_protocol_Enum));
        NetworkProbe *network = m_deps.network;
        m_pool.start([this, network, id, host, port] {
            const bool answers = network->connect(host, port, kReturnProbeLimit) == NetworkProbe::Connect::Connected;
            QMetaObject::invokeMethod(this, [this, id, answers] { onReturnProbe(id, answers); }, Qt::QueuedConnection);
        });
    }
}

void AutoMountScheduler::onReturnProbe(qint64 id, bool answers)
{
    m_returnProbes.remove(id);
    const VolumeRecord *record = m_deps.engine->record(id);
    if (!answers || !record || !m_awaitingServer.contains(id) || !mayStartAutomaticMount(id))
        return;
    const quint16 port = quint16(record->port_Int && *record->port_Int > 0
                                     ? *record->port_Int
                                     : MountProtocol::defaultPort(record->mounting_using_protocol_Enum));
    Console::line(kServerBackLine.arg(record->volume_String, record->hostname_String).arg(port));
    m_awaitingServer.remove(id); // a failed mount puts it back
    mountThroughGate(id, record->schedule_Mount == 1 ? Gate::Schedule : Gate::AutoMount);
}

// --- Eject status --------------------------------------------------------------------------------------

void AutoMountScheduler::onEjectFinished(qint64 id, bool ok)
{
    Q_UNUSED(ok) // failure texts are cleared the same way
    startStatusClear(id);
}

void AutoMountScheduler::startStatusClear(qint64 id)
{
    const VolumeRecord *record = m_deps.engine->record(id);
    if (!record)
        return;
    StatusClear clear;
    clear.status = record->runtime_status_String;
    clear.timer = m_deps.clock->createTimer();
    connect(clear.timer.get(), &ClockTimer::timeout, this, [this, id] {
        const auto it = m_statusClears.find(id);
        if (it == m_statusClears.end())
            return;
        const QString expected = it->second.status;
        m_statusClears.erase(it); // destroys the timer that is emitting: nothing touches it afterwards
        const VolumeRecord *r = m_deps.engine->record(id);
        if (r && r->runtime_status_String == expected)
            m_deps.engine->setStatus(id, QString()); // posts "RefreshVolumeUI"
    });
    clear.timer->start(kEjectStatusClearDelay, true);
    m_statusClears[id] = std::move(clear); // replaces (and stops) an earlier timer of the record
}

// --- System unmount observer ---------------------------------------------------------------------------

void AutoMountScheduler::onVolumeUnmounted(const QString &path)
{
    Console::line(kUnmountDetectedLine.arg(path));
    const QString cleaned = QDir::cleanPath(path);
    const MountPointFinder &finder = m_deps.engine->finder();
    if (path.isEmpty() || !finder.isSpecificPath(cleaned))
        return;
    const VolumeRecord *match = nullptr;
    for (const VolumeRecord &record : m_deps.engine->store().records()) {
        const QString stored = QDir::cleanPath(record.runtime_computed_mountpoint_String);
        // The mount point may be the share's folder below the volume that went.
        if (record.runtime_isMounted_Bool && !record.runtime_computed_mountpoint_String.isEmpty()
            && (stored == cleaned || (finder.isInsideVolumesFolder(stored) && stored.startsWith(cleaned + QLatin1Char('/'))))) {
            // Our own ejects (and the sync's force-eject of a stale WebDAV mount) report themselves.
            if (m_deps.engine->isEjectInProgress(record.internal_ID_Int)
                || (m_deps.engine->isSyncRunning() && MountProtocol::isWebDAV(record.mounting_using_protocol_Enum)))
                return;
            match = &record;
            break;
        }
    }
    if (!match)
        return;
    const qint64 id = match->internal_ID_Int;
    Console::line(kUnmountMatchedLine + match->volume_String);
    m_deps.engine->updateRuntime(id, [&path](VolumeRecord &r) {
        r.runtime_isMounted_Bool = false;
        r.runtime_get_mounted_found_Bool = false;
        r.runtime_status_String = kEjectedExternallyStatus + path;
    });
    startStatusClear(id);
    if (const VolumeRecord *updated = m_deps.engine->record(id)) {
        m_deps.eventLog->addEvent(recordEvent(updated, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS,
                                           LogEvent::message(EVENT_TYPE_ENUM::UNMOUNT_SUCCESS,
                                                             kEjectedExternallyMessage)));
    }
    postRefresh();
}

// --- Pause ---------------------------------------------------------------------------------------------

bool AutoMountScheduler::pauseAutoMount()
{
    TW_ASSERT_MAIN_THREAD();
    if (m_isAutoMountPaused)
        return false;
    const auto &records = m_deps.engine->store().records();
    const bool anyMounted = std::any_of(records.cbegin(), records.cend(),
                                        [](const VolumeRecord &r) { return r.runtime_isMounted_Bool; });
    if (!anyMounted)
        return false;
    setPaused(true);
    return true;
}

bool AutoMountScheduler::resumeAutoMount()
{
    TW_ASSERT_MAIN_THREAD();
    if (!m_isAutoMountPaused)
        return false;
    setPaused(false);
    return true;
}

void AutoMountScheduler::setPaused(bool paused)
{
    m_isAutoMountPaused = paused;
    postRefresh();
    // The audit entry names the switch where a share name would stand.
    if (m_deps.auditLog) {
        m_deps.auditLog->log(AuditEventType::shareModified, paused ? kPausedTitle : kResumedTitle, std::nullopt,
                             paused ? kPausedMessage : kResumedMessage, true);
    }
    Q_EMIT pausedChanged(paused);
}

// --- Wake and FUSE bridge ------------------------------------------------------------------------------

void AutoMountScheduler::onResumed()
{
    Console::line(kResumedLine);
    // Network mounts often died during sleep: check at once and count the next interval from now.
    m_waitingForSync = false;
    checkSchedule();
    m_timer->start(std::chrono::seconds(m_intervalSeconds), false);
}

void AutoMountScheduler::onFuseBridgeRecovered()
{
    m_waitingForSync = false;
    checkSchedule();
}
