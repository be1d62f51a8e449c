#pragma once

#include "Command.h"

// tarnwellctl resume.
class ResumeCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("resume"); }
    QString summary() const override { return QStringLiteral("resume auto-mounting"); }
    int run(const QStringList &arguments) override;
};
