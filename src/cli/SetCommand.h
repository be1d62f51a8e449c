#pragma once

#include "Command.h"

// tarnwellctl set list | show SET | create NAME | add SET SHARE... | remove SET SHARE... | delete SET |
// mount SET | eject SET | export SET FILE | import FILE: share sets on the running engine. A set is named by
// its id or name, a share by its id or nickname. mount and eject wait (bounded by --timeout) until every
// member has ended unless --no-wait is given.
class SetCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("set"); }
    QString summary() const override { return QStringLiteral("List, edit, mount, eject, export and import share sets"); }
    int run(const QStringList &arguments) override;
};
