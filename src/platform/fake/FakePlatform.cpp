#include "FakePlatform.h"

#include "platform/FileSystem.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFuseBridge.h"
#include "platform/fake/FakeMountService.h"
#include "platform/fake/FakeMountTable.h"
#include "platform/fake/FakeNetworkProbe.h"
#include "platform/fake/FakeSecretStore.h"
#include "platform/fake/FakeSleepMonitor.h"
#include "platform/fake/FakeWifiNetwork.h"

namespace FakePlatform {

PlatformPorts createPorts(const QString &volumesFolder, Fakes *fakes)
{
    Fakes made;
    PlatformPorts ports;
    auto clock = std::make_unique<FakeClock>();
    made.clock = clock.get();
    ports.clock = std::move(clock);
    auto table = std::make_unique<FakeMountTable>();
    auto service = std::make_unique<FakeMountService>();
    service->attachVolumes(table.get(), volumesFolder);
    made.mountTable = table.get();
    made.mountService = service.get();
    ports.mountTable = std::move(table);
    ports.mountService = std::move(service);
    ports.fileSystem = std::make_unique<LocalFileSystem>(volumesFolder);
    auto secrets = std::make_unique<FakeSecretStore>();
    made.secretStore = secrets.get();
    ports.secretStore = std::move(secrets);
    auto wifi = std::make_unique<FakeWifiNetwork>();
    made.wifi = wifi.get();
    ports.wifi = std::move(wifi);
    auto sleep = std::make_unique<FakeSleepMonitor>();
    made.sleepMonitor = sleep.get();
    ports.sleepMonitor = std::move(sleep);
    auto network = std::make_unique<FakeNetworkProbe>();
    made.network = network.get();
    ports.networkProbe = std::move(network);
    auto bridge = std::make_shared<FakeFuseBridge>(volumesFolder);
    made.fuseBridge = bridge.get();
    ports.fuseBridge = std::move(bridge);
    if (fakes)
        *fakes = made;
    return ports;
}

} // namespace FakePlatform
