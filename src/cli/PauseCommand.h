#pragma once

#include "Command.h"

// tarnwellctl pause.
class PauseCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("pause"); }
    QString summary() const override { return QStringLiteral("pause auto-mounting (needs a mounted share)"); }
    int run(const QStringList &arguments) override;
};
