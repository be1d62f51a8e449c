#include "ProtocolName.h"

namespace ProtocolName {

namespace {

struct Entry
{
    MountUsingProtocol_Enum protocol;
    const char *name;
};

constexpr Entry kNames[] = {
    {MountUsingProtocol_Enum::SMB, "SMB"},       {MountUsingProtocol_Enum::AFP, "AFP"},
    {MountUsingProtocol_Enum::NFS, "NFS"},       {MountUsingProtocol_Enum::WebDAV, "WEBDAV"},
    {MountUsingProtocol_Enum::WebDAVS, "WEBDAVS"},
};

} // namespace

QString of(MountUsingProtocol_Enum protocol)
{
    for (const Entry &entry : kNames) {
        if (entry.protocol == protocol)
            return QLatin1String(entry.name);
    }
    return QStringLiteral("SMB");
}

std::optional<MountUsingProtocol_Enum> parse(const QString &name)
{
    const QString upper = name.trimmed().toUpper();
    for (const Entry &entry : kNames) {
        if (upper == QLatin1String(entry.name))
            return entry.protocol;
    }
    return std::nullopt;
}

} // namespace ProtocolName
