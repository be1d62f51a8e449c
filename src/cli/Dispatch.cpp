#include "Dispatch.h"

#include "Command.h"

#include <cstdio>

namespace Cli {

namespace {

bool isHelp(const QString &argument)
{
    return argument == QLatin1String("--help") || argument == QLatin1String("-h");
}

} // namespace

QString globalHelp()
{
    QString text = QStringLiteral(
        "Usage: tarnwellctl [--help] [--version] COMMAND [ARGUMENTS]\n\n"
        "Controls the running Tarnwell engine over the session bus (start it with: tarnwell --headless,\n"
        "or: systemctl --user start tarnwell.service).\n"
        "SHARE is a share's ID or nickname.\n\nCommands:\n");
    for (const auto &command : allCommands())
        text += QStringLiteral("  %1%2\n").arg(command->name().leftJustified(10), command->summary());
    text += QStringLiteral("\nRun 'tarnwellctl COMMAND --help' for a command's options.\n"
                           "Exit status: 0 success, 1 failure, 2 usage error.\n");
    return text;
}

int dispatch(const QStringList &arguments)
{
    if (arguments.isEmpty()) {
        err(QStringLiteral("A command is needed (see tarnwellctl --help)"));
        const QByteArray help = globalHelp().toUtf8();
        std::fwrite(help.constData(), 1, size_t(help.size()), stderr);
        return Command::kExitUsage;
    }
    QStringList rest = arguments;
    bool help = false;
    while (!rest.isEmpty() && rest.first().startsWith(QLatin1Char('-'))) {
        const QString option = rest.takeFirst();
        if (option == QLatin1String("--version")) {
            out(QStringLiteral("tarnwellctl %1\n").arg(QStringLiteral(TARNWELL_VERSION)));
            return Command::kExitOk;
        }
        if (!isHelp(option)) {
            err(QStringLiteral("Unknown option '%1' (options follow the command; see tarnwellctl --help)").arg(option));
            return Command::kExitUsage;
        }
        help = true;
    }
    if (rest.isEmpty()) {
        out(globalHelp());
        return Command::kExitOk;
    }
    for (const auto &command : allCommands()) {
        if (command->name() != rest.first())
            continue;
        // "tarnwellctl --help mount" reads as mount's help.
        if (help && !rest.contains(QLatin1String("--help")))
            rest.append(QStringLiteral("--help"));
        return command->run(rest);
    }
    err(QStringLiteral("Unknown command '%1' (see tarnwellctl --help)").arg(rest.first()));
    return Command::kExitUsage;
}

} // namespace Cli
