#pragma once

#include "rules/RuleContext.h"

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QUuid>

#include <optional>

// One test of a rule: a kind and its string parameters. Kinds persist by their display names ("WiFi
// Connected", "Time Window", ...), which are also what the JSON holds. A missing parameter reads as "".
// Pure value; tests may run on any thread.
class RuleCondition
{
public:
    enum class Type {
        wifiConnected,
        wifiDisconnected,
        timeWindow,
        dayOfWeek,
        appRunning,
        appNotRunning,
        onPower,
        onBattery,
        vpnConnected,
        vpnDisconnected,
        volumeMounted,
        volumeNotMounted,
    };

    // Parameter keys.
    static inline const QString kSsid = QStringLiteral("ssid");
    static inline const QString kTimeRange = QStringLiteral("timeRange");
    static inline const QString kDays = QStringLiteral("days");
    static inline const QString kApp = QStringLiteral("app");
    static inline const QString kVolumeId = QStringLiteral("volumeId");

    QUuid id = QUuid::createUuid();
    Type type = Type::wifiConnected;
    QMap<QString, QString> parameters;

    static const QList<Type> &allTypes();
    static QString rawValue(Type type); // = display name
    static std::optional<Type> typeFromRawValue(const QString &raw);
    // The parameter the kind reads; empty for kinds without one.
    static QString parameterKey(Type type);

    QString parameter(const QString &key) const { return parameters.value(key); }
    QString summary() const;
    bool test(const RuleContext &context) const;

    QJsonObject toJson() const;
    // nullopt with *error set on a missing or malformed field or an unknown type.
    static std::optional<RuleCondition> fromJson(const QJsonObject &object, QString *error);

    // Parser helpers, exposed for the editor and the command line's validation.
    // "HH:MM-HH:MM" as minutes since midnight; nullopt when malformed.
    static std::optional<std::pair<int, int>> parseTimeRange(const QString &text);
    // The weekday numbers (Sunday = 1) of a comma-separated list of day names; unknown items are skipped.
    static QList<int> parseDays(const QString &text);

    bool operator==(const RuleCondition &other) const = default;
};
