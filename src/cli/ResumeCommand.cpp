#include "ResumeCommand.h"

#include "ControlClient.h"

int ResumeCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 0, 0, &status))
        return status;

    ControlClient client;
    ControlClient::Failure failure;
    if (!client.wait(client.control().Resume(), &failure))
        return failure.report();
    Cli::out(QStringLiteral("Auto-mount resumed\n"));
    return kExitOk;
}
