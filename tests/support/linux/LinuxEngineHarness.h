#pragma once

#include "support/EngineHarnessBase.h"

#include "core/FuseBridgeWatchdog.h"
#include "platform/FileSystem.h"
#include "platform/MountTable.h"
#include "platform/WifiNetwork.h"
#include "platform/linux/LinuxNetworkProbe.h"

// The network port of the stack: the real sockets and resolver, except that names of the reserved .invalid
// domain are answered "0.0.0.0" here (the resolver is not on loopback) and Wake-on-LAN goes to a loopback
// port nobody listens on (tests never broadcast).
class StackNetworkProbe : public LinuxNetworkProbe
{
public:
    StackNetworkProbe()
        : LinuxNetworkProbe(QStringLiteral("127.0.0.1"), kWakePort)
    {
    }
    QString resolve(const QString &host) override
    {
        if (host.endsWith(QLatin1String(".invalid"), Qt::CaseInsensitive))
            return QStringLiteral("0.0.0.0");
        return LinuxNetworkProbe::resolve(host);
    }
};

// The engine root over LinuxPlatform::createPorts() on the test stack: GVfs (mount table, mount service,
// the FUSE volumes folder and its bridge), the Secret Service keyring, NetworkManager Wi-Fi and logind
// sleep on the stack's system bus, the system clock, and StackNetworkProbe in place of the network port.
// The FUSE-bridge watchdog watches; it restarts a lost bridge only when `restartBridge`. The scheduler is
// built, not started. The destructor ejects whatever is still mounted. Main thread only.
class LinuxEngineHarness : public EngineHarnessBase
{
public:
    explicit LinuxEngineHarness(ConsoleMode mode = ConsoleMode::CaptureShowOnFailure, bool restartBridge = false);
    ~LinuxEngineHarness() override;
    Q_DISABLE_COPY_MOVE(LinuxEngineHarness)

    bool savePassword(const QString &password, const QString &account); // on a worker: the keyring blocks
    bool listed(const QString &path) const;                             // in GVfs's mount table now
    bool listedContaining(const QString &text) const;                   // a listed path contains `text`

    MountTable &table;
    FileSystem &fileSystem;
    WifiNetwork &wifi;
    FuseBridgeWatchdog &watchdog;
};
