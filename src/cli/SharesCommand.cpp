#include "SharesCommand.h"

#include "DiscoveryProxy.h"
#include "cli/PasswordReader.h"
#include "control/ControlNames.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
const QString kDiscoveryPath = QStringLiteral("/io/tarnwell/Tarnwell/Discovery");
}

int SharesCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    parser.addPositionalArgument(QStringLiteral("host"), QStringLiteral("The server's name or address."));
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("SMB port (default 445)."),
                                  QStringLiteral("N"));
    const QCommandLineOption user(QStringLiteral("user"),
                                  QStringLiteral("User name (the password is asked for, or read with --password-stdin)."),
                                  QStringLiteral("USER"));
    const QCommandLineOption passwordStdin(QStringLiteral("password-stdin"),
                                           QStringLiteral("Read the password from standard input (first line)."));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print the shares as JSON."));
    const QCommandLineOption add(QStringLiteral("add"), QStringLiteral("Add this listed share as a share record."),
                                 QStringLiteral("SHARE"));
    parser.addOptions({port, user, passwordStdin, json, add});
    int status = kExitOk;
    if (!parse(parser, arguments, &status))
        return status;
    if (parser.positionalArguments().size() != 1) {
        Cli::err(QStringLiteral("shares: give exactly one HOST"));
        return kExitUsage;
    }
    const QString host = parser.positionalArguments().first();
    int portNumber = 0;
    if (parser.isSet(port)) {
        bool ok = false;
        portNumber = parser.value(port).toInt(&ok);
        if (!ok || portNumber < 1 || portNumber > 65535) {
            Cli::err(QStringLiteral("shares: --port takes a number from 1 to 65535"));
            return kExitUsage;
        }
    }
    const QString userName = parser.value(user);
    if (parser.isSet(passwordStdin) && userName.isEmpty()) {
        Cli::err(QStringLiteral("shares: --password-stdin needs --user"));
        return kExitUsage;
    }
    QString password;
    if (!userName.isEmpty()) {
        std::optional<QString> read;
        if (parser.isSet(passwordStdin))
            read = PasswordReader::fromStdin();
        else if (PasswordReader::stdinIsTerminal())
            read = PasswordReader::fromTerminal(QStringLiteral("Password for %1: ").arg(userName));
        else {
            Cli::err(QStringLiteral("No password: standard input is not a terminal (use --password-stdin)"));
            return kExitUsage;
        }
        if (!read) {
            Cli::err(QStringLiteral("No password was read"));
            return kExitUsage;
        }
        password = *read;
    }

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(ControlNames::kServiceName).value()) {
        Cli::err(ControlNames::kNoEngineMessage);
        return kExitFailure;
    }
    IoTarnwellTarnwellDiscovery1Interface discovery(ControlNames::kServiceName, kDiscoveryPath, bus);
    discovery.setTimeout(kListingLimitMs);
    QDBusPendingReply<QString> listed = discovery.ListShares(host, portNumber, userName, password);
    listed.waitForFinished();
    if (listed.isError()) {
        Cli::err(Cli::printable(listed.error().message(), true));
        return kExitFailure;
    }
    const QJsonArray shares = QJsonDocument::fromJson(listed.value().toUtf8()).array();

    if (parser.isSet(add)) {
        const QString share = parser.value(add);
        QDBusPendingReply<qint64> added = discovery.AddShare(host, portNumber, userName, password, share);
        added.waitForFinished();
        if (added.isError()) {
            Cli::err(Cli::printable(added.error().message()));
            return kExitFailure;
        }
        if (parser.isSet(json)) {
            QJsonObject o;
            o[QStringLiteral("id")] = added.value();
            o[QStringLiteral("share")] = share;
            Cli::out(QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact)) + QLatin1Char('\n'));
        } else {
            Cli::out(QStringLiteral("Added share '%1' as record %2\n").arg(Cli::printable(share)).arg(added.value()));
        }
        return kExitOk;
    }

    if (parser.isSet(json)) {
        Cli::out(listed.value() + QLatin1Char('\n'));
        return kExitOk;
    }
    for (const QJsonValue &value : shares) {
        const QJsonObject o = value.toObject();
        Cli::out(Cli::printable(o.value(QStringLiteral("name")).toString())
                 + (o.value(QStringLiteral("isHidden")).toBool() ? QStringLiteral("  (hidden)") : QString())
                 + QLatin1Char('\n'));
    }
    return kExitOk;
}
