#pragma once

#include <memory>

class Clock;
class DesktopNotifier;
class FileSystem;
class MountService;
class MountTable;
class PowerSource;
class ProcessLauncher;
class RunningApplications;
class SecretStore;
class SleepMonitor;
class VpnMonitor;
class WifiNetwork;

// The operating-system services the engine is built on, one implementation each, chosen once by a
// factory (platform/linux/LinuxPlatform.h for the executables, platform/fake/FakePlatform.h for tests and
// benches) and owned here for the life of the application. Members are destroyed in reverse order:
// the mount service (which may refer to the mount table) goes before the table.
// Thread: created and destroyed on the main thread.
struct PlatformPorts
{
    PlatformPorts();
    ~PlatformPorts();
    PlatformPorts(PlatformPorts &&) noexcept;
    PlatformPorts &operator=(PlatformPorts &&) noexcept;

    std::unique_ptr<Clock> clock;
    std::unique_ptr<MountTable> mountTable;
    std::unique_ptr<MountService> mountService;
    std::unique_ptr<FileSystem> fileSystem;
    std::unique_ptr<SecretStore> secretStore;
    std::unique_ptr<WifiNetwork> wifi;
    std::unique_ptr<SleepMonitor> sleepMonitor;
    std::unique_ptr<ProcessLauncher> processLauncher;
    std::unique_ptr<DesktopNotifier> notifier;
    // Rules: power source, running applications and launches, VPN state.
    std::unique_ptr<PowerSource> powerSource;
    std::unique_ptr<RunningApplications> runningApplications;
    std::unique_ptr<VpnMonitor> vpnMonitor;
};
