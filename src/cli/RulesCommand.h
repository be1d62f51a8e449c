#pragma once

#include "Command.h"

#include <QJsonObject>
#include <QString>

#include <optional>

// tarnwellctl rules: list, show, add, edit, remove, enable, disable, duplicate, run-now, start, stop,
// examples, activity, status — over the engine's rules interface (io.tarnwell.Tarnwell.Rules1) through the
// proxy generated from its XML.
//
// Conditions and actions are written compactly, one per --when / --do:
//   --when wifi=Office --when time=22:00-06:00 --when days=Mon,Fri --do mount=3 --do delay=5 --mode any
// or given whole as the rule's JSON with --json FILE ("-" for standard input). Syntax errors are found
// here (exit 2, nothing sent); the engine checks share ids and refuses what it cannot store (exit 1 or 2).
class RulesCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("rules"); }
    QString summary() const override { return QStringLiteral("list, edit, run and switch the automation rules"); }
    int run(const QStringList &arguments) override;

    // "KIND[=VALUE]" as a condition / action object ({"type", "parameters"}); nullopt with *error set.
    static std::optional<QJsonObject> parseCondition(const QString &spec, QString *error);
    static std::optional<QJsonObject> parseAction(const QString &spec, QString *error);
    // The help text listing every kind.
    static QString kindsHelp();
};
