// The Linux directory port's readings of its tools: `realm list`, sssd's configuration, `id -Gnz`/`id -Gn`
// and the GECOS field; and the port end to end over scripted children.
#include "platform/linux/LinuxDirectoryService.h"
#include "platform/fake/FakeProcessLauncher.h"
#include "unit/UnitTestHelpers.h"

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

// One of the port's readings of a tool's text.
using Reading = QString (*)(const QString &);

} // namespace

Q_DECLARE_METATYPE(Reading)

class TestDirectoryLinux : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textReadings_data()
    {
        QTest::addColumn<Reading>("reading");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *tag, Reading reading, const QString &text, const char *expected) {
            QTest::newRow(tag) << reading << text << QString::fromUtf8(expected);
        };
        const Reading realm = &LinuxDirectoryService::domainFromRealmList;
        const QString joined = QString::fromUtf8(kJoined);
        const QString discovered = QString::fromUtf8(kDiscovered);
        row("realm: joined", realm, joined, "corp.example.com");
        row("realm: discovered only", realm, discovered, "");
        row("realm: discovered, then joined", realm, discovered + joined, "corp.example.com");
        row("realm: nothing", realm, QString(), "");
        row("realm: configured without a domain-name line", realm,
            QStringLiteral("ad.example\n  configured: kerberos-member\n"), "ad.example");
        const Reading sssd = &LinuxDirectoryService::domainFromSssdConfig;
        row("sssd: first of several", sssd,
            QStringLiteral("[sssd]\nservices = nss, pam\ndomains = corp.example.com, lab\n"), "corp.example.com");
        row("sssd: only in a domain section", sssd,
            QStringLiteral("[sssd]\nservices = nss\n[domain/corp]\ndomains = x\n"), "");
        row("sssd: commented out", sssd, QStringLiteral("[sssd]\n# domains = corp\n"), "");
        row("sssd: spacing", sssd, QStringLiteral("  [sssd]\n  domains=  corp  \n"), "corp");
        const Reading gecos = &LinuxDirectoryService::fullNameFromGecos;
        row("gecos: full", gecos, QStringLiteral("Ann Lee,Room 1,555,"), "Ann Lee");
        row("gecos: plain", gecos, QStringLiteral("Ann Lee"), "Ann Lee");
        row("gecos: empty", gecos, QStringLiteral(",,,"), "");
    }
    void textReadings()
    {
        QFETCH(Reading, reading);
        QFETCH(QString, text);
        QTEST(reading(text), "expected");
    }

    void idOutput_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QStringList>("groups");
        QTest::newRow("NUL-separated keeps spaces")
            << QByteArray("ann\0domain users\0Staff\0", 23) << strs({"ann", "domain users", "Staff"});
        QTest::newRow("space-separated") << QByteArray("ann sudo staff\n") << strs({"ann", "sudo", "staff"});
        QTest::newRow("empty") << QByteArray("\n") << QStringList{};
    }

    void idOutput()
    {
        QFETCH(QByteArray, output);
        QTEST(LinuxDirectoryService::groupsFromIdOutput(output), "groups");
    }

    void boundDomainFallsBackToSssd()
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

        QVERIFY(writeFile(config, "[sssd]\ndomains = corp.example.com\n"));
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

    void groupsAndUser()
    {
        FakeProcessLauncher launcher;
        LinuxDirectoryService service(launcher, QStringLiteral("/nonexistent"));
        launcher.setHandler([](const ProcessLauncher::Request &) { return ran(QByteArray("a\0b c\0", 6)); });
        const auto groups = service.currentUserGroups();
        QVERIFY(groups.ran);
        QCOMPARE(groups.groups, (QStringList{QStringLiteral("a"), QStringLiteral("b c")}));
        QCOMPARE(launcher.requests().last().program, QStringLiteral("id"));

        launcher.setHandler(
            [](const ProcessLauncher::Request &) { return ran("id: cannot find name for group ID 5\n", 1); });
        QVERIFY(!service.currentUserGroups().ran);

        // The password database always knows the user running the test.
        const auto user = service.currentUserRecord();
        QVERIFY(user);
        QVERIFY(!user->userName.isEmpty());
        QVERIFY(user->homeDirectory);
    }
};

QTEST_GUILESS_MAIN(TestDirectoryLinux)
#include "tst_directory_linux.moc"
