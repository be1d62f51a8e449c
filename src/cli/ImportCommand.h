#pragma once

#include "Command.h"

// tarnwellctl import FILE [--format …] [--mode …] [--preview]: "config import" under its short name.
class ImportCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("import"); }
    QString summary() const override { return QStringLiteral("import a configuration (.twconfig) or share CSV (.csv)"); }
    int run(const QStringList &arguments) override;
};
