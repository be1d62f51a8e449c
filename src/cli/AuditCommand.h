#pragma once

#include "Command.h"

// tarnwellctl audit export --format csv|json [--since DATE] [--until DATE] [--output FILE].
class AuditCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("audit"); }
    QString summary() const override { return QStringLiteral("export the audit log"); }
    int run(const QStringList &arguments) override;
};
