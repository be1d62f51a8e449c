#pragma once

#include "cli/Command.h"

// tarnwellctl discover [--json]: runs a scan in the engine, shows its progress on a terminal and prints
// the servers found when it stops.
class DiscoverCommand : public Command
{
public:
    static constexpr int kScanLimitMs = 120000; // a scan stops by itself within seconds; this bounds a stuck one

    QString name() const override { return QStringLiteral("discover"); }
    QString summary() const override { return QStringLiteral("Find file servers on the local network"); }
    int run(const QStringList &arguments) override;
};
