#pragma once

#include "app/Defaults.h"
#include "app/NotificationCenter.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"
#include "core/SelectResult.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"
#include "platform/FileSystem.h"
#include "platform/fake/FakeMountService.h"
#include "platform/fake/FakeMountTable.h"
#include "platform/fake/FakeSecretStore.h"

#include <QHash>
#include <QMutex>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// The real MountEngine over in-process fakes, for whole-engine scenarios: FakeMountService (attached to a
// temporary volumes folder, so successful mounts create GVfs-named folders), FakeMountTable, FakeSecretStore
// behind the real CredentialStore, LocalFileSystem over the temporary volumes folder, a Defaults file, the
// real event and audit logs in the temporary folder, and scripted network operations (no name is ever
// resolved, nothing is sent; the share-URL probe answers shareUrlReachable unless useRealShareUrlProbe).
// Console lines are captured while the harness lives. Main thread only (the engine's workers call the
// scripted network functions, which are thread-safe).
class EngineHarness
{
public:
    EngineHarness();
    ~EngineHarness();
    Q_DISABLE_COPY_MOVE(EngineHarness)

    // --- Scripted network (thread-safe) ---
    void setResolved(const QString &host, const QString &address); // unknown names resolve to "0.0.0.0"
    void setProbeResult(const SelectResult &result);               // default: ready
    void setShareUrlReachable(bool reachable);                      // default: true
    void setUseRealShareUrlProbe(bool real);
    int resolveCalls() const;
    int probeCalls() const;
    QStringList wakeCalls() const;

    // --- Records ---
    // A guest SMB record on host/share, added to the engine (returns its ID).
    qint64 addShare(const QString &host, const QString &share,
                    MountUsingProtocol_Enum protocol = MountUsingProtocol_Enum::SMB, bool guest = true);
    const VolumeRecord &record(qint64 id) const;

    // --- Driving ---
    // mount() and wait for mountFinished; returns the code (or INT_MIN on time-out).
    int mountAndWait(qint64 id, bool allowUI = false, int timeoutMs = 10000);
    bool ejectAndWait(qint64 id, bool partOfEjectAll = false, int timeoutMs = 10000);
    bool syncAndWait(int timeoutMs = 10000);
    bool cleanUpAndWait(qint64 id, int timeoutMs = 10000);
    // Lets queued results (progress, audit insertions) arrive.
    void settle(int ms = 20);

    // --- Observing ---
    QStringList console() const;
    bool hasLine(const QString &text) const;           // a line equal to text
    bool hasLineContaining(const QString &text) const; // a line containing text
    int countLinesContaining(const QString &text) const;
    void clearConsole();
    const QList<LogEvent> &events() const { return eventLog.events(); }
    QList<AuditLogEntry> audits(); // settles first
    QString volumePath(const QString &name) const { return volumesFolder + QLatin1Char('/') + name; }
    // Creates a folder (with an optional file in it) in the volumes folder; returns its path.
    QString makeVolumeFolder(const QString &name, bool withFile = false) const;

    QTemporaryDir dir;
    QString volumesFolder;
    Defaults defaults;
    NotificationCenter center;
    LogEventManager eventLog;
    EnterpriseAuditLog auditLog;
    FakeMountTable table;
    FakeMountService service;
    LocalFileSystem fileSystem;
    FakeSecretStore secrets;
    CredentialStore credentials;
    std::unique_ptr<MountEngine> engine;
    QStringList notifications; // names posted on the centre, in order

private:
    mutable QMutex m_mutex;
    QStringList m_console;
    QHash<QString, QString> m_resolved;
    SelectResult m_probeResult = SelectResult::ready();
    bool m_shareUrlReachable = true;
    bool m_realShareUrlProbe = false;
    int m_resolveCalls = 0;
    int m_probeCalls = 0;
    QStringList m_wakeCalls;
};
