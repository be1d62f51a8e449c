#include "HelpCommand.h"

#include "Dispatch.h"

int HelpCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    parser.addPositionalArgument(QStringLiteral("COMMAND"), QStringLiteral("the command to explain"),
                                 QStringLiteral("[COMMAND]"));
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 0, 1, &status))
        return status;
    if (parser.positionalArguments().isEmpty()) {
        Cli::out(Cli::globalHelp());
        return kExitOk;
    }
    const QString name = parser.positionalArguments().first();
    for (const auto &command : allCommands()) {
        // A command's help is its parser's.
        if (command->name() == name)
            return command->run({name, QStringLiteral("--help")});
    }
    return usageError(QStringLiteral("Unknown command '%1' (see tarnwellctl --help)").arg(name));
}
