#pragma once

#include "core/VolumeRecord.h"

#include <QDateTime>
#include <QString>
#include <QVariantMap>

#include <optional>

// Kinds of user-visible events. The order (index) and the raw values are persisted in stored logs.
enum class EVENT_TYPE_ENUM : int {
    STARTUP = 0,
    BAD_RECORD,
    MANUAL_MOUNT,
    ALREADY_MOUNTED,
    HOSTNAME_UNRESOLVABLE,
    HOSTNAME_RESOLVED,
    CONNECTION_FAILED,
    CONNECTION_SUCCESS,
    NO_SUCH_SHARE,
    AUTH_GENERAL,
    AUTH_FAILED,
    SOCKET_ERROR,
    IP_ADDRESS_ERROR,
    MOUNTPOINT_NOT_FOUND,
    MOUNT_SUCCESS,
    UNMOUNT_REQUESTED,
    UNMOUNT_SUCCESS, // raw value "UMMOUNT_SUCCESS" (sic): what existing stored logs contain
    UNMOUNT_ERROR,   // raw value "UMMOUNT_ERROR" (sic)
    AUTOMOUNT_UNMOUNTED,
    SHARENAME_NOT_FOUND,
    UNKNOWN_MOUNT_ERROR,
    MOUNT_TIMEOUT,
    UNKNOWN_ERROR,
};

inline constexpr int kEventTypeCount = 23;

// Raw value of a kind (the persisted string).
QString eventTypeRawValue(EVENT_TYPE_ENUM type);
// Kind of a raw value; any string that is not a raw value reads as UNKNOWN_ERROR.
EVENT_TYPE_ENUM eventTypeFromRawValue(const QString &raw);

// One entry of the user-visible event log: a value type. The record's values are copied when the event
// is created, so later edits of the record leave old entries unchanged.
// Plain data: usable from any thread; the log itself (LogEventManager) lives on the main thread.
class LogEvent
{
public:
    // Archive keys of one stored entry (the stored list is an array of dictionaries with these keys).
    static inline const QString kKeyRecordId = QStringLiteral("internal_VolumeRecord_ID_Int_String");
    static inline const QString kKeyEventDate = QStringLiteral("eventDate");
    static inline const QString kKeyEventType = QStringLiteral("event_type_Enum_Rawvalue");
    static inline const QString kKeyHostname = QStringLiteral("hostname_String");
    static inline const QString kKeySharename = QStringLiteral("sharename_String");
    static inline const QString kKeyMountpoint = QStringLiteral("mountpoint_String");
    static inline const QString kKeyEventMessage = QStringLiteral("eventMessage");
    static inline const QString kKeyStatusText = QStringLiteral("statusText");

    LogEvent() = default;

    // Copies id, host, share name, computed mount point and status from the record (0 and empty strings
    // when record is null); eventDate = now. The message is stored as given: callers that follow the
    // "<raw value>: <text>" convention build it with message().
    // Defined inline so that the logging library reads the record's public fields without linking the core.
    LogEvent(const VolumeRecord *record, EVENT_TYPE_ENUM type, const QString &message)
        : LogEvent(record ? record->internal_ID_Int : 0,
                   record ? record->hostname_String : QString(),
                   record ? record->volume_String : QString(),
                   record ? record->runtime_computed_mountpoint_String : QString(),
                   record ? record->runtime_status_String : QString(), type, message)
    {
    }

    // The same with explicit values (for callers holding only a record's id and texts).
    LogEvent(qint64 recordId, const QString &hostname, const QString &sharename, const QString &mountpoint,
             const QString &statusText, EVENT_TYPE_ENUM type, const QString &message);

    // The event-message convention: the kind's raw value, ": " and the text
    // (message(UNMOUNT_SUCCESS, "Volume was already ejected") == "UMMOUNT_SUCCESS: Volume was already ejected").
    static QString message(EVENT_TYPE_ENUM type, const QString &text);

    // Dictionary with the archive keys; the id is a decimal string, the date a date value.
    QVariantMap encode() const;
    // nullopt when a required key is missing or of the wrong kind. An unknown type string reads as
    // UNKNOWN_ERROR; "statusText" is optional (empty when absent or not a string).
    static std::optional<LogEvent> decode(const QVariantMap &archive);

    // "yyyy-MM-dd HH:mm:ss" in local time, as shown to the user.
    QString timestampText() const;

    bool operator==(const LogEvent &other) const = default;

    qint64 internal_VolumeRecord_ID_Int = 0;
    QDateTime eventDate;
    EVENT_TYPE_ENUM event_type_Enum = EVENT_TYPE_ENUM::UNKNOWN_ERROR;
    QString hostname_String;
    QString sharename_String;
    QString mountpoint_String;
    QString eventMessage;
    QString statusText;
};
