// The Wi-Fi and sleep ports against the test stack's private system bus, where python3-dbusmock stands in
// for NetworkManager and logind (tests/stack/components/mocks.sh switches networks and sends wake-ups).
#include "support/linux/TestStack.h"

#include "platform/linux/LogindSleepMonitor.h"
#include "platform/linux/NetworkManagerWifi.h"

#include <QSignalSpy>
#include <QTest>

using TestStack::mocks;

class TestNetworkSleepPorts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("DBUS_SYSTEM_BUS_ADDRESS") || qEnvironmentVariableIsEmpty("TW_MOCK_NM_PID"))
            QSKIP("the test stack's system bus mocks are not running");
        QVERIFY(QDBusConnection::systemBus().isConnected());
    }

    void followsWifiNetwork()
    {
        QVERIFY(mocks({QStringLiteral("ssid")})); // start off Wi-Fi
        NetworkManagerWifi wifi;
        QTRY_VERIFY(wifi.isKnown());
        QCOMPARE(wifi.currentNetworkName(), std::nullopt);

        QSignalSpy changed(&wifi, &WifiNetwork::currentNetworkChanged);
        QVERIFY(mocks({QStringLiteral("ssid"), QStringLiteral("Office")}));
        QTRY_COMPARE(wifi.currentNetworkName(), std::optional<QString>(QStringLiteral("Office")));
        QVERIFY(changed.size() >= 1);

        // Names are bytes on the air; UTF-8 ones come through intact.
        const QString cafe = QStringLiteral("Café ☕ Gäste");
        QVERIFY(mocks({QStringLiteral("ssid"), cafe}));
        QTRY_COMPARE(wifi.currentNetworkName(), std::optional<QString>(cafe));

        // Back to a network seen before (its access point already exists).
        QVERIFY(mocks({QStringLiteral("ssid"), QStringLiteral("Office")}));
        QTRY_COMPARE(wifi.currentNetworkName(), std::optional<QString>(QStringLiteral("Office")));

        changed.clear();
        QVERIFY(mocks({QStringLiteral("ssid")}));
        QTRY_COMPARE(wifi.currentNetworkName(), std::nullopt);
        QTRY_VERIFY(changed.size() >= 1);
        // No change, no signal: a burst of unrelated property changes is silent.
        changed.clear();
        QVERIFY(mocks({QStringLiteral("ssid")}));
        QTest::qWait(300);
        QCOMPARE(changed.size(), 0);
    }

    void absentWithoutNetworkManager()
    {
        // The session bus has no NetworkManager: the answer is "no network", known at once, without hanging.
        NetworkManagerWifi wifi(QDBusConnection::sessionBus());
        QTRY_VERIFY(wifi.isKnown());
        QCOMPARE(wifi.currentNetworkName(), std::nullopt);
    }

    void reportsSleepAndWake()
    {
        LogindSleepMonitor monitor;
        QVERIFY(monitor.isWatching());
        QSignalSpy sleeping(&monitor, &SleepMonitor::aboutToSleep);
        QSignalSpy resumed(&monitor, &SleepMonitor::resumed);
        QVERIFY(mocks({QStringLiteral("sleep")}));
        QTRY_COMPARE(sleeping.size(), 1);
        QCOMPARE(resumed.size(), 0);
        QVERIFY(mocks({QStringLiteral("resume")}));
        QTRY_COMPARE(resumed.size(), 1);
        QCOMPARE(sleeping.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestNetworkSleepPorts)
#include "tst_network_sleep_ports.moc"
