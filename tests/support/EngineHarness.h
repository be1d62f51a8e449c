#pragma once

#include "EngineHarnessBase.h"

#include "platform/FileSystem.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFuseBridge.h"
#include "platform/fake/FakeMountService.h"
#include "platform/fake/FakeMountTable.h"
#include "platform/fake/FakeNetworkProbe.h"
#include "platform/fake/FakePlatform.h"
#include "platform/fake/FakeSecretStore.h"
#include "platform/fake/FakeSleepMonitor.h"
#include "platform/fake/FakeWifiNetwork.h"

namespace HarnessDetail {
// Filled by the ports factory before the engine root exists; a base so it is built first.
struct FakeHandles
{
    FakePlatform::Fakes fakes;
    std::unique_ptr<FakeClock> spareClock; // stands in for `clock` when the ports got another clock
};
} // namespace HarnessDetail

// The engine root over FakePlatform::createPorts(), for whole-engine scenarios: successful mounts of the
// fake mount service create GVfs-named folders in a temporary volumes folder and list them in the fake
// table; names resolve only as set on `network`, nothing is sent; time moves only when `clock` is advanced.
// The FUSE-bridge watchdog is off unless asked for.
// A scenario is a few lines: add a share, script `service` or `network`, mount, assert status, event, audit.
class EngineHarness : private HarnessDetail::FakeHandles, public EngineHarnessBase
{
public:
    // No FUSE-bridge watchdog (a check each tick would start a thread); scenarios about it turn it on.
    static EngineHost::Options defaultOptions()
    {
        EngineHost::Options options;
        options.watchFuseBridge = false;
        return options;
    }
    // `adjustPorts` may replace fakes before the engine root is built (benches: the system clock).
    explicit EngineHarness(ConsoleMode mode = ConsoleMode::Capture, EngineHost::Options options = defaultOptions(),
                           const std::function<void(PlatformPorts &)> &adjustPorts = {});
    ~EngineHarness() override;
    Q_DISABLE_COPY_MOVE(EngineHarness)

    QString volumePath(const QString &name) const { return volumesFolder + QLatin1Char('/') + name; }
    // Creates a folder (with an optional file in it) in the volumes folder; returns its path.
    QString makeVolumeFolder(const QString &name, bool withFile = false) const;
    // Writes an executable shell script into the temporary folder; returns its path.
    QString makeScript(const QString &name, const QString &body) const;

    const QString volumesFolder;
    FakeClock &clock;
    FakeMountTable &table;
    FakeMountService &service;
    FileSystem &fileSystem;
    FakeSecretStore &secrets;
    FakeWifiNetwork &wifi;
    FakeSleepMonitor &sleep;
    FakeNetworkProbe &network;
    FakeFuseBridge &bridge;
};
