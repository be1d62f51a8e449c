#include "LogCommand.h"

#include "ControlClient.h"
#include "EngineWait.h"
#include "Output.h"

#include <QJsonDocument>

namespace {

constexpr int kDefaultLimit = 50;
constexpr int kFollowWindow = 500; // entries re-read on each change while following

QJsonArray parseArray(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).array();
}

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
    parser.addOptions({limitOption, follow, json});
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

    ControlClient client;
    ControlClient::Failure failure;
    EngineWait engine(client);
    QJsonArray seen;
    bool failed = false;
    // Subscribed before the first read, so nothing logged in between is missed.
    if (following) {
        QObject::connect(&client.control(), &Control1Proxy::EventLogChanged, &engine, [&] {
            const auto text = client.wait(client.control().EventLog(kFollowWindow), &failure);
            if (!text) {
                failed = true;
                engine.finish();
                return;
            }
            const QJsonArray current = parseArray(*text);
            for (const QJsonObject &event : Output::newEvents(seen, current))
                Cli::out(entryLine(event, asJson));
            seen = current;
        });
    }
    const auto text = client.wait(client.control().EventLog(following ? qMax(limit, kFollowWindow) : limit), &failure);
    if (!text)
        return failure.report();
    if (asJson && !following) {
        Cli::out(Output::asLine(*text));
        return kExitOk;
    }
    const QJsonArray events = parseArray(*text);
    const qsizetype shown = limit > 0 ? qMin<qsizetype>(limit, events.size()) : events.size();
    for (qsizetype i = shown - 1; i >= 0; --i)
        Cli::out(entryLine(events.at(i).toObject(), asJson));
    if (!following)
        return kExitOk;
    seen = events;
    // Until Ctrl-C or the engine goes away.
    if (engine.run(std::nullopt) == EngineWait::End::EngineGone) {
        Cli::err(QStringLiteral("The Tarnwell engine stopped"));
        return kExitFailure;
    }
    return failed ? failure.report() : kExitOk;
}
