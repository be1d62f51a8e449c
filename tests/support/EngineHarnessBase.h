#pragma once

#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "core/AutoMountScheduler.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"
#include "engine/EngineHost.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"

#include <QMutex>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>

// A scenario around the engine root: the same EngineHost the executables run, built over the ports a
// subclass supplies (the fakes for unit tests, the Linux ports of the test stack for integration tests and
// benches), with its preferences file and audit log in a temporary folder, console capture and the names
// posted on the notification centre recorded. The scheduler exists but is not started. The drive helpers
// start an operation and wait for the engine's signal. Main thread only.
class EngineHarnessBase
{
public:
    // Echo goes to stderr. CaptureShowOnFailure prints the captured lines when the harness ends inside a
    // failed test: passing runs stay short, so a truncated CI log shows the failure's own lines.
    enum class ConsoleMode { Capture, CaptureAndEcho, CaptureShowOnFailure, Discard };
    // Makes the ports; given the temporary folder of the harness.
    using PortsFactory = std::function<PlatformPorts(const QString &tempDir)>;

    EngineHarnessBase(ConsoleMode mode, const PortsFactory &makePorts, EngineHost::Options options = {});
    virtual ~EngineHarnessBase();
    Q_DISABLE_COPY_MOVE(EngineHarnessBase)

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
    // The engine's bounded verification; its answer (false also when none came in time).
    bool verifyAndWait(qint64 id, int timeoutMs = 0);
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

private:
    mutable QMutex m_consoleMutex;
    QStringList m_console;
    ConsoleMode m_consoleMode;
    bool m_consoleInstalled;

public:
    std::unique_ptr<EngineHost> host;
    Defaults &defaults;
    NotificationCenter &center;
    LogEventManager &eventLog;
    EnterpriseAuditLog &auditLog;
    CredentialStore &credentials;
    MountEngine *engine;
    AutoMountScheduler *scheduler;
    QStringList notifications; // names posted on the centre, in order

protected:
    // Ends the engine root (waiting for the audit writer); the accessors above dangle afterwards.
    void shutDown();
    int m_defaultWaitMs = 10000;

private:
    int waitMs(int timeoutMs) const { return timeoutMs > 0 ? timeoutMs : m_defaultWaitMs; }
};
