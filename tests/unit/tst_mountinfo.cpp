// Kernel mounts as the Linux mount table reads them from /proc/self/mountinfo.
#include "platform/linux/GvfsMountTable.h"

#include <QTest>

class TestMountInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void malformedLinesAreSkipped();
    void gvfsRemountUrl_data();
    void gvfsRemountUrl();
};

void TestMountInfo::parse_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("listed");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isLocal");
    QTest::addColumn<QString>("url");

    QTest::newRow("cifs") << QByteArray("101 29 0:52 / /mnt/projects rw,relatime shared:60 - cifs //files.example/Projects rw,vers=3.1.1")
                          << true << QStringLiteral("/mnt/projects") << false << QStringLiteral("smb://files.example/Projects");
    QTest::newRow("smb3 with backslashes") << QByteArray("102 29 0:53 / /mnt/a rw - smb3 \\\\srv\\share rw")
                                           << true << QStringLiteral("/mnt/a") << false << QStringLiteral("smb://srv/share");
    QTest::newRow("nfs4") << QByteArray("103 29 0:54 / /net/home rw,relatime - nfs4 nas.example:/export/home rw,vers=4.2")
                          << true << QStringLiteral("/net/home") << false << QStringLiteral("nfs://nas.example/export/home");
    QTest::newRow("nfs over ipv6") << QByteArray("104 29 0:55 / /net/v6 rw - nfs [fd00::5]:/data rw")
                                   << true << QStringLiteral("/net/v6") << false << QStringLiteral("nfs://[fd00::5]/data");
    QTest::newRow("davfs") << QByteArray("105 29 0:56 / /mnt/dav rw,nosuid,nodev - fuse http://dav.example/remote.php/ rw")
                           << true << QStringLiteral("/mnt/dav") << false << QStringLiteral("http://dav.example/remote.php/");
    QTest::newRow("escaped blank in path") << QByteArray("106 29 0:57 / /mnt/My\\040Share rw - cifs //h/My\\040Share rw")
                                           << true << QStringLiteral("/mnt/My Share") << false << QStringLiteral("smb://h/My%20Share");
    QTest::newRow("disk is local") << QByteArray("25 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw")
                                   << true << QStringLiteral("/") << true << QString();
    QTest::newRow("gvfs fuse root left out") << QByteArray("41 26 0:38 / /run/user/1000/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw")
                                             << false << QString() << false << QString();
    QTest::newRow("proc left out") << QByteArray("22 1 0:21 / /proc rw - proc proc rw") << false << QString() << false
                                   << QString();
    QTest::newRow("optional fields") << QByteArray("107 29 0:58 / /mnt/b rw shared:5 master:3 - cifs //h/b rw")
                                     << true << QStringLiteral("/mnt/b") << false << QStringLiteral("smb://h/b");
}

void TestMountInfo::parse()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, listed);
    QFETCH(QString, path);
    QFETCH(bool, isLocal);
    QFETCH(QString, url);
    const QList<MountedVolume> volumes = GvfsMountTable::parseMountInfo(line + '\n');
    QCOMPARE(volumes.size(), listed ? 1 : 0);
    if (!listed)
        return;
    QCOMPARE(volumes.first().path, path);
    QCOMPARE(volumes.first().isLocal, isLocal);
    QCOMPARE(volumes.first().remountUrl.has_value(), !url.isEmpty());
    if (!url.isEmpty())
        QCOMPARE(volumes.first().remountUrl->toString(QUrl::FullyEncoded), url);
}

void TestMountInfo::malformedLinesAreSkipped()
{
    const QByteArray text = "garbage\n"
                            "1 2 3\n"
                            "108 29 0:59 / /mnt/c rw - cifs\n" // no source
                            "\n"
                            "109 29 0:60 / /mnt/d rw - cifs //h/d rw\n";
    const QList<MountedVolume> volumes = GvfsMountTable::parseMountInfo(text);
    QCOMPARE(volumes.size(), 1);
    QCOMPARE(volumes.first().path, QStringLiteral("/mnt/d"));
}

void TestMountInfo::gvfsRemountUrl_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<QString>("url");
    QTest::newRow("smb") << QStringLiteral("smb://127.0.0.1:1445/public/") << QStringLiteral("smb://127.0.0.1:1445/public/");
    QTest::newRow("dav") << QStringLiteral("dav://h:8080/public") << QStringLiteral("http://h:8080/public");
    QTest::newRow("davs") << QStringLiteral("davs://h/secure") << QStringLiteral("https://h/secure");
}

void TestMountInfo::gvfsRemountUrl()
{
    QFETCH(QString, uri);
    QFETCH(QString, url);
    QCOMPARE(GvfsMountTable::remountUrlForGvfsUri(uri).toString(), url);
}

QTEST_GUILESS_MAIN(TestMountInfo)
#include "tst_mountinfo.moc"
