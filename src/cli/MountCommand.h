#pragma once

#include "Command.h"

// tarnwellctl mount SHARE [--wait [--timeout SECONDS]]: starts the mount; with --wait, reports its outcome.
class MountCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("mount"); }
    QString summary() const override { return QStringLiteral("mount a share"); }
    int run(const QStringList &arguments) override;
};
