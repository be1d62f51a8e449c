#pragma once

#include "logging/AuditEventType.h"

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <optional>

// One audit entry: who (username), where (machineName), when (timestamp), what. A plain value, usable from
// any thread. JSON keys are the field names; absent optionals are omitted; the timestamp is ISO 8601 in
// UTC with whole seconds ("2024-05-01T12:00:00Z"), so an entry read back from the file equals the one written.
struct AuditLogEntry
{
    static inline const QString kKeyId = QStringLiteral("id");
    static inline const QString kKeyTimestamp = QStringLiteral("timestamp");
    static inline const QString kKeyEventType = QStringLiteral("eventType");
    static inline const QString kKeyShareName = QStringLiteral("shareName");
    static inline const QString kKeyHostname = QStringLiteral("hostname");
    static inline const QString kKeyUsername = QStringLiteral("username");
    static inline const QString kKeyMachineName = QStringLiteral("machineName");
    static inline const QString kKeyDetails = QStringLiteral("details");
    static inline const QString kKeySuccess = QStringLiteral("success");
    static inline const QString kKeyErrorCode = QStringLiteral("errorCode");

    QUuid id;
    QDateTime timestamp; // UTC, whole seconds
    AuditEventType eventType = AuditEventType::appLaunch;
    std::optional<QString> shareName;
    std::optional<QString> hostname;
    QString username;
    QString machineName;
    QString details;
    bool success = false;
    std::optional<int> errorCode;

    bool operator==(const AuditLogEntry &other) const = default;

    // "2024-05-01T12:00:00Z"
    static QString isoTimestamp(const QDateTime &dateTime);

    QJsonObject toJson() const;
    // nullopt (and *error set) when a required key is missing or of the wrong kind, the type is not a
    // raw value, or the date is not ISO 8601.
    static std::optional<AuditLogEntry> fromJson(const QJsonObject &object, QString *error = nullptr);
};
