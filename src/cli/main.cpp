// tarnwellctl: the command-line client of the running Tarnwell engine (session bus).
#include "Command.h"
#include "CommandLine.h"
#include "Commands.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tarnwellctl"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TARNWELL_VERSION));

    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();

    // Commands written as classes with their own parser; the rest still go through the command table.
    if (!arguments.isEmpty()) {
        for (const auto &command : allCommands()) {
            if (command->name() == arguments.first()) {
                const int status = command->run(arguments);
                std::fflush(stdout);
                std::fflush(stderr);
                std::_Exit(status);
            }
        }
    }

    QString error;
    const auto parsed = CommandLine::parse(arguments, &error);
    if (!parsed) {
        std::fprintf(stderr, "tarnwellctl: %s\n", error.toUtf8().constData());
        return CommandLine::kExitUsage;
    }
    if (parsed->version) {
        std::printf("tarnwellctl %s\n", TARNWELL_VERSION);
        return CommandLine::kExitOk;
    }
    if (parsed->globalHelp || parsed->command.isEmpty()) {
        std::fputs(CommandLine::globalHelp().toUtf8().constData(), stdout);
        return CommandLine::kExitOk;
    }
    if (parsed->command == QLatin1String("help")) {
        const QString text = parsed->positional.isEmpty() ? CommandLine::globalHelp()
                                                          : CommandLine::commandHelp(*CommandLine::find(parsed->positional.first()));
        std::fputs(text.toUtf8().constData(), stdout);
        return CommandLine::kExitOk;
    }
    if (parsed->help) {
        std::fputs(CommandLine::commandHelp(*CommandLine::find(parsed->command)).toUtf8().constData(), stdout);
        return CommandLine::kExitOk;
    }

    int status = CommandLine::kExitFailure;
    {
        Commands commands;
        status = commands.run(*parsed);
    }
    // Qt's D-Bus thread may still be dispatching a late bus message (NameAcquired) while static destructors
    // tear down the type registry, which prints spurious warnings after our output. Everything that
    // matters is written and flushed by now, so leave without running them.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}
