#include "AuditEventType.h"

#include <array>

namespace {

struct Info
{
    QString raw;
    QString display;
    QString symbol;
};

constexpr int kCount = 17;

const std::array<Info, kCount> &table()
{
    static const std::array<Info, kCount> infos = {{
        {QStringLiteral("APP_LAUNCH"), QStringLiteral("Application Launched"), QStringLiteral("app.badge")},
        {QStringLiteral("APP_QUIT"), QStringLiteral("Application Quit"), QStringLiteral("app.badge")},
        {QStringLiteral("MOUNT_ATTEMPT"), QStringLiteral("Mount Attempted"), QStringLiteral("arrow.up.circle")},
        {QStringLiteral("MOUNT_SUCCESS"), QStringLiteral("Mount Successful"), QStringLiteral("arrow.up.circle")},
        {QStringLiteral("MOUNT_FAILURE"), QStringLiteral("Mount Failed"), QStringLiteral("exclamationmark.triangle")},
        {QStringLiteral("UNMOUNT_ATTEMPT"), QStringLiteral("Unmount Attempted"), QStringLiteral("arrow.down.circle")},
        {QStringLiteral("UNMOUNT_SUCCESS"), QStringLiteral("Unmount Successful"), QStringLiteral("arrow.down.circle")},
        {QStringLiteral("UNMOUNT_FAILURE"), QStringLiteral("Unmount Failed"),
         QStringLiteral("exclamationmark.triangle")},
        {QStringLiteral("CONFIG_IMPORT"), QStringLiteral("Configuration Imported"),
         QStringLiteral("doc.badge.gearshape")},
        {QStringLiteral("CONFIG_EXPORT"), QStringLiteral("Configuration Exported"),
         QStringLiteral("doc.badge.gearshape")},
        {QStringLiteral("SHARE_ADDED"), QStringLiteral("Share Added"), QStringLiteral("plus.circle")},
        {QStringLiteral("SHARE_REMOVED"), QStringLiteral("Share Removed"), QStringLiteral("minus.circle")},
        {QStringLiteral("SHARE_MODIFIED"), QStringLiteral("Share Modified"), QStringLiteral("pencil.circle")},
        {QStringLiteral("MDM_CONFIG_APPLIED"), QStringLiteral("MDM Configuration Applied"),
         QStringLiteral("building.2")},
        {QStringLiteral("RULE_TRIGGERED"), QStringLiteral("Rule Triggered"), QStringLiteral("bolt.circle")},
        {QStringLiteral("AUTH_FAILURE"), QStringLiteral("Authentication Failed"), QStringLiteral("lock.slash")},
        {QStringLiteral("NETWORK_CHANGE"), QStringLiteral("Network Changed"), QStringLiteral("wifi")},
    }};
    return infos;
}

const Info &info(AuditEventType type)
{
    const int index = int(type);
    return table()[index >= 0 && index < kCount ? index : 0];
}

} // namespace

namespace AuditEventTypes {

QString rawValue(AuditEventType type)
{
    return info(type).raw;
}

QString displayName(AuditEventType type)
{
    return info(type).display;
}

QString symbolName(AuditEventType type)
{
    return info(type).symbol;
}

std::optional<AuditEventType> fromRawValue(const QString &raw)
{
    for (int i = 0; i < kCount; ++i) {
        if (table()[i].raw == raw)
            return AuditEventType(i);
    }
    return std::nullopt;
}

const QList<AuditEventType> &allCases()
{
    static const QList<AuditEventType> cases = [] {
        QList<AuditEventType> list;
        for (int i = 0; i < kCount; ++i)
            list.append(AuditEventType(i));
        return list;
    }();
    return cases;
}

} // namespace AuditEventTypes
