#pragma once

#include "platform/PlatformPorts.h"

#include <QString>

class FakeClock;
class FakeDesktopNotifier;
class FakeDirectoryService;
class FakeFuseBridge;
class FakeManagedPreferenceSource;
class FakeMountService;
class FakeMountTable;
class FakeNetworkInterfaces;
class FakeNetworkProbe;
class FakePowerSource;
class FakeProcessLauncher;
class FakeRunningApplications;
class FakeSecretStore;
class FakeServiceBrowser;
class FakeShareLister;
class FakeSleepMonitor;
class FakeVpnMonitor;
class FakeWifiNetwork;

// The in-process fakes of every port, for unit tests and benches of the engine: a fake clock, mount table
// and mount service (successful mounts create GVfs-named folders in `volumesFolder` and list them), the real
// file system over that folder, an in-memory secret store, Wi-Fi, sleep monitor, network (nothing leaves
// the process), FUSE bridge, child processes, notifications, managed preferences, directory, service browser,
// network interfaces, share lister, power source, running applications and VPN.
namespace FakePlatform {

// Typed pointers to the fakes inside the returned ports (owned by the ports).
struct Fakes
{
    FakeClock *clock = nullptr;
    FakeMountTable *mountTable = nullptr;
    FakeMountService *mountService = nullptr;
    FakeSecretStore *secretStore = nullptr;
    FakeWifiNetwork *wifi = nullptr;
    FakeSleepMonitor *sleepMonitor = nullptr;
    FakeNetworkProbe *network = nullptr;
    FakeFuseBridge *fuseBridge = nullptr;
    FakeProcessLauncher *processLauncher = nullptr;
    FakeDesktopNotifier *notifier = nullptr;
    FakeManagedPreferenceSource *managedPreferences = nullptr;
    FakeDirectoryService *directory = nullptr;
    FakeServiceBrowser *serviceBrowser = nullptr;
    FakeNetworkInterfaces *networkInterfaces = nullptr;
    FakeShareLister *shareLister = nullptr;
    FakePowerSource *powerSource = nullptr;
    FakeRunningApplications *runningApplications = nullptr;
    FakeVpnMonitor *vpnMonitor = nullptr;
};

// `volumesFolder` must exist. `fakes`, when given, receives the pointers.
PlatformPorts createPorts(const QString &volumesFolder, Fakes *fakes = nullptr);

} // namespace FakePlatform
