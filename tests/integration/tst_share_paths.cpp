// Shares with a path below what GVfs mounts (a WebDAV collection's sub-folders on the stack's Apache, a
// folder inside an SMB share on its Samba): the mount point the engine reports, verifies and links a
// custom mount folder to is the folder with the share's own content, and eject still unmounts the volume.
#include "support/linux/LinuxEngineHarness.h"
#include "support/linux/TestStack.h"
#include "unit/UnitTestHelpers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace TestStack;

namespace {
// Puts `content` at `relative` below `base` on the server's side, readable by the server.
bool plant(const QString &base, const QString &relative, const QByteArray &content)
{
    const QString path = base + QLatin1Char('/') + relative;
    if (!writeFile(path, content))
        return false;
    // Apache runs as www-data; the whole tree below the collection must be its.
    for (QString dir = QFileInfo(path).absolutePath(); dir.startsWith(base) && dir != base; dir = QFileInfo(dir).absolutePath())
        QFile::setPermissions(dir, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                                       | QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther
                                       | QFileDevice::ExeOther);
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup
                                    | QFileDevice::ReadOther);
    return true;
}
} // namespace

class TestSharePaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (env("TW_DAV_PORT").isEmpty() || env("TW_SMB_PORT").isEmpty())
            QSKIP("needs the test stack (tests/stack/with-stack.sh)");
    }

    void knownFileAtTheReportedMountPoint_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("share");     // the record's share name
        QTest::addColumn<QString>("serverDir"); // where the share's content lies on the server
        QTest::addColumn<bool>("customFolder");
        const QString tag = QStringLiteral("tw-paths-%1").arg(::getpid());
        const QString dav = env("TW_DAV_DIR") + QStringLiteral("/public");
        const QString smb = env("TW_SMB_SHARES_DIR") + QLatin1Char('/') + env("TW_SMB_PATHS_SHARE");
        for (const bool custom : {false, true}) {
            const QString where = custom ? QStringLiteral(" through a custom folder") : QString();
            QTest::newRow(qPrintable(QStringLiteral("WebDAV collection") + where))
                << int(MountUsingProtocol_Enum::WebDAV) << QStringLiteral("public") << dav << custom;
            QTest::newRow(qPrintable(QStringLiteral("WebDAV two levels below") + where))
                << int(MountUsingProtocol_Enum::WebDAV) << QStringLiteral("public/") + tag + QStringLiteral("/deeper")
                << dav + QLatin1Char('/') + tag + QStringLiteral("/deeper") << custom;
            QTest::newRow(qPrintable(QStringLiteral("SMB folder inside the share") + where))
                << int(MountUsingProtocol_Enum::SMB) << env("TW_SMB_PATHS_SHARE") + QLatin1Char('/') + tag
                << smb + QLatin1Char('/') + tag << custom;
        }
    }
    void knownFileAtTheReportedMountPoint()
    {
        QFETCH(int, protocol);
        QFETCH(QString, share);
        QFETCH(QString, serverDir);
        QFETCH(bool, customFolder);
        const QByteArray content = "known content of " + share.toUtf8();
        const QString name = QStringLiteral("known-%1.txt").arg(::getpid());
        QVERIFY(plant(serverDir, name, content));
        const auto removeKnown = qScopeGuard([&] { QFile::remove(serverDir + QLatin1Char('/') + name); });

        LinuxEngineHarness e;
        QTemporaryDir mountDir;
        const bool smb = protocol == int(MountUsingProtocol_Enum::SMB);
        const qint64 id = e.addRecord([&](VolumeRecord &r) {
            r.mounting_using_protocol_Enum = MountUsingProtocol_Enum(protocol);
            r.hostname_String = smb ? env("TW_SMB_HOST") : env("TW_DAV_HOST");
            r.port_Int = (smb ? env("TW_SMB_PORT") : env("TW_DAV_PORT")).toInt();
            r.volume_String = share;
            r.no_password_guest_login = 1;
            if (customFolder) {
                r.mount_inside_Volumes = 0;
                r.unique_mountpoint_fullpath_String = mountDir.path() + QStringLiteral("/share");
                QDir().mkpath(r.unique_mountpoint_fullpath_String);
            }
        });
        QCOMPARE(e.mountAndWait(id, false, 60000), 0);
        const QString path = e.record(id).runtime_computed_mountpoint_String;
        if (customFolder)
            QCOMPARE(path, e.record(id).unique_mountpoint_fullpath_String);
        QCOMPARE(readFile(path + QLatin1Char('/') + name), content);
        QVERIFY(e.verifyAndWait(id, 10000));
        QCOMPARE(e.record(id).runtime_status_String, QStringLiteral("Verified — connected at ") + path);

        // The sync keeps that folder as the mount point.
        QVERIFY(e.syncAndWait());
        QVERIFY(e.record(id).runtime_isMounted_Bool);
        QCOMPARE(e.record(id).runtime_computed_mountpoint_String, path);

        // Eject unmounts the volume behind it (and gives a custom folder back empty).
        QVERIFY(e.ejectAndWait(id, false, 30000));
        QVERIFY(!e.record(id).runtime_isMounted_Bool);
        QTRY_VERIFY_WITH_TIMEOUT(e.table.mountedVolumes().isEmpty() || !QFile::exists(path + QLatin1Char('/') + name), 20000);
        if (customFolder) {
            const QFileInfo folder(e.record(id).unique_mountpoint_fullpath_String);
            QVERIFY(folder.isDir() && !folder.isSymLink());
        }
    }
};

QTEST_GUILESS_MAIN(TestSharePaths)
#include "tst_share_paths.moc"
