#pragma once

#include "Command.h"

// tarnwellctl cleanup SHARE [--timeout SECONDS]: runs Clean Up and waits for its result.
class CleanupCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("cleanup"); }
    QString summary() const override { return QStringLiteral("remove stale mount folders a share left behind"); }
    int run(const QStringList &arguments) override;
};
