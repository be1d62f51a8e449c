#include "NetworkDiscoveryManager.h"

#include "base/Console.h"
#include "core/MountEngine.h"
#include "core/NetworkTester.h"
#include "core/VolumeRecord.h"
#include "discovery/ShareListing.h"
#include "platform/NetworkProbe.h"
#include "platform/ServiceBrowser.h"
#include "platform/ShareLister.h"

#include <QMetaObject>
#include <QTimer>

NetworkDiscoveryManager::NetworkDiscoveryManager(Dependencies dependencies, QObject *parent)
    : QObject(parent), m_deps(std::move(dependencies))
{
    NetworkProbe *network = m_deps.network;
    if (!m_deps.probe) {
        m_deps.probe = [network](const QString &address, int port, int timeoutMs) {
            return network && port > 0 && port <= 65535
                   && network->connect(address, quint16(port), std::chrono::milliseconds(timeoutMs))
                          == NetworkProbe::Connect::Connected;
        };
    }
    if (!m_deps.resolve) {
        m_deps.resolve = [network](const QString &host) {
            return network ? NetworkTester::resolveHostName(*network, host) : QStringLiteral("0.0.0.0");
        };
    }
    // Every probe of a sweep runs at once; listings run one after the other.
    m_probePool.setMaxThreadCount(int(kSweepHosts.size()) * 2);
    m_listPool.setMaxThreadCount(1);
    if (m_deps.browser) {
        connect(m_deps.browser, &ServiceBrowser::serviceFound, this,
                [this](const QString &name, const QString &type, const QString &) { onServiceFound(name, type); });
    }
}

NetworkDiscoveryManager::~NetworkDiscoveryManager()
{
    if (m_deps.browser)
        m_deps.browser->stop();
    m_probePool.waitForDone();
    m_listPool.waitForDone();
}

void NetworkDiscoveryManager::setStatus(const QString &status)
{
    m_statusMessage = status;
    Q_EMIT changed();
}

void NetworkDiscoveryManager::startScan()
{
    const quint64 generation = ++m_scanGeneration;
    m_isScanning = true;
    m_discoveredShares.clear();
    m_scanProgress = 0;
    m_probesDone = 0;
    m_probesTotal = 0;
    setStatus(kStartingStatus);

    if (m_deps.browser)
        m_deps.browser->start({kSmbServiceType, kAfpServiceType}, kDomain);
    setStatus(kScanningStatus);

    const std::optional<QString> local =
        m_deps.interfaces ? localIPv4(m_deps.interfaces->list()) : std::optional<QString>();
    const std::optional<QString> prefix = local ? networkPrefix(*local) : std::nullopt;
    if (!prefix) {
        // Browsing goes on; the scan ends when the user stops it.
        setStatus(kNoLocalNetworkStatus);
        return;
    }
    setStatus(kSweepStatus.arg(*prefix));

    const QList<QPair<QString, int>> targets = sweepTargets(*prefix);
    m_probesTotal = int(targets.size());
    const PortProbe probe = m_deps.probe;
    for (const auto &[address, port] : targets) {
        m_probePool.start([this, probe, generation, address = address, port = port] {
            const bool reachable = probe(address, port, kProbeTimeoutMs);
            QMetaObject::invokeMethod(
                this, [=, this] { probeFinished(generation, address, port, reachable); }, Qt::QueuedConnection);
        });
    }
}

void NetworkDiscoveryManager::probeFinished(quint64 generation, const QString &address, int port, bool reachable)
{
    if (generation != m_scanGeneration || !m_isScanning)
        return;
    ++m_probesDone;
    m_scanProgress = 0.2 + 0.8 * (double(m_probesDone) / double(m_probesTotal));
    if (reachable) {
        const QString protocol = port == kSmbPort ? kSmb : kAfp;
        if (!isListed(m_discoveredShares, address, protocol))
            m_discoveredShares.append(DiscoveredShare::make(address, protocol, port, address));
    }
    Q_EMIT changed();
    if (m_probesDone < m_probesTotal)
        return;
    m_scanProgress = 1.0;
    setStatus(foundStatus(int(m_discoveredShares.size())));
    QTimer::singleShot(m_deps.stopDelayMs, this, [this, generation] {
        if (generation == m_scanGeneration && m_isScanning)
            stopScan();
    });
}

void NetworkDiscoveryManager::onServiceFound(const QString &name, const QString &type)
{
    if (!m_isScanning)
        return;
    if (type == kSmbServiceType)
        m_discoveredShares.append(DiscoveredShare::make(name, kSmb, kSmbPort));
    else if (type == kAfpServiceType)
        m_discoveredShares.append(DiscoveredShare::make(name, kAfp, kAfpPort));
    else
        return;
    Q_EMIT changed();
}

void NetworkDiscoveryManager::stopScan()
{
    if (m_deps.browser)
        m_deps.browser->stop();
    ++m_scanGeneration; // probes still out are dropped
    m_isScanning = false;
    setStatus(kStoppedStatus);
    Q_EMIT scanStopped();
}

