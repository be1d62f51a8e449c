#pragma once

#include "Command.h"

#include <QDBusPendingReply>

#include <memory>
#include <optional>

class ControlClient;
class ExchangeProxy;

// What the exchange commands (config, set) share: the proxy of io.tarnwell.Tarnwell.Exchange1 over the
// client's connection, and turning a finished call into its value or a message and an exit status.
namespace ExchangeCli {

std::unique_ptr<ExchangeProxy> proxy(ControlClient &client);
// Waits for the call; on an error prints it and sets *status (1).
template <typename T>
std::optional<T> wait(QDBusPendingReply<T> reply, int *status);
bool wait(QDBusPendingReply<> reply, int *status);
// Absolute form of a path given on the command line (the engine runs in another folder).
QString absolute(const QString &path);

} // namespace ExchangeCli

// tarnwellctl config import FILE | export FILE: the whole configuration (.twconfig), the share CSV, or the
// preferences file of the macOS build, by extension or --format json|csv|legacy; --mode replace|merge|update
// and --preview for configuration files. The engine reads and writes the file itself.
class ConfigCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("config"); }
    QString summary() const override
    {
        return QStringLiteral("Import or export the configuration, the share CSV, or the macOS build's settings");
    }
    int run(const QStringList &arguments) override;
};
