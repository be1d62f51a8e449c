#include "LinuxPlatform.h"

#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/MountService.h"
#include "platform/MountTable.h"
#include "platform/NetworkInterfaces.h"
#include "platform/PowerSource.h"
#include "platform/RunningApplications.h"
#include "platform/VpnMonitor.h"
#include "platform/SecretStore.h"
#include "platform/SleepMonitor.h"
#include "platform/SystemClock.h"
#include "platform/WifiNetwork.h"
#include "platform/linux/AvahiBrowser.h"
#include "platform/linux/FreedesktopNotifier.h"
#include "platform/linux/GvfsFuseBridge.h"
#include "platform/linux/GvfsMountService.h"
#include "platform/linux/LinuxDirectoryService.h"
#include "platform/linux/ManagedPreferenceFolder.h"
#include "platform/linux/GvfsMountTable.h"
#include "platform/linux/LibsecretStore.h"
#include "platform/linux/LinuxNetworkProbe.h"
#include "platform/linux/LinuxNetworkInterfaces.h"
#include "platform/linux/LinuxVpnMonitor.h"
#include "platform/linux/LogindSleepMonitor.h"
#include "platform/linux/NetworkManagerWifi.h"
#include "platform/linux/ProcRunningApplications.h"
#include "platform/linux/QProcessLauncher.h"
#include "platform/linux/SmbclientShareLister.h"
#include "platform/linux/TlsCertificateReader.h"
#include "platform/linux/UPowerPowerSource.h"

#include <QDBusConnection>

namespace LinuxPlatform {

PlatformPorts createPorts()
{
    PlatformPorts ports;
    ports.clock = std::make_unique<SystemClock>();
    auto table = std::make_unique<GvfsMountTable>();
    ports.mountService = std::make_unique<GvfsMountService>(table.get());
    ports.mountTable = std::move(table);
    ports.fileSystem = std::make_unique<LocalFileSystem>(LocalFileSystem::standardVolumesFolder());
    ports.secretStore = std::make_unique<LibsecretStore>();
    ports.wifi = std::make_unique<NetworkManagerWifi>(QDBusConnection::systemBus());
    ports.sleepMonitor = std::make_unique<LogindSleepMonitor>(QDBusConnection::systemBus());
    ports.processLauncher = std::make_unique<QProcessLauncher>();
    ports.notifier = std::make_unique<FreedesktopNotifier>();
    ports.networkProbe = std::make_unique<LinuxNetworkProbe>();
    GvfsFuseBridge::Options bridge;
    bridge.volumesFolder = ports.fileSystem->volumesFolder();
    ports.fuseBridge = std::make_shared<GvfsFuseBridge>(bridge);
    ports.managedPreferences = std::make_unique<ManagedPreferenceFolder>();
    ports.directory = std::make_unique<LinuxDirectoryService>(*ports.processLauncher);
    ports.serviceBrowser = std::make_unique<AvahiBrowser>();
    ports.networkInterfaces = std::make_unique<LinuxNetworkInterfaces>();
    ports.shareLister = std::make_unique<SmbclientShareLister>(ports.processLauncher.get());
    ports.powerSource = std::make_unique<UPowerPowerSource>(QDBusConnection::systemBus());
    ports.runningApplications = std::make_unique<ProcRunningApplications>();
    ports.vpnMonitor = std::make_unique<LinuxVpnMonitor>(QDBusConnection::systemBus());
    ports.certificateReader = std::make_unique<TlsCertificateReader>();
    return ports;
}

} // namespace LinuxPlatform
