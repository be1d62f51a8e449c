#pragma once

#include "core/VolumeRecord.h"
#include "logging/LogEvent.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

// The JSON form of share records and event-log entries on the control interface. Pure functions; any thread.
//
// A record is one object with camel-case keys (the configuration file's names where it has them); on/off
// settings are the integers 0/1, as everywhere the record's settings are exchanged; the protocol is spelt
// as ProtocolName gives it. Passwords are never
// part of it. Runtime keys (status, mounted, ...) are written but never read back.
namespace RecordJson {

// Keys of the record object.
inline const QString kId = QStringLiteral("id");
inline const QString kNickname = QStringLiteral("nickname");
inline const QString kHostname = QStringLiteral("hostname");
inline const QString kShareName = QStringLiteral("shareName");
inline const QString kPort = QStringLiteral("port");
inline const QString kProtocolType = QStringLiteral("protocolType");
inline const QString kUsername = QStringLiteral("username");
inline const QString kGuest = QStringLiteral("guest");
inline const QString kAutoMount = QStringLiteral("autoMount");
inline const QString kMountInVolumes = QStringLiteral("mountInVolumes");
inline const QString kCustomMountPoint = QStringLiteral("customMountPoint");
inline const QString kGroup = QStringLiteral("group");
inline const QString kMacAddress = QStringLiteral("macAddress");
inline const QString kAllowedSSIDs = QStringLiteral("allowedSSIDs");
inline const QString kIsLocked = QStringLiteral("isLocked");
inline const QString kManagedBy = QStringLiteral("managedBy");
inline const QString kMountURL = QStringLiteral("mountURL");
inline const QString kStatus = QStringLiteral("status");
inline const QString kStatusLabel = QStringLiteral("statusLabel");
inline const QString kMounted = QStringLiteral("mounted");
inline const QString kReachable = QStringLiteral("reachable");
inline const QString kMountInProgress = QStringLiteral("mountInProgress");
inline const QString kMountPoint = QStringLiteral("mountPoint");
inline const QString kIpAddress = QStringLiteral("ipAddress");

struct RuntimeView
{
    bool mountInProgress = false;
    QString statusLabel;
};

QJsonObject toJson(const VolumeRecord &record, const RuntimeView &runtime = {});

// Applies the settings present in `json` to `record` (absent keys leave the field alone; "port": null
// clears the port). Refuses, with *error naming the key, an unknown or read-only key and a value of the
// wrong kind or range; the record is left untouched then.
bool apply(const QJsonObject &json, VolumeRecord &record, QString *error);

// One event-log entry: date (ISO 8601, UTC), the user-facing timestamp text, record id, type raw
// value, host, share, mount point, message and status.
QJsonObject eventToJson(const LogEvent &event);

} // namespace RecordJson
