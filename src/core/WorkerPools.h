#pragma once

#include <QThreadPool>

// The engine's worker threads, created once by the engine root and handed to MountEngine and
// AutoMountScheduler. Mounts get a pool of their own with 16 threads so a hanging mount never starves the
// others; ejects, clean-ups, listings and share-URL probes share the I/O pool; the scheduler's liveness
// probes of mounted servers have theirs. Whoever uses a pool waits for it in its destructor; the owner
// outlives every user.
// Thread: created and destroyed on the main thread; the pools themselves are thread-safe.
struct WorkerPools
{
    static constexpr int kMountThreads = 16;
    static constexpr int kIoThreads = 4;
    static constexpr int kProbeThreads = 4;

    WorkerPools()
    {
        mount.setMaxThreadCount(kMountThreads);
        io.setMaxThreadCount(kIoThreads);
        probes.setMaxThreadCount(kProbeThreads);
    }
    Q_DISABLE_COPY_MOVE(WorkerPools)

    QThreadPool mount;
    QThreadPool io;
    QThreadPool probes;
};
