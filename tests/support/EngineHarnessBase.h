#pragma once

#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "core/AutoMountScheduler.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"

#include <QMutex>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>

// What every engine test and benchmark builds around the real MountEngine: a temporary folder holding the
// preferences file and the audit log, the notification centre (posted names recorded in `notifications`),
// the event log, console capture, the engine over ports a subclass owns and, on request, the
// AutoMountScheduler. The drive helpers start an operation and wait for the engine's signal.
// Main thread only. Subclasses own the ports and call shutDown() first in their destructor, so that the
// engine and scheduler are gone before the ports they use.
class EngineHarnessBase
{
public:
    enum class ConsoleMode { Capture, CaptureAndEcho, Discard }; // echo goes to stderr

    explicit EngineHarnessBase(ConsoleMode mode);
    virtual ~EngineHarnessBase();
    Q_DISABLE_COPY_MOVE(EngineHarnessBase)

    // Builds the scheduler over the engine; `deps` brings clock, Wi-Fi, sleep monitor, watchdog and server
    // check, the harness fills in the rest. Not started.
    AutoMountScheduler &makeScheduler(AutoMountSchedulerDependencies deps);

    // --- Records ---
    // A record on host/share (guest unless `user` is given), added to the engine; returns its ID.
    qint64 addShare(const QString &host, const QString &share,
                    MountUsingProtocol_Enum protocol = MountUsingProtocol_Enum::SMB, bool guest = true, int port = 0,
                    const QString &user = QString());
    qint64 addRecord(const std::function<void(VolumeRecord &)> &fill); // a guest SMB share on 127.0.0.1/docs, changed
    void edit(qint64 id, const std::function<void(VolumeRecord &)> &change); // through updateRecord
    const VolumeRecord &record(qint64 id) const;

    // --- Driving (0 as time-out: the harness's default) ---
    // mount() and wait for mountFinished; returns the code (or INT_MIN on time-out).
    int mountAndWait(qint64 id, bool allowUI = false, int timeoutMs = 0);
    bool ejectAndWait(qint64 id, bool partOfEjectAll = false, int timeoutMs = 0);
    bool syncAndWait(int timeoutMs = 0);
    bool cleanUpAndWait(qint64 id, int timeoutMs = 0);
    void ejectEverythingMounted();
    // Lets queued results (progress, audit insertions) arrive.
    void settle(int ms = 20);

    // --- Observing ---
    QStringList console() const;
    bool hasLine(const QString &text) const { return console().contains(text); }
    bool hasLineContaining(const QString &text) const { return countLinesContaining(text) > 0; }
    int countLinesContaining(const QString &text) const;
    void clearConsole();
    const QList<LogEvent> &events() const { return eventLog.events(); }
    int eventCount(EVENT_TYPE_ENUM type, const QString &containing = QString()) const;
    QList<AuditLogEntry> audits(); // settles first

    QTemporaryDir dir;
    Defaults defaults;
    NotificationCenter center;
    LogEventManager eventLog;
    EnterpriseAuditLog auditLog;
    std::unique_ptr<MountEngine> engine;
    std::unique_ptr<AutoMountScheduler> scheduler;
    QStringList notifications; // names posted on the centre, in order

protected:
    void buildEngine(MountService &service, MountTable &table, FileSystem &fileSystem, CredentialStore *credentials,
                     MountNetworkOps network);
    void shutDown();
    int m_defaultWaitMs = 10000;

private:
    int waitMs(int timeoutMs) const { return timeoutMs > 0 ? timeoutMs : m_defaultWaitMs; }

    MountTable *m_table = nullptr;
    mutable QMutex m_consoleMutex;
    QStringList m_console;
};
