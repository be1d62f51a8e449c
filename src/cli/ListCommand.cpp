#include "ListCommand.h"

#include "ControlClient.h"
#include "Output.h"

#include <QJsonDocument>

int ListCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("print JSON"));
    parser.addOption(json);
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 0, 0, &status))
        return status;

    ControlClient client;
    ControlClient::Failure failure;
    const auto text = client.wait(client.control().ListRecords(), &failure);
    if (!text)
        return failure.report();
    if (parser.isSet(json))
        Cli::out(Output::asLine(*text));
    else
        Cli::out(Output::recordTable(QJsonDocument::fromJson(text->toUtf8()).array()));
    return kExitOk;
}
