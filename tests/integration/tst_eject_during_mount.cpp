// Eject of a share whose mount is still in flight, over GVfs: the server accepts the connection and never
// answers, the eject cancels the mount and says so; then the port is taken over by a real smbd serving
// that share, and still nothing ends up mounted.
#include "support/linux/LinuxEngineHarness.h"
#include "support/linux/PrivateSmbd.h"
#include "support/linux/TestStack.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

using namespace TestStack;

class TestEjectDuringMount : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (env("TW_SMB_PORT").isEmpty() || env("TW_SMB_CONF").isEmpty())
            QSKIP("needs the test stack's Samba (tests/stack/with-stack.sh)");
    }

    void ejectCancelsAHangingMount()
    {
        const quint16 port = freePort();
        // Holds every connection it is offered without a byte of answer; deleting it resets them all.
        auto silent = std::make_unique<QTcpServer>();
        QVERIFY(silent->listen(QHostAddress::LocalHost, port));
        LinuxEngineHarness e;
        const qint64 id = e.addShare(env("TW_SMB_HOST"), env("TW_SMB_GUEST_SHARE"), MountUsingProtocol_Enum::SMB, true, port);
        const QString onPort = QStringLiteral("port=%1").arg(port);

        QSignalSpy mountFinished(e.engine, &MountEngine::mountFinished);
        e.engine->mount(id, true);
        // In the platform call, with the server holding the connection (a loopback host skips the probe).
        QTRY_VERIFY_WITH_TIMEOUT(silent->hasPendingConnections()
                                     && e.record(id).runtime_status_String == QStringLiteral("Attempting mount..."),
                                 20000);
        QTest::qWait(1000);
        QVERIFY(e.engine->isMountInProgress(id));

        QVERIFY(e.ejectAndWait(id, false, 30000));
        QCOMPARE(mountFinished.size(), 1);
        QCOMPARE(mountFinished.first().at(1).toInt(), 89);
        const QString status = e.record(id).runtime_status_String;
        QVERIFY2(status == MountEngine::kStatusEjectCancelledMount || status == MountEngine::kStatusEjectUndidLateMount,
                 qPrintable(status));
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);

        // The server starts answering: a real smbd with the share on the same port.
        silent.reset();
        PrivateSmbd smbd;
        QVERIFY(smbd.prepare(port));
        QVERIFY(smbd.start());
        // Whatever GVfs might still complete is gone again at once; watch for a while.
        for (int i = 0; i < 30; ++i) {
            QTest::qWait(500);
            QTRY_VERIFY_WITH_TIMEOUT(!e.listedContaining(onPort), 10000);
        }
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QVERIFY(!e.engine->isMountInProgress(id));
        // The same share mounts on request now: the server really answers.
        QCOMPARE(e.mountAndWait(id, true, 60000), 0);
        QVERIFY(e.listedContaining(onPort));
        QVERIFY(e.ejectAndWait(id, false, 30000));
        QTRY_VERIFY_WITH_TIMEOUT(!e.listedContaining(onPort), 20000);
    }
};

QTEST_GUILESS_MAIN(TestEjectDuringMount)
#include "tst_eject_during_mount.moc"
