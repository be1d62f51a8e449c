#include "RecordFields.h"

#include "base/ShareFields.h"

namespace RecordFields {

std::optional<QString> check(const VolumeRecord &r)
{
    ShareFields::Fields f;
    f.hostname = r.hostname_String;
    f.shareName = r.volume_String;
    f.port = r.port_Int;
    f.username = r.username_String;
    f.nickname = r.nickname_String;
    f.customMountPoint = r.unique_mountpoint_fullpath_String;
    f.group = r.group_String;
    f.macAddress = r.macAddress_String;
    f.allowedSSIDs = r.allowedSSIDs_String;
    return ShareFields::check(f);
}

} // namespace RecordFields
