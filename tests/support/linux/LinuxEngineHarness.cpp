#include "LinuxEngineHarness.h"

#include "platform/linux/LinuxPlatform.h"

#include <QCoreApplication>

#include <chrono>
#include <future>

namespace {
PlatformPorts stackPorts(const QString &)
{
    PlatformPorts ports = LinuxPlatform::createPorts();
    ports.networkProbe = std::make_unique<StackNetworkProbe>();
    return ports;
}

EngineHost::Options options(bool restartBridge)
{
    EngineHost::Options o;
    o.watchFuseBridge = true;
    o.restartFuseBridge = restartBridge;
    return o;
}
} // namespace

LinuxEngineHarness::LinuxEngineHarness(ConsoleMode mode, bool restartBridge)
    : EngineHarnessBase(mode, stackPorts, options(restartBridge))
    , table(*host->ports().mountTable)
    , fileSystem(*host->ports().fileSystem)
    , wifi(*host->ports().wifi)
    , watchdog(*host->fuseWatchdog())
{
    m_defaultWaitMs = 120000;
}

LinuxEngineHarness::~LinuxEngineHarness()
{
    if (scheduler)
        scheduler->stop();
    ejectEverythingMounted();
    shutDown();
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
