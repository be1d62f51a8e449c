#include "DiscoverCommand.h"

#include "DiscoveryProxy.h"
#include "control/ControlNames.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <unistd.h>

namespace {
const QString kDiscoveryPath = QStringLiteral("/io/tarnwell/Tarnwell/Discovery");
}

int DiscoverCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print the servers as JSON."));
    parser.addOption(json);
    int status = kExitOk;
    if (!parse(parser, arguments, &status))
        return status;

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(ControlNames::kServiceName).value()) {
        Cli::err(ControlNames::kNoEngineMessage);
        return kExitFailure;
    }
    IoTarnwellTarnwellDiscovery1Interface discovery(ControlNames::kServiceName, kDiscoveryPath, bus);
    const bool terminal = ::isatty(STDOUT_FILENO) && !parser.isSet(json);

    QEventLoop loop;
    bool finished = false;
    QObject::connect(&discovery, &IoTarnwellTarnwellDiscovery1Interface::ScanChanged, &loop,
                     [&](bool scanning, double progress, const QString &text) {
                         if (terminal)
                             Cli::out(QStringLiteral("\r\x1b[K[%1%] ").arg(int(progress * 100), 3)
                                      + Cli::printable(text));
                         if (!scanning) {
                             finished = true;
                             loop.quit();
                         }
                     });
    QDBusPendingReply<> started = discovery.StartScan();
    started.waitForFinished();
    if (started.isError()) {
        Cli::err(started.error().message());
        return kExitFailure;
    }
    QTimer::singleShot(kScanLimitMs, &loop, &QEventLoop::quit);
    loop.exec();
    if (terminal)
        Cli::out(QStringLiteral("\n"));
    if (!finished) {
        Cli::err(QStringLiteral("The scan did not end in time"));
        return kExitFailure;
    }

    QDBusPendingReply<QString> servers = discovery.Servers();
    servers.waitForFinished();
    if (servers.isError()) {
        Cli::err(servers.error().message());
        return kExitFailure;
    }
    if (parser.isSet(json)) {
        Cli::out(servers.value() + QLatin1Char('\n'));
        return kExitOk;
    }
    const QJsonArray list = QJsonDocument::fromJson(servers.value().toUtf8()).array();
    for (const QJsonValue &value : list) {
        const QJsonObject o = value.toObject();
        QString line = o.value(QStringLiteral("displayName")).toString();
        const QString address = o.value(QStringLiteral("ipAddress")).toString();
        if (!address.isEmpty() && !line.startsWith(address))
            line += QStringLiteral("  ") + address;
        Cli::out(Cli::printable(line) + QLatin1Char('\n'));
    }
    Cli::out(QStringLiteral("%1 server(s)\n").arg(list.size()));
    return kExitOk;
}
