#pragma once

#include <QString>

// The bridge that makes the mount service's volumes reachable as paths under the volumes folder (the GVfs
// FUSE daemon on Linux). When it is gone the shares stay mounted in the mount service but no path leads to
// them; FuseBridgeWatchdog (core) decides when to look and when to restart, this port does the looking
// and the restarting.
//
// Threads: folder() and restartRefusal() are cheap and callable anywhere. health() and restart() BLOCK
// (they touch a FUSE folder that may hang for good) and run on a thread of their own, never on the main
// thread; the port is held by a shared_ptr so that such a thread may outlive its caller.
class FuseBridge
{
public:
    enum class Health { Healthy, Missing, Dead };

    struct RestartResult
    {
        bool restarted = false; // the bridge has mounted the folder again
        qint64 pid = 0;         // the started bridge's process (0: none was started; it may still mount later)
        QString failure;        // why not, when not restarted
    };

    virtual ~FuseBridge() = default;

    virtual QString folder() const = 0;
    // Why a restart cannot be tried in this session (no bridge program, no FUSE device, ...); empty when it can.
    virtual QString restartRefusal() const = 0;
    // Healthy: mounted and answering; Missing: not mounted on the folder; Dead: mounted but the daemon is gone.
    virtual Health health() = 0;
    // Starts the bridge again on the folder (a dead mount is detached first) and waits for it to mount.
    virtual RestartResult restart(bool detachDeadMount) = 0;
};
