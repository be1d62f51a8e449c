// The whole mount engine over the real platform: GVfs (gvfsd + FUSE), Samba, Apache WebDAV and the
// Secret Service keyring of the test stack. Everything stays on loopback; no name is sent to a resolver.
#include "app/Console.h"
#include "app/Defaults.h"
#include "app/NotificationCenter.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"
#include "core/NetworkTester.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"
#include "platform/FileSystem.h"
#include "platform/linux/GvfsMountService.h"
#include "platform/linux/GvfsMountTable.h"
#include "platform/linux/LibsecretStore.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <cstdio>
#include <future>

#include <unistd.h>

namespace {

QString env(const char *name)
{
    return qEnvironmentVariable(name);
}

int closedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    return server.serverPort();
}

int freePort()
{
    return closedPort();
}

bool listening(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    return socket.waitForConnected(200);
}

// The engine over the real platform, with its own preferences, logs and record store.
struct RealEngine
{
    QTemporaryDir dir;
    Defaults defaults{dir.path() + QStringLiteral("/prefs.plist")};
    NotificationCenter center;
    LogEventManager eventLog{defaults, &center};
    EnterpriseAuditLog auditLog{dir.path() + QStringLiteral("/audit_log.json")};
    GvfsMountTable table;
    GvfsMountService service{&table};
    LocalFileSystem fileSystem{LocalFileSystem::standardVolumesFolder()};
    LibsecretStore secrets;
    CredentialStore credentials{&secrets};
    std::unique_ptr<MountEngine> engine;
    QMutex consoleMutex;
    QStringList console;

    RealEngine()
    {
        Console::setSink([this](const QString &line) {
            QMutexLocker lock(&consoleMutex);
            console.append(line);
            std::fprintf(stderr, "%s\n", line.toUtf8().constData());
        });
        MountEngineDependencies deps;
        deps.defaults = &defaults;
        deps.center = &center;
        deps.eventLog = &eventLog;
        deps.auditLog = &auditLog;
        deps.mountService = &service;
        deps.mountTable = &table;
        deps.fileSystem = &fileSystem;
        deps.credentials = &credentials;
        // The machine's resolver is not on loopback: names of the reserved .invalid domain never resolve
        // (RFC 6761), so they are answered here instead of asking it. Everything else the tests use is a
        // numeric address or "localhost", which the pipeline resolves without a look-up.
        deps.network.resolveHostName = [](const QString &host) {
            if (host.endsWith(QLatin1String(".invalid"), Qt::CaseInsensitive))
                return QStringLiteral("0.0.0.0");
            return NetworkTester::resolveHostName(host);
        };
        deps.network.wakeOnLan = [](const QString &) {}; // never broadcast from tests
        engine = std::make_unique<MountEngine>(deps);
    }
    ~RealEngine()
    {
        // Leave nothing mounted behind.
        for (const VolumeRecord &r : engine->store().records()) {
            if (r.runtime_isMounted_Bool)
                ejectAndWait(r.internal_ID_Int);
        }
        engine.reset();
        auditLog.waitForPendingWrites();
        Console::setSink({});
    }
    bool hasLineContaining(const QString &text)
    {
        QMutexLocker lock(&consoleMutex);
        for (const QString &line : std::as_const(console)) {
            if (line.contains(text))
                return true;
        }
        return false;
    }

