#pragma once

#include "platform/MountService.h"

#include <QHash>
#include <QList>
#include <QPointer>

#include <condition_variable>
#include <memory>
#include <mutex>

class FakeMountTable;

// In-process mount service for unit tests of the engine. Results are scripted per URL; every call is
// logged. Callable from any thread, like the real service.
//
// With attachVolumes(), a mount that succeeds (code 0) behaves like GVfs: it creates the share's folder
// in the given volumes folder (named as GVfs names it, with the GVfs service's own naming) and adds a network volume to
// the table; with a mountDirectory the empty custom folder is replaced by a symbolic link to that folder.
// unmount() of such a path (or of the link) undoes it and emits volumeUnmounted through the table.
class FakeMountService : public MountService
{
public:
    struct UnmountCall
    {
        QString path;
        bool force = false;
    };

    FakeMountService();
    ~FakeMountService() override;

    // Each mount of url takes the next result; the last one repeats. Unscripted URLs get the default
    // result (code 0). URLs are compared in their QUrl::toString() form.
    void script(const QUrl &url, const QList<MountResult> &results);
    void setDefaultResult(const MountResult &result);
    // Each unmount of path takes the next result; the last repeats. Default: ok.
    void scriptUnmount(const QString &path, const QList<UnmountResult> &results);

    // A mount of url (or of any URL when url is empty) blocks until its cancellation fires or
    // releaseBlocked() is called; cancelled, it returns MountResponseCode::Cancelled.
    void setBlocking(const QUrl &url, bool block = true);
    void releaseBlocked();
    // A blocked mount woken by its cancellation completes anyway with its scripted result, like a GVfs
    // mount whose daemon finished as the cancellation arrived.
    void setCompletesDespiteCancel(bool completes);
    // Waits (at most timeoutMs) until count mounts are blocked; for tests that cancel a hanging mount.
    bool waitForBlocked(int count, int timeoutMs) const;

    // Every mount first asks whether to trust the server's certificate (MountRequest::trustCertificate),
    // like GVfs for a self-signed one; a refusal fails the mount with code 80.
    void setAsksCertificate(bool asks);

    void attachVolumes(FakeMountTable *table, const QString &volumesFolder);

    QList<MountRequest> mountCalls() const;
    QList<UnmountCall> unmountCalls() const;
    void clearCalls();

    MountResult mount(const MountRequest &request, const std::shared_ptr<MountCancellation> &cancellation) override;
    UnmountResult unmount(const QString &path, bool force) override;
    QString volumeFolderName(const QUrl &url) const override;
    std::optional<VolumeFolderName> parseVolumeFolderName(const QString &name) const override;

private:
    struct Blocker
    {
        std::mutex mutex;
        std::condition_variable wake;
        int blocked = 0;
        quint64 releaseGeneration = 0;
    };

    bool isBlocking(const QUrl &url) const;
    MountResult nextResult(const QUrl &url);
    void materialise(const MountRequest &request, MountResult &result);

    mutable std::mutex m_mutex;
    QHash<QString, QList<MountResult>> m_scripts;
    QHash<QString, QList<UnmountResult>> m_unmountScripts;
    MountResult m_defaultResult;
    QList<QString> m_blockingUrls;
    bool m_blockAll = false;
    bool m_completesDespiteCancel = false;
    bool m_asksCertificate = false;
    QList<MountRequest> m_mountCalls;
    QList<UnmountCall> m_unmountCalls;
    QPointer<FakeMountTable> m_table;
    QString m_volumesFolder;
    QHash<QString, QString> m_linkTargets; // custom folder -> volume path
    std::shared_ptr<Blocker> m_blocker;
};
