#include "RulesExchangeAdapter.h"

#include "rules/Rule.h"
#include "rules/RuleEngine.h"

#include <QDateTime>
#include <QHash>

namespace {

const QString kLastTriggered = QStringLiteral("lastTriggered");

} // namespace

RulesExchangeAdapter::RulesExchangeAdapter(RuleEngine &rules)
    : m_rules(rules)
{
}

QJsonArray RulesExchangeAdapter::exportRules() const
{
    QJsonArray array;
    for (const Rule &rule : m_rules.rules()) {
        QJsonObject object = rule.toJson();
        if (rule.lastTriggered)
            object.insert(kLastTriggered, rule.lastTriggered->toUTC().toString(Qt::ISODate));
        array.append(object);
    }
    return array;
}

RulesExchange::ImportCount RulesExchangeAdapter::importRules(const QJsonArray &rules, Configuration::ImportMode mode)
{
    ImportCount count;
    QList<Rule> result = mode == Configuration::ImportMode::Replace ? QList<Rule>() : m_rules.rules();
    QHash<QUuid, qsizetype> index;
    for (qsizetype i = 0; i < result.size(); ++i)
        index.insert(result.at(i).id, i);

    for (const QJsonValue &value : rules) {
        QJsonObject object = value.toObject();
        const QJsonValue last = object.value(kLastTriggered);
        if (last.isString()) {
            const QDateTime date = QDateTime::fromString(last.toString(), Qt::ISODate);
            if (!date.isValid()) {
                ++count.skipped;
                continue;
            }
            object.insert(kLastTriggered, Rule::toReferenceSeconds(date));
        }
        QString error;
        const std::optional<Rule> rule = Rule::fromJson(object, &error);
        if (!rule) {
            ++count.skipped;
            continue;
        }
        const auto known = index.constFind(rule->id);
        if (known == index.constEnd()) {
            index.insert(rule->id, result.size());
            result.append(*rule);
            ++count.imported;
        } else if (mode == Configuration::ImportMode::Merge) {
            ++count.skipped;
        } else {
            // update, or a rule repeated within a replace file: the file's later version wins.
            result[*known] = *rule;
            ++count.imported;
        }
    }
    if ((count.imported > 0 || mode == Configuration::ImportMode::Replace)
        && !m_rules.replaceRules(result, QStringLiteral("Rules imported from a configuration file")))
        count.saveError = m_rules.lastSaveError();
    return count;
}