void NetworkDiscoveryManager::browseShares(const DiscoveredShare &server, const QString &username,
                                           const QString &password)
{
    const quint64 generation = ++m_browseGeneration;
    m_isBrowsingShares = true;
    m_availableShares.clear();
    m_shareBrowseError.reset();
    Q_EMIT changed();

    ShareLister *lister = m_deps.lister;
    ServiceBrowser *browser = m_deps.browser;
    const HostResolver resolve = m_deps.resolve;
    m_listPool.start([=, this] {
        QString host = server.hostname;
        const QString spaced = ShareListing::hostWithoutSpaces(host);
        if (spaced != host) {
            Console::line(kSpacesLine.arg(host, spaced));
            host = spaced;
        }
        std::optional<QString> address;
        const QString resolved = resolve(server.hostname);
        if (resolved.isEmpty() || resolved == QLatin1String("0.0.0.0")) {
            Console::line(kResolvingLine.arg(host));
            const QString viaLink = browser ? browser->resolveHostName(host, kResolveTimeoutMs) : QString();
            if (!viaLink.isEmpty()) {
                Console::line(kResolvedLine.arg(host, viaLink));
                address = viaLink;
                host = viaLink;
            } else {
                Console::line(kNotResolvedLine.arg(host));
            }
        }
        Console::line(kListingLine + host);

        QList<ShareInfo> shares;
        std::optional<QString> error;
        if (!lister) {
            error = ShareListing::kStartFailedPrefix + QStringLiteral("no share lister");
        } else {
            Console::line(kRunningLine + host);
            ShareLister::Request request;
            request.host = host;
            request.port = server.port;
            request.user = username;
            request.password = password;
            request.timeoutMs = kListTimeoutSeconds * 1000;
            const ShareLister::Result result = lister->list(request);
            if (result.timedOut) {
                Console::line(kTimeoutLine.arg(kListTimeoutSeconds));
                error = ShareListing::kTimeoutMessage;
            } else if (!result.started) {
                error = ShareListing::kStartFailedPrefix + result.errorText;
            } else if (result.exitCode == 0) {
                shares = ShareListing::parse(result.output, host, address);
                Console::line(kFoundCountLine + QString::number(shares.size()));
                for (const ShareInfo &share : std::as_const(shares))
                    Console::line(kFoundShareLine + share.name);
                if (shares.isEmpty())
                    error = ShareListing::kNoSharesMessage;
            } else {
                error = ShareListing::classifyFailure(result.output);
            }
        }
        QMetaObject::invokeMethod(
            this, [=, this] { publishListing(generation, shares, error); }, Qt::QueuedConnection);
    });
}

void NetworkDiscoveryManager::publishListing(quint64 generation, const QList<ShareInfo> &shares,
                                             const std::optional<QString> &error)
{
    if (generation != m_browseGeneration)
        return;
    m_availableShares = shares;
    m_shareBrowseError = error;
    m_isBrowsingShares = false;
    Q_EMIT changed();
    Q_EMIT shareBrowsingFinished();
}

qint64 NetworkDiscoveryManager::addShare(MountEngine &engine, const DiscoveredShare &server, const ShareInfo &share,
                                         const QString &username, const QString &password)
{
    VolumeRecord record;
    record.internal_ID_Int = 0; // the engine gives the next free ID
    record.hostname_String = share.serverHost.isEmpty() ? server.hostname : share.serverHost;
    record.volume_String = share.name;
    record.mounting_using_protocol_Enum = MountUsingProtocol_Enum::SMB;
    if (server.port > 0 && server.port != kSmbPort)
        record.port_Int = server.port;
    if (username.isEmpty()) {
        record.no_password_guest_login = 1;
    } else {
        record.username_String = username;
        record.no_password_guest_login = 0;
        if (!password.isEmpty())
            record._cachedPassword = password;
    }
    const qint64 id = engine.addRecord(record);
    const VolumeRecord *added = engine.record(id);
    Console::line(kAddedLine.arg(added ? added->displayName() : share.name));
    return id;
}

std::optional<QString> NetworkDiscoveryManager::localIPv4(const QList<NetworkInterfaces::Interface> &interfaces)
{
    for (const NetworkInterfaces::Interface &interface : interfaces) {
        if (interface.up && !interface.loopback && !interface.ipv4.isEmpty())
            return interface.ipv4.first();
    }
    return std::nullopt;
}

std::optional<QString> NetworkDiscoveryManager::networkPrefix(const QString &address)
{
    const QStringList parts = address.split(QLatin1Char('.'));
    if (parts.size() != 4)
        return std::nullopt;
    return parts.mid(0, 3).join(QLatin1Char('.'));
}

QList<QPair<QString, int>> NetworkDiscoveryManager::sweepTargets(const QString &prefix)
{
    QList<QPair<QString, int>> targets;
    for (const int host : kSweepHosts) {
        const QString address = prefix + QLatin1Char('.') + QString::number(host);
        targets.append({address, kSmbPort});
        targets.append({address, kAfpPort});
    }
    return targets;
}

QString NetworkDiscoveryManager::foundStatus(int servers)
{
    return QStringLiteral("Found ") + QString::number(servers) + QStringLiteral(" file server")
           + (servers == 1 ? QString() : QStringLiteral("s"));
}

bool NetworkDiscoveryManager::isListed(const QList<DiscoveredShare> &listed, const QString &address,
                                       const QString &protocol)
{
    return std::any_of(listed.begin(), listed.end(), [&](const DiscoveredShare &share) {
        return share.ipAddress == address && share.protocolType == protocol;
    });
}
