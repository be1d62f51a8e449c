// Probe rules that need no network: skip tables, literal hosts, resolution-failure wording, failure
// messages, the magic packet, and the probe's argument checks.
#include "UnitTestHelpers.h"
#include "core/NetworkTester.h"
#include "core/WakeOnLan.h"
#include "platform/fake/FakeNetworkProbe.h"

#include <QTest>

class TestNetworkTester : public QObject
{
    Q_OBJECT

private:
    ConsoleCapture m_console;

private Q_SLOTS:
    void init() { m_console.lines.clear(); }

    void skip_data()
    {
        QTest::addColumn<bool>("isAddress"); // a resolved address, not a host name from the record
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line"); // empty: not skipped
        const auto row = [](bool isAddress, const char *text, const QString &prefix) {
            const QString value = QString::fromUtf8(text);
            QTest::addRow("%s '%s'", isAddress ? "address" : "host", text)
                << isAddress << value << (prefix.isEmpty() ? QString() : prefix + value);
        };
        row(false, "localhost", NetworkTester::kSkipLocalhostPrefix);
        row(false, "LOCALHOST", NetworkTester::kSkipLocalhostPrefix);
        row(false, "::1", NetworkTester::kSkipLocalhostPrefix);
        row(false, " localhost", {});
        row(false, "127.0.1.1", {}); // only the loopback names, not the range
        row(false, "[::1]", {});
        row(false, "172.17.0.2", NetworkTester::kSkipDockerBridgePrefix);
        row(false, "172.16.5.5", {}); // 172.17 to 172.31 only
        row(false, "172.31.255.1", NetworkTester::kSkipDockerPrefix);
        row(false, "172.32.0.1", {});
        row(false, "172.17", NetworkTester::kSkipDockerPrefix);
        row(false, "172.x.0.1", {});
        row(false, "nas.example.org", {});
        row(false, "", {});
        row(true, "127.0.1.1", NetworkTester::kSkipLoopbackIPPrefix);
        row(true, "172.16.0.1", {});
        row(true, "172.17.0.9", NetworkTester::kSkipDockerIPPrefix);
        row(true, "172.31.0.9", NetworkTester::kSkipDockerIPPrefix);
        row(true, "172.32.0.9", {});
        row(true, "1270.0.0.1", {});
        row(true, "::1", {}); // not a 127. address
    }
    void skip()
    {
        QFETCH(bool, isAddress);
        QFETCH(QString, text);
        QFETCH(QString, line);
        const bool skipped = isAddress ? NetworkTester::shouldSkipAddress(text) : NetworkTester::shouldSkipHost(text);
        QCOMPARE(skipped, !line.isEmpty());
        QCOMPARE(m_console.lines, line.isEmpty() ? QStringList() : QStringList{line});
    }

