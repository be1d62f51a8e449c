#include "SetCommand.h"

#include "ConfigCommand.h"
#include "ControlClient.h"
#include "ExchangeProxy.h"

#include <QEventLoop>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

namespace {

const QStringList kActions{QStringLiteral("list"),   QStringLiteral("show"),  QStringLiteral("create"),
                           QStringLiteral("add"),    QStringLiteral("remove"), QStringLiteral("delete"),
                           QStringLiteral("mount"),  QStringLiteral("eject"), QStringLiteral("export"),
                           QStringLiteral("import")};

// Positional arguments each action takes: minimum and maximum (-1: any number).
std::pair<int, int> arity(const QString &action)
{
    if (action == QLatin1String("list"))
        return {0, 0};
    if (action == QLatin1String("add") || action == QLatin1String("remove"))
        return {2, -1};
    if (action == QLatin1String("export"))
        return {2, 2};
    return {1, 1};
}

QString membersText(const QJsonArray &ids)
{
    QStringList list;
    for (const QJsonValue &v : ids)
        list << QString::number(v.toInteger());
    return list.join(QLatin1Char(','));
}

} // namespace

int SetCommand::run(const QStringList &arguments)
{
    const QString action = arguments.value(1);
    if (!kActions.contains(action)) {
        if (action == QLatin1String("-h") || action == QLatin1String("--help")) {
            Cli::out(QStringLiteral("Usage: tarnwellctl set ACTION ...\n\n") + summary()
                     + QStringLiteral("\n\nActions: ") + kActions.join(QStringLiteral(", "))
                     + QStringLiteral("\n(tarnwellctl set ACTION --help for each)\n"));
            return kExitOk;
        }
        Cli::err(QStringLiteral("usage: tarnwellctl set ") + kActions.join(QLatin1Char('|')) + QStringLiteral(" ..."));
        return kExitUsage;
    }
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON"));
    const QCommandLineOption icon(QStringLiteral("icon"), QStringLiteral("Icon name of a new set"), QStringLiteral("name"));
    const QCommandLineOption mode(QStringLiteral("mode"), QStringLiteral("Import mode: replace, merge (default) or update"),
                                  QStringLiteral("mode"), QStringLiteral("merge"));
    const QCommandLineOption noWait(QStringLiteral("no-wait"), QStringLiteral("Return once the members are asked"));
    const QCommandLineOption timeout(QStringLiteral("timeout"), QStringLiteral("Seconds to wait for mount/eject (default 120)"),
                                     QStringLiteral("seconds"), QStringLiteral("120"));
    if (action == QLatin1String("list") || action == QLatin1String("show"))
        parser.addOption(json);
    if (action == QLatin1String("create"))
        parser.addOption(icon);
    if (action == QLatin1String("import"))
        parser.addOption(mode);
    if (action == QLatin1String("mount") || action == QLatin1String("eject"))
        parser.addOptions({noWait, timeout});
    int status = kExitOk;
    // The parser shows its usage as "tarnwellctl set ACTION".
    if (!parse(parser, QStringList{QStringLiteral("set ") + action} + arguments.mid(2), &status))
        return status;
    const QStringList args = parser.positionalArguments();
    const auto [least, most] = arity(action);
    if (args.size() < least || (most >= 0 && args.size() > most)) {
        Cli::err(QStringLiteral("wrong number of arguments for \"set ") + action + QStringLiteral("\" (see --help)"));
        return kExitUsage;
    }

    ControlClient client;
    const auto exchange = ExchangeCli::proxy(client);
    if (action == QLatin1String("list")) {
        const auto answer = ExchangeCli::wait(exchange->ListSets(), &status);
        if (!answer)
            return status;
        if (parser.isSet(json)) {
            Cli::out(*answer + QLatin1Char('\n'));
            return kExitOk;
        }
        QString text;
        for (const QJsonValue &v : QJsonDocument::fromJson(answer->toUtf8()).array()) {
            const QJsonObject s = v.toObject();
            text += Cli::printable(s.value(QStringLiteral("name")).toString()) + QLatin1Char('\t')
                  + s.value(QStringLiteral("status")).toString() + QLatin1Char('\t')
                  + QStringLiteral("shares ") + membersText(s.value(QStringLiteral("shareIDs")).toArray())
                  + QLatin1Char('\t') + s.value(QStringLiteral("id")).toString() + QLatin1Char('\n');
        }
        Cli::out(text);
        return kExitOk;
    }
    if (action == QLatin1String("show")) {
        const auto answer = ExchangeCli::wait(exchange->GetSet(args.at(0)), &status);
        if (!answer)
            return status;
        if (parser.isSet(json)) {
            Cli::out(*answer + QLatin1Char('\n'));
            return kExitOk;
        }
        const QJsonObject s = QJsonDocument::fromJson(answer->toUtf8()).object();
        QString text = Cli::printable(s.value(QStringLiteral("name")).toString()) + QStringLiteral(" (")
                     + s.value(QStringLiteral("id")).toString() + QStringLiteral("): ")
                     + s.value(QStringLiteral("status")).toString() + QLatin1Char('\n');
        for (const QJsonValue &v : s.value(QStringLiteral("members")).toArray()) {
            const QJsonObject m = v.toObject();
            const QString nick = m.value(QStringLiteral("nickname")).toString();
            text += QStringLiteral("  ") + QString::number(m.value(QStringLiteral("id")).toInteger()) + QLatin1Char('\t')
                  + Cli::printable(nick.isEmpty() ? m.value(QStringLiteral("hostname")).toString() + QLatin1Char('/')
                                                        + m.value(QStringLiteral("shareName")).toString()
                                                  : nick)
                  + QLatin1Char('\t') + (m.value(QStringLiteral("mounted")).toBool() ? QStringLiteral("mounted")
                                                                                      : QStringLiteral("not mounted"))
                  + QLatin1Char('\n');
        }
        Cli::out(text);
        return kExitOk;
    }
    if (action == QLatin1String("create")) {
        const auto answer = ExchangeCli::wait(exchange->CreateSet(args.at(0), parser.value(icon)), &status);
        if (answer)
            Cli::out(*answer + QLatin1Char('\n'));
        return status;
    }
    if (action == QLatin1String("add") || action == QLatin1String("remove")) {
        for (const QString &share : args.mid(1)) {
            ControlClient::Failure failure;
            const std::optional<qint64> id = client.resolve(share, &failure);
            if (!id) {
                Cli::err(failure.message);
                return failure.exitCode;
            }
            const bool ok = action == QLatin1String("add") ? ExchangeCli::wait(exchange->AddToSet(args.at(0), *id), &status)
                                                           : ExchangeCli::wait(exchange->RemoveFromSet(args.at(0), *id), &status);
            if (!ok)
                return status;
        }
        return kExitOk;
    }
    if (action == QLatin1String("delete")) {
        ExchangeCli::wait(exchange->DeleteSet(args.at(0)), &status);
        return status;
    }
    if (action == QLatin1String("export")) {
        const QString file = ExchangeCli::absolute(args.at(1));
        if (ExchangeCli::wait(exchange->ExportSet(args.at(0), file), &status))
            Cli::out(QStringLiteral("Exported to ") + Cli::printable(file) + QLatin1Char('\n'));
        return status;
    }
    if (action == QLatin1String("import")) {
        const auto answer = ExchangeCli::wait(exchange->ImportSet(ExchangeCli::absolute(args.at(0)), parser.value(mode).toLower()), &status);
        if (answer)
            Cli::out(QJsonDocument::fromJson(answer->toUtf8()).object().value(QStringLiteral("summary")).toString() + QLatin1Char('\n'));
        return status;
    }

    // mount / eject: listen before asking, so a quick finish is not missed.
    const bool mounting = action == QLatin1String("mount");
    bool ok = false;
    const int seconds = parser.value(timeout).toInt(&ok);
    if (!ok || seconds <= 0) {
        Cli::err(QStringLiteral("--timeout takes a positive number of seconds"));
        return kExitUsage;
    }
    QEventLoop loop;
    QString setId;
    QHash<QString, std::array<int, 3>> finished; // by set id; kept until we know which set we asked for
    std::optional<std::array<int, 3>> outcome;
    QObject::connect(exchange.get(), &ExchangeProxy::SetOperationFinished, &loop,
                     [&](const QString &id, const QString &, int started, int succeeded, int skipped) {
                         finished.insert(id, std::array<int, 3>{started, succeeded, skipped});
                         if (id == setId) {
                             outcome = finished.value(id);
                             loop.quit();
                         }
                     });
    const auto answer = ExchangeCli::wait(mounting ? exchange->MountSet(args.at(0)) : exchange->EjectSet(args.at(0)), &status);
    if (!answer)
        return status;
    setId = *answer;
    if (finished.contains(setId))
        outcome = finished.value(setId);
    if (parser.isSet(noWait))
        return kExitOk;
    QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
    if (!outcome)
        loop.exec();
    if (!outcome) {
        Cli::err(QStringLiteral("The set's members did not all finish within ") + QString::number(seconds) + QStringLiteral(" s"));
        return kExitFailure;
    }
    const auto [started, succeeded, skipped] = *outcome;
    Cli::out((mounting ? QStringLiteral("Mounted ") : QStringLiteral("Ejected ")) + QString::number(succeeded)
             + QStringLiteral(" of ") + QString::number(started) + QStringLiteral(" shares")
             + (skipped ? QStringLiteral(" (") + QString::number(skipped)
                              + (mounting ? QStringLiteral(" already mounted or busy)") : QStringLiteral(" not mounted or busy)"))
                        : QString())
             + QLatin1Char('\n'));
    return succeeded == started ? kExitOk : kExitFailure;
}
