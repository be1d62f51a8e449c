#include "RulesControl.h"
#include "SavedReply.h"

#include "RulesAdaptor.h" // generated from io.tarnwell.Tarnwell.Rules1.xml
#include "control/ControlNames.h"
#include "control/RulesNames.h"
#include "core/MountEngine.h"
#include "rules/RuleEngine.h"
#include "rules/RuleJsonUtil.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

QString newId()
{
    return RuleJsonUtil::uuidText(QUuid::createUuid());
}

QString compact(const QJsonValue &value)
{
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
}

QJsonObject listed(const Rule &rule)
{
    QJsonObject object = rule.toJson();
    object.insert(QStringLiteral("summary"), rule.summary());
    return object;
}

// Fills what a hand-written rule may leave out, so the strict decoder of the rules file can read it.
QJsonObject withDefaults(QJsonObject object)
{
    auto fill = [&object](const QString &key, const QJsonValue &value) {
        if (!object.contains(key))
            object.insert(key, value);
    };
    fill(QStringLiteral("id"), newId());
    fill(QStringLiteral("isEnabled"), true);
    fill(QStringLiteral("conditionMode"), QStringLiteral("all"));
    fill(QStringLiteral("conditions"), QJsonArray());
    fill(QStringLiteral("actions"), QJsonArray());
    fill(QStringLiteral("triggerCount"), 0);
    for (const QString &listKey : { QStringLiteral("conditions"), QStringLiteral("actions") }) {
        QJsonArray items = object.value(listKey).toArray();
        for (qsizetype i = 0; i < items.size(); ++i) {
            QJsonObject item = items.at(i).toObject();
            if (!item.contains(QStringLiteral("id")))
                item.insert(QStringLiteral("id"), newId());
            if (!item.contains(QStringLiteral("parameters")))
                item.insert(QStringLiteral("parameters"), QJsonObject());
            items[i] = item;
        }
        if (object.value(listKey).isArray())
            object.insert(listKey, items);
    }
    return object;
}

} // namespace

RulesControl::RulesControl(RuleEngine &rules, const MountEngine &engine, QObject *parent)
    : QObject(parent)
    , m_rules(rules)
    , m_engine(engine)
{
    new RulesAdaptor(this); // owned by this object; relays the signals below
    connect(&m_rules, &RuleEngine::rulesChanged, this, &RulesControl::RulesChanged);
    connect(&m_rules, &RuleEngine::runningChanged, this, &RulesControl::RunningChanged);
    connect(&m_rules, &RuleEngine::ruleExecuted, this,
            [this](const QUuid &id) { Q_EMIT RuleExecuted(RuleJsonUtil::uuidText(id)); });
}

bool RulesControl::isRunning() const
{
    return m_rules.isRunning();
}

bool RulesControl::fail(const Error &error)
{
    m_lastError = error;
    if (calledFromDBus())
        sendErrorReply(error.name, error.message);
    return false;
}

bool RulesControl::checkSaved(bool saved)
{
    if (saved) {
        succeed();
        return true;
    }
    return fail({ ControlNames::kErrorNotSaved, SavedReply::kNotSaved.arg(m_rules.lastSaveError()) });
}

