#include "EjectCommand.h"

#include "ControlClient.h"
#include "EngineWait.h"
#include "Output.h"

#include <QJsonArray>

namespace {

int ejectAll(ControlClient &client, bool wait, int seconds)
{
    ControlClient::Failure failure;
    EngineWait engine(client);
    if (wait)
        QObject::connect(&client.control(), &Control1Proxy::EjectAllFinished, &engine, &EngineWait::finish);
    if (!client.wait(client.control().EjectAll(), &failure))
        return failure.report();
    if (!wait) {
        Cli::out(QStringLiteral("Ejecting every mounted share\n"));
        return Command::kExitOk;
    }
    // -1 when the list cannot be read.
    const auto mountedCount = [&client, &failure]() -> int {
        const auto records = client.records(&failure);
        if (!records)
            return -1;
        int n = 0;
        for (const QJsonValue &record : *records)
            n += record.toObject().value(QStringLiteral("mounted")).toBool() ? 1 : 0;
        return n;
    };
    engine.run(seconds, [&mountedCount] { return mountedCount() == 0; });
    const int left = mountedCount();
    if (left != 0) {
        Cli::err(left < 0 ? failure.message : QStringLiteral("%1 share(s) still mounted").arg(left));
        return Command::kExitFailure;
    }
    Cli::out(QStringLiteral("Ejected every share\n"));
    return Command::kExitOk;
}

int ejectOne(ControlClient &client, const QString &share, bool wait, int seconds)
{
    ControlClient::Failure failure;
    const auto id = client.resolve(share, &failure);
    if (!id)
        return failure.report();
    EngineWait engine(client);
    if (wait) {
        QObject::connect(&client.control(), &Control1Proxy::EjectFinished, &engine,
                         [&engine, id](qlonglong finished, bool, const QString &) {
                             if (finished == *id)
                                 engine.finish();
                         });
    }
    if (!client.wait(client.control().Eject(*id), &failure))
        return failure.report();
    if (!wait) {
        Cli::out(QStringLiteral("Ejecting share %1\n").arg(*id));
        return Command::kExitOk;
    }
    // The signal ends the wait; a share that was not mounted has nothing to wait for.
    engine.run(seconds, [&client, id] {
        ControlClient::Failure ignored;
        const auto record = client.record(*id, &ignored);
        return !record
               || (!record->value(QStringLiteral("mounted")).toBool()
                   && !record->value(QStringLiteral("mountInProgress")).toBool()); // a cancelled mount ends first
    });
    const auto record = client.record(*id, &failure);
    if (!record)
        return failure.report();
    const QString status = Cli::printable(record->value(QStringLiteral("status")).toString());
    if (record->value(QStringLiteral("mounted")).toBool() || status.startsWith(QLatin1String("Eject failed"))) {
        Cli::err(QStringLiteral("Eject of %1 failed: %2").arg(Output::shareName(*record), status));
        return Command::kExitFailure;
    }
    // A plain eject says "Ejected"; one that cancelled a mount in progress says what became of it.
    if (status.isEmpty() || status == QLatin1String("Ejected"))
        Cli::out(QStringLiteral("Ejected %1\n").arg(Output::shareName(*record)));
    else
        Cli::out(QStringLiteral("%1: %2\n").arg(Output::shareName(*record), status));
    return Command::kExitOk;
}

} // namespace

int EjectCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    parser.addPositionalArgument(QStringLiteral("SHARE"), QStringLiteral("the share's ID or nickname"),
                                 QStringLiteral("SHARE | --all"));
    const QCommandLineOption all(QStringLiteral("all"), QStringLiteral("eject every mounted share"));
    const QCommandLineOption wait = EngineWait::waitOption();
    const QCommandLineOption timeout = EngineWait::timeoutOption(EngineWait::kDefaultSeconds);
    parser.addOptions({all, wait, timeout});
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 0, 1, &status))
        return status;
    QString error;
    const auto seconds = EngineWait::seconds(parser, timeout, EngineWait::kDefaultSeconds, &error);
    if (!seconds)
        return usageError(error);
    if (parser.isSet(all) == !parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("Name one share, or give --all. ") + usageLine(parser));

    ControlClient client;
    if (parser.isSet(all))
        return ejectAll(client, parser.isSet(wait), *seconds);
    return ejectOne(client, parser.positionalArguments().first(), parser.isSet(wait), *seconds);
}
