#pragma once

#include "EngineHarnessBase.h"

#include "core/SelectResult.h"
#include "platform/FileSystem.h"
#include "platform/fake/FakeMountService.h"
#include "platform/fake/FakeMountTable.h"
#include "platform/fake/FakeSecretStore.h"

#include <QHash>

// The real MountEngine over in-process fakes, for whole-engine scenarios: FakeMountService (attached to a
// temporary volumes folder, so successful mounts create GVfs-named folders), FakeMountTable, FakeSecretStore
// behind the real CredentialStore, LocalFileSystem over the temporary volumes folder, and scripted network
// operations (no name is ever resolved, nothing is sent; the share-URL probe answers shareUrlReachable
// unless useRealShareUrlProbe). Main thread only (the engine's workers call the scripted network
// functions, which are thread-safe).
class EngineHarness : public EngineHarnessBase
{
public:
    explicit EngineHarness(ConsoleMode mode = ConsoleMode::Capture);
    ~EngineHarness() override;
    Q_DISABLE_COPY_MOVE(EngineHarness)

    // --- Scripted network (thread-safe) ---
    void setResolved(const QString &host, const QString &address); // unknown names resolve to "0.0.0.0"
    void setProbeResult(const SelectResult &result);               // default: ready
    void setShareUrlReachable(bool reachable);                      // default: true
    void setUseRealShareUrlProbe(bool real);
    int resolveCalls() const;
    int probeCalls() const;
    QStringList wakeCalls() const;

    QString volumePath(const QString &name) const { return volumesFolder + QLatin1Char('/') + name; }
    // Creates a folder (with an optional file in it) in the volumes folder; returns its path.
    QString makeVolumeFolder(const QString &name, bool withFile = false) const;
    // Writes an executable shell script into the temporary folder; returns its path.
    QString makeScript(const QString &name, const QString &body) const;

    QString volumesFolder;
    FakeMountTable table;
    FakeMountService service;
    LocalFileSystem fileSystem;
    FakeSecretStore secrets;
    CredentialStore credentials;

private:
    mutable QMutex m_mutex;
    QHash<QString, QString> m_resolved;
    SelectResult m_probeResult = SelectResult::ready();
    bool m_shareUrlReachable = true;
    bool m_realShareUrlProbe = false;
    int m_resolveCalls = 0;
    int m_probeCalls = 0;
    QStringList m_wakeCalls;
};
