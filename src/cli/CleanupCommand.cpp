#include "CleanupCommand.h"

#include "ControlClient.h"
#include "EngineWait.h"

namespace {
constexpr int kDefaultSeconds = 30;
}

int CleanupCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    addShareArgument(parser);
    const QCommandLineOption timeout = EngineWait::timeoutOption(kDefaultSeconds);
    parser.addOption(timeout);
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;
    QString error;
    const auto seconds = EngineWait::seconds(parser, timeout, kDefaultSeconds, &error);
    if (!seconds)
        return usageError(error);

    ControlClient client;
    ControlClient::Failure failure;
    const auto id = client.resolve(parser.positionalArguments().first(), &failure);
    if (!id)
        return failure.report();
    EngineWait engine(client);
    QString outcome;
    QObject::connect(&client.control(), &Control1Proxy::CleanUpFinished, &engine,
                     [&engine, &outcome, id](qlonglong finished, const QString &text) {
                         if (finished != *id)
                             return;
                         outcome = text;
                         engine.finish();
                     });
    if (!client.wait(client.control().CleanUp(*id), &failure))
        return failure.report();
    switch (engine.run(*seconds)) {
    case EngineWait::End::Finished:
        Cli::out(Cli::printable(outcome) + QLatin1Char('\n'));
        return kExitOk;
    case EngineWait::End::EngineGone:
        Cli::err(QStringLiteral("The Tarnwell engine stopped"));
        return kExitFailure;
    case EngineWait::End::TimedOut:
        break;
    }
    Cli::err(QStringLiteral("Clean Up of share %1 did not finish within %2 s").arg(*id).arg(*seconds));
    return kExitFailure;
}
