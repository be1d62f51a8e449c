#pragma once

#include "Configuration.h"

#include <QJsonArray>

// What the configuration exchange needs of the rules: their JSON form (the rule model's own encoding, dates
// in ISO 8601) for export, and an import that matches rules by their "id".
//   replace: the file's rules take the place of all local rules;
//   merge:   rules whose id is not known locally are added, the others skipped;
//   update:  like merge, and rules whose id is known take the file's version (counted as imported).
// Thread: main thread. Implemented over the rule engine by the composition root.
class RulesExchange
{
public:
    struct ImportCount
    {
        int imported = 0;
        int skipped = 0;
        QString saveError; // why the imported rules are not on disk (kept in memory, retried); empty when saved
    };

    virtual ~RulesExchange() = default;
    virtual QJsonArray exportRules() const = 0;
    virtual ImportCount importRules(const QJsonArray &rules, Configuration::ImportMode mode) = 0;
};
