#include "FakeMountTable.h"

#include <QMutexLocker>

QList<MountedVolume> FakeMountTable::mountedVolumes() const
{
    QMutexLocker lock(&m_mutex);
    ++m_snapshots;
    return m_volumes;
}

int FakeMountTable::snapshotCount() const
{
    QMutexLocker lock(&m_mutex);
    return m_snapshots;
}

void FakeMountTable::setVolumes(const QList<MountedVolume> &volumes)
{
    QMutexLocker lock(&m_mutex);
    m_volumes = volumes;
}

void FakeMountTable::addVolume(const MountedVolume &volume)
{
    {
        QMutexLocker lock(&m_mutex);
        m_volumes.removeIf([&](const MountedVolume &v) { return v.path == volume.path; });
        m_volumes.append(volume);
    }
    Q_EMIT volumeMounted(volume.path);
}

bool FakeMountTable::removeVolume(const QString &path)
{
    qsizetype removed = 0;
    {
        QMutexLocker lock(&m_mutex);
        removed = m_volumes.removeIf([&](const MountedVolume &v) { return v.path == path; });
    }
    if (removed > 0)
        Q_EMIT volumeUnmounted(path);
    return removed > 0;
}

bool FakeMountTable::contains(const QString &path) const
{
    QMutexLocker lock(&m_mutex);
    return std::any_of(m_volumes.cbegin(), m_volumes.cend(), [&](const MountedVolume &v) { return v.path == path; });
}
