// The whole mount engine over the real platform: GVfs (gvfsd + FUSE), Samba and Apache WebDAV of the test
// stack. Everything stays on loopback; no name is sent to a resolver. A password share with its keyring
// password is tst_cli.sh's.
#include "support/linux/LinuxEngineHarness.h"
#include "support/linux/TestStack.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace TestStack;

class TestMountEngineIntegration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (env("TW_SMB_PORT").isEmpty() || env("TW_DAV_PORT").isEmpty())
            QSKIP("needs the test stack (tests/stack/with-stack.sh)");
    }

    void guestSmbMountVerifyEject()
    {
        LinuxEngineHarness e;
        const qint64 id = e.addShare(env("TW_SMB_HOST"), env("TW_SMB_ENGINE_SHARE"), MountUsingProtocol_Enum::SMB, true,
                                     env("TW_SMB_PORT").toInt());
        // A share of its own: tests running in parallel mount the stack's other guest share. Start from an
        // unmounted share, so the mount below is a fresh one.
        const QString shareField = QStringLiteral("share=") + env("TW_SMB_ENGINE_SHARE");
        QTRY_VERIFY_WITH_TIMEOUT(!e.listedContaining(shareField), 20000);
        QCOMPARE(e.mountAndWait(id), 0);
        const VolumeRecord &r = e.record(id);
        const QString path = r.runtime_computed_mountpoint_String;
        QVERIFY2(r.runtime_isMounted_Bool, qPrintable(r.runtime_status_String));
        QCOMPARE(r.runtime_status_String, QStringLiteral("Successfully mounted at ") + path);
        QVERIFY2(path.startsWith(LocalFileSystem::standardVolumesFolder() + QLatin1Char('/')), qPrintable(path));
        QVERIFY(path.contains(shareField));
        QVERIFY(e.listed(path));
        // Files through such a path: tst_gvfs_platform writes one, tst_cli.sh reads one through the engine's.

        QVERIFY(e.verifyAndWait(id));
        QVERIFY(e.ejectAndWait(id));
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Ejected"));
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QTRY_VERIFY(!e.listed(path));
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
    }

    // A live WebDAV share's mount, verification, sync and eject are tst_share_paths' rows.
    void deadWebdavServerIsForceEjectedBySync()
    {
        if (::geteuid() != 0)
            QSKIP("the private WebDAV server drops privileges to www-data, which needs root");
        // A private Apache (the stack's own WebDAV component, run in a folder of this test), so that stopping
        // it leaves the stack's server alone.
        QTemporaryDir dir;
        QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther
                                                      | QFile::ExeOther | QFile::ReadGroup | QFile::ExeGroup));
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("logs"))));
        const auto webdav = [&dir](const QString &action) {
            const QString script = env("TW_STACK_SCRIPTS") + QStringLiteral("/components/webdav.sh");
            return QProcess::execute(QStringLiteral("bash"), {script, action, dir.path()}) == 0;
        };
        QVERIFY(webdav(QStringLiteral("start")));
        auto stopApache = qScopeGuard([&webdav] { webdav(QStringLiteral("stop")); });
        QFile exported(dir.filePath(QStringLiteral("env")));
        QVERIFY(exported.open(QIODevice::ReadOnly));
        const QRegularExpression portLine(QStringLiteral("TW_DAV_PORT=(\\d+)"));
        const quint16 port = portLine.match(QString::fromUtf8(exported.readAll())).captured(1).toUShort();
        QVERIFY(port != 0);

        LinuxEngineHarness e;
        const qint64 id =
            e.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("public"), MountUsingProtocol_Enum::WebDAV, true, port);
        QCOMPARE(e.mountAndWait(id), 0);
        const QString path = e.record(id).runtime_computed_mountpoint_String;
        QVERIFY2(e.record(id).runtime_isMounted_Bool, qPrintable(e.record(id).runtime_status_String));

        // The server goes away (its children with it, and the port closes).
        QVERIFY(webdav(QStringLiteral("stop")));
        QTRY_VERIFY_WITH_TIMEOUT(!listening(port), 10000);
        QVERIFY(e.listed(path)); // GVfs still lists it

        QVERIFY(e.syncAndWait(30000));
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Server unreachable"));
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QCOMPARE(e.events().first().eventMessage,
                 QStringLiteral("CONNECTION_FAILED: Server unreachable; ejected stale mount at ") + path);
        QVERIFY(e.hasLineContaining(QStringLiteral("' but the share URL is unreachable — ejecting stale mount")));
        QVERIFY(!e.listed(path)); // really unmounted, not just marked
    }
};

QTEST_GUILESS_MAIN(TestMountEngineIntegration)
#include "tst_mount_engine.moc"