std::optional<Rule> RulesControl::parseRule(const QString &json, Error *error) const
{
    auto invalid = [error](const QString &text) -> std::optional<Rule> {
        *error = { ControlNames::kErrorInvalidArgument, text };
        return std::nullopt;
    };
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return invalid(QStringLiteral("A rule must be a JSON object: ") + parseError.errorString());
    QString why;
    auto rule = Rule::fromJson(withDefaults(document.object()), &why);
    if (!rule)
        return invalid(QStringLiteral("Invalid rule: ") + why);
    if (rule->name.trimmed().isEmpty())
        return invalid(QStringLiteral("A rule needs a name"));

    auto shareExists = [this](const QString &text) {
        bool ok = false;
        const qint64 id = text.trimmed().toLongLong(&ok);
        return ok && m_engine.record(id) != nullptr;
    };
    for (const RuleCondition &c : rule->conditions) {
        const QString kind = RuleCondition::rawValue(c.type);
        switch (c.type) {
        case RuleCondition::Type::timeWindow: {
            const auto range = RuleCondition::parseTimeRange(c.parameter(RuleCondition::kTimeRange));
            auto valid = [](int minutes) { return minutes >= 0 && minutes < 24 * 60; };
            const QStringList parts = c.parameter(RuleCondition::kTimeRange).split(QLatin1Char('-'));
            bool minutesOk = true;
            for (const QString &part : parts)
                minutesOk = minutesOk && part.section(QLatin1Char(':'), 1).toInt() < 60;
            if (!range || !valid(range->first) || !valid(range->second) || !minutesOk)
                return invalid(QStringLiteral("Malformed time range '%1': use HH:MM-HH:MM in 24-hour format (HH:MM)")
                                   .arg(c.parameter(RuleCondition::kTimeRange)));
            break;
        }
        case RuleCondition::Type::dayOfWeek: {
            const QStringList items = c.parameter(RuleCondition::kDays).split(QLatin1Char(','));
            for (const QString &item : items) {
                if (RuleCondition::parseDays(item).isEmpty())
                    return invalid(QStringLiteral("Unknown day '%1': use Sun, Mon, ... Sat or full day names")
                                       .arg(item.trimmed()));
            }
            break;
        }
        case RuleCondition::Type::appRunning:
        case RuleCondition::Type::appNotRunning:
            if (c.parameter(RuleCondition::kApp).isEmpty())
                return invalid(kind + QStringLiteral(" needs an application name"));
            break;
        case RuleCondition::Type::volumeMounted:
        case RuleCondition::Type::volumeNotMounted:
            if (!shareExists(c.parameter(RuleCondition::kVolumeId))) {
                *error = { ControlNames::kErrorUnknownShare,
                           QStringLiteral("No share with ID '%1'").arg(c.parameter(RuleCondition::kVolumeId)) };
                return std::nullopt;
            }
            break;
        default:
            break;
        }
    }
    for (const RuleAction &a : rule->actions) {
        const QString kind = RuleAction::rawValue(a.type);
        switch (a.type) {
        case RuleAction::Type::mountVolume:
        case RuleAction::Type::unmountVolume:
            if (!shareExists(a.parameter(RuleAction::kVolumeId))) {
                *error = { ControlNames::kErrorUnknownShare,
                           QStringLiteral("No share with ID '%1'").arg(a.parameter(RuleAction::kVolumeId)) };
                return std::nullopt;
            }
            break;
        case RuleAction::Type::mountGroup:
        case RuleAction::Type::unmountGroup:
            if (a.parameter(RuleAction::kGroup).isEmpty())
                return invalid(kind + QStringLiteral(" needs a group"));
            break;
        case RuleAction::Type::runScript:
            if (a.parameter(RuleAction::kScriptPath).isEmpty())
                return invalid(kind + QStringLiteral(" needs a script path"));
            break;
        case RuleAction::Type::delay:
            if (!RuleAction::parseSeconds(a.parameter(RuleAction::kSeconds)))
                return invalid(QStringLiteral("Invalid delay '%1': give a number of seconds")
                                   .arg(a.parameter(RuleAction::kSeconds)));
            break;
        default:
            break;
        }
    }
    return rule;
}

QString RulesControl::resolve(const QString &query, Error *error) const
{
    const QString wanted = query.trimmed();
    QStringList byPrefix, byName, byNameCase;
    for (const Rule &rule : m_rules.rules()) {
        const QString id = RuleJsonUtil::uuidText(rule.id);
        if (id.compare(wanted, Qt::CaseInsensitive) == 0 || QUuid::fromString(wanted) == rule.id)
            return id;
        if (wanted.size() >= 4 && id.startsWith(wanted, Qt::CaseInsensitive))
            byPrefix << id;
        if (rule.name == wanted)
            byName << id;
        else if (rule.name.compare(wanted, Qt::CaseInsensitive) == 0)
            byNameCase << id;
    }
    for (const QStringList &matches : { byPrefix, byName, byNameCase }) {
        if (matches.size() == 1)
            return matches.first();
        if (matches.size() > 1) {
            *error = { RulesNames::kErrorAmbiguousRule,
                       QStringLiteral("'%1' names several rules: %2").arg(wanted, matches.join(QStringLiteral(", "))) };
            return {};
        }
    }
    *error = { RulesNames::kErrorUnknownRule, QStringLiteral("No rule '%1'").arg(wanted) };
    return {};
}

