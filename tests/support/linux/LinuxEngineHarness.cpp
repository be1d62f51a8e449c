#include "LinuxEngineHarness.h"

#include "core/NetworkTester.h"

#include <QCoreApplication>

#include <chrono>
#include <future>

LinuxEngineHarness::LinuxEngineHarness(ConsoleMode mode)
    : EngineHarnessBase(mode)
{
    m_defaultWaitMs = 120000;
    MountNetworkOps network;
    network.resolveHostName = [](const QString &host) {
        if (host.endsWith(QLatin1String(".invalid"), Qt::CaseInsensitive))
            return QStringLiteral("0.0.0.0");
        return NetworkTester::resolveHostName(host);
    };
    network.wakeOnLan = [](const QString &) {};
    buildEngine(service, table, fileSystem, &credentials, std::move(network));
}

LinuxEngineHarness::~LinuxEngineHarness()
{
    scheduler.reset();
    ejectEverythingMounted();
    shutDown();
}

AutoMountScheduler &LinuxEngineHarness::makeKeepMountedScheduler(bool restartBridge)
{
    wifi = std::make_unique<NetworkManagerWifi>();
    sleep = std::make_unique<LogindSleepMonitor>();
    FuseBridgeWatchdog::Options options;
    options.volumesFolder = fileSystem.volumesFolder();
    options.restartAllowed = restartBridge;
    watchdog = std::make_unique<FuseBridgeWatchdog>(options, &eventLog);
    AutoMountSchedulerDependencies deps;
    deps.wifi = wifi.get();
    deps.sleepMonitor = sleep.get();
    deps.fuseWatchdog = watchdog.get();
    deps.clock = &clock;
    return makeScheduler(deps);
}

bool LinuxEngineHarness::savePassword(const QString &password, const QString &account)
{
    auto future = std::async(std::launch::async, [&] { return credentials.save(password, account); });
    while (future.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return future.get();
}

bool LinuxEngineHarness::listed(const QString &path) const
{
    for (const MountedVolume &v : table.mountedVolumes()) {
        if (v.path == path)
            return true;
    }
    return false;
}
