#include "RemoveCommand.h"

#include "ControlClient.h"

int RemoveCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    addShareArgument(parser);
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;

    ControlClient client;
    ControlClient::Failure failure;
    const auto id = client.resolve(parser.positionalArguments().first(), &failure);
    if (!id)
        return failure.report();
    if (!client.wait(client.control().RemoveRecord(*id), &failure))
        return failure.report();
    Cli::out(QStringLiteral("Removed share %1\n").arg(*id));
    return kExitOk;
}
