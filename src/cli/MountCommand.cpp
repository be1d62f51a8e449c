#include "MountCommand.h"

#include "ControlClient.h"
#include "EngineWait.h"
#include "Output.h"

int MountCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    addShareArgument(parser);
    const QCommandLineOption wait = EngineWait::waitOption();
    const QCommandLineOption timeout = EngineWait::timeoutOption(EngineWait::kDefaultSeconds);
    parser.addOptions({wait, timeout});
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;
    QString error;
    const auto seconds = EngineWait::seconds(parser, timeout, EngineWait::kDefaultSeconds, &error);
    if (!seconds)
        return usageError(error);

    ControlClient client;
    ControlClient::Failure failure;
    const auto id = client.resolve(parser.positionalArguments().first(), &failure);
    if (!id)
        return failure.report();
    EngineWait engine(client);
    // Subscribed before the call, so the outcome cannot slip past.
    if (parser.isSet(wait)) {
        QObject::connect(&client.control(), &Control1Proxy::MountFinished, &engine,
                         [&engine, id](qlonglong finished, int, const QString &) {
                             if (finished == *id)
                                 engine.finish();
                         });
    }
    if (!client.wait(client.control().Mount(*id), &failure))
        return failure.report();
    if (!parser.isSet(wait)) {
        Cli::out(QStringLiteral("Mounting share %1 (see: tarnwellctl status %1)\n").arg(*id));
        return kExitOk;
    }
    const EngineWait::End end = engine.run(*seconds, [&client, id] {
        ControlClient::Failure ignored;
        const auto record = client.record(*id, &ignored);
        return !record || !record->value(QStringLiteral("mountInProgress")).toBool();
    });
    const auto record = client.record(*id, &failure);
    if (!record)
        return failure.report();
    const QString text = Cli::printable(record->value(QStringLiteral("status")).toString());
    if (end == EngineWait::End::TimedOut) {
        Cli::err(QStringLiteral("Gave up waiting for the mount of %1 after %2 s; status: %3")
                     .arg(Output::shareName(*record))
                     .arg(*seconds)
                     .arg(text));
        return kExitFailure;
    }
    if (record->value(QStringLiteral("mounted")).toBool()) {
        Cli::out(QStringLiteral("Mounted %1 at %2\n")
                     .arg(Output::shareName(*record), Cli::printable(record->value(QStringLiteral("mountPoint")).toString())));
        return kExitOk;
    }
    Cli::err(QStringLiteral("Mount of %1 failed: %2").arg(Output::shareName(*record), text));
    return kExitFailure;
}
