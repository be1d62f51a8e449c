#include "ExportCommand.h"

#include "ControlClient.h"

#include <QFileInfo>

int ExportCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("a .twconfig configuration or a .csv share list"));
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;
    const QFileInfo file(parser.positionalArguments().first());

    ControlClient client;
    ControlClient::Failure failure;
    // The engine runs elsewhere: it gets an absolute path.
    const QString path = file.absoluteFilePath();
    const bool csv = file.suffix().compare(QLatin1String("csv"), Qt::CaseInsensitive) == 0;
    if (!client.wait(csv ? client.control().ExportCsv(path) : client.control().ExportConfiguration(path), &failure))
        return failure.report();
    Cli::out(QStringLiteral("Exported %1\n").arg(path));
    return kExitOk;
}