    // A name-resolution failure on a numeric endpoint is told as a failed connection; any other text stays.
    void failureMessage_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("message");
        const QString connect = QStringLiteral("Could not connect to 10.0.0.5:445");
        // One row per marker, in other case than the marker's.
        for (const char *text : {"DNS error -65554", "host is Unresolvable", "That is NOT VALID IP",
                                 "The name could not be resolved.", "Hostname could not be found",
                                 "nodename nor servname provided, or not known"})
            QTest::newRow(text) << "10.0.0.5" << 445 << QString::fromUtf8(text) << connect;
        for (const char *text : {"Connection refused", "resolved", ""})
            QTest::newRow(text) << "10.0.0.5" << 445 << QString::fromUtf8(text) << QString::fromUtf8(text);
        QTest::newRow("numeric v6") << "fe80::2" << 548 << "unresolvable" << "Could not connect to fe80::2:548";
        QTest::newRow("name") << "nas.lan" << 445 << "DNS resolution failed" << "DNS resolution failed";
    }
    void failureMessage()
    {
        QFETCH(QString, endpoint);
        QFETCH(int, port);
        QFETCH(QString, description);
        QTEST(NetworkTester::failureMessage(endpoint, port, description), "message");
    }

    void answersWithoutNetwork()
    {
        FakeNetworkProbe network;
        network.setResolved(QStringLiteral("nas.test"), QStringLiteral("192.0.2.4"));
        QCOMPARE(NetworkTester::resolveHostName(network, QStringLiteral(" [2001:db8::7] ")), QStringLiteral("2001:db8::7"));
        QCOMPARE(m_console.lines, QStringList{NetworkTester::kDnsNumericLiteralPrefix + QStringLiteral("2001:db8::7")});
        QCOMPARE(NetworkTester::resolveHostName(network, QString()), QStringLiteral("0.0.0.0"));
        QCOMPARE(network.resolveCalls(), 0); // literals and nothing are never looked up
        QCOMPARE(NetworkTester::resolveHostName(network, QStringLiteral("nas.test")), QStringLiteral("192.0.2.4"));
        m_console.lines.clear();

        // No endpoint: an error before anything else, even without preferences.
        const SelectResult empty = NetworkTester(nullptr, network).probe(QString(), QString(), 445);
        QCOMPARE(empty, SelectResult::error(QStringLiteral("No Hostname or IP provided")));
        const SelectResult noApp = NetworkTester(nullptr, network).probe(QStringLiteral("127.0.0.1"), QString(), 445);
        QCOMPARE(noApp, SelectResult::error(QStringLiteral("Could not access AppDelegate")));
        QCOMPARE(network.probeCalls(), 0); // no connection was made

        // The port's failure reads as the engine words it.
        network.setProbeResult(SelectResult::error(QStringLiteral("DNS resolution failed for x")));
        QCOMPARE(NetworkTester(1, network).probe(QString(), QStringLiteral("192.0.2.4"), 445),
                 SelectResult::error(QStringLiteral("Could not connect to 192.0.2.4:445")));
    }

    void magicPacket_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QByteArray>("mac"); // empty: nothing is sent
        const QByteArray abc = QByteArray::fromHex("AABBCCDDEEFF");
        QTest::newRow("bare") << "AABBCCDDEEFF" << abc;
        QTest::newRow("mixed case and separators") << "aA-Bb:cC-dD:Ee-fF" << abc;
        QTest::newRow("odd grouping") << "A:AB:BC:CD:DE:EF:F" << abc;
        QTest::newRow("other bytes") << "01:23:45:67:89:ab" << QByteArray::fromHex("0123456789AB");
        QTest::newRow("11 digits") << "AA:BB:CC:DD:EE:F" << QByteArray();
        QTest::newRow("13 digits") << "AA:BB:CC:DD:EE:FF:0" << QByteArray();
        QTest::newRow("not hex") << "GG:BB:CC:DD:EE:FF" << QByteArray();
        QTest::newRow("sign in pair") << "+A:BB:CC:DD:EE:FF" << QByteArray();
    }
    void magicPacket()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, mac);
        const auto packet = WakeOnLan::magicPacket(address);
        QCOMPARE(packet.has_value(), !mac.isEmpty());
        FakeNetworkProbe network;
        QCOMPARE(WakeOnLan::send(network, address), packet.has_value());
        if (!packet) {
            QVERIFY(network.wakePackets().isEmpty()); // a malformed address sends nothing, silently
            QVERIFY(m_console.lines.isEmpty());
            return;
        }
        QCOMPARE(network.wakePackets(), QList<QByteArray>{*packet});
        QCOMPARE(m_console.lines, QStringList{WakeOnLan::kSentPrefix + address});
        QCOMPARE(packet->size(), 102);
        QCOMPARE(packet->left(6), QByteArray(6, char(0xFF)));
        for (int i = 0; i < 16; ++i)
            QCOMPARE(packet->mid(6 + 6 * i, 6), mac);
    }
};

QTEST_GUILESS_MAIN(TestNetworkTester)
#include "tst_networktester.moc"
