#pragma once

#include "Command.h"

// tarnwellctl list [--json]: every share with its state, as a table or as the engine's JSON.
class ListCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("list"); }
    QString summary() const override { return QStringLiteral("list the shares with their state"); }
    int run(const QStringList &arguments) override;
};
