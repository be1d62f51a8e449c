// The reachability probe and Wake-on-LAN against real loopback sockets: an open port, a closed port, a
// port whose accept queue is full (SYNs are dropped: a server that never answers), and a UDP receiver.
#include "unit/UnitTestHelpers.h"

#include "base/Defaults.h"
#include "base/Preferences.h"
#include "core/NetworkTester.h"
#include "core/WakeOnLan.h"
#include "platform/linux/LinuxNetworkProbe.h"

#include "support/linux/TestStack.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

#include <memory>
#include <thread>
#include <vector>

class TestProbe : public QObject
{
    Q_OBJECT

private:
    ConsoleCapture m_console; // lines may come from the probe's threads
    LinuxNetworkProbe m_network; // the wake destination is never used here
    QTemporaryDir m_dir;

    QStringList lines() { return m_console.startingWith(QString()); } // a copy, taken under its lock

private Q_SLOTS:
    void init()
    {
        QMutexLocker lock(&m_console.mutex);
        m_console.lines.clear();
    }

    void openPortIsReady_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("address");
        QTest::newRow("numeric host") << "127.0.0.1" << "";
        QTest::newRow("address only") << "" << "127.0.0.1";
        QTest::newRow("host wins over address") << "127.0.0.1" << "127.0.0.2"; // nothing listens on .2
        QTest::newRow("name (may try ::1 first)") << "localhost" << "";
    }
    void openPortIsReady()
    {
        QFETCH(QString, host);
        QFETCH(QString, address);
        QTcpServer listener;
        QVERIFY(listener.listen(QHostAddress::LocalHost, 0));

        const SelectResult result = NetworkTester(2, m_network).probe(host, address, listener.serverPort());
        QCOMPARE(result, SelectResult::ready());
        QCOMPARE(lines(), (QStringList{NetworkTester::kSetupLine, NetworkTester::kPreparingLine}));
    }

    void closedPortTimesOutAtOnce()
    {
        const quint16 port = TestStack::freePort();

        constexpr int primary = 5;
        QElapsedTimer timer;
        timer.start();
        const SelectResult result = NetworkTester(primary, m_network).probe(QStringLiteral("127.0.0.1"), QString(), port);
        const qint64 ms = timer.elapsed();
        qInfo("closed port: timeout after %lld ms (primary %d s)", ms, primary);
        QCOMPARE(result, SelectResult::timeout());
        QVERIFY2(ms < primary * 1000, "a refused connection must not wait for the primary time-out");
        QVERIFY(!m_console.startingWith(NetworkTester::kWaitingPrefix).isEmpty());
        QVERIFY(!lines().contains(NetworkTester::kPrimaryTimeoutLine));
    }

    void silentServerTimesOutAfterPrimary()
    {
        // A backlog of 0 keeps one connection in the accept queue, and nothing accepts it; once it is full, the
        // kernel drops further SYNs, so the probe's connection neither succeeds nor fails: a server that never
        // answers.
        QTcpServer listener;
        listener.setListenBacklogSize(0);
        QVERIFY(listener.listen(QHostAddress::LocalHost, 0));
        listener.pauseAccepting();
        std::vector<std::unique_ptr<QTcpSocket>> fillers;
        for (int i = 0; i < 4; ++i) {
            fillers.push_back(std::make_unique<QTcpSocket>());
            fillers.back()->connectToHost(QHostAddress::LocalHost, listener.serverPort());
        }
        QTest::qWait(100);

        // The time-out comes from the preferences domain.
        QVERIFY(m_dir.isValid());
        Defaults defaults(m_dir.filePath(QStringLiteral("prefs.plist")));
        QVERIFY(defaults.setValue(Preferences::Keys::TcpConnectionTimeout, 1));

        QElapsedTimer timer;
        timer.start();
        const SelectResult result =
            NetworkTester(&defaults, m_network).probe(QStringLiteral("127.0.0.1"), QString(), listener.serverPort());
        const qint64 ms = timer.elapsed();
        qInfo("silent server: timeout after %lld ms (primary 1 s)", ms);
        fillers.clear();

        QCOMPARE(result, SelectResult::timeout());
        QVERIFY2(ms >= 950, "returned before the primary time-out");
        QVERIFY2(ms <= 3000, "returned later than primary + 2 s");
        QVERIFY(lines().contains(NetworkTester::kPrimaryTimeoutLine));
    }

    void completesOnce()
    {
        // After a probe returns, neither the backup time-out nor the cancelled connection says anything.
        QTcpServer listener;
        QVERIFY(listener.listen(QHostAddress::LocalHost, 0));
        QCOMPARE(NetworkTester(1, m_network).probe(QStringLiteral("127.0.0.1"), QString(), listener.serverPort()),
                 SelectResult::ready());
        const QStringList before = lines();
        std::this_thread::sleep_for(std::chrono::milliseconds(3300)); // past primary + 2 s
        QCOMPARE(lines(), before);
        QVERIFY(!before.contains(NetworkTester::kBackupTimeoutLine));
    }

    void resolveLocalhost()
    {
        const QString address = NetworkTester::resolveHostName(m_network, QStringLiteral("localhost"));
        QVERIFY2(address == QLatin1String("127.0.0.1") || address == QLatin1String("::1"), qPrintable(address));
        QVERIFY(lines().isEmpty()); // a name, not a literal: no "skipping" line
    }

    void wakeOnLanToLoopbackReceiver()
    {
        // The accepted spellings and the refusals are the unit tests' table; here the datagram really leaves.
        const QString mac = QStringLiteral("aa-bb-cc-dd-ee-ff");
        QUdpSocket receiver;
        QVERIFY(receiver.bind(QHostAddress::LocalHost, 0));
        LinuxNetworkProbe toReceiver(QStringLiteral("127.0.0.1"), receiver.localPort());
        QVERIFY(WakeOnLan::send(toReceiver, mac));
        QVERIFY(receiver.waitForReadyRead(2000));
        QByteArray expected(6, char(0xFF));
        for (int i = 0; i < 16; ++i)
            expected += QByteArray::fromHex("AABBCCDDEEFF");
        QCOMPARE(receiver.receiveDatagram().data(), expected); // 102 bytes
        QCOMPARE(lines(), QStringList{WakeOnLan::kSentPrefix + mac});
    }
};

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
