#pragma once

#include "Command.h"

// tarnwellctl directory status | mappings | map | unmap | enable | disable | apply: the machine's directory
// binding as the engine sees it, and the group-to-shares mappings, through the engine's enterprise
// interface. status and apply wait (bounded) for the engine's check of the directory.
class DirectoryCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("directory"); }
    QString summary() const override { return QStringLiteral("directory binding and group share mappings"); }
    int run(const QStringList &arguments) override;

private:
    int status(const QStringList &arguments);
    int mappings(const QStringList &arguments);
    int map(const QStringList &arguments);
    int unmap(const QStringList &arguments);
    int setEnabled(const QStringList &arguments, bool enabled);
    int apply(const QStringList &arguments);
};
