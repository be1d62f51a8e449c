// The whole mount engine over the real platform: GVfs (gvfsd + FUSE), Samba, Apache WebDAV and the
// Secret Service keyring of the test stack. Everything stays on loopback; no name is sent to a resolver.
#include "support/linux/LinuxEngineHarness.h"
#include "support/linux/TestStack.h"

#include <QDir>
#include <QFile>
#include <QProcess>
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

    void guestSmbMountWriteEject()
    {
        LinuxEngineHarness e;
        const qint64 id = e.addShare(env("TW_SMB_HOST"), env("TW_SMB_ENGINE_SHARE"), MountUsingProtocol_Enum::SMB, true,
                                     env("TW_SMB_PORT").toInt());
        // A share of its own: tests running in parallel mount the stack's other guest share. Start from an
        // unmounted share, so the mount below is a fresh one.
        const QString shareField = QStringLiteral("share=") + env("TW_SMB_ENGINE_SHARE");
        const auto guestListed = [&e, &shareField] {
            for (const MountedVolume &v : e.table.mountedVolumes()) {
                if (v.path.endsWith(shareField))
                    return true;
            }
            return false;
        };
        QTRY_VERIFY_WITH_TIMEOUT(!guestListed(), 20000);
        QCOMPARE(e.mountAndWait(id), 0);
        const VolumeRecord &r = e.record(id);
        const QString path = r.runtime_computed_mountpoint_String;
        QVERIFY2(r.runtime_isMounted_Bool, qPrintable(r.runtime_status_String));
        QCOMPARE(r.runtime_status_String, QStringLiteral("Successfully mounted at ") + path);
        QVERIFY2(path.startsWith(LocalFileSystem::standardVolumesFolder() + QLatin1Char('/')), qPrintable(path));
        QVERIFY(path.contains(QStringLiteral("share=") + env("TW_SMB_ENGINE_SHARE")));
        QVERIFY(e.listed(path));

        const QString name = QStringLiteral("engine-%1.txt").arg(QCoreApplication::applicationPid());
        {
            QFile file(path + QLatin1Char('/') + name);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("through the engine");
        }
        QFile server(env("TW_SMB_SHARES_DIR") + QLatin1Char('/') + env("TW_SMB_ENGINE_SHARE") + QLatin1Char('/') + name);
        QTRY_VERIFY(server.exists());
        QVERIFY(server.open(QIODevice::ReadOnly));
        QCOMPARE(server.readAll(), QByteArray("through the engine"));
        server.remove();

        QVERIFY(e.verifyAndWait(id));
        QVERIFY(e.ejectAndWait(id));
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Ejected"));
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QTRY_VERIFY(!e.listed(path));
        QCOMPARE(e.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
    }

    void passwordShareWithKeyringPassword()
    {
        LinuxEngineHarness e;
        const qint64 id = e.addShare(env("TW_SMB_HOST"), env("TW_SMB_USER_SHARE"), MountUsingProtocol_Enum::SMB, false,
                                     env("TW_SMB_PORT").toInt(), env("TW_SMB_USER"));
        QVERIFY(e.savePassword(env("TW_SMB_PASSWORD"), e.record(id).credentialAccount()));
        QCOMPARE(e.mountAndWait(id), 0);
        QVERIFY2(e.record(id).runtime_isMounted_Bool, qPrintable(e.record(id).runtime_status_String));
        QVERIFY(e.record(id).runtime_computed_mountpoint_String.contains(env("TW_SMB_USER_SHARE")));
        QVERIFY(e.ejectAndWait(id));
    }

    void webdavMountProbeAndEject()
    {
        LinuxEngineHarness e;
        const qint64 id = e.addShare(env("TW_DAV_HOST"), QStringLiteral("public"), MountUsingProtocol_Enum::WebDAV, true,
                                     env("TW_DAV_PORT").toInt());
        QCOMPARE(e.mountAndWait(id), 0);
        QVERIFY2(e.record(id).runtime_isMounted_Bool, qPrintable(e.record(id).runtime_status_String));
        const QString path = e.record(id).runtime_computed_mountpoint_String;
        QVERIFY2(path.contains(QStringLiteral("dav")), qPrintable(path));

        std::optional<bool> alive;
        e.engine->probeShareUrl(id, 2.0, [&](bool reachable) { alive = reachable; });
        QTRY_VERIFY_WITH_TIMEOUT(alive.has_value(), 10000);
        QVERIFY(*alive);
        // The sync keeps a live WebDAV share mounted.
        QVERIFY(e.syncAndWait(15000));
        QVERIFY(e.record(id).runtime_isMounted_Bool);

        QVERIFY(e.ejectAndWait(id));
        QTRY_VERIFY(!e.listed(path));
    }

    void deadWebdavServerIsForceEjectedBySync()
    {
        if (::geteuid() != 0)
            QSKIP("the private WebDAV server drops privileges to www-data, which needs root");
        // A private Apache, so that stopping it leaves the stack's server alone.
        QTemporaryDir dir;
        QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther
                                                      | QFile::ExeOther | QFile::ReadGroup | QFile::ExeGroup));
        const QString root = dir.path();
        QDir().mkpath(root + QStringLiteral("/dav/share"));
        QDir().mkpath(root + QStringLiteral("/lock"));
        QDir().mkpath(root + QStringLiteral("/run"));
        QVERIFY(QProcess::execute(QStringLiteral("chown"), {QStringLiteral("-R"), QStringLiteral("www-data:www-data"),
                                                            root + QStringLiteral("/dav"), root + QStringLiteral("/lock")}) == 0);
        const quint16 port = freePort();
        const QString mods = QStringLiteral("/usr/lib/apache2/modules");
        QFile conf(root + QStringLiteral("/httpd.conf"));
        QVERIFY(conf.open(QIODevice::WriteOnly));
        conf.write(QStringLiteral(
                       "ServerRoot \"%1\"\nServerName 127.0.0.1\nPidFile \"%1/run/httpd.pid\"\nMutex file:%1/run default\n"
                       "DefaultRuntimeDir \"%1/run\"\nUser www-data\nGroup www-data\nListen 127.0.0.1:%2\n"
                       "LoadModule mpm_prefork_module %3/mod_mpm_prefork.so\nLoadModule authz_core_module %3/mod_authz_core.so\n"
                       "LoadModule dav_module %3/mod_dav.so\nLoadModule dav_fs_module %3/mod_dav_fs.so\n"
                       "StartServers 1\nMinSpareServers 1\nMaxSpareServers 2\nMaxRequestWorkers 8\n"
                       "ErrorLog \"%1/error.log\"\nDocumentRoot \"%1/dav\"\nDavLockDB \"%1/lock/DavLock\"\n"
                       "<Directory />\n  Require all denied\n</Directory>\n<Directory \"%1/dav\">\n  Require all granted\n</Directory>\n"
                       "<Directory \"%1/dav/share\">\n  Dav On\n</Directory>\n")
                       .arg(root)
                       .arg(port)
                       .arg(mods)
                       .toUtf8());
        conf.close();
        QProcess apache;
        // Apache stops by signalling its whole process group: give it a session of its own.
        apache.setChildProcessModifier([] { ::setsid(); });
        apache.start(QStringLiteral("/usr/sbin/apache2"), {QStringLiteral("-f"), conf.fileName(), QStringLiteral("-DFOREGROUND")});
        QVERIFY(apache.waitForStarted());
        auto stopApache = qScopeGuard([&apache] {
            if (apache.state() != QProcess::NotRunning) {
                apache.terminate();
                if (!apache.waitForFinished(10000)) {
                    apache.kill();
                    apache.waitForFinished(5000);
                }
            }
        });
        QTRY_VERIFY_WITH_TIMEOUT(listening(port), 15000);

        LinuxEngineHarness e;
        const qint64 id = e.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("share"), MountUsingProtocol_Enum::WebDAV, true, port);
        QCOMPARE(e.mountAndWait(id), 0);
        const QString path = e.record(id).runtime_computed_mountpoint_String;
        QVERIFY2(e.record(id).runtime_isMounted_Bool, qPrintable(e.record(id).runtime_status_String));

        // The server goes away (graceful stop: the children go with it and the port closes).
        apache.terminate();
        QVERIFY(apache.waitForFinished(15000));
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
