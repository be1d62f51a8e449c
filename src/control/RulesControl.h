#pragma once

#include <QDBusContext>
#include <QObject>
#include <QString>

class MountEngine;
class Rule;
class RuleEngine;

// The rules interface io.tarnwell.Tarnwell.Rules1 (io.tarnwell.Tarnwell.Rules1.xml beside this file) over
// the rule engine. The D-Bus side is the adaptor generated from that XML (RulesAdaptor), created by the
// constructor; AppDelegate registers this object at RulesNames::kObjectPath.
//
// Input is validated before anything changes: a bad rule (unknown kind, malformed time range or delay,
// unknown day, unknown share id) is refused with an error and the rules stay as they were. A change whose
// save failed is reported as Failed, never as saved.
//
// Thread: main thread. The rule engine and the mount engine are not owned and must outlive this object.
class RulesControl : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_PROPERTY(bool Running READ isRunning)

public:
    struct Error
    {
        QString name; // empty: none
        QString message;
    };

    RulesControl(RuleEngine &rules, const MountEngine &engine, QObject *parent = nullptr);

    bool isRunning() const;

    // The rule a JSON object describes, defaults filled in and validated; nullopt with *error set.
    std::optional<Rule> parseRule(const QString &json, Error *error) const;
    // The id of a rule from a UUID, a unique UUID prefix or a name.
    QString resolve(const QString &query, Error *error) const;

    // The last error of a call made from C++ (the D-Bus side gets it as an error reply).
    const Error &lastError() const { return m_lastError; }

public Q_SLOTS:
    QString ListRules();
    QString GetRule(const QString &id);
    QString ResolveRule(const QString &query);
    QString AddRule(const QString &rule);
    void UpdateRule(const QString &rule);
    void RemoveRule(const QString &id);
    void SetRuleEnabled(const QString &id, bool enabled);
    QString DuplicateRule(const QString &id);
    void RunRule(const QString &id);
    void AddExampleRules();
    void Start();
    void Stop();
    QString GetActivity();
    QString GetStatus();

Q_SIGNALS:
    void RulesChanged();
    void RunningChanged(bool running);
    void RuleExecuted(const QString &id);

private:
    bool fail(const Error &error);
    void succeed() { m_lastError = {}; }
    bool checkSaved(bool saved);
    const Rule *find(const QString &id);

    RuleEngine &m_rules;
    const MountEngine &m_engine;
    Error m_lastError;
};
