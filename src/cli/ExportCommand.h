#pragma once

#include "Command.h"

// tarnwellctl export FILE [--format …]: "config export" under its short name.
class ExportCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("export"); }
    QString summary() const override { return QStringLiteral("export the configuration (.twconfig) or the shares as CSV (.csv)"); }
    int run(const QStringList &arguments) override;
};
