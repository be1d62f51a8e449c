// The smbclient share lister over a scripted launcher: what the child is given (arguments, the private
// authentication file and its removal) and what comes back.
#include "platform/fake/FakeProcessLauncher.h"
#include "platform/linux/SmbclientShareLister.h"
#include "unit/UnitTestHelpers.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

class TestSmbclientLister : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void arguments_data()
    {
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("guest, default port") << 445 << QString() << strs({"-g", "-L", "//nas", "-U", "guest", "-N"});
        QTest::newRow("user, other port")
            << 1445 << QStringLiteral("ann") << strs({"-g", "-L", "//nas", "-p", "1445", "-A", "AUTH"});
        QTest::newRow("no port given") << 0 << QStringLiteral("ann") << strs({"-g", "-L", "//nas", "-A", "AUTH"});
    }
    void arguments()
    {
        QFETCH(int, port);
        QFETCH(QString, user);
        ShareLister::Request request;
        request.host = QStringLiteral("nas");
        request.port = port;
        request.user = user;
        request.password = QStringLiteral("secret");
        QTEST(SmbclientShareLister::arguments(request, user.isEmpty() ? QString() : QStringLiteral("AUTH")), "expected");
    }

    // The password lives only in a 0600 file that exists while the child runs and is gone afterwards.
    void passwordOnlyInPrivateFile()
    {
        FakeProcessLauncher launcher;
        QString authPath;
        QByteArray authContent;
        QFile::Permissions authMode;
        launcher.setHandler([&](const ProcessLauncher::Request &request) {
            authPath = request.arguments.value(request.arguments.indexOf(QStringLiteral("-A")) + 1);
            QFile file(authPath);
            if (file.open(QIODevice::ReadOnly))
                authContent = file.readAll();
            authMode = QFileInfo(authPath).permissions();
            ProcessLauncher::Result result;
            result.started = true;
            result.exitCode = 1;
            result.standardOutput = "session setup failed: NT_STATUS_LOGON_FAILURE\n";
            result.standardError = "note\n";
            return result;
        });
        SmbclientShareLister lister(&launcher);
        ShareLister::Request request;
        request.host = QStringLiteral("nas");
        request.user = QStringLiteral("OFFICE\\ann");
        request.password = QStringLiteral("p@ss word");
        request.timeoutMs = 1234;
        const ShareLister::Result result = lister.list(request);

        const ProcessLauncher::Request run = launcher.requests().value(0);
        QCOMPARE(run.program, QStringLiteral("smbclient"));
        QCOMPARE(run.timeoutMs, 1234);
        QVERIFY(!run.arguments.join(QLatin1Char(' ')).contains(QLatin1String("p@ss")));
        for (const QString &value : run.environment)
            QVERIFY(!value.contains(QLatin1String("p@ss")));
        QVERIFY(run.standardInput.isEmpty());
        QCOMPARE(authContent, QByteArray("domain = OFFICE\nusername = ann\npassword = p@ss word\n"));
        QCOMPARE(authMode & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
                 QFile::Permissions());
        QVERIFY(!QFile::exists(authPath));
        QVERIFY(result.started);
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.output, QStringLiteral("session setup failed: NT_STATUS_LOGON_FAILURE\nnote\n"));
    }

    void timeoutAndStartFailurePassThrough()
    {
        FakeProcessLauncher launcher;
        launcher.setHandler([](const ProcessLauncher::Request &) {
            ProcessLauncher::Result result;
            result.started = true;
            result.timedOut = true;
            result.crashed = true;
            return result;
        });
        SmbclientShareLister lister(&launcher);
        ShareLister::Request request;
        request.host = QStringLiteral("nas");
        ShareLister::Result result = lister.list(request);
        QVERIFY(result.timedOut);
        QCOMPARE(result.exitCode, -1);

        launcher.setHandler([](const ProcessLauncher::Request &) {
            ProcessLauncher::Result failed;
            failed.errorText = QStringLiteral("No such file or directory");
            return failed;
        });
        result = lister.list(request);
        QVERIFY(!result.started);
        QCOMPARE(result.errorText, QStringLiteral("No such file or directory"));
    }
};

QTEST_GUILESS_MAIN(TestSmbclientLister)
#include "tst_smbclient_lister.moc"
