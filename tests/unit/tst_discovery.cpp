// Network discovery over fakes: the listing parser and error table on captured client output, the sweep's
// targets and counting, the scan's status sequence and the listing's host preparation and outcomes.
#include "UnitTestHelpers.h"
#include "support/DiscoveryFakes.h"
#include "support/EngineHarness.h"

#include "control/DiscoveryControl.h"
#include "core/MountEngine.h"
#include "discovery/ShareListing.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(ShareLister::Result)

namespace {

QString captured(const QString &name)
{
    QFile file(qEnvironmentVariable("TW_SOURCE_DIR") + QStringLiteral("/tests/unit/data/smbclient/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test data %s", qPrintable(name));
    return QString::fromUtf8(file.readAll());
}

const auto iface = DiscoveryFakes::iface;
const auto exited = DiscoveryFakes::exited;
using Scan = DiscoveryFakes;

QStringList names(const QList<ShareInfo> &shares)
{
    QStringList result;
    for (const ShareInfo &s : shares)
        result << s.name + (s.isHidden ? QStringLiteral("(hidden)") : QString());
    return result;
}

} // namespace

class TestDiscovery : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("captured guest listing")
            << captured(QStringLiteral("listing_guest.txt")) << strs({"public", "secure"});
        QTest::newRow("IPC$ and print$ dropped, Admin$ hidden")
            << QStringLiteral("IPC|IPC$|IPC Service\nPrinter|print$|Drivers\nDisk|Admin$|Remote Admin\nDisk|data|\n")
            << strs({"Admin$(hidden)", "data"});
        QTest::newRow("grepable name with spaces kept whole")
            << QStringLiteral("Disk|Team Files|shared\n") << strs({"Team Files"});
        QTest::newRow("tabular form: header, separator, padded lines")
            << QStringLiteral("Share                        Type     Comments\n"
                              "-------------------------------\n"
                              "  Media                      Disk\n"
                              "IPC$                         Pipe     IPC Service\n"
                              "C$                           Disk     Default share\n\n")
            << strs({"Media", "C$(hidden)"});
        QTest::newRow("client notes are no shares")
            << QStringLiteral("SMB1 disabled -- no workgroup available\nReconnecting with SMB1 for workgroup listing.\n")
            << QStringList{};
        QTest::newRow("failure text yields nothing") << captured(QStringLiteral("wrong_password.txt")) << QStringList{};
    }
    void parse()
    {
        QFETCH(QString, output);
        const QList<ShareInfo> shares = ShareListing::parse(output, QStringLiteral("nas"), QStringLiteral("192.0.2.5"));
        QTEST(names(shares), "expected");
        for (const ShareInfo &s : shares) {
            QCOMPARE(s.serverHost, QStringLiteral("nas"));
            QCOMPARE(s.serverIP, std::optional<QString>(QStringLiteral("192.0.2.5")));
            QCOMPARE(s.protocolType, QStringLiteral("SMB"));
        }
    }

    void classifyFailure_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("expected");
        // What the client really printed (tests/unit/data/smbclient/README.md says where it came from).
        const auto row = [](const char *name, const QString &output, const QString &expected) {
            QTest::newRow(name) << output << expected;
        };
        const auto file = [](const char *name) { return captured(QString::fromLatin1(name)); };
        row("captured: wrong password", file("wrong_password.txt"), ShareListing::kAuthenticationMessage);
        row("captured: refused port", file("refused_port.txt"), ShareListing::kCannotConnectMessage);
        row("captured: no route", file("network_unreachable.txt"), ShareListing::kCannotConnectMessage);
        row("captured: unknown host", file("unknown_host.txt"), ShareListing::kHostnameMessage);
        // Codes the client uses for the other rows, and the plain phrases of the table (first row wins).
        row("access denied code", QStringLiteral("tree connect failed: NT_STATUS_ACCESS_DENIED"),
            ShareListing::kAuthenticationMessage);
        row("bad network name", QStringLiteral("tree connect failed: NT_STATUS_BAD_NETWORK_NAME"),
            ShareListing::kNoSharesOrGuestMessage);
        row("silent host", QStringLiteral("do_connect: Connection to 192.0.2.9 failed (Error NT_STATUS_IO_TIMEOUT)"),
            ShareListing::kCannotConnectMessage);
        row("phrase, any case", QStringLiteral("Host is down"), ShareListing::kCannotConnectMessage);
        row("first row wins", QStringLiteral("Connection refused after Authentication error"),
            ShareListing::kAuthenticationMessage);
        row("invalid argument", QStringLiteral("smbutil: Invalid argument"), ShareListing::kHostnameMessage);
        row("no such file", QStringLiteral("No such file or directory"), ShareListing::kNoSharesOrGuestMessage);
        QTest::newRow("other: first non-empty line quoted")
            << QStringLiteral("\n  weird failure  \nsecond line")
            << ShareListing::kOtherFailurePrefix + QStringLiteral("weird failure)");
    }
    void classifyFailure()
    {
        QFETCH(QString, output);
        QTEST(ShareListing::classifyFailure(output), "expected");
    }

    // "My NAS" -> "My-NAS.local" is in the listing tests below.
    void hostWithoutSpaces()
    {
        QCOMPARE(ShareListing::hostWithoutSpaces(QStringLiteral("My NAS.local")), QStringLiteral("My-NAS.local"));
        QCOMPARE(ShareListing::hostWithoutSpaces(QStringLiteral("nas")), QStringLiteral("nas"));
    }

    void localAddress_data()
    {
        QTest::addColumn<QList<NetworkInterfaces::Interface>>("interfaces");
        QTest::addColumn<QString>("expected"); // empty: none
        const auto lo = iface(QStringLiteral("lo"), true, true, {QStringLiteral("127.0.0.1")});
        QTest::newRow("first up, not loopback, with IPv4")
            << QList{lo, iface(QStringLiteral("down0"), false, false, {QStringLiteral("10.0.0.1")}),
                     iface(QStringLiteral("v6only"), true, false, {}),
                     iface(QStringLiteral("eth0"), true, false, {QStringLiteral("192.168.1.37")}),
                     iface(QStringLiteral("eth1"), true, false, {QStringLiteral("172.16.0.9")})}
            << QStringLiteral("192.168.1.37");
        QTest::newRow("loopback only") << QList{lo} << QString();
    }
    void localAddress()
    {
        QFETCH(QList<NetworkInterfaces::Interface>, interfaces);
        QTEST(NetworkDiscoveryManager::localIPv4(interfaces).value_or(QString()), "expected");
    }

    void sweepTargets()
    {
        const auto targets = NetworkDiscoveryManager::sweepTargets(QStringLiteral("192.168.1"));
        QCOMPARE(targets.size(), 22);
        QStringList hosts;
        for (qsizetype i = 0; i < targets.size(); i += 2) {
            QCOMPARE(targets[i].first, targets[i + 1].first);
            QCOMPARE(targets[i].second, 445);
            QCOMPARE(targets[i + 1].second, 548);
            hosts << targets[i].first;
        }
        QCOMPARE(hosts.join(QLatin1Char(' ')),
                 QStringLiteral("192.168.1.1 192.168.1.2 192.168.1.10 192.168.1.11 192.168.1.20 192.168.1.50 "
                                "192.168.1.100 192.168.1.150 192.168.1.200 192.168.1.250 192.168.1.254"));
        QVERIFY(!NetworkDiscoveryManager::networkPrefix(QStringLiteral("10.1.2")));
    }

    // Several servers are counted in the scan test.
    void foundStatus()
    {
        QCOMPARE(NetworkDiscoveryManager::foundStatus(0), QStringLiteral("Found 0 file servers"));
        QCOMPARE(NetworkDiscoveryManager::foundStatus(1), QStringLiteral("Found 1 file server"));
    }

    void duplicateRule()
    {
        QList<DiscoveredShare> listed{
            DiscoveredShare::make(QStringLiteral("192.0.2.1"), QStringLiteral("SMB"), 445, QStringLiteral("192.0.2.1")),
            DiscoveredShare::make(QStringLiteral("nas"), QStringLiteral("AFP"), 548)};
        QVERIFY(NetworkDiscoveryManager::isListed(listed, QStringLiteral("192.0.2.1"), QStringLiteral("SMB")));
        QVERIFY(!NetworkDiscoveryManager::isListed(listed, QStringLiteral("192.0.2.1"), QStringLiteral("AFP")));
        // A Bonjour entry carries no address, so it never hides a sweep hit.
        QVERIFY(!NetworkDiscoveryManager::isListed(listed, QStringLiteral("nas"), QStringLiteral("AFP")));
    }

    // A whole scan: browsing and sweep, progress after every probe, the found text, then the stop.
    void scanFindsSweepAndBonjourServers()
    {
        const QString net = QStringLiteral("192.168.1.");
        Scan scan(net + u"37", {net + u"10:445", net + u"10:548", net + u"254:445"});
        QStringList statuses;
        QList<double> progress;
        connect(scan.manager.get(), &NetworkDiscoveryManager::changed, this, [&] {
            if (statuses.isEmpty() || statuses.last() != scan.manager->statusMessage())
                statuses << scan.manager->statusMessage();
            progress << scan.manager->scanProgress();
        });
        QSignalSpy stopped(scan.manager.get(), &NetworkDiscoveryManager::scanStopped);
        scan.manager->startScan();
        QCOMPARE(scan.browser.startedTypes, strs({"_smb._tcp", "_afpovertcp._tcp"}));
        QCOMPARE(scan.browser.startedDomain, QStringLiteral("local."));
        scan.browser.announce(QStringLiteral("Office NAS"), QStringLiteral("_smb._tcp"));
        QVERIFY(stopped.wait(5000));

        QCOMPARE(statuses, strs({"Starting network scan...", "Scanning for network shares...",
                                 "Scanning 192.168.1.* for file servers...", "Found 4 file servers", "Scan stopped"}));
        QCOMPARE(scan.probed.size(), 22);
        QVERIFY(!scan.probed.join(QLatin1Char(' ')).contains(QLatin1String(".37:")));
        QCOMPARE(scan.timeouts, QSet<int>{500});
        // Progress climbs from 0.2 + 0.8/22 to 1.0 in 22 steps.
        QList<double> steps;
        for (double p : progress)
            if (p > 0.2 && (steps.isEmpty() || p != steps.last()))
                steps << p;
        QCOMPARE(steps.size(), 22);
        QVERIFY(qFuzzyCompare(steps.first(), 0.2 + 0.8 / 22));
        QVERIFY(qFuzzyCompare(steps.last(), 1.0));

        QStringList listed;
        for (const DiscoveredShare &s : scan.manager->discoveredShares())
            listed << s.displayName;
        listed.sort();
        QCOMPARE(listed, strs({"192.168.1.10 (AFP)", "192.168.1.10 (SMB)", "192.168.1.254 (SMB)", "Office NAS (SMB)"}));
        QVERIFY(!scan.manager->isScanning());
        QVERIFY(!scan.browser.running);
        // After the stop the browser's late results are not listed.
        scan.browser.running = true;
        scan.browser.announce(QStringLiteral("Late"), QStringLiteral("_afpovertcp._tcp"));
        QCOMPARE(scan.manager->discoveredShares().size(), 4);
    }

    void scanWithoutLocalNetworkStillBrowses()
    {
        Scan scan;
        scan.interfaces.interfaces = {iface(QStringLiteral("lo"), true, true, {QStringLiteral("127.0.0.1")})};
        scan.manager->startScan();
        QCOMPARE(scan.manager->statusMessage(), QStringLiteral("Could not determine local network"));
        QVERIFY(scan.manager->isScanning());
        QVERIFY(scan.browser.running);
        scan.browser.announce(QStringLiteral("Mac"), QStringLiteral("_afpovertcp._tcp"));
        QCOMPARE(scan.manager->discoveredShares().value(0).displayName, QStringLiteral("Mac (AFP)"));
        QCOMPARE(scan.manager->discoveredShares().value(0).port, 548);
        QTest::qWait(100);
        QVERIFY(scan.probed.isEmpty());
        scan.manager->stopScan();
        QCOMPARE(scan.manager->statusMessage(), QStringLiteral("Scan stopped"));
    }

    void browseShares_data()
    {
        QTest::addColumn<ShareLister::Result>("result");
        QTest::addColumn<QStringList>("shares");
        QTest::addColumn<QString>("error"); // empty: none
        QTest::addColumn<QString>("line");  // a console line expected
        ShareLister::Result timedOut = exited(-1, QString());
        timedOut.timedOut = true;
        ShareLister::Result notStarted;
        notStarted.errorText = QStringLiteral("No such file or directory");
        QTest::newRow("listed") << exited(0, captured(QStringLiteral("listing_guest.txt")))
                                << strs({"public", "secure"}) << QString()
                                << QStringLiteral("🔍 [BROWSE] Found share: secure");
        QTest::newRow("nothing listed") << exited(0, QStringLiteral("IPC|IPC$|IPC Service\n")) << QStringList{}
                                        << ShareListing::kNoSharesMessage << QStringLiteral("🔍 [BROWSE] Found 0");
        QTest::newRow("refused") << exited(1, captured(QStringLiteral("refused_port.txt"))) << QStringList{}
                                 << ShareListing::kCannotConnectMessage
                                 << QStringLiteral("🔍 [BROWSE] Running smbutil view 192.0.2.5");
        QTest::newRow("timed out") << timedOut << QStringList{} << ShareListing::kTimeoutMessage
                                   << QStringLiteral("⏱ [BROWSE] smbutil exceeded 15s, terminating");
        QTest::newRow("not started") << notStarted << QStringList{}
                                     << QStringLiteral("Error running smbutil: No such file or directory")
                                     << QStringLiteral("🔍 [BROWSE] Listing shares on 192.0.2.5");
    }
    void browseShares()
    {
        QFETCH(ShareLister::Result, result);
        QFETCH(QString, line);
        EngineHarness console; // captures console lines
        Scan scan;
        scan.lister.setHandler([&](const ShareLister::Request &) { return result; });
        QSignalSpy finished(scan.manager.get(), &NetworkDiscoveryManager::shareBrowsingFinished);
        scan.manager->browseShares(DiscoveredShare::make(QStringLiteral("192.0.2.5"), QStringLiteral("SMB"), 445,
                                                         QStringLiteral("192.0.2.5")),
                                   QString(), QString());
        QVERIFY(scan.manager->isBrowsingShares());
        QVERIFY(finished.wait(5000));
        QVERIFY(!scan.manager->isBrowsingShares());
        QTEST(names(scan.manager->availableShares()), "shares");
        QTEST(scan.manager->shareBrowseError().value_or(QString()), "error");
        QVERIFY2(console.hasLine(line), qPrintable(console.console().join(QLatin1Char('\n'))));
        const ShareLister::Request request = scan.lister.requests().value(0);
        QCOMPARE(request.timeoutMs, 15000);
        QCOMPARE(request.port, 445);
    }

    // Host preparation: spaces become "-" + ".local"; a name the resolver does not know is asked of mDNS.
    void browseSharesPreparesHost_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("mdns"); // what the link answers for the prepared name; empty: nothing
        QTest::addColumn<QString>("listedHost");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("spaces, not resolved")
            << QStringLiteral("My NAS") << QString() << QStringLiteral("My-NAS.local")
            << strs({"🔍 [BROWSE] 'My NAS' has spaces, trying 'My-NAS.local'",
                     "🔍 [BROWSE] Resolving 'My-NAS.local' via mDNS/.local lookup...",
                     "🔍 [BROWSE] Could not resolve 'My-NAS.local', will try modified hostname",
                     "🔍 [BROWSE] Listing shares on My-NAS.local"});
        QTest::newRow("resolved through mDNS")
            << QStringLiteral("office") << QStringLiteral("192.0.2.50") << QStringLiteral("192.0.2.50")
            << strs({"🔍 [BROWSE] Resolved 'office' to '192.0.2.50'"});
        QTest::newRow("known to the resolver: used as it is")
            << QStringLiteral("known") << QStringLiteral("192.0.2.99") << QStringLiteral("known") << QStringList{};
    }
    void browseSharesPreparesHost()
    {
        QFETCH(QString, host);
        QFETCH(QString, mdns);
        QFETCH(QString, listedHost);
        QFETCH(QStringList, lines);
        EngineHarness console;
        Scan scan;
        scan.resolved.insert(QStringLiteral("known"), QStringLiteral("192.0.2.7"));
        if (!mdns.isEmpty())
            scan.browser.resolutions.insert(ShareListing::hostWithoutSpaces(host), mdns);
        scan.lister.setHandler([](const ShareLister::Request &) { return exited(0, QStringLiteral("Disk|docs|\n")); });
        QSignalSpy finished(scan.manager.get(), &NetworkDiscoveryManager::shareBrowsingFinished);
        scan.manager->browseShares(DiscoveredShare::make(host, QStringLiteral("SMB"), 445), QStringLiteral("ann"),
                                   QStringLiteral("pw"));
        QVERIFY(finished.wait(5000));
        QCOMPARE(scan.lister.requests().value(0).host, listedHost);
        QCOMPARE(scan.lister.requests().value(0).user, QStringLiteral("ann"));
        const ShareInfo share = scan.manager->availableShares().value(0);
        QCOMPARE(share.serverHost, listedHost);
        QCOMPARE(share.serverIP.has_value(), listedHost == mdns);
        for (const QString &line : lines)
            QVERIFY2(console.hasLine(line), qPrintable(line));
    }

    void addShareMakesRecord()
    {
        EngineHarness harness;
        ShareInfo share;
        share.name = QStringLiteral("docs");
        share.serverHost = QStringLiteral("192.0.2.5");
        const auto server = DiscoveredShare::make(QStringLiteral("192.0.2.5"), QStringLiteral("SMB"), 1445,
                                                  QStringLiteral("192.0.2.5"));
        const qint64 guest = NetworkDiscoveryManager::addShare(*harness.engine, server, share, QString(), QString());
        const qint64 user = NetworkDiscoveryManager::addShare(*harness.engine, server, share, QStringLiteral("ann"),
                                                              QStringLiteral("pw"));
        QVERIFY(guest > 0 && user > guest);
        const VolumeRecord *a = harness.engine->record(guest);
        const VolumeRecord *b = harness.engine->record(user);
        QVERIFY(a && b);
        QCOMPARE(a->hostname_String, QStringLiteral("192.0.2.5"));
        QCOMPARE(a->volume_String, QStringLiteral("docs"));
        QCOMPARE(a->port_Int, std::optional<qint64>(1445));
        QCOMPARE(a->no_password_guest_login, 1);
        QCOMPARE(b->username_String, QStringLiteral("ann"));
        QCOMPARE(b->no_password_guest_login, 0);
        QVERIFY(harness.hasLine(QStringLiteral("✅ [ADD] Added share '%1' with share name pre-filled!").arg(a->displayName())));
    }

    // The control interface adds only a share that the last listing of the same server named.
    void controlAddsOnlyListedShares()
    {
        EngineHarness harness;
        Scan scan;
        scan.lister.setHandler([](const ShareLister::Request &) { return exited(0, QStringLiteral("Disk|docs|\n")); });
        DiscoveryControl control(*scan.manager, *harness.engine);
        const QString host = QStringLiteral("192.0.2.5");
        QCOMPARE(control.AddShare(host, 0, QString(), QString(), QStringLiteral("docs")), 0); // nothing listed yet
        QSignalSpy finished(scan.manager.get(), &NetworkDiscoveryManager::shareBrowsingFinished);
        control.ListShares(host, 1445, QString(), QString());
        QVERIFY(finished.wait(5000));
        QCOMPARE(scan.lister.requests().value(0).port, 1445);
        QCOMPARE(control.AddShare(host, 1445, QString(), QString(), QStringLiteral("other")), 0);
        QCOMPARE(control.AddShare(QStringLiteral("192.0.2.6"), 1445, QString(), QString(), QStringLiteral("docs")), 0);
        const qint64 id = control.AddShare(host, 1445, QString(), QString(), QStringLiteral("docs"));
        QVERIFY(id > 0);
        QCOMPARE(harness.engine->record(id)->volume_String, QStringLiteral("docs"));
        QCOMPARE(harness.engine->record(id)->port_Int, std::optional<qint64>(1445));
        QCOMPARE(DiscoveryControl::serversJson({DiscoveredShare::make(host, QStringLiteral("SMB"), 445, host)}),
                 QString::fromUtf8(R"json([{"displayName":"192.0.2.5 (SMB)","hostname":"192.0.2.5","ipAddress":"192.0.2.5",)json"
                                   R"json("port":445,"protocolType":"SMB"}])json"));
    }
};


QTEST_GUILESS_MAIN(TestDiscovery)
#include "tst_discovery.moc"
