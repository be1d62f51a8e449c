#pragma once

#include "platform/FuseBridge.h"

#include <QByteArray>

#include <chrono>
#include <optional>

// The gvfsd-fuse bridge on the volumes folder. Health: a "fuse.gvfsd-fuse" entry for the folder in the
// kernel's mount table (/proc/self/mountinfo) and a stat() of the folder that does not fail with ENOTCONN.
// Restart: a dead entry is lazily unmounted ("fusermount3 -u -z"), then the bridge is started detached on
// the folder, as gvfsd itself would have started it, with its standard streams on /dev/null.
class GvfsFuseBridge : public FuseBridge
{
public:
    struct Options
    {
        QString volumesFolder;
        QString mountInfoPath = QStringLiteral("/proc/self/mountinfo");
        QString bridgeProgram = QStringLiteral("/usr/libexec/gvfsd-fuse");
        QString fuseDevice = QStringLiteral("/dev/fuse");
        // gvfsd-fuse reaches gvfsd over the session bus; without one a restart is pointless.
        bool requireSessionBus = true;
        // How long a restarted bridge may take to mount the folder (it first has to reach gvfsd, which on a
        // busy machine takes seconds). One that is slower is still recognised by the next check.
        std::chrono::milliseconds restartWait{15000};
    };

    static inline const QString kFuseType = QStringLiteral("fuse.gvfsd-fuse");

    explicit GvfsFuseBridge(Options options);

    QString folder() const override { return m_options.volumesFolder; }
    QString restartRefusal() const override;
    Health health() override;
    RestartResult restart(bool detachDeadMount) override;

    // Pure: the health of the bridge on `folder` given the text of a mountinfo file and the errno of a
    // stat() of the folder (0 = fine).
    static Health classify(const QByteArray &mountInfo, const QString &folder, int statErrno);
    // The file-system type mounted exactly on `folder` (mountinfo's octal escapes undone); nullopt when
    // nothing is mounted there.
    static std::optional<QString> mountTypeAt(const QByteArray &mountInfo, const QString &folder);

private:
    Options m_options;
};
