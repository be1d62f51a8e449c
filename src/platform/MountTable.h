#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

#include <optional>

struct MountedVolume
{
    QString path;                   // where the volume is reachable in the file system
    std::optional<QUrl> remountUrl; // the URL that would mount it again (smb://host/share, dav://...)
    bool isLocal = true;            // false for network volumes
};

// The operating system's list of mounted volumes. mountedVolumes() returns a snapshot and may be called
// from any thread. volumeUnmounted is emitted on the main thread when a volume goes away, whoever
// unmounted it.
class MountTable : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual QList<MountedVolume> mountedVolumes() const = 0;

Q_SIGNALS:
    void volumeUnmounted(const QString &path);
    void volumeMounted(const QString &path);
};
