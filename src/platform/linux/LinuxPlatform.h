#pragma once

#include "platform/PlatformPorts.h"

// The one place that picks the Linux implementations of the ports. Only the executables link it.
namespace LinuxPlatform {

// GVfs mount service and mount table, the local file system over the GVfs FUSE root, the Secret Service,
// NetworkManager and logind on the system bus, the system clock, the sockets and resolver (Wake-on-LAN to
// the limited broadcast address), the gvfsd-fuse bridge on the volumes folder.
PlatformPorts createPorts();

} // namespace LinuxPlatform
