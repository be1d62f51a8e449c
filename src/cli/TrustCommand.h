#pragma once

#include "Command.h"

// tarnwellctl trust SHARE [--yes | --fingerprint HEX] | --remove: shows the SHA-256 fingerprint and subject
// of the certificate a secure WebDAV share's server presents and, once confirmed, makes the share's mounts
// accept exactly that certificate. Confirmation: "y" at the prompt on a terminal, --yes, or --fingerprint
// with the fingerprint the user checked elsewhere (refused when the server presents another). Reports
// success only once the engine has the change on disk.
class TrustCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("trust"); }
    QString summary() const override { return QStringLiteral("trust the certificate of a secure WebDAV share's server"); }
    int run(const QStringList &arguments) override;
};
