// The Linux directory port's readings of its tools: `realm list`, sssd's configuration, `id -Gnz`/`id -Gn`
// and the GECOS field; and the port end to end over scripted children.
#include "platform/linux/LinuxDirectoryService.h"
#include "platform/fake/FakeProcessLauncher.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

// As realmd prints it for a machine joined to a domain (and a second, merely discovered realm).
const char kJoined[] = "corp.example.com\n"
                       "  type: kerberos\n"
                       "  realm-name: CORP.EXAMPLE.COM\n"
                       "  domain-name: corp.example.com\n"
                       "  configured: kerberos-member\n"
                       "  server-software: active-directory\n"
                       "  client-software: sssd\n"
                       "  required-package: sssd-tools\n"
                       "  login-formats: %U@corp.example.com\n"
                       "  login-policy: allow-realm-logins\n";
const char kDiscovered[] = "lab.example.org\n"
                           "  type: kerberos\n"
                           "  realm-name: LAB.EXAMPLE.ORG\n"
                           "  domain-name: lab.example.org\n"
                           "  configured: no\n"
                           "  server-software: active-directory\n";

ProcessLauncher::Result ran(const QByteArray &out, int code = 0)
{
    ProcessLauncher::Result r;
    r.started = true;
    r.exitCode = code;
    r.standardOutput = out;
    return r;
}

} // namespace

class TestDirectoryLinux : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void realmList_data();
    void realmList();
    void sssdConfig_data();
    void sssdConfig();
    void idOutput_data();
    void idOutput();
    void gecos_data();
    void gecos();
    void boundDomainFallsBackToSssd();
    void groupsAndUser();
};

void TestDirectoryLinux::realmList_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("domain");
    QTest::newRow("joined") << QString::fromUtf8(kJoined) << QStringLiteral("corp.example.com");
    QTest::newRow("discovered only") << QString::fromUtf8(kDiscovered) << QString();
    QTest::newRow("discovered, then joined")
        << QString::fromUtf8(kDiscovered) + QString::fromUtf8(kJoined) << QStringLiteral("corp.example.com");
    QTest::newRow("nothing") << QString() << QString();
    QTest::newRow("configured without a domain-name line")
        << QStringLiteral("ad.example\n  configured: kerberos-member\n") << QStringLiteral("ad.example");
}

void TestDirectoryLinux::realmList()
{
    QFETCH(QString, output);
    QTEST(LinuxDirectoryService::domainFromRealmList(output), "domain");
}

void TestDirectoryLinux::sssdConfig_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("domain");
    QTest::newRow("first of several") << QStringLiteral("[sssd]\nservices = nss, pam\ndomains = corp.example.com, lab\n")
                                      << QStringLiteral("corp.example.com");
    QTest::newRow("only in a domain section")
        << QStringLiteral("[sssd]\nservices = nss\n[domain/corp]\ndomains = x\n") << QString();
    QTest::newRow("commented out") << QStringLiteral("[sssd]\n# domains = corp\n") << QString();
    QTest::newRow("spacing") << QStringLiteral("  [sssd]\n  domains=  corp  \n") << QStringLiteral("corp");
}

void TestDirectoryLinux::sssdConfig()
{
    QFETCH(QString, text);
    QTEST(LinuxDirectoryService::domainFromSssdConfig(text), "domain");
}

void TestDirectoryLinux::idOutput_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QStringList>("groups");
    QTest::newRow("NUL-separated keeps spaces") << QByteArray("ann\0domain users\0Staff\0", 23)
                                               << QStringList{QStringLiteral("ann"), QStringLiteral("domain users"), QStringLiteral("Staff")};
    QTest::newRow("space-separated") << QByteArray("ann sudo staff\n")
                                     << QStringList{QStringLiteral("ann"), QStringLiteral("sudo"), QStringLiteral("staff")};
    QTest::newRow("empty") << QByteArray("\n") << QStringList{};
}

void TestDirectoryLinux::idOutput()
{
    QFETCH(QByteArray, output);
    QTEST(LinuxDirectoryService::groupsFromIdOutput(output), "groups");
}

void TestDirectoryLinux::gecos_data()
{
    QTest::addColumn<QString>("gecos");
    QTest::addColumn<QString>("name");
    QTest::newRow("full") << QStringLiteral("Ann Lee,Room 1,555,") << QStringLiteral("Ann Lee");
    QTest::newRow("plain") << QStringLiteral("Ann Lee") << QStringLiteral("Ann Lee");
    QTest::newRow("empty") << QStringLiteral(",,,") << QString();
}

void TestDirectoryLinux::gecos()
{
    QFETCH(QString, gecos);
    QTEST(LinuxDirectoryService::fullNameFromGecos(gecos), "name");
}

void TestDirectoryLinux::boundDomainFallsBackToSssd()
{
    QTemporaryDir dir;
    const QString config = dir.filePath(QStringLiteral("sssd.conf"));
    FakeProcessLauncher launcher;
    LinuxDirectoryService service(launcher, config);

    // realmd not installed, no sssd configuration: not bound, and the failure is named.
    launcher.setHandler([](const ProcessLauncher::Request &) {
        ProcessLauncher::Result r;
        r.errorText = QStringLiteral("execvp: No such file or directory");
        return r;
    });
    auto lookup = service.boundDomain();
    QVERIFY(!lookup.ran);
    QVERIFY(lookup.domain.isEmpty());
    QCOMPARE(lookup.error, QStringLiteral("realm list: execvp: No such file or directory"));

    QFile file(config);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[sssd]\ndomains = corp.example.com\n");
    file.close();
    lookup = service.boundDomain();
    QVERIFY(lookup.ran);
    QCOMPARE(lookup.domain, QStringLiteral("corp.example.com"));

    // realmd's answer wins when it names a joined realm.
    launcher.setHandler([](const ProcessLauncher::Request &) { return ran(QByteArray(kJoined).replace("corp.", "ad.")); });
    QCOMPARE(service.boundDomain().domain, QStringLiteral("ad.example.com"));
    const auto request = launcher.requests().last();
    QCOMPARE(request.program, QStringLiteral("realm"));
    QCOMPARE(request.arguments, QStringList{QStringLiteral("list")});
}

void TestDirectoryLinux::groupsAndUser()
{
    FakeProcessLauncher launcher;
    LinuxDirectoryService service(launcher, QStringLiteral("/nonexistent"));
    launcher.setHandler([](const ProcessLauncher::Request &) { return ran(QByteArray("a\0b c\0", 6)); });
    const auto groups = service.currentUserGroups();
    QVERIFY(groups.ran);
    QCOMPARE(groups.groups, (QStringList{QStringLiteral("a"), QStringLiteral("b c")}));
    QCOMPARE(launcher.requests().last().program, QStringLiteral("id"));

    launcher.setHandler([](const ProcessLauncher::Request &) { return ran("id: cannot find name for group ID 5\n", 1); });
    QVERIFY(!service.currentUserGroups().ran);

    // The password database always knows the user running the test.
    const auto user = service.currentUserRecord();
    QVERIFY(user);
    QVERIFY(!user->userName.isEmpty());
    QVERIFY(user->homeDirectory);
}

QTEST_GUILESS_MAIN(TestDirectoryLinux)
#include "tst_directory_linux.moc"
