#pragma once

#include "Command.h"

// tarnwellctl add [URL] [options]: adds a share from a share URL and/or flags; the password is asked
// for on a terminal or read with --password-stdin, never taken from the command line.
class AddCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("add"); }
    QString summary() const override { return QStringLiteral("add a share"); }
    int run(const QStringList &arguments) override;
};
