#pragma once

#include "core/VolumeRecord.h"

#include <QString>

#include <optional>

// The protocol's name as the configuration file and the control interface spell it: "SMB", "AFP", "NFS",
// "WEBDAV", "WEBDAVS". Pure; any thread.
namespace ProtocolName {

QString of(MountUsingProtocol_Enum protocol);
// Those names in any case (surrounding blanks ignored); nullopt for anything else.
std::optional<MountUsingProtocol_Enum> parse(const QString &name);

} // namespace ProtocolName
