#pragma once

#include <memory>

class CertificateReader;
class Clock;
class DesktopNotifier;
class DirectoryService;
class FileSystem;
class FuseBridge;
class ManagedPreferenceSource;
class MountService;
class MountTable;
class NetworkInterfaces;
class ProcessLauncher;
class NetworkProbe;
class PowerSource;
class ProcessLauncher;
class RunningApplications;
class SecretStore;
class ServiceBrowser;
class ShareLister;
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
    // Shared: a verification listing of a hung FUSE folder runs on a thread that may outlive everything else.
    std::shared_ptr<FileSystem> fileSystem;
    std::unique_ptr<SecretStore> secretStore;
    std::unique_ptr<WifiNetwork> wifi;
    std::unique_ptr<SleepMonitor> sleepMonitor;
    std::unique_ptr<ProcessLauncher> processLauncher;
    std::unique_ptr<DesktopNotifier> notifier;
    std::unique_ptr<NetworkProbe> networkProbe;
    // Shared: a check of a hung FUSE folder runs on a thread that may outlive everything else.
    std::shared_ptr<FuseBridge> fuseBridge;
    std::unique_ptr<ManagedPreferenceSource> managedPreferences;
    std::unique_ptr<DirectoryService> directory; // may use processLauncher: declared after it
    // Network discovery; any of them may be absent (discovery then finds nothing through it).
    std::unique_ptr<ServiceBrowser> serviceBrowser;
    std::unique_ptr<NetworkInterfaces> networkInterfaces;
    std::unique_ptr<ShareLister> shareLister; // may refer to processLauncher: reset first
    // Rules: power source, running applications and launches, VPN state.
    std::unique_ptr<PowerSource> powerSource;
    std::unique_ptr<RunningApplications> runningApplications;
    std::unique_ptr<VpnMonitor> vpnMonitor;
    // The certificate a TLS server presents (trusting a share's self-signed certificate); may be absent.
    std::unique_ptr<CertificateReader> certificateReader;
};
