#include "LogCommand.h"

#include "ControlClient.h"
#include "EngineWait.h"
#include "ExportFile.h"
#include "Output.h"

#include <QJsonDocument>

namespace {

constexpr int kDefaultLimit = 50;
constexpr int kFollowWindow = 500; // entries re-read on each change while following

QString entryLine(const QJsonObject &event, bool json)
{
    return (json ? QString::fromUtf8(QJsonDocument(event).toJson(QJsonDocument::Compact)) : Output::eventLine(event))
         + QLatin1Char('\n');
}

} // namespace

int LogCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary()
                                     + QStringLiteral("\n\n--follow keeps printing new entries until interrupted (Ctrl-C)."));
    const QCommandLineOption limitOption(QStringLiteral("limit"),
                                         QStringLiteral("only the newest N entries (default %1; 0 = all)").arg(kDefaultLimit),
                                         QStringLiteral("N"));
    const QCommandLineOption follow(QStringLiteral("follow"), QStringLiteral("keep printing new entries"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("print JSON"));
    const QCommandLineOption output(QStringLiteral("output"),
                                    QStringLiteral("write to FILE instead of standard output (JSON, newest first)"),
                                    QStringLiteral("FILE"));
    parser.addOptions({limitOption, follow, json, output});
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 0, 0, &status))
        return status;
    int limit = kDefaultLimit;
    if (parser.isSet(limitOption)) {
        bool ok = false;
        limit = parser.value(limitOption).toInt(&ok);
        if (!ok || limit < 0)
            return usageError(
                QStringLiteral("--limit must be a number of entries (0 = all), not '%1'").arg(parser.value(limitOption)));
    }
    const bool following = parser.isSet(follow);
    const bool asJson = parser.isSet(json);
    if (following && parser.isSet(output))
        return usageError(QStringLiteral("--output does not go with --follow"));

    // Every read is an export the engine writes to a file: a long log never travels as one bus message.
    ExportFile file(parser.value(output), QStringLiteral("events.json"));
    if (!file.ready())
        return kExitFailure;
    ControlClient client;
    ControlClient::Failure failure;
    if (!following && (asJson || file.isUserFile())) {
        const auto count = client.wait(client.control().ExportEventLogToFile(limit, file.path()), &failure);
        return count ? file.finish(*count, QStringLiteral("log entries")) : failure.report();
    }
    const auto read = [&](int count) -> std::optional<QJsonArray> {
        if (!client.wait(client.control().ExportEventLogToFile(count, file.path()), &failure))
            return std::nullopt;
        QString error;
        const auto bytes = file.contents(&error);
        if (!bytes) {
            failure = {error, kExitFailure};
            return std::nullopt;
        }
        return QJsonDocument::fromJson(*bytes).array();
    };
    EngineWait engine(client);
    QJsonArray seen;
    bool failed = false;
    // Subscribed before the first read, so nothing logged in between is missed.
    if (following) {
        QObject::connect(&client.control(), &Control1Proxy::EventLogChanged, &engine, [&] {
            const auto current = read(kFollowWindow);
            if (!current) {
                failed = true;
                engine.finish();
                return;
            }
            for (const QJsonObject &event : Output::newEvents(seen, *current))
                Cli::out(entryLine(event, asJson));
            seen = *current;
        });
    }
    const auto events = read(following ? qMax(limit, kFollowWindow) : limit);
    if (!events)
        return failure.report();
    const qsizetype shown = limit > 0 ? qMin<qsizetype>(limit, events->size()) : events->size();
    for (qsizetype i = shown - 1; i >= 0; --i)
        Cli::out(entryLine(events->at(i).toObject(), asJson));
    if (!following)
        return kExitOk;
    seen = *events;
    // Until Ctrl-C or the engine goes away.
    if (engine.run(std::nullopt) == EngineWait::End::EngineGone) {
        Cli::err(QStringLiteral("The Tarnwell engine stopped"));
        return kExitFailure;
    }
    return failed ? failure.report() : kExitOk;
}
