#pragma once

#include "Command.h"

// tarnwellctl import FILE: the engine reads the file (a configuration, or shares as CSV by the suffix).
class ImportCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("import"); }
    QString summary() const override { return QStringLiteral("import a configuration (.twconfig) or share CSV (.csv)"); }
    int run(const QStringList &arguments) override;
};
