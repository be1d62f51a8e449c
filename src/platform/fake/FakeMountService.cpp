#include "FakeMountService.h"

#include "FakeMountTable.h"
#include "platform/MountResponseCode.h"
#include "platform/linux/gvfsnames/GvfsNames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <chrono>

namespace {
QString key(const QUrl &url)
{
    return url.toString();
}
} // namespace

FakeMountService::FakeMountService()
    : m_blocker(std::make_shared<Blocker>())
{
}

FakeMountService::~FakeMountService()
{
    releaseBlocked();
}

void FakeMountService::script(const QUrl &url, const QList<MountResult> &results)
{
    std::lock_guard lock(m_mutex);
    m_scripts.insert(key(url), results);
}

void FakeMountService::setDefaultResult(const MountResult &result)
{
    std::lock_guard lock(m_mutex);
    m_defaultResult = result;
}

void FakeMountService::scriptUnmount(const QString &path, const QList<UnmountResult> &results)
{
    std::lock_guard lock(m_mutex);
    m_unmountScripts.insert(path, results);
}

void FakeMountService::setBlocking(const QUrl &url, bool block)
{
    std::lock_guard lock(m_mutex);
    if (url.isEmpty()) {
        m_blockAll = block;
        return;
    }
    m_blockingUrls.removeAll(key(url));
    if (block)
        m_blockingUrls.append(key(url));
}

void FakeMountService::releaseBlocked()
{
    {
        std::lock_guard lock(m_blocker->mutex);
        ++m_blocker->releaseGeneration;
    }
    m_blocker->wake.notify_all();
}

bool FakeMountService::waitForBlocked(int count, int timeoutMs) const
{
    std::unique_lock lock(m_blocker->mutex);
    return m_blocker->wake.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                    [&] { return m_blocker->blocked >= count; });
}

void FakeMountService::attachVolumes(FakeMountTable *table, const QString &volumesFolder)
{
    std::lock_guard lock(m_mutex);
    m_table = table;
    m_volumesFolder = volumesFolder;
}

QString FakeMountService::volumeFolderName(const QUrl &url) const
{
    return GvfsNames::folderName(url);
}

std::optional<VolumeFolderName> FakeMountService::parseVolumeFolderName(const QString &name) const
{
    const std::optional<GvfsNames::ShareAndHost> parsed = GvfsNames::shareAndHost(name);
    if (!parsed)
        return std::nullopt;
    return VolumeFolderName{parsed->share, parsed->host, parsed->type, parsed->port, parsed->ssl};
}

QList<MountRequest> FakeMountService::mountCalls() const
{
    std::lock_guard lock(m_mutex);
    return m_mountCalls;
}

QList<FakeMountService::UnmountCall> FakeMountService::unmountCalls() const
{
    std::lock_guard lock(m_mutex);
    return m_unmountCalls;
}

void FakeMountService::clearCalls()
{
    std::lock_guard lock(m_mutex);
    m_mountCalls.clear();
    m_unmountCalls.clear();
}

void FakeMountService::setCompletesDespiteCancel(bool completes)
{
    std::lock_guard lock(m_mutex);
    m_completesDespiteCancel = completes;
}

bool FakeMountService::isBlocking(const QUrl &url) const
{
    std::lock_guard lock(m_mutex);
    return m_blockAll || m_blockingUrls.contains(key(url));
}

MountResult FakeMountService::nextResult(const QUrl &url)
{
    std::lock_guard lock(m_mutex);
    auto it = m_scripts.find(key(url));
    if (it == m_scripts.end() || it->isEmpty())
        return m_defaultResult;
    return it->size() > 1 ? it->takeFirst() : it->first();
}

void FakeMountService::setAsksCertificate(bool asks)
{
    std::lock_guard lock(m_mutex);
    m_asksCertificate = asks;
}

