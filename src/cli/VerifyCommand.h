#pragma once

#include "Command.h"

// tarnwellctl verify SHARE: checks the mount against the mount table; status 1 when it is not live.
class VerifyCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("verify"); }
    QString summary() const override { return QStringLiteral("check that a share is really mounted (exit 1 when not)"); }
    int run(const QStringList &arguments) override;
};
