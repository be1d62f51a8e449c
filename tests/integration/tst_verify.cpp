// Verification against a real Samba (a private smbd of this test) whose server hangs (SIGSTOP) or dies
// (SIGKILL) under a live GVfs mount: the check says "not connected" within its bound instead of trusting
// the mount table, and only the change of state is written to the event and audit logs.
#include "support/linux/LinuxEngineHarness.h"
#include "support/linux/PrivateSmbd.h"
#include "support/linux/TestStack.h"

#include <QElapsedTimer>
#include <QTest>

using namespace TestStack;

namespace {
// The bound plus the time a queued answer needs to arrive: the wait fails when the check is not bounded.
constexpr int kAnswerMs = int(MountEngine::kVerifyBound.count()) + 2000;
} // namespace

class TestVerify : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (env("TW_SMB_PORT").isEmpty() || env("TW_SMB_CONF").isEmpty())
            QSKIP("needs the test stack's Samba (tests/stack/with-stack.sh)");
        if (!QFileInfo::exists(LocalFileSystem::standardVolumesFolder()))
            QSKIP("the GVfs FUSE folder is missing");
    }

    void unansweringServer_data()
    {
        QTest::addColumn<bool>("killed"); // SIGKILL, a crash; otherwise SIGSTOP, a hung server
        QTest::newRow("stopped server") << false;
        QTest::newRow("killed server") << true;
    }
    void unansweringServer()
    {
        QFETCH(bool, killed);
        PrivateSmbd smbd;
        QVERIFY(smbd.prepare());
        QVERIFY(smbd.start());
        LinuxEngineHarness e;
        const qint64 id =
            e.addShare(env("TW_SMB_HOST"), env("TW_SMB_GUEST_SHARE"), MountUsingProtocol_Enum::SMB, true, smbd.port());
        QCOMPARE(e.mountAndWait(id), 0);
        QVERIFY(e.verifyAndWait(id, kAnswerMs));
        const qsizetype events = e.events().size();
        const qsizetype audits = e.audits().size();
        if (killed)
            smbd.kill();
        else
            QVERIFY(smbd.stop());

        QElapsedTimer clock;
        clock.start();
        QVERIFY(!e.verifyAndWait(id, kAnswerMs));
        const QString status = e.record(id).runtime_status_String;
        qInfo("not connected after %lld ms (%s)", clock.elapsed(), qPrintable(status));
        const bool told = killed ? status.startsWith(QStringLiteral("Connection lost"))
                                 : status == MountEngine::kNotAnsweringStatus;
        QVERIFY2(told, qPrintable(status));
        for (int again = 0; again < 3; ++again)
            QVERIFY(!e.verifyAndWait(id, kAnswerMs));
        QCOMPARE(e.events().size(), events + 1);
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QCOMPARE(e.audits().size(), audits + 1);
        QCOMPARE(e.audits().first().details, QStringLiteral("Mount verification failure"));
        if (killed) {
            // GVfs still lists the dead mount: the sync marks it mounted again, so the harness ejects it.
            QVERIFY(e.syncAndWait());
            return;
        }

        // Continued: the stuck listing comes back and the share answers again; that is the second change.
        QVERIFY(smbd.resume());
        QTRY_VERIFY_WITH_TIMEOUT(e.verifyAndWait(id, kAnswerMs), 60000);
        QCOMPARE(e.events().size(), events + 2);
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_SUCCESS);
    }
};

QTEST_GUILESS_MAIN(TestVerify)
#include "tst_verify.moc"
