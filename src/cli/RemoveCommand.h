#pragma once

#include "Command.h"

// tarnwellctl remove SHARE.
class RemoveCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("remove"); }
    QString summary() const override { return QStringLiteral("remove a share (IT-managed shares cannot be removed)"); }
    int run(const QStringList &arguments) override;
};
