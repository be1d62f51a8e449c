#pragma once

#include "exchange/RulesExchange.h"

class RuleEngine;

// The configuration file's rules over the rule engine. The file carries rules in the rule model's own JSON
// form, except that "lastTriggered" is an ISO 8601 date like every other date of the file (the rules file
// keeps seconds since 2001); both forms are read. A rule that does not decode is skipped, never half-added.
// Thread: main thread.
class RulesExchangeAdapter : public RulesExchange
{
public:
    explicit RulesExchangeAdapter(RuleEngine &rules);

    QJsonArray exportRules() const override;
    ImportCount importRules(const QJsonArray &rules, Configuration::ImportMode mode) override;

private:
    RuleEngine &m_rules;
};