const Rule *RulesControl::find(const QString &id)
{
    const Rule *rule = m_rules.rule(QUuid::fromString(id));
    if (!rule)
        fail({ RulesNames::kErrorUnknownRule, QStringLiteral("No rule with id '%1'").arg(id) });
    return rule;
}

QString RulesControl::ListRules()
{
    succeed();
    QJsonArray array;
    for (const Rule &rule : m_rules.rules())
        array.append(listed(rule));
    return compact(array);
}

QString RulesControl::GetRule(const QString &id)
{
    const Rule *rule = find(id);
    if (!rule)
        return {};
    succeed();
    return compact(listed(*rule));
}

QString RulesControl::ResolveRule(const QString &query)
{
    Error error;
    const QString id = resolve(query, &error);
    if (id.isEmpty()) {
        fail(error);
        return {};
    }
    succeed();
    return id;
}

QString RulesControl::AddRule(const QString &json)
{
    Error error;
    auto rule = parseRule(json, &error);
    if (!rule) {
        fail(error);
        return {};
    }
    if (m_rules.rule(rule->id)) {
        fail({ ControlNames::kErrorDuplicate,
               QStringLiteral("A rule with id '%1' exists already").arg(RuleJsonUtil::uuidText(rule->id)) });
        return {};
    }
    checkSaved(m_rules.addRule(*rule));
    return RuleJsonUtil::uuidText(rule->id);
}

void RulesControl::UpdateRule(const QString &json)
{
    Error error;
    auto rule = parseRule(json, &error);
    if (!rule) {
        fail(error);
        return;
    }
    const Rule *existing = find(RuleJsonUtil::uuidText(rule->id));
    if (!existing)
        return;
    rule->lastTriggered = existing->lastTriggered;
    rule->triggerCount = existing->triggerCount;
    checkSaved(m_rules.updateRule(*rule));
}

void RulesControl::RemoveRule(const QString &id)
{
    if (find(id))
        checkSaved(m_rules.deleteRule(QUuid::fromString(id)));
}

void RulesControl::SetRuleEnabled(const QString &id, bool enabled)
{
    if (find(id))
        checkSaved(m_rules.setRuleEnabled(QUuid::fromString(id), enabled));
}

QString RulesControl::DuplicateRule(const QString &id)
{
    if (!find(id))
        return {};
    const auto copy = m_rules.duplicateRule(QUuid::fromString(id));
    checkSaved(m_rules.lastSaveError().isEmpty());
    return RuleJsonUtil::uuidText(*copy);
}

void RulesControl::RunRule(const QString &id)
{
    if (find(id)) {
        m_rules.forceRun(QUuid::fromString(id));
        succeed();
    }
}

void RulesControl::AddExampleRules()
{
    checkSaved(m_rules.addExampleRules());
}

void RulesControl::Start()
{
    succeed();
    m_rules.start();
}

void RulesControl::Stop()
{
    succeed();
    m_rules.stop();
}

QString RulesControl::GetActivity()
{
    succeed();
    static const char *const kTypes[] = { "info", "success", "warning", "error" };
    QJsonArray array;
    for (const RuleEngine::RuleActivity &activity : m_rules.recentActivity()) {
        array.append(QJsonObject {
            { QStringLiteral("timestamp"), activity.timestamp.toString(Qt::ISODateWithMs) },
            { QStringLiteral("message"), activity.message },
            { QStringLiteral("type"), QString::fromLatin1(kTypes[int(activity.type)]) },
            { QStringLiteral("ruleName"), activity.ruleName ? QJsonValue(*activity.ruleName) : QJsonValue() },
        });
    }
    return compact(array);
}

QString RulesControl::GetStatus()
{
    succeed();
    const auto last = m_rules.lastEvaluationTime();
    return compact(QJsonObject {
        { QStringLiteral("running"), m_rules.isRunning() },
        { QStringLiteral("lastEvaluationTime"), last ? QJsonValue(last->toString(Qt::ISODate)) : QJsonValue() },
        { QStringLiteral("ruleCount"), int(m_rules.rules().size()) },
        { QStringLiteral("file"), m_rules.filePath() },
    });
}
