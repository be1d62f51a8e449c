#pragma once

#include "discovery/DiscoveredShare.h"
#include "discovery/PortProbe.h"
#include "discovery/ShareInfo.h"
#include "platform/NetworkInterfaces.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <functional>
#include <optional>

class MountEngine;
class NetworkProbe;
class ServiceBrowser;
class ShareLister;

// Finds file servers on the local network and lists the shares of one SMB server.
//
// A scan browses "_smb._tcp" and "_afpovertcp._tcp" in "local." and sweeps a fixed list of addresses of
// the machine's /24 on ports 445 and 548 (22 probes at once, 0.5 s each). When the sweep is done the status
// reads "Found N file server(s)", and two seconds later the scan stops ("Scan stopped"). browseShares()
// lists one server's shares through the ShareLister (15 s limit) and publishes them, or an error text.
//
// Thread: main thread. The published state below is changed on the main thread only and announced by
// changed(). Probes run on a pool of their own, listings one at a time on a serial worker; both hand
// their results back with queued calls. The destructor waits for running work (a listing: up to 15 s).
// The ports are not owned and may be null (that source then finds nothing).
class NetworkDiscoveryManager : public QObject
{
    Q_OBJECT
public:
    static inline const QString kStartingStatus = QStringLiteral("Starting network scan...");
    static inline const QString kScanningStatus = QStringLiteral("Scanning for network shares...");
    static inline const QString kNoLocalNetworkStatus = QStringLiteral("Could not determine local network");
    static inline const QString kSweepStatus = QStringLiteral("Scanning %1.* for file servers...");
    static inline const QString kStoppedStatus = QStringLiteral("Scan stopped");

    static inline const QString kSmbServiceType = QStringLiteral("_smb._tcp");
    static inline const QString kAfpServiceType = QStringLiteral("_afpovertcp._tcp");
    static inline const QString kNfsServiceType = QStringLiteral("_nfs._tcp"); // held, never browsed
    static inline const QString kDomain = QStringLiteral("local.");
    static inline const QString kSmb = QStringLiteral("SMB");
    static inline const QString kAfp = QStringLiteral("AFP");

    static inline const QList<int> kSweepHosts{1, 2, 10, 11, 20, 50, 100, 150, 200, 250, 254};
    static constexpr int kSmbPort = 445;
    static constexpr int kAfpPort = 548;
    static constexpr int kProbeTimeoutMs = 500;
    static constexpr int kStopDelayMs = 2000;
    static constexpr int kListTimeoutSeconds = 15;
    static constexpr int kResolveTimeoutMs = 5000;

    static inline const QString kSpacesLine = QStringLiteral("🔍 [BROWSE] '%1' has spaces, trying '%2'");
    static inline const QString kResolvingLine = QStringLiteral("🔍 [BROWSE] Resolving '%1' via mDNS/.local lookup...");
    static inline const QString kResolvedLine = QStringLiteral("🔍 [BROWSE] Resolved '%1' to '%2'");
    static inline const QString kNotResolvedLine =
        QStringLiteral("🔍 [BROWSE] Could not resolve '%1', will try modified hostname");
    static inline const QString kListingLine = QStringLiteral("🔍 [BROWSE] Listing shares on ");
    static inline const QString kRunningLine = QStringLiteral("🔍 [BROWSE] Running smbutil view ");
    static inline const QString kTimeoutLine = QStringLiteral("⏱ [BROWSE] smbutil exceeded %1s, terminating");
    static inline const QString kFoundCountLine = QStringLiteral("🔍 [BROWSE] Found ");
    static inline const QString kFoundShareLine = QStringLiteral("🔍 [BROWSE] Found share: ");
    static inline const QString kAddedLine = QStringLiteral("✅ [ADD] Added share '%1' with share name pre-filled!");

    // Numeric address of a host name through the system resolver, "0.0.0.0" (or empty) when nothing
    // resolves. Blocking; called on the listing worker.
    using HostResolver = std::function<QString(const QString &host)>;

    struct Dependencies
    {
        ServiceBrowser *browser = nullptr;
        NetworkInterfaces *interfaces = nullptr;
        ShareLister *lister = nullptr;
        NetworkProbe *network = nullptr; // the defaults of probe and resolve (none: nothing answers)
        PortProbe probe;      // empty: the network port's connect
        HostResolver resolve; // empty: the reachability probe's resolution over the network port
        int stopDelayMs = kStopDelayMs;
    };

    explicit NetworkDiscoveryManager(Dependencies dependencies, QObject *parent = nullptr);
    ~NetworkDiscoveryManager() override;

    // --- Published state ---
    const QList<DiscoveredShare> &discoveredShares() const { return m_discoveredShares; }
    bool isScanning() const { return m_isScanning; }
    double scanProgress() const { return m_scanProgress; }
    const QString &statusMessage() const { return m_statusMessage; }
    const QList<ShareInfo> &availableShares() const { return m_availableShares; }
    bool isBrowsingShares() const { return m_isBrowsingShares; }
    const std::optional<QString> &shareBrowseError() const { return m_shareBrowseError; }

    void startScan();
    void stopScan();
    void browseShares(const DiscoveredShare &server, const QString &username, const QString &password);

    // Adds a share record for `share` of `server` to the engine (next free ID) and prints the console
    // line. The password, when given, is kept for the credential store. Returns the record's ID.
    static qint64 addShare(MountEngine &engine, const DiscoveredShare &server, const ShareInfo &share,
                           const QString &username, const QString &password);

    // --- Pure rules of the sweep ---
    // The IPv4 address of the first interface that is up, not loopback and has one.
    static std::optional<QString> localIPv4(const QList<NetworkInterfaces::Interface> &interfaces);
    // "a.b.c" of a dotted quad; nullopt when it is not four parts.
    static std::optional<QString> networkPrefix(const QString &address);
    // The probes of a sweep of `prefix`, in order: each host on 445, then on 548.
    static QList<QPair<QString, int>> sweepTargets(const QString &prefix);
    static QString foundStatus(int servers);
    // Whether a sweep hit is already listed (same address and protocol).
    static bool isListed(const QList<DiscoveredShare> &listed, const QString &address, const QString &protocol);

Q_SIGNALS:
    void changed();
    // The scan ended (stopScan ran).
    void scanStopped();
    // A listing ended; availableShares() or shareBrowseError() holds its outcome.
    void shareBrowsingFinished();

private:
    void onServiceFound(const QString &name, const QString &type);
    void probeFinished(quint64 generation, const QString &address, int port, bool reachable);
    void publishListing(quint64 generation, const QList<ShareInfo> &shares, const std::optional<QString> &error);
    void setStatus(const QString &status);

    Dependencies m_deps;
    QThreadPool m_probePool;
    QThreadPool m_listPool;

    QList<DiscoveredShare> m_discoveredShares;
    bool m_isScanning = false;
    double m_scanProgress = 0;
    QString m_statusMessage;
    QList<ShareInfo> m_availableShares;
    bool m_isBrowsingShares = false;
    std::optional<QString> m_shareBrowseError;

    quint64 m_scanGeneration = 0;   // results of an earlier scan are dropped
    quint64 m_browseGeneration = 0; // likewise for listings
    int m_probesDone = 0;
    int m_probesTotal = 0;
};
