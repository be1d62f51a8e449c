// Probe rules that need no network: skip tables, literal hosts, resolution-failure wording, failure
// messages, the magic packet, and the probe's argument checks.
#include "app/Console.h"
#include "core/NetworkTester.h"
#include "core/WakeOnLan.h"

#include <QTest>

class TestNetworkTester : public QObject
{
    Q_OBJECT

private:
    QStringList m_lines;

private Q_SLOTS:
    void init()
    {
        m_lines.clear();
        Console::setSink([this](const QString &line) { m_lines << line; });
    }
    void cleanup() { Console::setSink({}); }

    void skipHost_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("line"); // empty: not skipped

        const QString local = NetworkTester::kSkipLocalhostPrefix;
        const QString bridge = NetworkTester::kSkipDockerBridgePrefix;
        const QString docker = NetworkTester::kSkipDockerPrefix;
        QTest::newRow("localhost") << "localhost" << local + QStringLiteral("localhost");
        QTest::newRow("upper-case LOCALHOST") << "LOCALHOST" << local + QStringLiteral("LOCALHOST");
        QTest::newRow("127.0.0.1") << "127.0.0.1" << local + QStringLiteral("127.0.0.1");
        QTest::newRow("::1") << "::1" << local + QStringLiteral("::1");
        QTest::newRow("other loopback is a host rule miss") << "127.0.1.1" << QString();
        QTest::newRow("bracketed ::1 is not the literal") << "[::1]" << QString();
        QTest::newRow("localhost with space") << " localhost" << QString();
        QTest::newRow("bridge 172.17.0.2") << "172.17.0.2" << bridge + QStringLiteral("172.17.0.2");
        QTest::newRow("172.16.5.5 probed") << "172.16.5.5" << QString();
        QTest::newRow("172.20.1.1") << "172.20.1.1" << docker + QStringLiteral("172.20.1.1");
        QTest::newRow("172.31.255.1") << "172.31.255.1" << docker + QStringLiteral("172.31.255.1");
        QTest::newRow("172.32.0.1 probed") << "172.32.0.1" << QString();
        QTest::newRow("two parts only") << "172.18" << docker + QStringLiteral("172.18");
        QTest::newRow("172.17 without dot is no bridge") << "172.17" << docker + QStringLiteral("172.17");
        QTest::newRow("second part not a number") << "172.x.0.1" << QString();
        QTest::newRow("second part empty") << "172..0.1" << QString();
        QTest::newRow("name starting 172") << "172-20.example" << QString();
        QTest::newRow("plain name") << "nas.example.org" << QString();
        QTest::newRow("empty") << "" << QString();
    }
    void skipHost()
    {
        QFETCH(QString, host);
        QFETCH(QString, line);
        QCOMPARE(NetworkTester::shouldSkipHost(host), !line.isEmpty());
        QCOMPARE(m_lines, line.isEmpty() ? QStringList() : QStringList{line});
    }

    void skipAddress_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("line");

        const QString loop = NetworkTester::kSkipLoopbackIPPrefix;
        const QString docker = NetworkTester::kSkipDockerIPPrefix;
        QTest::newRow("127.0.1.1") << "127.0.1.1" << loop + QStringLiteral("127.0.1.1");
        QTest::newRow("127.0.0.1") << "127.0.0.1" << loop + QStringLiteral("127.0.0.1");
        QTest::newRow("172.16.0.1 probed") << "172.16.0.1" << QString();
        QTest::newRow("172.17.0.2") << "172.17.0.2" << docker + QStringLiteral("172.17.0.2");
        QTest::newRow("172.31.0.9") << "172.31.0.9" << docker + QStringLiteral("172.31.0.9");
        QTest::newRow("172.32.0.1 probed") << "172.32.0.1" << QString();
        QTest::newRow("10.0.0.1") << "10.0.0.1" << QString();
        QTest::newRow("1270.0.0.1") << "1270.0.0.1" << QString();
        QTest::newRow("::1 is not a 127. address") << "::1" << QString();
        QTest::newRow("unresolved 0.0.0.0") << "0.0.0.0" << QString();
    }
    void skipAddress()
    {
        QFETCH(QString, address);
        QFETCH(QString, line);
        QCOMPARE(NetworkTester::shouldSkipAddress(address), !line.isEmpty());
        QCOMPARE(m_lines, line.isEmpty() ? QStringList() : QStringList{line});
    }

    void resolveLiteralIsNotLookedUp()
    {
        QCOMPARE(NetworkTester::resolveHostName(QStringLiteral(" [2001:db8::7] ")), QStringLiteral("2001:db8::7"));
        QCOMPARE(m_lines, QStringList{NetworkTester::kDnsNumericLiteralPrefix + QStringLiteral("2001:db8::7")});
        QCOMPARE(NetworkTester::resolveHostName(QString()), QStringLiteral("0.0.0.0"));
    }

    void nameResolutionFailure_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("expected");

        QTest::newRow("DNS upper") << "DNS error -65554" << true;
        QTest::newRow("unresolvable") << "host is Unresolvable" << true;
        QTest::newRow("not valid ip") << "That is NOT VALID IP" << true;
        QTest::newRow("could not be resolved") << "The name could not be resolved." << true;
        QTest::newRow("hostname could not") << "Hostname could not be found" << true;
        QTest::newRow("nodename") << "nodename nor servname provided, or not known" << true;
        QTest::newRow("refused") << "Connection refused" << false;
        QTest::newRow("timed out") << "Operation timed out" << false;
        QTest::newRow("resolved alone") << "resolved" << false;
        QTest::newRow("empty") << "" << false;
    }
    void nameResolutionFailure()
    {
        QFETCH(QString, text);
        QFETCH(bool, expected);
        QCOMPARE(NetworkTester::looksLikeNameResolutionFailure(text), expected);
    }

    void failureMessage_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("message");

        QTest::newRow("numeric v4 + dns") << "10.0.0.5" << 445 << "DNS resolution failed" << "Could not connect to 10.0.0.5:445";
        QTest::newRow("numeric v6 + dns") << "fe80::2" << 548 << "unresolvable" << "Could not connect to fe80::2:548";
        QTest::newRow("name + dns") << "nas.lan" << 445 << "DNS resolution failed" << "DNS resolution failed";
        QTest::newRow("numeric + other") << "10.0.0.5" << 445 << "Connection reset by peer" << "Connection reset by peer";
    }
    void failureMessage()
    {
        QFETCH(QString, endpoint);
        QFETCH(int, port);
        QFETCH(QString, description);
        QFETCH(QString, message);
        QCOMPARE(NetworkTester::failureMessage(endpoint, port, description), message);
    }

    void probeArguments()
    {
        // No endpoint: an error before anything else, even without preferences.
        const SelectResult empty = NetworkTester(nullptr).probe(QString(), QString(), 445);
        QCOMPARE(empty, SelectResult::error(QStringLiteral("No Hostname or IP provided")));
        const SelectResult noApp = NetworkTester(nullptr).probe(QStringLiteral("127.0.0.1"), QString(), 445);
        QCOMPARE(noApp, SelectResult::error(QStringLiteral("Could not access AppDelegate")));
        QVERIFY(m_lines.isEmpty()); // no connection was made
    }

    void magicPacket_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QByteArray>("mac"); // empty: nothing is sent

        const QByteArray abc = QByteArray::fromHex("AABBCCDDEEFF");
        QTest::newRow("colons") << "AA:BB:CC:DD:EE:FF" << abc;
        QTest::newRow("dashes lower") << "aa-bb-cc-dd-ee-ff" << abc;
        QTest::newRow("bare") << "AABBCCDDEEFF" << abc;
        QTest::newRow("mixed case and separators") << "aA-Bb:cC-dD:Ee-fF" << abc;
        QTest::newRow("odd grouping") << "A:AB:BC:CD:DE:EF:F" << abc;
        QTest::newRow("zeros") << "00:00:00:00:00:00" << QByteArray(6, '\0');
        QTest::newRow("other bytes") << "01:23:45:67:89:ab" << QByteArray::fromHex("0123456789AB");
        QTest::newRow("too short") << "AA:BB:CC" << QByteArray();
        QTest::newRow("too long") << "AA:BB:CC:DD:EE:FF:00" << QByteArray();
        QTest::newRow("11 digits") << "AA:BB:CC:DD:EE:F" << QByteArray();
        QTest::newRow("not hex") << "GG:BB:CC:DD:EE:FF" << QByteArray();
        QTest::newRow("spaces") << "AA BB CC DD EE FF" << QByteArray();
        QTest::newRow("sign in pair") << "+A:BB:CC:DD:EE:FF" << QByteArray();
        QTest::newRow("empty") << "" << QByteArray();
    }
    void magicPacket()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, mac);
        const auto packet = WakeOnLan::magicPacket(address);
        QCOMPARE(packet.has_value(), !mac.isEmpty());
        if (!packet)
            return;
        QCOMPARE(packet->size(), 102);
        QCOMPARE(packet->left(6), QByteArray(6, char(0xFF)));
        for (int i = 0; i < 16; ++i)
            QCOMPARE(packet->mid(6 + 6 * i, 6), mac);
    }

    void malformedAddressSendsNothing()
    {
        // The destination would be a loopback port; a malformed address must not even open a socket.
        QVERIFY(!WakeOnLan(QStringLiteral("127.0.0.1"), 9).send(QStringLiteral("AA:BB:CC")));
        QVERIFY(m_lines.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestNetworkTester)
#include "tst_networktester.moc"
