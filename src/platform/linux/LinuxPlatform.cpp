#include "LinuxPlatform.h"

#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/MountService.h"
#include "platform/MountTable.h"
#include "platform/PowerSource.h"
#include "platform/RunningApplications.h"
#include "platform/VpnMonitor.h"
#include "platform/SecretStore.h"
#include "platform/SleepMonitor.h"
#include "platform/SystemClock.h"
#include "platform/WifiNetwork.h"
#include "platform/linux/FreedesktopNotifier.h"
#include "platform/linux/GvfsMountService.h"
#include "platform/linux/GvfsMountTable.h"
#include "platform/linux/LibsecretStore.h"
#include "platform/linux/LinuxVpnMonitor.h"
#include "platform/linux/LogindSleepMonitor.h"
#include "platform/linux/NetworkManagerWifi.h"
#include "platform/linux/ProcRunningApplications.h"
#include "platform/linux/QProcessLauncher.h"
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
    ports.powerSource = std::make_unique<UPowerPowerSource>(QDBusConnection::systemBus());
    ports.runningApplications = std::make_unique<ProcRunningApplications>();
    ports.vpnMonitor = std::make_unique<LinuxVpnMonitor>(QDBusConnection::systemBus());
    return ports;
}

} // namespace LinuxPlatform
