#pragma once

#include "Command.h"

// tarnwellctl eject SHARE | --all [--wait [--timeout SECONDS]].
class EjectCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("eject"); }
    QString summary() const override { return QStringLiteral("eject a share, or every share"); }
    int run(const QStringList &arguments) override;
};
