#pragma once

#include "Command.h"

// tarnwellctl help [COMMAND]: the global help, or a command's own (its --help).
class HelpCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("help"); }
    QString summary() const override { return QStringLiteral("show help"); }
    int run(const QStringList &arguments) override;
};
