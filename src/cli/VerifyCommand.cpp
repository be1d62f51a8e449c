#include "VerifyCommand.h"

#include "ControlClient.h"

int VerifyCommand::run(const QStringList &arguments)
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
    const auto live = client.wait(client.control().Verify(*id), &failure);
    if (!live)
        return failure.report();
    // The engine's verification status says what was found.
    const auto record = client.record(*id, &failure);
    const QString text = record ? Cli::printable(record->value(QStringLiteral("status")).toString()) : QString();
    if (*live) {
        Cli::out(text + QLatin1Char('\n'));
        return kExitOk;
    }
    Cli::err(text);
    return kExitFailure;
}
