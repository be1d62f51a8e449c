#pragma once

#include "Command.h"

// tarnwellctl log [--limit N] [--follow] [--json] [--output FILE]: the newest entries of the event log,
// oldest first; --follow keeps printing new ones until interrupted; --output writes them to FILE as JSON.
class LogCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("log"); }
    QString summary() const override { return QStringLiteral("show the event log, oldest first"); }
    int run(const QStringList &arguments) override;
};
