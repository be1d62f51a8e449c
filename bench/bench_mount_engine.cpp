// Mount + unmount latency of the stack's guest SMB share: through the whole engine (pipeline, discovery,
// eject) against the bare platform call the engine wraps (GvfsMountService on a worker), interleaved in the
// same run. Prints the medians and their ratio (target: engine <= 1.10 x bare). Run under the test stack:
//   tests/stack/with-stack.sh STACK build/bench/bench_mount_engine [rounds]
#include "app/Console.h"
#include "app/Defaults.h"
#include "app/NotificationCenter.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"
#include "platform/FileSystem.h"
#include "platform/MountResponseCode.h"
#include "platform/fake/FakeSecretStore.h"
#include "platform/linux/GvfsMountService.h"
#include "platform/linux/GvfsMountTable.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QMutexLocker>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <future>

namespace {
double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    const qsizetype n = values.size();
    return n == 0 ? 0 : (n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2);
}

template<typename F>
auto onWorker(F f) -> decltype(f())
{
    auto future = std::async(std::launch::async, std::move(f));
    while (future.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return future.get();
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(10, QString::fromLocal8Bit(argv[1]).toInt()) : 12;
    const QString host = qEnvironmentVariable("TW_SMB_HOST");
    const int port = qEnvironmentVariableIntValue("TW_SMB_PORT");
    const QString share = qEnvironmentVariable("TW_SMB_GUEST_SHARE");
    if (host.isEmpty() || port <= 0 || share.isEmpty()) {
        std::fprintf(stderr, "bench_mount_engine: run under tests/stack/with-stack.sh\n");
        return 2;
    }
    // The engine's lines would dominate the timing on a terminal; they are kept for a failure report.
    QStringList lines;
    QMutex linesMutex;
    Console::setSink([&](const QString &line) {
        QMutexLocker lock(&linesMutex);
        lines.append(line);
    });

    QTemporaryDir dir;
    Defaults defaults(dir.path() + QStringLiteral("/prefs.plist"));
    NotificationCenter center;
    LogEventManager eventLog(defaults, &center);
    EnterpriseAuditLog auditLog(dir.path() + QStringLiteral("/audit_log.json"));
    GvfsMountTable table;
    GvfsMountService service(&table);
    LocalFileSystem fileSystem(LocalFileSystem::standardVolumesFolder());
    FakeSecretStore secrets; // guest share: no password is read
    CredentialStore credentials(&secrets);
    MountEngineDependencies deps;
    deps.defaults = &defaults;
    deps.center = &center;
    deps.eventLog = &eventLog;
    deps.auditLog = &auditLog;
    deps.mountService = &service;
    deps.mountTable = &table;
    deps.fileSystem = &fileSystem;
    deps.credentials = &credentials;
    deps.network.wakeOnLan = [](const QString &) {};
    MountEngine engine(deps);

    VolumeRecord record;
    record.hostname_String = host;
    record.port_Int = port;
    record.volume_String = share;
    record.no_password_guest_login = 1;
    const qint64 id = engine.addRecord(record);

    MountRequest request;
    request.url = QUrl(record.mountURLText());
    request.guest = true;

    // A share left mounted by an earlier, interrupted run would make every mount answer 17.
    for (const MountedVolume &volume : table.mountedVolumes()) {
        if (volume.remountUrl && volume.remountUrl->host() == host && volume.remountUrl->port() == port)
            onWorker([&] { return service.unmount(volume.path, true); });
    }

    QList<double> engineMs;
    QList<double> bareMs;
    for (int i = 0; i < rounds; ++i) {
        QTest::qWait(1500);
        {
            QElapsedTimer timer;
            timer.start();
            const MountResult mounted = onWorker([&] { return service.mount(request, nullptr); });
            const UnmountResult unmounted = onWorker([&] { return service.unmount(mounted.mountPath, false); });
            bareMs.append(timer.nsecsElapsed() / 1e6);
            if (mounted.code != 0 || !unmounted.ok) {
                std::fprintf(stderr, "bare round %d failed: code %d, unmount %d\n", i, mounted.code, int(unmounted.ok));
                return 1;
            }
        }
        // gvfsd-fuse keeps answering ENOENT for a while for a name whose mount just went away, and both
        // sides reuse the same name: let it forget between the timed parts.
        QTest::qWait(1500);
        {
            QSignalSpy mountedSpy(&engine, &MountEngine::mountFinished);
            QSignalSpy ejectedSpy(&engine, &MountEngine::ejectFinished);
            QElapsedTimer timer;
            timer.start();
            lines.clear();
            engine.mount(id);
            if (!mountedSpy.wait(60000) || mountedSpy.first().at(1).toInt() != 0) {
                std::fprintf(stderr, "engine round %d: mount failed\n", i);
                return 1;
            }
            engine.eject(id);
            if (!ejectedSpy.wait(60000) || !ejectedSpy.first().at(1).toBool()) {
                std::fprintf(stderr, "engine round %d: eject failed\n%s\n", i, qPrintable(lines.join(QLatin1Char('\n'))));
                return 1;
            }
            engineMs.append(timer.nsecsElapsed() / 1e6);
        }
    }
    auditLog.waitForPendingWrites();
    const double bare = median(bareMs);
    const double viaEngine = median(engineMs);
    std::printf("mount+unmount of smb://%s:%d/%s, %d rounds each (interleaved)\n", qPrintable(host), port,
                qPrintable(share), rounds);
    std::printf("  bare GvfsMountService: median %.1f ms\n", bare);
    std::printf("  MountEngine:           median %.1f ms\n", viaEngine);
    std::printf("  ratio engine/bare:     %.3f (target <= 1.10)\n", bare > 0 ? viaEngine / bare : 0.0);
    return 0;
}
