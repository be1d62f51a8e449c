#include "AuditLogEntry.h"

#include <QJsonValue>

#include <climits>
#include <cmath>

namespace {

bool fail(QString *error, const QString &text)
{
    if (error)
        *error = text;
    return false;
}

// Optional keys: absent or null read as "none"; any other kind than expected is an error.
bool readOptionalString(const QJsonObject &object, const QString &key, std::optional<QString> &out, QString *error)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return true;
    if (!value.isString())
        return fail(error, QStringLiteral("key '%1' is not a string").arg(key));
    out = value.toString();
    return true;
}

} // namespace

QString AuditLogEntry::isoTimestamp(const QDateTime &dateTime)
{
    QDateTime utc = dateTime.toUTC();
    utc.setTime(QTime(utc.time().hour(), utc.time().minute(), utc.time().second()));
    return utc.toString(Qt::ISODate);
}

QJsonObject AuditLogEntry::toJson() const
{
    QJsonObject object{
        {kKeyId, id.toString(QUuid::WithoutBraces).toUpper()},
        {kKeyTimestamp, isoTimestamp(timestamp)},
        {kKeyEventType, AuditEventTypes::rawValue(eventType)},
        {kKeyUsername, username},
        {kKeyMachineName, machineName},
        {kKeyDetails, details},
        {kKeySuccess, success},
    };
    if (shareName)
        object.insert(kKeyShareName, *shareName);
    if (hostname)
        object.insert(kKeyHostname, *hostname);
    if (errorCode)
        object.insert(kKeyErrorCode, *errorCode);
    return object;
}

std::optional<AuditLogEntry> AuditLogEntry::fromJson(const QJsonObject &object, QString *error)
{
    AuditLogEntry entry;
    auto requiredString = [&](const QString &key, QString &out) {
        const QJsonValue value = object.value(key);
        if (!value.isString())
            return fail(error, QStringLiteral("key '%1' is missing or not a string").arg(key));
        out = value.toString();
        return true;
    };

    QString idText, timestampText, typeText;
    if (!requiredString(kKeyId, idText) || !requiredString(kKeyTimestamp, timestampText)
        || !requiredString(kKeyEventType, typeText) || !requiredString(kKeyUsername, entry.username)
        || !requiredString(kKeyMachineName, entry.machineName) || !requiredString(kKeyDetails, entry.details))
        return std::nullopt;

    entry.id = QUuid::fromString(idText);
    if (entry.id.isNull()) {
        fail(error, QStringLiteral("'%1' is not a UUID").arg(idText));
        return std::nullopt;
    }
    entry.timestamp = QDateTime::fromString(timestampText, Qt::ISODate);
    if (!entry.timestamp.isValid()) {
        fail(error, QStringLiteral("'%1' is not an ISO 8601 date").arg(timestampText));
        return std::nullopt;
    }
    entry.timestamp = entry.timestamp.toUTC();
    const auto type = AuditEventTypes::fromRawValue(typeText);
    if (!type) {
        fail(error, QStringLiteral("'%1' is not an audit event type").arg(typeText));
        return std::nullopt;
    }
    entry.eventType = *type;

    const QJsonValue success = object.value(kKeySuccess);
    if (!success.isBool()) {
        fail(error, QStringLiteral("key '%1' is missing or not a boolean").arg(kKeySuccess));
        return std::nullopt;
    }
    entry.success = success.toBool();

    if (!readOptionalString(object, kKeyShareName, entry.shareName, error)
        || !readOptionalString(object, kKeyHostname, entry.hostname, error))
        return std::nullopt;

    const QJsonValue code = object.value(kKeyErrorCode);
    if (!code.isUndefined() && !code.isNull()) {
        const double number = code.toDouble();
        if (!code.isDouble() || number < INT_MIN || number > INT_MAX || number != std::floor(number)) {
            fail(error, QStringLiteral("key '%1' is not an integer").arg(kKeyErrorCode));
            return std::nullopt;
        }
        entry.errorCode = int(number);
    }
    return entry;
}
