#include "FakePlatform.h"

#include "platform/FileSystem.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktopNotifier.h"
#include "platform/fake/FakeDirectoryService.h"
#include "platform/fake/FakeFuseBridge.h"
#include "platform/fake/FakeManagedPreferenceSource.h"
#include "platform/fake/FakeMountService.h"
#include "platform/fake/FakeMountTable.h"
#include "platform/fake/FakeNetworkInterfaces.h"
#include "platform/fake/FakeNetworkProbe.h"
#include "platform/fake/FakePowerSource.h"
#include "platform/fake/FakeProcessLauncher.h"
#include "platform/fake/FakeRunningApplications.h"
#include "platform/fake/FakeSecretStore.h"
#include "platform/fake/FakeServiceBrowser.h"
#include "platform/fake/FakeShareLister.h"
#include "platform/fake/FakeSleepMonitor.h"
#include "platform/fake/FakeVpnMonitor.h"
#include "platform/fake/FakeWifiNetwork.h"

namespace {

// Puts a new fake into the port's slot and returns it typed.
template <typename Fake, typename Slot, typename... Args>
Fake *install(Slot &slot, Args &&...args)
{
    auto fake = std::make_unique<Fake>(std::forward<Args>(args)...);
    Fake *raw = fake.get();
    slot = std::move(fake);
    return raw;
}

} // namespace

namespace FakePlatform {

PlatformPorts createPorts(const QString &volumesFolder, Fakes *fakes)
{
    Fakes made;
    PlatformPorts ports;
    made.clock = install<FakeClock>(ports.clock);
    made.mountTable = install<FakeMountTable>(ports.mountTable);
    made.mountService = install<FakeMountService>(ports.mountService);
    made.mountService->attachVolumes(made.mountTable, volumesFolder);
    ports.fileSystem = std::make_unique<LocalFileSystem>(volumesFolder);
    made.secretStore = install<FakeSecretStore>(ports.secretStore);
    made.wifi = install<FakeWifiNetwork>(ports.wifi);
    made.sleepMonitor = install<FakeSleepMonitor>(ports.sleepMonitor);
    made.network = install<FakeNetworkProbe>(ports.networkProbe);
    auto bridge = std::make_shared<FakeFuseBridge>(volumesFolder);
    made.fuseBridge = bridge.get();
    ports.fuseBridge = std::move(bridge);
    made.processLauncher = install<FakeProcessLauncher>(ports.processLauncher);
    made.notifier = install<FakeDesktopNotifier>(ports.notifier);
    made.managedPreferences = install<FakeManagedPreferenceSource>(ports.managedPreferences);
    made.directory = install<FakeDirectoryService>(ports.directory);
    made.serviceBrowser = install<FakeServiceBrowser>(ports.serviceBrowser);
    made.networkInterfaces = install<FakeNetworkInterfaces>(ports.networkInterfaces);
    made.shareLister = install<FakeShareLister>(ports.shareLister);
    made.powerSource = install<FakePowerSource>(ports.powerSource);
    made.runningApplications = install<FakeRunningApplications>(ports.runningApplications);
    made.vpnMonitor = install<FakeVpnMonitor>(ports.vpnMonitor);
    if (fakes)
        *fakes = made;
    return ports;
}

} // namespace FakePlatform