MountResult FakeMountService::mount(const MountRequest &request,
                                    const std::shared_ptr<MountCancellation> &cancellation)
{
    {
        std::lock_guard lock(m_mutex);
        m_mountCalls.append(request);
    }

    if (isBlocking(request.url)) {
        const std::shared_ptr<Blocker> blocker = m_blocker;
        if (cancellation) {
            cancellation->onCancel([blocker] {
                { std::lock_guard lock(blocker->mutex); }
                blocker->wake.notify_all();
            });
        }
        std::unique_lock lock(blocker->mutex);
        const quint64 generation = blocker->releaseGeneration;
        ++blocker->blocked;
        blocker->wake.notify_all();
        blocker->wake.wait(lock, [&] {
            return blocker->releaseGeneration != generation || (cancellation && cancellation->isCancelled());
        });
        --blocker->blocked;
        lock.unlock();
        bool completes = false;
        {
            std::lock_guard own(m_mutex);
            completes = m_completesDespiteCancel;
        }
        if (cancellation && cancellation->isCancelled() && !completes)
            return {MountResponseCode::Cancelled, QStringLiteral("Operation was cancelled"), {}};
    } else if (cancellation && cancellation->isCancelled()) {
        return {MountResponseCode::Cancelled, QStringLiteral("Operation was cancelled"), {}};
    }

    bool asksCertificate = false;
    {
        std::lock_guard lock(m_mutex);
        asksCertificate = m_asksCertificate;
    }
    // As GVfs: a refused certificate question ends the mount with its TLS error, reported as code 80.
    if (asksCertificate && !request.acceptUntrustedCertificate && !(request.trustCertificate && request.trustCertificate()))
        return {MountResponseCode::AuthFailed, QStringLiteral("Unacceptable TLS certificate"), {}};

    MountResult result = nextResult(request.url);
    if (result.code == MountResponseCode::Success)
        materialise(request, result);
    return result;
}

void FakeMountService::materialise(const MountRequest &request, MountResult &result)
{
    QPointer<FakeMountTable> table;
    QString volumesFolder;
    {
        std::lock_guard lock(m_mutex);
        table = m_table;
        volumesFolder = m_volumesFolder;
    }
    if (volumesFolder.isEmpty())
        return;
    const QString volumePath = result.mountPath.isEmpty()
                                   ? QDir(volumesFolder).filePath(volumeFolderName(request.url))
                                   : result.mountPath;
    QDir().mkpath(volumePath);
    result.mountPath = volumePath;
    if (!request.mountDirectory.isEmpty()) {
        // Same rule as the GVfs service: the empty custom folder gives way to a link to the volume.
        QDir().rmdir(request.mountDirectory);
        if (QFile::link(volumePath, request.mountDirectory)) {
            std::lock_guard lock(m_mutex);
            m_linkTargets.insert(request.mountDirectory, volumePath);
            result.mountPath = request.mountDirectory;
        }
    }
    if (table) {
        MountedVolume volume;
        volume.path = volumePath;
        volume.remountUrl = request.url;
        volume.isLocal = false;
        table->addVolume(volume);
    }
}

UnmountResult FakeMountService::unmount(const QString &path, bool force)
{
    UnmountResult result;
    result.ok = true;
    QPointer<FakeMountTable> table;
    QString volumesFolder;
    QString target = path;
    bool isLink = false;
    {
        std::lock_guard lock(m_mutex);
        m_unmountCalls.append({path, force});
        auto it = m_unmountScripts.find(path);
        if (it != m_unmountScripts.end() && !it->isEmpty())
            result = it->size() > 1 ? it->takeFirst() : it->first();
        table = m_table;
        volumesFolder = m_volumesFolder;
        if (result.ok && m_linkTargets.contains(path)) {
            target = m_linkTargets.take(path);
            isLink = true;
        }
    }
    if (!result.ok || volumesFolder.isEmpty())
        return result;
    if (isLink) {
        QFile::remove(path);
        QDir().mkpath(path);
    }
    if (table && !table->contains(target)) {
        return {false, 22, QStringLiteral("Invalid argument")};
    }
    if (target.startsWith(volumesFolder + QLatin1Char('/')))
        QDir(target).removeRecursively();
    if (table)
        table->removeVolume(target);
    return result;
}
