#include "LinuxEngineHarness.h"

#include "platform/linux/LinuxPlatform.h"

#include "TestStack.h"

#include <algorithm>

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
    return TestStack::onWorker([&] { return credentials.save(password, account); });
}

bool LinuxEngineHarness::listed(const QString &path) const
{
    const QList<MountedVolume> volumes = table.mountedVolumes();
    return std::ranges::any_of(volumes, [&path](const MountedVolume &v) { return v.path == path; });
}

bool LinuxEngineHarness::listedContaining(const QString &text) const
{
    const QList<MountedVolume> volumes = table.mountedVolumes();
    return std::ranges::any_of(volumes, [&text](const MountedVolume &v) { return v.path.contains(text); });
}
