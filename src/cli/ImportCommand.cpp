#include "ImportCommand.h"

#include "ControlClient.h"

#include <QFileInfo>

int ImportCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("a .twconfig configuration or a .csv share list"));
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;
    const QFileInfo file(parser.positionalArguments().first());
    if (!file.isFile()) {
        Cli::err(QStringLiteral("No such file: %1").arg(parser.positionalArguments().first()));
        return kExitFailure;
    }

    ControlClient client;
    ControlClient::Failure failure;
    // The engine runs elsewhere: it gets an absolute path.
    const QString path = file.absoluteFilePath();
    const bool csv = file.suffix().compare(QLatin1String("csv"), Qt::CaseInsensitive) == 0;
    const auto summaryText =
        client.wait(csv ? client.control().ImportCsv(path) : client.control().ImportConfiguration(path), &failure);
    if (!summaryText)
        return failure.report();
    Cli::out((summaryText->isEmpty() ? QStringLiteral("Imported ") + path : *summaryText) + QLatin1Char('\n'));
    return kExitOk;
}
