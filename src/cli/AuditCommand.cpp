#include "AuditCommand.h"

#include "ControlClient.h"
#include "DateArgument.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>


int AuditCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        summary()
        + QStringLiteral("\n\nDATE: YYYY-MM-DD (a whole day), YYYY-MM-DDTHH:MM[:SS][Z|+HH:MM], today, yesterday, or a span\n"
                         "before now such as 7d or 24h. Both bounds are inclusive."));
    parser.addPositionalArgument(QStringLiteral("export"), QStringLiteral("the only action"));
    const QCommandLineOption format(QStringLiteral("format"), QStringLiteral("csv or json"), QStringLiteral("FORMAT"));
    const QCommandLineOption since(QStringLiteral("since"), QStringLiteral("first instant to include"), QStringLiteral("DATE"));
    const QCommandLineOption until(QStringLiteral("until"), QStringLiteral("last instant to include"), QStringLiteral("DATE"));
    const QCommandLineOption output(QStringLiteral("output"), QStringLiteral("write to FILE instead of standard output"),
                                    QStringLiteral("FILE"));
    parser.addOptions({format, since, until, output});
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;
    const QString action = parser.positionalArguments().first();
    if (action != QLatin1String("export"))
        return usageError(QStringLiteral("Unknown audit command '%1' (use: tarnwellctl audit export ...)").arg(action));
    const QString kind = parser.value(format).toLower();
    if (kind != QLatin1String("csv") && kind != QLatin1String("json"))
        return usageError(QStringLiteral("--format csv or --format json is needed"));
    const QDateTime now = QDateTime::currentDateTime();
    QString bounds[2];
    const std::pair<const QCommandLineOption *, DateArgument::Bound> options[2] = {
        {&since, DateArgument::Bound::Since}, {&until, DateArgument::Bound::Until}};
    for (int i = 0; i < 2; ++i) {
        if (!parser.isSet(*options[i].first))
            continue;
        QString error;
        const auto date = DateArgument::parse(parser.value(*options[i].first), options[i].second, now, &error);
        if (!date)
            return usageError(error);
        bounds[i] = DateArgument::toWire(*date);
    }

    // The engine writes the export to a file (a large log never travels as one bus message): the file the
    // user named, or a private temporary one that is printed and removed.
    const bool toStdout = !parser.isSet(output);
    QTemporaryDir scratch(QDir::tempPath() + QStringLiteral("/tarnwellctl-XXXXXX"));
    if (toStdout && !scratch.isValid()) {
        Cli::err(QStringLiteral("Cannot create a temporary folder: %1").arg(scratch.errorString()));
        return kExitFailure;
    }
    const QString path = toStdout ? scratch.filePath(QStringLiteral("audit.") + kind)
                                  : QFileInfo(parser.value(output)).absoluteFilePath();
    ControlClient client;
    ControlClient::Failure failure;
    const auto count = client.wait(client.control().ExportAuditToFile(kind, bounds[0], bounds[1], path), &failure);
    if (!count)
        return failure.report();
    if (toStdout) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            Cli::err(QStringLiteral("Cannot read the export: %1").arg(file.errorString()));
            return kExitFailure;
        }
        Cli::out(QString::fromUtf8(file.readAll()));
        return kExitOk;
    }
    Cli::err(QStringLiteral("Wrote %1 audit entries to %2").arg(*count).arg(Cli::printable(path)));
    return kExitOk;
}
