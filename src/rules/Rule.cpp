#include "Rule.h"

#include "rules/RuleJsonUtil.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTimeZone>

namespace {
// The reference date of the rules file's dates.
const QDateTime kReferenceDate(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
} // namespace

QString Rule::modeRawValue(ConditionMode mode)
{
    return mode == ConditionMode::all ? QStringLiteral("all") : QStringLiteral("any");
}

QString Rule::modeDisplayName(ConditionMode mode)
{
    return mode == ConditionMode::all ? QStringLiteral("All conditions must be true")
                                      : QStringLiteral("Any condition can be true");
}

std::optional<Rule::ConditionMode> Rule::modeFromRawValue(const QString &raw)
{
    if (raw == QLatin1String("all"))
        return ConditionMode::all;
    if (raw == QLatin1String("any"))
        return ConditionMode::any;
    return std::nullopt;
}

bool Rule::test(const RuleContext &context) const
{
    if (conditions.isEmpty())
        return false;
    for (const RuleCondition &condition : conditions) {
        const bool holds = condition.test(context);
        if (conditionMode == ConditionMode::all && !holds)
            return false;
        if (conditionMode == ConditionMode::any && holds)
            return true;
    }
    return conditionMode == ConditionMode::all;
}

QString Rule::summary() const
{
    if (conditions.isEmpty())
        return kNoConditions;
    QStringList parts;
    for (const RuleCondition &condition : conditions)
        parts.append(condition.summary());
    return parts.join(conditionMode == ConditionMode::all ? QStringLiteral(" AND ") : QStringLiteral(" OR "));
}

double Rule::toReferenceSeconds(const QDateTime &time)
{
    return double(kReferenceDate.msecsTo(time)) / 1000.0;
}

QDateTime Rule::fromReferenceSeconds(double seconds)
{
    return kReferenceDate.addMSecs(qint64(std::llround(seconds * 1000.0))).toLocalTime();
}

QJsonObject Rule::toJson() const
{
    QJsonArray conditionArray;
    for (const RuleCondition &condition : conditions)
        conditionArray.append(condition.toJson());
    QJsonArray actionArray;
    for (const RuleAction &action : actions)
        actionArray.append(action.toJson());
    QJsonObject object {
        { QStringLiteral("id"), RuleJsonUtil::uuidText(id) },
        { QStringLiteral("name"), name },
        { QStringLiteral("isEnabled"), isEnabled },
        { QStringLiteral("conditions"), conditionArray },
        { QStringLiteral("conditionMode"), modeRawValue(conditionMode) },
        { QStringLiteral("actions"), actionArray },
        { QStringLiteral("triggerCount"), triggerCount },
    };
    if (lastTriggered)
        object.insert(QStringLiteral("lastTriggered"), toReferenceSeconds(*lastTriggered));
    return object;
}

std::optional<Rule> Rule::fromJson(const QJsonObject &object, QString *error)
{
    auto fail = [error](const QString &text) -> std::optional<Rule> {
        if (error)
            *error = text;
        return std::nullopt;
    };
    Rule rule;
    const auto id = RuleJsonUtil::uuid(object, QStringLiteral("id"), error);
    if (!id)
        return std::nullopt;
    rule.id = *id;
    const auto name = RuleJsonUtil::string(object, QStringLiteral("name"), error);
    if (!name)
        return std::nullopt;
    rule.name = *name;
    const QJsonValue enabled = object.value(QStringLiteral("isEnabled"));
    if (!enabled.isBool())
        return fail(QStringLiteral("key 'isEnabled' missing or not a Boolean"));
    rule.isEnabled = enabled.toBool();
    const auto modeText = RuleJsonUtil::string(object, QStringLiteral("conditionMode"), error);
    if (!modeText)
        return std::nullopt;
    const auto mode = modeFromRawValue(*modeText);
    if (!mode)
        return fail(QStringLiteral("unknown condition mode: ") + *modeText);
    rule.conditionMode = *mode;

    const QJsonValue conditions = object.value(QStringLiteral("conditions"));
    if (!conditions.isArray())
        return fail(QStringLiteral("key 'conditions' missing or not an array"));
    for (const QJsonValue &value : conditions.toArray()) {
        const auto condition = RuleCondition::fromJson(value.toObject(), error);
        if (!condition)
            return std::nullopt;
        rule.conditions.append(*condition);
    }
    const QJsonValue actions = object.value(QStringLiteral("actions"));
    if (!actions.isArray())
        return fail(QStringLiteral("key 'actions' missing or not an array"));
    for (const QJsonValue &value : actions.toArray()) {
        const auto action = RuleAction::fromJson(value.toObject(), error);
        if (!action)
            return std::nullopt;
        rule.actions.append(*action);
    }

    const QJsonValue last = object.value(QStringLiteral("lastTriggered"));
    if (last.isDouble())
        rule.lastTriggered = fromReferenceSeconds(last.toDouble());
    else if (!last.isUndefined() && !last.isNull())
        return fail(QStringLiteral("'lastTriggered' is not a number"));
    const QJsonValue count = object.value(QStringLiteral("triggerCount"));
    if (!count.isDouble() || count.toDouble() != std::floor(count.toDouble()))
        return fail(QStringLiteral("key 'triggerCount' missing or not an integer"));
    rule.triggerCount = count.toInteger();
    return rule;
}

QByteArray Rule::encodeList(const QList<Rule> &rules)
{
    QJsonArray array;
    for (const Rule &rule : rules)
        array.append(rule.toJson());
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

std::optional<QList<Rule>> Rule::decodeList(const QByteArray &data, QString *error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        if (error)
            *error = parseError.errorString() + QStringLiteral(" at offset ") + QString::number(parseError.offset);
        return std::nullopt;
    }
    if (!document.isArray()) {
        if (error)
            *error = QStringLiteral("the file does not hold a list of rules");
        return std::nullopt;
    }
    QList<Rule> rules;
    int index = 0;
    for (const QJsonValue &value : document.array()) {
        QString why;
        const auto rule = value.isObject() ? fromJson(value.toObject(), &why) : std::nullopt;
        if (!rule) {
            if (error)
                *error = QStringLiteral("rule %1: %2")
                             .arg(index)
                             .arg(why.isEmpty() ? QStringLiteral("not an object") : why);
            return std::nullopt;
        }
        rules.append(*rule);
        ++index;
    }
    return rules;
}
