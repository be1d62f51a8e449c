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

private:
    struct Mounted
    {
        qint64 id = 0;
        qsizetype events = 0;
        qsizetype audits = 0;
    };
    // A guest share of the private server, mounted and verified connected; the logs' sizes afterwards.
    static Mounted mountAndVerify(LinuxEngineHarness &e, const PrivateSmbd &smbd)
    {
        Mounted m;
        m.id = e.addShare(env("TW_SMB_HOST"), env("TW_SMB_GUEST_SHARE"), MountUsingProtocol_Enum::SMB, true, smbd.port());
        if (e.mountAndWait(m.id) != 0)
            return {};
        if (!e.verifyAndWait(m.id, kAnswerMs))
            return {};
        m.events = e.events().size();
        m.audits = e.audits().size();
        return m;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (env("TW_SMB_PORT").isEmpty() || env("TW_SMB_CONF").isEmpty())
            QSKIP("needs the test stack's Samba (tests/stack/with-stack.sh)");
        if (!QFileInfo::exists(LocalFileSystem::standardVolumesFolder()))
            QSKIP("the GVfs FUSE folder is missing");
    }

    void stoppedServer()
    {
        PrivateSmbd smbd;
        QVERIFY(smbd.prepare());
        QVERIFY(smbd.start());
        LinuxEngineHarness e;
        const Mounted m = mountAndVerify(e, smbd);
        QVERIFY(m.id != 0);
        QVERIFY(smbd.stop());

        QElapsedTimer clock;
        clock.start();
        QVERIFY(!e.verifyAndWait(m.id, kAnswerMs));
        qInfo("stopped server: not connected after %lld ms", clock.elapsed());
        QCOMPARE(e.record(m.id).runtime_status_String, MountEngine::kNotAnsweringStatus);
        for (int again = 0; again < 3; ++again)
            QVERIFY(!e.verifyAndWait(m.id, kAnswerMs));
        QCOMPARE(e.events().size(), m.events + 1);
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QCOMPARE(e.audits().size(), m.audits + 1);
        QCOMPARE(e.audits().first().details, QStringLiteral("Mount verification failure"));

        // Continued: the stuck listing comes back and the share answers again; that is the second change.
        QVERIFY(smbd.resume());
        QTRY_VERIFY_WITH_TIMEOUT(e.verifyAndWait(m.id, kAnswerMs), 60000);
        QCOMPARE(e.events().size(), m.events + 2);
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_SUCCESS);
    }

    void killedServer()
    {
        PrivateSmbd smbd;
        QVERIFY(smbd.prepare());
        QVERIFY(smbd.start());
        LinuxEngineHarness e;
        const Mounted m = mountAndVerify(e, smbd);
        QVERIFY(m.id != 0);
        smbd.kill();

        QElapsedTimer clock;
        clock.start();
        QVERIFY(!e.verifyAndWait(m.id, kAnswerMs));
        qInfo("killed server: not connected after %lld ms (%s)", clock.elapsed(),
              qPrintable(e.record(m.id).runtime_status_String));
        QVERIFY(e.record(m.id).runtime_status_String.startsWith(QStringLiteral("Connection lost")));
        for (int again = 0; again < 3; ++again)
            QVERIFY(!e.verifyAndWait(m.id, kAnswerMs));
        QCOMPARE(e.events().size(), m.events + 1);
        QCOMPARE(e.audits().size(), m.audits + 1);
        // GVfs still lists the dead mount: the sync marks it mounted again, so the harness ejects it.
        QVERIFY(e.syncAndWait());
    }
};

QTEST_GUILESS_MAIN(TestVerify)
#include "tst_verify.moc"
