#include "DiscoveryControl.h"

#include "DiscoveryAdaptor.h"
#include "control/ControlNames.h"
#include "discovery/NetworkDiscoveryManager.h"

#include <QDBusConnection>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

DiscoveryControl::DiscoveryControl(NetworkDiscoveryManager &discovery, MountEngine &engine, QObject *parent)
    : QObject(parent), m_discovery(discovery), m_engine(engine)
{
    new DiscoveryAdaptor(this); // owned by this object; exported with QDBusConnection::ExportAdaptors
    connect(&m_discovery, &NetworkDiscoveryManager::changed, this,
            [this] { Q_EMIT ScanChanged(scanning(), progress(), status()); });
    connect(&m_discovery, &NetworkDiscoveryManager::shareBrowsingFinished, this, &DiscoveryControl::listingFinished);
}

bool DiscoveryControl::scanning() const { return m_discovery.isScanning(); }
double DiscoveryControl::progress() const { return m_discovery.scanProgress(); }
QString DiscoveryControl::status() const { return m_discovery.statusMessage(); }

void DiscoveryControl::StartScan() { m_discovery.startScan(); }
void DiscoveryControl::StopScan() { m_discovery.stopScan(); }

QString DiscoveryControl::serversJson(const QList<DiscoveredShare> &servers)
{
    QJsonArray array;
    for (const DiscoveredShare &server : servers) {
        QJsonObject o;
        o[QStringLiteral("hostname")] = server.hostname;
        if (server.ipAddress)
            o[QStringLiteral("ipAddress")] = *server.ipAddress;
        o[QStringLiteral("protocolType")] = server.protocolType;
        o[QStringLiteral("port")] = server.port;
        o[QStringLiteral("displayName")] = server.displayName;
        array.append(o);
    }
    return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
}

QString DiscoveryControl::Servers() { return serversJson(m_discovery.discoveredShares()); }

DiscoveredShare DiscoveryControl::serverFor(const QString &host, int port)
{
    return DiscoveredShare::make(host, NetworkDiscoveryManager::kSmb,
                                 port > 0 ? port : NetworkDiscoveryManager::kSmbPort);
}

QString DiscoveryControl::ListShares(const QString &host, int port, const QString &user, const QString &password)
{
    if (m_discovery.isBrowsingShares()) {
        if (calledFromDBus())
            sendErrorReply(ControlNames::kErrorFailed, kBusyMessage);
        return {};
    }
    if (calledFromDBus()) {
        setDelayedReply(true);
        m_pendingListings.append(message());
    }
    m_listedHost = host;
    m_listedPort = port;
    m_discovery.browseShares(serverFor(host, port), user, password);
    return {};
}

void DiscoveryControl::listingFinished()
{
    const QList<QDBusMessage> pending = std::exchange(m_pendingListings, {});
    QJsonArray array;
    for (const ShareInfo &share : m_discovery.availableShares()) {
        QJsonObject o;
        o[QStringLiteral("name")] = share.name;
        o[QStringLiteral("serverHost")] = share.serverHost;
        if (share.serverIP)
            o[QStringLiteral("serverIP")] = *share.serverIP;
        o[QStringLiteral("isHidden")] = share.isHidden;
        array.append(o);
    }
    const QString json = QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
    for (const QDBusMessage &call : pending) {
        const QDBusMessage reply = m_discovery.shareBrowseError()
                                       ? call.createErrorReply(ControlNames::kErrorFailed, *m_discovery.shareBrowseError())
                                       : call.createReply(json);
        QDBusConnection::sessionBus().send(reply);
    }
}

qint64 DiscoveryControl::AddShare(const QString &host, int port, const QString &user, const QString &password,
                                  const QString &share)
{
    // Only a share the last listing of this server named can be added: the record is made from it.
    const bool sameServer = host == m_listedHost && port == m_listedPort && !m_discovery.isBrowsingShares();
    for (const ShareInfo &info : m_discovery.availableShares()) {
        if (sameServer && info.name == share)
            return NetworkDiscoveryManager::addShare(m_engine, serverFor(host, port), info, user, password);
    }
    if (calledFromDBus())
        sendErrorReply(ControlNames::kErrorInvalidArgument, kNotListedMessage.arg(share, host));
    return 0;
}
