#include "RecordJson.h"

#include "base/ShareFields.h"
#include "core/ProtocolName.h"

#include <QJsonValue>
#include <QSet>

#include <cmath>

namespace RecordJson {

namespace {

// An on/off value: 0/1, or a JSON Boolean (accepted for convenience; written back as 0/1).
std::optional<int> onOff(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? 1 : 0;
    if (value.isDouble()) {
        const double d = value.toDouble();
        if (d == 0.0 || d == 1.0)
            return int(d);
    }
    return std::nullopt;
}

} // namespace

QJsonObject toJson(const VolumeRecord &record, const RuntimeView &runtime)
{
    QJsonObject o;
    o[kId] = record.internal_ID_Int;
    o[kNickname] = record.nickname_String;
    o[kHostname] = record.hostname_String;
    o[kShareName] = record.volume_String;
    o[kPort] = record.port_Int ? QJsonValue(*record.port_Int) : QJsonValue(QJsonValue::Null);
    o[kProtocolType] = ProtocolName::of(record.mounting_using_protocol_Enum);
    o[kUsername] = record.username_String;
    o[kGuest] = record.no_password_guest_login;
    o[kAutoMount] = record.auto_Mount;
    o[kMountInVolumes] = record.mount_inside_Volumes;
    o[kCustomMountPoint] = record.unique_mountpoint_fullpath_String;
    o[kGroup] = record.group_String;
    o[kMacAddress] = record.macAddress_String;
    o[kAllowedSSIDs] = record.allowedSSIDs_String;
    o[kIsLocked] = record.isLocked;
    o[kManagedBy] = record.managedBy;
    o[kMountURL] = record.mountURLText();
    o[kStatus] = record.runtime_status_String;
    o[kStatusLabel] = runtime.statusLabel;
    o[kMounted] = record.runtime_isMounted_Bool;
    o[kReachable] = record.runtime_isReachable_Bool;
    o[kMountInProgress] = runtime.mountInProgress;
    o[kMountPoint] = record.runtime_computed_mountpoint_String;
    o[kIpAddress] = record.runtime_ipAddress_String;
    return o;
}

bool apply(const QJsonObject &json, VolumeRecord &record, QString *error)
{
    VolumeRecord edited = record;
    auto fail = [error](const QString &text) {
        if (error)
            *error = text;
        return false;
    };
    auto wrongKind = [&fail](const QString &key, const QString &expected) {
        return fail(QStringLiteral("'%1' must be %2").arg(key, expected));
    };

    for (auto it = json.begin(); it != json.end(); ++it) {
        const QString &key = it.key();
        const QJsonValue value = it.value();
        if (key == kNickname || key == kHostname || key == kShareName || key == kUsername
            || key == kCustomMountPoint || key == kGroup || key == kMacAddress || key == kAllowedSSIDs) {
            if (!value.isString())
                return wrongKind(key, QStringLiteral("a string"));
            const QString text = value.toString();
            if (key == kNickname)
                edited.nickname_String = text;
            else if (key == kHostname) {
                if (text.trimmed().isEmpty())
                    return fail(QStringLiteral("'hostname' must not be empty"));
                edited.hostname_String = text.trimmed();
            } else if (key == kShareName)
                edited.volume_String = text;
            else if (key == kUsername)
                edited.username_String = text;
            else if (key == kCustomMountPoint)
                edited.unique_mountpoint_fullpath_String = text;
            else if (key == kGroup)
                edited.group_String = text;
            else if (key == kMacAddress)
                edited.macAddress_String = text;
            else
                edited.allowedSSIDs_String = text;
        } else if (key == kPort) {
            if (value.isNull()) {
                edited.port_Int.reset();
                continue;
            }
            const double d = value.toDouble(-1);
            // The range first: converting a double beyond qint64 is undefined.
            if (!value.isDouble() || d < 1 || d > 65535 || d != std::floor(d))
                return wrongKind(key, QStringLiteral("a port number from 1 to 65535, or null"));
            edited.port_Int = qint64(d);
        } else if (key == kProtocolType) {
            const auto protocol = value.isString() ? ProtocolName::parse(value.toString()) : std::nullopt;
            if (!protocol)
                return wrongKind(key, QStringLiteral("one of SMB, AFP, NFS, WEBDAV, WEBDAVS"));
            edited.mounting_using_protocol_Enum = *protocol;
        } else if (key == kGuest || key == kAutoMount || key == kMountInVolumes) {
            const auto state = onOff(value);
            if (!state)
                return wrongKind(key, QStringLiteral("0 or 1"));
            if (key == kGuest)
                edited.no_password_guest_login = *state;
            else if (key == kAutoMount)
                edited.auto_Mount = *state;
            else
                edited.mount_inside_Volumes = *state;
        } else if (key == kId || key == kIsLocked || key == kManagedBy || key == kMountURL || key == kStatus
                   || key == kStatusLabel || key == kMounted || key == kReachable || key == kMountInProgress
                   || key == kMountPoint || key == kIpAddress) {
            return fail(QStringLiteral("'%1' cannot be set").arg(key));
        } else {
            return fail(QStringLiteral("unknown key '%1'").arg(key));
        }
    }
    // The same checks as every other way in (command line, importers, editor), on the keys given.
    ShareFields::Fields fields;
    const auto given = [&json](const QString &key, const QString &value) {
        return json.contains(key) ? std::optional<QString>(value) : std::nullopt;
    };
    fields.hostname = given(kHostname, edited.hostname_String);
    fields.shareName = given(kShareName, edited.volume_String);
    fields.username = given(kUsername, edited.username_String);
    fields.nickname = given(kNickname, edited.nickname_String);
    fields.customMountPoint = given(kCustomMountPoint, edited.unique_mountpoint_fullpath_String);
    fields.group = given(kGroup, edited.group_String);
    fields.macAddress = given(kMacAddress, edited.macAddress_String);
    fields.allowedSSIDs = given(kAllowedSSIDs, edited.allowedSSIDs_String);
    if (json.contains(kPort))
        fields.port = edited.port_Int;
    if (const auto problem = ShareFields::check(fields))
        return fail(*problem);
    record = edited;
    return true;
}

QJsonObject eventToJson(const LogEvent &event)
{
    QJsonObject o;
    o[QStringLiteral("date")] = event.eventDate.toUTC().toString(Qt::ISODateWithMs);
    o[QStringLiteral("timestamp")] = event.timestampText();
    o[QStringLiteral("recordId")] = event.internal_VolumeRecord_ID_Int;
    o[QStringLiteral("type")] = eventTypeRawValue(event.event_type_Enum);
    o[QStringLiteral("hostname")] = event.hostname_String;
    o[QStringLiteral("shareName")] = event.sharename_String;
    o[QStringLiteral("mountPoint")] = event.mountpoint_String;
    o[QStringLiteral("message")] = event.eventMessage;
    o[QStringLiteral("status")] = event.statusText;
    return o;
}

} // namespace RecordJson
