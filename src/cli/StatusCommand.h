#pragma once

#include "Command.h"

// tarnwellctl status SHARE [--json]: one share's settings and state.
class StatusCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("status"); }
    QString summary() const override { return QStringLiteral("show one share's settings and state"); }
    int run(const QStringList &arguments) override;
};
