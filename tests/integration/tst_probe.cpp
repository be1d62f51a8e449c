// The reachability probe and Wake-on-LAN against real loopback sockets: an open port, a closed port, a
// port whose accept queue is full (SYNs are dropped: a server that never answers), and a UDP receiver.
#include "base/Console.h"
#include "base/Defaults.h"
#include "base/Preferences.h"
#include "core/NetworkTester.h"
#include "core/WakeOnLan.h"
#include "platform/linux/LinuxNetworkProbe.h"

#include <QElapsedTimer>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace {

// A socket bound to 127.0.0.1 on an ephemeral port; closed on destruction.
struct LoopbackSocket
{
    int fd = -1;
    quint16 port = 0;

    explicit LoopbackSocket(int type)
    {
        fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0)
            return;
        socklen_t len = sizeof a;
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&a), &len);
        port = ntohs(a.sin_port);
    }
    ~LoopbackSocket() { close(); }
    void close()
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
};

} // namespace

class TestProbe : public QObject
{
    Q_OBJECT

private:
    QMutex m_mutex;
    QStringList m_lines;
    LinuxNetworkProbe m_network; // the wake destination is never used here
    QTemporaryDir m_dir;

    QStringList lines()
    {
        QMutexLocker lock(&m_mutex);
        return m_lines;
    }

private Q_SLOTS:
    void init()
    {
        {
            QMutexLocker lock(&m_mutex);
            m_lines.clear();
        }
        Console::setSink([this](const QString &line) {
            QMutexLocker lock(&m_mutex);
            m_lines << line;
        });
    }
    void cleanup() { Console::setSink({}); }

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
        LoopbackSocket listener(SOCK_STREAM);
        QVERIFY(listener.port != 0);
        QCOMPARE(::listen(listener.fd, 16), 0);

        const SelectResult result = NetworkTester(2, m_network).probe(host, address, listener.port);
        QCOMPARE(result, SelectResult::ready());
        const QStringList seen = lines();
        QCOMPARE(seen.value(0), NetworkTester::kSetupLine);
        QCOMPARE(seen.value(1), NetworkTester::kPreparingLine);
        QCOMPARE(seen.size(), 2);
    }

    void closedPortTimesOutAtOnce()
    {
        LoopbackSocket unused(SOCK_STREAM);
        const quint16 port = unused.port;
        unused.close(); // nothing listens there now

        constexpr int primary = 5;
        QElapsedTimer timer;
        timer.start();
        const SelectResult result = NetworkTester(primary, m_network).probe(QStringLiteral("127.0.0.1"), QString(), port);
        const qint64 ms = timer.elapsed();
        qInfo("closed port: timeout after %lld ms (primary %d s)", ms, primary);
        QCOMPARE(result, SelectResult::timeout());
        QVERIFY2(ms < primary * 1000, "a refused connection must not wait for the primary time-out");
        bool waiting = false;
        for (const QString &line : lines())
            waiting = waiting || line.startsWith(NetworkTester::kWaitingPrefix);
        QVERIFY(waiting);
        QVERIFY(!lines().contains(NetworkTester::kPrimaryTimeoutLine));
    }

    void silentServerTimesOutAfterPrimary()
    {
        // listen(fd, 0) keeps one connection in the accept queue; once it is full, the kernel drops further
        // SYNs, so the probe's connection neither succeeds nor fails: a server that never answers.
        LoopbackSocket listener(SOCK_STREAM);
        QCOMPARE(::listen(listener.fd, 0), 0);
        std::vector<int> fillers;
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        a.sin_port = htons(listener.port);
        for (int i = 0; i < 4; ++i) {
            const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
            ::connect(fd, reinterpret_cast<sockaddr *>(&a), sizeof a);
            fillers.push_back(fd);
        }
        QTest::qWait(100);

        // The time-out comes from the preferences domain.
        QVERIFY(m_dir.isValid());
        Defaults defaults(m_dir.filePath(QStringLiteral("prefs.plist")));
        QVERIFY(defaults.setValue(Preferences::Keys::TcpConnectionTimeout, 1));

        QElapsedTimer timer;
        timer.start();
        const SelectResult result = NetworkTester(&defaults, m_network).probe(QStringLiteral("127.0.0.1"), QString(), listener.port);
        const qint64 ms = timer.elapsed();
        qInfo("silent server: timeout after %lld ms (primary 1 s)", ms);
        for (int fd : fillers)
            ::close(fd);

        QCOMPARE(result, SelectResult::timeout());
        QVERIFY2(ms >= 950, "returned before the primary time-out");
        QVERIFY2(ms <= 3000, "returned later than primary + 2 s");
        QVERIFY(lines().contains(NetworkTester::kPrimaryTimeoutLine));
    }

    void completesOnce()
    {
        // After a probe returns, neither the backup time-out nor the cancelled connection says anything.
        LoopbackSocket listener(SOCK_STREAM);
        QCOMPARE(::listen(listener.fd, 0), 0);
        QCOMPARE(NetworkTester(1, m_network).probe(QStringLiteral("127.0.0.1"), QString(), listener.port), SelectResult::ready());
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
        LoopbackSocket receiver(SOCK_DGRAM);
        QVERIFY(receiver.port != 0);
        LinuxNetworkProbe toReceiver(QStringLiteral("127.0.0.1"), receiver.port);
        QVERIFY(WakeOnLan::send(toReceiver, mac));
        pollfd p{receiver.fd, POLLIN, 0};
        QCOMPARE(::poll(&p, 1, 2000), 1);
        char buffer[512];
        const auto n = ::recv(receiver.fd, buffer, sizeof buffer, 0);
        QCOMPARE(n, 102);
        QByteArray expected(6, char(0xFF));
        for (int i = 0; i < 16; ++i)
            expected += QByteArray::fromHex("AABBCCDDEEFF");
        QCOMPARE(QByteArray(buffer, int(n)), expected);
        QCOMPARE(lines(), QStringList{WakeOnLan::kSentPrefix + mac});
    }
};

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
