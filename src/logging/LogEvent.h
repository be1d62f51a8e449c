#pragma once

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

    // eventDate = now. The message is stored as given: callers that follow the "<raw value>: <text>"
    // convention build it with message(). An event about a share is made from its record by
    // core/RecordEvent.h, which copies these values from it.
    LogEvent(qint64 recordId, const QString &hostname, const QString &sharename, const QString &mountpoint,
             const QString &statusText, EVENT_TYPE_ENUM type, const QString &message);

    // The event-message convention: the kind's raw value, ": " and the text
    // (message(UNMOUNT_SUCCESS, "Volume was already ejected") == "UMMOUNT_SUCCESS: Volume was already ejected").
    static QString message(EVENT_TYPE_ENUM type, const QString &text);
    // An event about no share in particular (the FUSE bridge, start-up): id 0, empty share fields.
    static LogEvent general(EVENT_TYPE_ENUM type, const QString &message)
    {
        return LogEvent(0, QString(), QString(), QString(), QString(), type, message);
    }

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
