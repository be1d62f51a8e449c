#pragma once

#include "rules/RuleAction.h"
#include "rules/RuleCondition.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// A rule: when its conditions hold (all of them, or any), run its actions in order. Identity is `id`; the
// engine keys its edge-trigger table by it. A value: the rule engine owns the list on the main thread.
class Rule
{
public:
    enum class ConditionMode { all, any };

    static inline const QString kNoConditions = QStringLiteral("No conditions");
    static inline const QString kNeverTriggers = QStringLiteral("No conditions - rule will never trigger");

    QUuid id = QUuid::createUuid();
    QString name;
    bool isEnabled = true;
    QList<RuleCondition> conditions;
    ConditionMode conditionMode = ConditionMode::all;
    QList<RuleAction> actions;
    std::optional<QDateTime> lastTriggered;
    qint64 triggerCount = 0;

    static QString modeRawValue(ConditionMode mode); // "all" / "any"
    static QString modeDisplayName(ConditionMode mode); // "All conditions must be true", ...
    static std::optional<ConditionMode> modeFromRawValue(const QString &raw);

    // False without conditions; `all` stops at the first false, `any` at the first true.
    bool test(const RuleContext &context) const;
    // The conditions' summaries joined by " AND " / " OR "; "No conditions" when there is none.
    QString summary() const;

    // lastTriggered as seconds since 2001-01-01 00:00:00 UTC (absent: the key is left out).
    QJsonObject toJson() const;
    static std::optional<Rule> fromJson(const QJsonObject &object, QString *error);

    // The rules file: a pretty-printed JSON array of rules. Decoding fails as a whole (nullopt, *error
    // set) on any malformed rule, unknown condition or action type, or unknown condition mode.
    static QByteArray encodeList(const QList<Rule> &rules);
    static std::optional<QList<Rule>> decodeList(const QByteArray &data, QString *error);

    static double toReferenceSeconds(const QDateTime &time);
    static QDateTime fromReferenceSeconds(double seconds);

    bool operator==(const Rule &other) const = default;
};
