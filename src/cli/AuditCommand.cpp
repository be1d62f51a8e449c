#include "AuditCommand.h"

#include "ControlClient.h"
#include "DateArgument.h"
#include "ExportFile.h"

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

    ExportFile file(parser.value(output), QStringLiteral("audit.") + kind);
    if (!file.ready())
        return kExitFailure;
    ControlClient client;
    ControlClient::Failure failure;
    const auto count = client.wait(client.control().ExportAuditToFile(kind, bounds[0], bounds[1], file.path()), &failure);
    if (!count)
        return failure.report();
    return file.finish(*count, QStringLiteral("audit entries"));
}
