#pragma once

#include "Command.h"

// tarnwellctl export FILE: the engine writes the file (a configuration, or shares as CSV by the suffix).
class ExportCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("export"); }
    QString summary() const override { return QStringLiteral("export the configuration (.twconfig) or the shares as CSV (.csv)"); }
    int run(const QStringList &arguments) override;
};
