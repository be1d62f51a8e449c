// The gvfsd-fuse bridge port: its health read from a mount table file, and its restart with a stand-in
// bridge program (no FUSE mount is touched).
#include "platform/linux/GvfsFuseBridge.h"
#include "unit/UnitTestHelpers.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

using namespace std::chrono_literals;
using Health = FuseBridge::Health;
Q_DECLARE_METATYPE(FuseBridge::Health)

namespace {
const QByteArray kRootLine = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n";
QByteArray gvfsLine(const QByteArray &escapedPath)
{
    return "40 22 0:50 / " + escapedPath
           + " rw,nosuid,nodev,relatime shared:30 - fuse.gvfsd-fuse gvfsd-fuse rw,user_id=1000,group_id=1000\n";
}
} // namespace

class TestGvfsFuseBridge : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void classify_data()
    {
        QTest::addColumn<QByteArray>("mountInfo");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<int>("statErrno");
        QTest::addColumn<Health>("health");
        const QByteArray listed = kRootLine + gvfsLine("/run/user/1000/gvfs");
        const QString run = QStringLiteral("/run/user/1000/gvfs");
        const QByteArray tmpfs = "45 40 0:52 / /run/user/1000/gvfs rw - tmpfs tmpfs rw\n";
        QTest::newRow("healthy") << listed << run << 0 << Health::Healthy;
        QTest::newRow("trailing slash in folder") << listed << run + u'/' << 0 << Health::Healthy;
        QTest::newRow("listed, daemon gone") << listed << run << ENOTCONN << Health::Dead;
        QTest::newRow("permission is not death") << listed << run << EACCES << Health::Healthy;
        QTest::newRow("not mounted") << kRootLine << run << 0 << Health::Missing;
        QTest::newRow("a mount below the folder") << kRootLine + gvfsLine(run.toUtf8() + "/sub") << run << 0
                                                  << Health::Missing;
        QTest::newRow("covered by a later mount") << listed + tmpfs << run << 0 << Health::Missing;
        QTest::newRow("escaped blank in path") << kRootLine + gvfsLine("/home/a\\040b/gvfs") << "/home/a b/gvfs" << 0
                                               << Health::Healthy;
        QTest::newRow("garbage lines ignored") << "nonsense\n\n - - -\n" + gvfsLine(run.toUtf8()) << run << 0
                                               << Health::Healthy;
    }
    void classify()
    {
        QFETCH(QByteArray, mountInfo);
        QFETCH(QString, folder);
        QFETCH(int, statErrno);
        QTEST(GvfsFuseBridge::classify(mountInfo, folder, statErrno), "health");
    }

    void restart_data()
    {
        QTest::addColumn<bool>("mounts"); // the stand-in bridge adds its mount line, or only runs
        QTest::newRow("mounts") << true;
        QTest::newRow("does not mount") << false;
    }
    void restart()
    {
        QFETCH(bool, mounts);
        QTemporaryDir dir;
        GvfsFuseBridge::Options o;
        o.volumesFolder = dir.path() + QStringLiteral("/gvfs");
        o.mountInfoPath = dir.path() + QStringLiteral("/mountinfo");
        o.bridgeProgram = dir.path() + QStringLiteral("/bridge");
        o.fuseDevice = dir.path(); // any existing path
        o.requireSessionBus = false;
        o.restartWait = 300ms;
        GvfsFuseBridge bridge(o);
        QCOMPARE(bridge.restartRefusal(), o.bridgeProgram + QStringLiteral(" is not available"));
        QByteArray script = "#!/bin/sh\necho run >> '" + dir.path().toUtf8() + "/runs'\n";
        if (mounts)
            script += "echo \"41 22 0:51 / $1 rw - fuse.gvfsd-fuse gvfsd-fuse rw\" >> '" + o.mountInfoPath.toUtf8() + "'\n";
        QVERIFY(writeFile(o.mountInfoPath, kRootLine) && writeFile(o.bridgeProgram, script));
        QVERIFY(QFile::setPermissions(o.bridgeProgram, QFile::permissions(o.bridgeProgram) | QFileDevice::ExeOwner));
        QCOMPARE(bridge.restartRefusal(), QString());
        QCOMPARE(bridge.health(), Health::Missing);

        const FuseBridge::RestartResult result = bridge.restart(false);
        QVERIFY(result.pid > 0);
        QCOMPARE(result.restarted, mounts);
        QCOMPARE(result.failure, mounts ? QString() : QStringLiteral("the bridge did not mount ") + o.volumesFolder);
        QTRY_COMPARE(QFileInfo(dir.path() + QStringLiteral("/runs")).size(), 4); // started once, on the folder
        QCOMPARE(bridge.health(), mounts ? Health::Healthy : Health::Missing);
    }
};

QTEST_GUILESS_MAIN(TestGvfsFuseBridge)
#include "tst_gvfs_fuse_bridge.moc"