    qint64 add(const QString &host, int port, const QString &share, MountUsingProtocol_Enum protocol, bool guest,
               const QString &user = QString())
    {
        VolumeRecord r;
        r.hostname_String = host;
        if (port > 0)
            r.port_Int = port;
        r.volume_String = share;
        r.mounting_using_protocol_Enum = protocol;
        r.no_password_guest_login = guest ? 1 : 0;
        if (!user.isEmpty())
            r.username_String = user;
        return engine->addRecord(r);
    }
    int mountAndWait(qint64 id)
    {
        QSignalSpy spy(engine.get(), &MountEngine::mountFinished);
        engine->mount(id);
        if (!spy.wait(120000))
            return INT_MIN;
        return spy.first().at(1).toInt();
    }
    bool ejectAndWait(qint64 id)
    {
        QSignalSpy spy(engine.get(), &MountEngine::ejectFinished);
        engine->eject(id);
        return spy.wait(60000) && spy.first().at(1).toBool();
    }
    const VolumeRecord &record(qint64 id) const { return *engine->record(id); }
    // The secret store blocks and must not be called on the main thread.
    bool savePassword(const QString &password, const QString &account)
    {
        auto future = std::async(std::launch::async, [&] { return credentials.save(password, account); });
        while (future.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return future.get();
    }
    bool listed(const QString &path) const
    {
        for (const MountedVolume &v : table.mountedVolumes()) {
            if (v.path == path)
                return true;
        }
        return false;
    }
};

} // namespace

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
        RealEngine e;
        const qint64 id = e.add(env("TW_SMB_HOST"), env("TW_SMB_PORT").toInt(), env("TW_SMB_GUEST_SHARE"),
                                MountUsingProtocol_Enum::SMB, true);
        QCOMPARE(e.mountAndWait(id), 0);
        const VolumeRecord &r = e.record(id);
        const QString path = r.runtime_computed_mountpoint_String;
        QVERIFY2(r.runtime_isMounted_Bool, qPrintable(r.runtime_status_String));
        QCOMPARE(r.runtime_status_String, QStringLiteral("Successfully mounted at ") + path);
        QVERIFY2(path.startsWith(LocalFileSystem::standardVolumesFolder() + QLatin1Char('/')), qPrintable(path));
        QVERIFY(path.contains(QStringLiteral("share=") + env("TW_SMB_GUEST_SHARE")));
        QVERIFY(e.listed(path));

        const QString name = QStringLiteral("engine-%1.txt").arg(QCoreApplication::applicationPid());
        {
            QFile file(path + QLatin1Char('/') + name);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("through the engine");
        }
        QFile server(env("TW_SMB_SHARES_DIR") + QLatin1Char('/') + env("TW_SMB_GUEST_SHARE") + QLatin1Char('/') + name);
        QTRY_VERIFY(server.exists());
        QVERIFY(server.open(QIODevice::ReadOnly));
        QCOMPARE(server.readAll(), QByteArray("through the engine"));
        server.remove();

        QVERIFY(e.engine->verify(id));
        QVERIFY(e.ejectAndWait(id));
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Ejected"));
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QTRY_VERIFY(!e.listed(path));
        QCOMPARE(e.eventLog.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
    }

    void passwordShareWithKeyringPassword()
    {
        RealEngine e;
        const qint64 id = e.add(env("TW_SMB_HOST"), env("TW_SMB_PORT").toInt(), env("TW_SMB_USER_SHARE"),
                                MountUsingProtocol_Enum::SMB, false, env("TW_SMB_USER"));
        QVERIFY(e.savePassword(env("TW_SMB_PASSWORD"), e.record(id).credentialAccount()));
        QCOMPARE(e.mountAndWait(id), 0);
        QVERIFY2(e.record(id).runtime_isMounted_Bool, qPrintable(e.record(id).runtime_status_String));
        QVERIFY(e.record(id).runtime_computed_mountpoint_String.contains(env("TW_SMB_USER_SHARE")));
        QVERIFY(e.ejectAndWait(id));
    }

    void wrongPasswordIsAnAuthFailure()
    {
        RealEngine e;
        const qint64 id = e.add(env("TW_SMB_HOST"), env("TW_SMB_PORT").toInt(), env("TW_SMB_USER_SHARE"),
                                MountUsingProtocol_Enum::SMB, false, env("TW_SMB_USER"));
        QVERIFY(e.savePassword(QStringLiteral("not-the-password"), e.record(id).credentialAccount()));
        QCOMPARE(e.mountAndWait(id), 80);
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Authentication failed"));
        QCOMPARE(e.eventLog.events().first().event_type_Enum, EVENT_TYPE_ENUM::AUTH_FAILED);
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
    }

    void missingShare()
    {
        RealEngine e;
        const qint64 id = e.add(env("TW_SMB_HOST"), env("TW_SMB_PORT").toInt(), QStringLiteral("no-such-share"),
                                MountUsingProtocol_Enum::SMB, true);
        const int code = e.mountAndWait(id);
        QVERIFY2(code == 2 || code == 19, qPrintable(QString::number(code)));
        const QString status = e.record(id).runtime_status_String;
        QVERIFY2(status == QLatin1String("Share not found on server") || status == QLatin1String("Error 19: share path not found"),
                 qPrintable(status));
        QCOMPARE(e.eventLog.events().first().event_type_Enum, EVENT_TYPE_ENUM::SHARENAME_NOT_FOUND);
    }

    void nothingListeningFailsInTheProbe()
    {
        // "[::1]" is loopback but not on the probe's skip lists, so the probe runs (and finds nothing).
        RealEngine e;
        const qint64 id = e.add(QStringLiteral("[::1]"), closedPort(), QStringLiteral("public"), MountUsingProtocol_Enum::SMB, true);
        QCOMPARE(e.mountAndWait(id), -1);
        QVERIFY2(e.record(id).runtime_status_String.startsWith(QStringLiteral("Unable to connect to "))
                     || e.record(id).runtime_status_String.startsWith(QStringLiteral("Connection timeout: ")),
                 qPrintable(e.record(id).runtime_status_String));
        QCOMPARE(e.eventLog.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QVERIFY(!e.record(id).runtime_isReachable_Bool);
    }

    void unknownHostIsUnresolvable()
    {
        RealEngine e;
        const qint64 id = e.add(QStringLiteral("fileserver.invalid"), 0, QStringLiteral("public"), MountUsingProtocol_Enum::SMB, true);
        QCOMPARE(e.mountAndWait(id), -1);
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Hostname unresolvable and not valid IP"));
        QCOMPARE(e.eventLog.events().first().event_type_Enum, EVENT_TYPE_ENUM::HOSTNAME_UNRESOLVABLE);
    }

    void webdavMountProbeAndEject()
    {
        RealEngine e;
        const qint64 id = e.add(env("TW_DAV_HOST"), env("TW_DAV_PORT").toInt(), QStringLiteral("public"),
                                MountUsingProtocol_Enum::WebDAV, true);
        QCOMPARE(e.mountAndWait(id), 0);
        QVERIFY2(e.record(id).runtime_isMounted_Bool, qPrintable(e.record(id).runtime_status_String));
        const QString path = e.record(id).runtime_computed_mountpoint_String;
        QVERIFY2(path.contains(QStringLiteral("dav")), qPrintable(path));

        std::optional<bool> alive;
        e.engine->probeShareUrl(id, 2.0, [&](bool reachable) { alive = reachable; });
        QTRY_VERIFY_WITH_TIMEOUT(alive.has_value(), 10000);
        QVERIFY(*alive);

        // The sync keeps a live WebDAV share mounted.
        QSignalSpy synced(e.engine.get(), &MountEngine::syncFinished);
        e.engine->syncWithMountTable();
        QVERIFY(synced.wait(15000));
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
        const int port = freePort();
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
        QTRY_VERIFY_WITH_TIMEOUT(listening(quint16(port)), 15000);

        RealEngine e;
        const qint64 id = e.add(QStringLiteral("127.0.0.1"), port, QStringLiteral("share"), MountUsingProtocol_Enum::WebDAV, true);
        QCOMPARE(e.mountAndWait(id), 0);
        const QString path = e.record(id).runtime_computed_mountpoint_String;
        QVERIFY2(e.record(id).runtime_isMounted_Bool, qPrintable(e.record(id).runtime_status_String));

        // The server goes away (graceful stop: the children go with it and the port closes).
        apache.terminate();
        QVERIFY(apache.waitForFinished(15000));
        QTRY_VERIFY_WITH_TIMEOUT(!listening(quint16(port)), 10000);
        QVERIFY(e.listed(path)); // GVfs still lists it

        QSignalSpy synced(e.engine.get(), &MountEngine::syncFinished);
        e.engine->syncWithMountTable();
        QVERIFY(synced.wait(30000));
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Server unreachable"));
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QCOMPARE(e.eventLog.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QCOMPARE(e.eventLog.events().first().eventMessage,
                 QStringLiteral("CONNECTION_FAILED: Server unreachable; ejected stale mount at ") + path);
        QVERIFY(e.hasLineContaining(QStringLiteral("' but the share URL is unreachable — ejecting stale mount")));
        QVERIFY(!e.listed(path)); // really unmounted, not just marked

    }
};

QTEST_GUILESS_MAIN(TestMountEngineIntegration)
#include "tst_mount_engine.moc"
