#pragma once

#include "platform/MountTable.h"

#include <QByteArray>
#include <QHash>
#include <QMutex>

#include <chrono>

class QSocketNotifier;
typedef struct _GVolumeMonitor GVolumeMonitor;
typedef struct _GMount GMount;

// The mounted-volume list on Linux: GVfs mounts (from GVolumeMonitor; path = the mount root's path under
// the GVfs FUSE root, remount URL = the root URI with dav/davs written as http/https so that it reads like
// the share URL a record builds, not local) plus kernel network mounts from /proc/self/mountinfo (cifs,
// smb3, nfs, nfs4, fuse.davfs, ...; not local). Kernel mounts of block devices are listed as local; pseudo
// file systems are left out.
//
// Threads: construct, and destroy, on the main thread (GLib's default context, where Qt's loop runs, so
// the monitor's signals arrive there); volumeMounted/volumeUnmounted are emitted there. mountedVolumes()
// is a snapshot under a mutex, callable from any thread. A mount service on a worker reports what it just
// mounted or unmounted (noteMounted/noteUnmounted) so that a snapshot taken right after the call already
// shows it, before the monitor has heard of it from the daemon.
class GvfsMountTable : public MountTable
{
    Q_OBJECT
public:
    explicit GvfsMountTable(QObject *parent = nullptr);
    ~GvfsMountTable() override;

    QList<MountedVolume> mountedVolumes() const override;

    void noteMounted(const MountedVolume &volume);
    void noteUnmounted(const QString &path);

    // Network (and block-device) mounts in the text of /proc/self/mountinfo.
    static QList<MountedVolume> parseMountInfo(const QByteArray &text);
    // smb/cifs, nfs, dav... URL for a kernel mount's source, or an empty URL.
    static QUrl kernelRemountUrl(const QString &fsType, const QString &source);
    // dav -> http, davs -> https; other URIs unchanged.
    static QUrl remountUrlForGvfsUri(const QString &uri);

private:
    void rebuild();
    void readKernelMounts();
    void onMountAdded(GMount *mount);
    void onMountRemoved(GMount *mount);
    static void mountAddedThunk(GVolumeMonitor *, GMount *mount, void *self);
    static void mountRemovedThunk(GVolumeMonitor *, GMount *mount, void *self);
    static void mountChangedThunk(GVolumeMonitor *, GMount *mount, void *self);

    struct Noted
    {
        MountedVolume volume;
        std::chrono::steady_clock::time_point at;
        bool removed = false;
    };

    GVolumeMonitor *m_monitor = nullptr;
    QHash<GMount *, MountedVolume> m_gvfs; // main thread only
    QList<MountedVolume> m_kernel;         // main thread only
    int m_mountInfoFd = -1;
    QSocketNotifier *m_mountInfoNotifier = nullptr;

    mutable QMutex m_mutex;
    QList<MountedVolume> m_snapshot;
    QHash<QString, Noted> m_noted; // path -> what a worker reported and the monitor has not confirmed
};
