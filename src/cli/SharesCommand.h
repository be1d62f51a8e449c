#pragma once

#include "cli/Command.h"

// tarnwellctl shares HOST [--port N] [--user U [--password-stdin]] [--json] [--add SHARE]: lists the shares
// of an SMB server through the engine and, with --add, adds one of them as a share record.
class SharesCommand : public Command
{
public:
    static constexpr int kListingLimitMs = 60000; // the engine gives up after 15 s (plus name resolution)

    QString name() const override { return QStringLiteral("shares"); }
    QString summary() const override { return QStringLiteral("List the shares of an SMB server (and add one)"); }
    int run(const QStringList &arguments) override;
};
