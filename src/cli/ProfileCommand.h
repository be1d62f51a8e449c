#pragma once

#include "Command.h"

#include <optional>

namespace ProfileGenerator {
struct Share;
}

// tarnwellctl profile generate: writes a configuration profile (.mobileconfig) for deployment by a
// device-management service, to a file (by default "<organisation>-Config.mobileconfig" in the current
// folder) or to standard output with "-o -". Needs no engine.
class ProfileCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("profile"); }
    QString summary() const override { return QStringLiteral("generate a configuration profile for device management"); }
    int run(const QStringList &arguments) override;

    // A --share value: "HOST/SHARE" followed by optional ",nickname=…", ",protocol=…", ",locked=yes|no".
    // nullopt (with *error) when it cannot be read.
    static std::optional<ProfileGenerator::Share> parseShare(const QString &text, QString *error);

private:
    int generate(const QStringList &arguments);
};
