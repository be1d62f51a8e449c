#include "AuditCommand.h"

#include "ControlClient.h"
#include "DateArgument.h"

#include <QSaveFile>

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

    ControlClient client;
    ControlClient::Failure failure;
    const auto text = client.wait(client.control().ExportAudit(kind, bounds[0], bounds[1]), &failure);
    if (!text)
        return failure.report();
    if (!parser.isSet(output)) {
        Cli::out(*text);
        return kExitOk;
    }
    const QString path = parser.value(output);
    QSaveFile file(path);
    const QByteArray data = text->toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        Cli::err(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
        return kExitFailure;
    }
    Cli::err(QStringLiteral("Wrote the audit log to %1").arg(path));
    return kExitOk;
}
