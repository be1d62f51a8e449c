#pragma once

#include "Command.h"

// tarnwellctl edit SHARE [options]: changes the settings given (and, with --set-password, the password).
class EditCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("edit"); }
    QString summary() const override { return QStringLiteral("change a share's settings"); }
    int run(const QStringList &arguments) override;
};
