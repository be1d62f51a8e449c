#include "PauseCommand.h"

#include "ControlClient.h"

int PauseCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 0, 0, &status))
        return status;

    ControlClient client;
    ControlClient::Failure failure;
    if (!client.wait(client.control().Pause(), &failure))
        return failure.report();
    Cli::out(QStringLiteral("Auto-mount paused\n"));
    return kExitOk;
}
