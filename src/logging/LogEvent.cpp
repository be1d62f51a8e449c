#include "LogEvent.h"

#include "base/PropertyList.h"

#include <array>

namespace {

const std::array<QString, kEventTypeCount> &rawValues()
{
    static const std::array<QString, kEventTypeCount> values = {
        QStringLiteral("STARTUP"),
        QStringLiteral("BAD_RECORD"),
        QStringLiteral("MANUAL_MOUNT"),
        QStringLiteral("ALREADY_MOUNTED"),
        QStringLiteral("HOSTNAME_UNRESOLVABLE"),
        QStringLiteral("HOSTNAME_RESOLVED"),
        QStringLiteral("CONNECTION_FAILED"),
        QStringLiteral("CONNECTION_SUCCESS"),
        QStringLiteral("NO_SUCH_SHARE"),
        QStringLiteral("AUTH_GENERAL"),
        QStringLiteral("AUTH_FAILED"),
        QStringLiteral("SOCKET_ERROR"),
        QStringLiteral("IP_ADDRESS_ERROR"),
        QStringLiteral("MOUNTPOINT_NOT_FOUND"),
        QStringLiteral("MOUNT_SUCCESS"),
        QStringLiteral("UNMOUNT_REQUESTED"),
        QStringLiteral("UMMOUNT_SUCCESS"),
        QStringLiteral("UMMOUNT_ERROR"),
        QStringLiteral("AUTOMOUNT_UNMOUNTED"),
        QStringLiteral("SHARENAME_NOT_FOUND"),
        QStringLiteral("UNKNOWN_MOUNT_ERROR"),
        QStringLiteral("MOUNT_TIMEOUT"),
        QStringLiteral("UNKNOWN_ERROR"),
    };
    return values;
}

std::optional<QString> stringValue(const QVariantMap &map, const QString &key)
{
    const auto it = map.constFind(key);
    if (it == map.constEnd() || it->typeId() != QMetaType::QString)
        return std::nullopt;
    return it->toString();
}

} // namespace

QString eventTypeRawValue(EVENT_TYPE_ENUM type)
{
    const int index = int(type);
    if (index < 0 || index >= kEventTypeCount)
        return rawValues()[int(EVENT_TYPE_ENUM::UNKNOWN_ERROR)];
    return rawValues()[index];
}

EVENT_TYPE_ENUM eventTypeFromRawValue(const QString &raw)
{
    const auto &values = rawValues();
    for (int i = 0; i < kEventTypeCount; ++i) {
        if (values[i] == raw)
            return EVENT_TYPE_ENUM(i);
    }
    return EVENT_TYPE_ENUM::UNKNOWN_ERROR;
}

LogEvent::LogEvent(qint64 recordId, const QString &hostname, const QString &sharename, const QString &mountpoint,
                   const QString &status, EVENT_TYPE_ENUM type, const QString &message)
    : internal_VolumeRecord_ID_Int(recordId)
    , eventDate(QDateTime::currentDateTime())
    , event_type_Enum(type)
    , hostname_String(hostname)
    , sharename_String(sharename)
    , mountpoint_String(mountpoint)
    , eventMessage(message)
    , statusText(status)
{
}

QString LogEvent::message(EVENT_TYPE_ENUM type, const QString &text)
{
    return eventTypeRawValue(type) + QStringLiteral(": ") + text;
}

QVariantMap LogEvent::encode() const
{
    return {
        {kKeyRecordId, QString::number(internal_VolumeRecord_ID_Int)},
        {kKeyEventDate, eventDate},
        {kKeyEventType, eventTypeRawValue(event_type_Enum)},
        {kKeyHostname, hostname_String},
        {kKeySharename, sharename_String},
        {kKeyMountpoint, mountpoint_String},
        {kKeyEventMessage, eventMessage},
        {kKeyStatusText, statusText},
    };
}

std::optional<LogEvent> LogEvent::decode(const QVariantMap &archive)
{
    LogEvent event;

    // Older archives may hold the id as an integer rather than the decimal string; both read back.
    const auto idIt = archive.constFind(kKeyRecordId);
    if (idIt == archive.constEnd())
        return std::nullopt;
    if (idIt->typeId() == QMetaType::QString) {
        bool ok = false;
        event.internal_VolumeRecord_ID_Int = idIt->toString().trimmed().toLongLong(&ok);
        if (!ok)
            return std::nullopt;
    } else if (PropertyList::isInteger(*idIt)) {
        event.internal_VolumeRecord_ID_Int = idIt->toLongLong();
    } else {
        return std::nullopt;
    }

    const auto dateIt = archive.constFind(kKeyEventDate);
    if (dateIt == archive.constEnd() || dateIt->typeId() != QMetaType::QDateTime || !dateIt->toDateTime().isValid())
        return std::nullopt;
    event.eventDate = dateIt->toDateTime();

    const auto type = stringValue(archive, kKeyEventType);
    const auto host = stringValue(archive, kKeyHostname);
    const auto share = stringValue(archive, kKeySharename);
    const auto mountpoint = stringValue(archive, kKeyMountpoint);
    const auto message = stringValue(archive, kKeyEventMessage);
    if (!type || !host || !share || !mountpoint || !message)
        return std::nullopt;

    event.event_type_Enum = eventTypeFromRawValue(*type);
    event.hostname_String = *host;
    event.sharename_String = *share;
    event.mountpoint_String = *mountpoint;
    event.eventMessage = *message;
    event.statusText = stringValue(archive, kKeyStatusText).value_or(QString());
    return event;
}

QString LogEvent::timestampText() const
{
    return eventDate.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}
