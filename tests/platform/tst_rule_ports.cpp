// Pure parts of the Linux ports behind the rules: desktop-entry Exec lines, VPN interface names, the
// kernel's mains supply, and the /proc scan with launches between scans (over folders made here).
#include "platform/linux/LinuxVpnMonitor.h"
#include "platform/linux/ProcRunningApplications.h"
#include "platform/linux/UPowerPowerSource.h"
#include "unit/UnitTestHelpers.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {
// Writes a file of the test's /proc or applications tree, making its folders.
void write(const QString &path, const QByteArray &content)
{
    QVERIFY(writeFile(path, content));
}
} // namespace

class TestRulePorts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void execProgram_data()
    {
        QTest::addColumn<QString>("exec");
        QTest::addColumn<QString>("program");
        QTest::newRow("plain") << "firefox-esr %u" << "firefox-esr";
        QTest::newRow("absolute") << "/usr/lib/libreoffice/program/soffice --writer %U" << "soffice";
        QTest::newRow("quoted with space") << "\"/opt/My App/bin/myapp\" --x" << "myapp";
        QTest::newRow("env prefix") << "env GDK_BACKEND=x11 BAMF=1 /usr/bin/code --new-window" << "code";
        QTest::newRow("empty") << "" << "";
    }
    void execProgram()
    {
        QFETCH(QString, exec);
        QTEST(ProcRunningApplications::execProgram(exec), "program");
    }

    void vpnInterfaces_data()
    {
        QTest::addColumn<QString>("names"); // space-separated
        QTest::addColumn<QString>("vpn");   // empty: none
        QTest::newRow("none") << "lo eth0 wlan0" << "";
        QTest::newRow("first in order") << "lo wg0 tun1" << "wg0";
        QTest::newRow("every prefix") << "eth0 ipsec0" << "ipsec0";
        QTest::newRow("tap") << "tap3" << "tap3";
        QTest::newRow("prefix only at the start") << "vethwg0 mytun" << "";
    }
    void vpnInterfaces()
    {
        QFETCH(QString, names);
        const QStringList list = names.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QTEST(LinuxVpnMonitor::firstVpnInterface(list).value_or(QString()), "vpn");
    }

    void mainsSupply()
    {
        QTemporaryDir dir;
        QCOMPARE(UPowerPowerSource::mainsOnline(dir.path()), std::nullopt); // desktop: no supply at all
        write(dir.filePath(QStringLiteral("BAT0/type")), "Battery\n");
        write(dir.filePath(QStringLiteral("BAT0/online")), "1\n");
        write(dir.filePath(QStringLiteral("AC/type")), "Mains\n");
        write(dir.filePath(QStringLiteral("AC/online")), "0\n");
        QCOMPARE(UPowerPowerSource::mainsOnline(dir.path()), std::optional<bool>(false));
        write(dir.filePath(QStringLiteral("ADP1/type")), "Mains\n");
        write(dir.filePath(QStringLiteral("ADP1/online")), "1\n");
        QCOMPARE(UPowerPowerSource::mainsOnline(dir.path()), std::optional<bool>(true));
        // Without a system bus the kernel answers.
        UPowerPowerSource source(QDBusConnection(QStringLiteral("none")), dir.path());
        QVERIFY(source.isOnPower());
    }

    void procScanAndLaunches()
    {
        QTemporaryDir proc, apps;
        write(proc.filePath(QStringLiteral("1/comm")), "systemd\n");
        write(proc.filePath(QStringLiteral("self/comm")), "ignored\n");
        write(proc.filePath(QStringLiteral("200/comm")), "firefox-esr\n");
        write(apps.filePath(QStringLiteral("firefox-esr.desktop")),
              "[Desktop Entry]\nName=Firefox ESR\nExec=/usr/lib/firefox-esr/firefox-esr %u\n[Desktop Action "
              "new]\nName=New Window\n");
        write(apps.filePath(QStringLiteral("helper.desktop")),
              "[Desktop Entry]\nName=Helper\nExec=systemd\nNoDisplay=true\n");
        ProcRunningApplications running(proc.path(), { apps.path() });
        const QStringList names = running.names();
        QVERIFY(names.contains(QStringLiteral("Firefox ESR")));
        QVERIFY(names.contains(QStringLiteral("firefox-esr")));
        QVERIFY(names.contains(QStringLiteral("systemd")));
        QVERIFY(!names.contains(QStringLiteral("Helper")));
        QVERIFY(!names.contains(QStringLiteral("ignored")));

        QSignalSpy launched(&running, &RunningApplications::applicationLaunched);
        running.start();
        write(proc.filePath(QStringLiteral("300/comm")), "tarnwelltestapp\n");
        write(proc.filePath(QStringLiteral("301/comm")), "tarnwelltestapp\n");
        QVERIFY(launched.wait(ProcRunningApplications::kScanIntervalMs + 2000));
        QCOMPARE(launched.size(), 1); // two processes of one application: one launch
        QCOMPARE(launched.at(0).at(0).toString(), QStringLiteral("tarnwelltestapp"));
        // An evaluation right after the launch sees it in the scan that found it.
        QVERIFY(running.names().contains(QStringLiteral("tarnwelltestapp")));
        running.stop();
    }
};

QTEST_GUILESS_MAIN(TestRulePorts)
#include "tst_rule_ports.moc"
