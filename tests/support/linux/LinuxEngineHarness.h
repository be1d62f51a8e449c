#pragma once

#include "support/EngineHarnessBase.h"

#include "core/FuseBridgeWatchdog.h"
#include "platform/FileSystem.h"
#include "platform/SystemClock.h"
#include "platform/linux/GvfsMountService.h"
#include "platform/linux/GvfsMountTable.h"
#include "platform/linux/LibsecretStore.h"
#include "platform/linux/LogindSleepMonitor.h"
#include "platform/linux/NetworkManagerWifi.h"

// The engine over the real Linux ports of the test stack: GVfs (GvfsMountTable, GvfsMountService, the FUSE
// volumes folder), the Secret Service keyring behind CredentialStore, the machine's resolver (names of the
// reserved .invalid domain are answered "0.0.0.0" here: the resolver is not on loopback) and no
// Wake-on-LAN (tests never broadcast). makeKeepMountedScheduler() adds the scheduler with the real clock,
// NetworkManager Wi-Fi and logind sleep ports of the stack's system bus and the FUSE-bridge watchdog.
// The destructor ejects whatever is still mounted. Main thread only.
class LinuxEngineHarness : public EngineHarnessBase
{
public:
    explicit LinuxEngineHarness(ConsoleMode mode = ConsoleMode::CaptureAndEcho);
    ~LinuxEngineHarness() override;
    Q_DISABLE_COPY_MOVE(LinuxEngineHarness)

    // Not started; the bridge is restarted by the watchdog only when `restartBridge`.
    AutoMountScheduler &makeKeepMountedScheduler(bool restartBridge = false);

    bool savePassword(const QString &password, const QString &account); // on a worker: the keyring blocks
    bool listed(const QString &path) const;                             // in GVfs's mount table now

    GvfsMountTable table;
    GvfsMountService service{&table};
    LocalFileSystem fileSystem{LocalFileSystem::standardVolumesFolder()};
    LibsecretStore secrets;
    CredentialStore credentials{&secrets};
    SystemClock clock;
    std::unique_ptr<NetworkManagerWifi> wifi;
    std::unique_ptr<LogindSleepMonitor> sleep;
    std::unique_ptr<FuseBridgeWatchdog> watchdog;
};
