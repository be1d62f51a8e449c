// Discovery figures, measured only inside the private network namespace bench/discovery-netns.sh makes
// (it refuses anywhere else): the time from the start of a scan to "Found N" with 22 probes of which most
// never answer (aim: at most 0.6 s), and the median time to list the real Samba server's shares.
#include "BenchFigures.h"
#include "discovery/NetworkDiscoveryManager.h"
#include "platform/linux/LinuxNetworkInterfaces.h"
#include "platform/linux/QProcessLauncher.h"
#include "platform/linux/SmbclientShareLister.h"

#include "base/Console.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <cstdio>

namespace {

// Only lo and the namespace's veth pair, and the pair's end carrying 192.0.2.37.
bool insidePrivateNamespace()
{
    if (qEnvironmentVariable("TW_DISC_NETNS") != QLatin1String("1"))
        return false;
    const QList<NetworkInterfaces::Interface> interfaces = LinuxNetworkInterfaces().list();
    QStringList names;
    bool self = false;
    for (const auto &i : interfaces) {
        names << i.name;
        for (const QString &a : i.ipv4) {
            if (!i.loopback && !a.startsWith(QLatin1String("192.0.2.")))
                return false;
            self = self || a == QLatin1String("192.0.2.37");
        }
    }
    names.sort();
    return self && names == QStringList{QStringLiteral("lo"), QStringLiteral("twdisc0"), QStringLiteral("twdisc0p")};
}


} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (!insidePrivateNamespace()) {
        std::fprintf(stderr, "bench_discovery: REFUSED outside its own network namespace; run bench/discovery-netns.sh\n");
        return 1;
    }
    Console::setSink([](const QString &) {});
    const QString smbHost = qEnvironmentVariable("TW_BENCH_SMB_HOST");
    const QString smbUser = qEnvironmentVariable("TW_BENCH_SMB_USER");
    const QString smbPassword = qEnvironmentVariable("TW_BENCH_SMB_PASSWORD");

    LinuxNetworkInterfaces interfaces;
    QProcessLauncher launcher;
    SmbclientShareLister lister(&launcher);
    NetworkDiscoveryManager::Dependencies deps;
    deps.interfaces = &interfaces;
    deps.lister = &lister;
    NetworkDiscoveryManager discovery(deps);

    constexpr int kScans = 7;
    QList<double> scanMs;
    int found = -1;
    for (int round = 0; round < kScans; ++round) {
        QElapsedTimer timer;
        bool done = false;
        auto connection = QObject::connect(&discovery, &NetworkDiscoveryManager::changed, &app, [&] {
            if (!done && discovery.statusMessage().startsWith(QLatin1String("Found "))) {
                done = true;
                scanMs << timer.nsecsElapsed() / 1e6;
                found = int(discovery.discoveredShares().size());
            }
        });
        QSignalSpy stopped(&discovery, &NetworkDiscoveryManager::scanStopped);
        timer.start();
        discovery.startScan();
        if (!stopped.wait(10000) || !done) {
            std::fprintf(stderr, "bench_discovery: scan %d did not finish\n", round);
            return 1;
        }
        QObject::disconnect(connection);
    }
    std::printf("scan start to \"Found %d\" (22 probes, most never answer): median %.1f ms, max %.1f ms over %d scans"
                " (aim: <= 600 ms)\n",
                found, median(scanMs), *std::max_element(scanMs.begin(), scanMs.end()), kScans);

    if (smbHost.isEmpty())
        return 0;
    const auto server = DiscoveredShare::make(smbHost, NetworkDiscoveryManager::kSmb, 445, smbHost);
    for (const bool withUser : {false, true}) {
        constexpr int kListings = 9;
        QList<double> listMs;
        for (int round = 0; round < kListings; ++round) {
            QSignalSpy finished(&discovery, &NetworkDiscoveryManager::shareBrowsingFinished);
            QElapsedTimer timer;
            timer.start();
            discovery.browseShares(server, withUser ? smbUser : QString(), withUser ? smbPassword : QString());
            if (!finished.wait(30000) || discovery.shareBrowseError()) {
                std::fprintf(stderr, "bench_discovery: listing failed: %s\n",
                             qPrintable(discovery.shareBrowseError().value_or(QStringLiteral("no answer"))));
                return 1;
            }
            listMs << timer.nsecsElapsed() / 1e6;
        }
        std::printf("share listing of the Samba server (%s, %lld shares): median %.1f ms, min %.1f ms over %d runs\n",
                    withUser ? "user and password" : "guest", qlonglong(discovery.availableShares().size()),
                    median(listMs), *std::min_element(listMs.begin(), listMs.end()), kListings);
    }
    return 0;
}
