#include "StatusCommand.h"

#include "ControlClient.h"
#include "Output.h"

#include <QJsonDocument>

int StatusCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("print JSON"));
    parser.addOption(json);
    addShareArgument(parser);
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;

    ControlClient client;
    ControlClient::Failure failure;
    const auto id = client.resolve(parser.positionalArguments().first(), &failure);
    if (!id)
        return failure.report();
    const auto text = client.wait(client.control().GetRecord(*id), &failure);
    if (!text)
        return failure.report();
    if (parser.isSet(json))
        Cli::out(Output::asLine(*text));
    else
        Cli::out(Output::recordDetails(QJsonDocument::fromJson(text->toUtf8()).object()));
    return kExitOk;
}
