#include "PlatformPorts.h"

#include "platform/CertificateReader.h"
#include "platform/Clock.h"
#include "platform/DesktopNotifier.h"
#include "platform/DirectoryService.h"
#include "platform/FileSystem.h"
#include "platform/FuseBridge.h"
#include "platform/ManagedPreferenceSource.h"
#include "platform/MountService.h"
#include "platform/MountTable.h"
#include "platform/NetworkInterfaces.h"
#include "platform/ProcessLauncher.h"
#include "platform/NetworkProbe.h"
#include "platform/PowerSource.h"
#include "platform/ProcessLauncher.h"
#include "platform/RunningApplications.h"
#include "platform/SecretStore.h"
#include "platform/ServiceBrowser.h"
#include "platform/ShareLister.h"
#include "platform/SleepMonitor.h"
#include "platform/VpnMonitor.h"
#include "platform/WifiNetwork.h"

PlatformPorts::PlatformPorts() = default;
PlatformPorts::~PlatformPorts()
{
    // The service may hold a pointer to the table: it goes first, whatever the declaration order says.
    mountService.reset();
    // The share lister runs its client through the process launcher.
    shareLister.reset();
}
PlatformPorts::PlatformPorts(PlatformPorts &&) noexcept = default;
PlatformPorts &PlatformPorts::operator=(PlatformPorts &&) noexcept = default;
