// Kernel mounts as the Linux mount table reads them from /proc/self/mountinfo.
#include "platform/linux/GvfsMountTable.h"

#include <QTest>

class TestMountInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("path"); // empty: nothing listed
        QTest::addColumn<QString>("url");  // empty: a local disk without a remount URL
        const auto row = [](const char *tag, const char *text, const char *path, const char *url) {
            QTest::newRow(tag) << QByteArray(text) << QString::fromUtf8(path) << QString::fromUtf8(url);
        };

        row("cifs", "101 29 0:52 / /mnt/projects rw,relatime shared:60 - cifs //files.example/Projects rw,vers=3.1.1",
            "/mnt/projects", "smb://files.example/Projects");
        row("smb3 with backslashes", "102 29 0:53 / /mnt/a rw - smb3 \\\\srv\\share rw", "/mnt/a", "smb://srv/share");
        row("nfs4", "103 29 0:54 / /net/home rw,relatime - nfs4 nas.example:/export/home rw,vers=4.2", "/net/home",
            "nfs://nas.example/export/home");
        row("nfs over ipv6", "104 29 0:55 / /net/v6 rw - nfs [fd00::5]:/data rw", "/net/v6", "nfs://[fd00::5]/data");
        row("davfs", "105 29 0:56 / /mnt/dav rw,nosuid,nodev - fuse http://dav.example/remote.php/ rw", "/mnt/dav",
            "http://dav.example/remote.php/");
        row("escaped blank in path", "106 29 0:57 / /mnt/My\\040Share rw - cifs //h/My\\040Share rw", "/mnt/My Share",
            "smb://h/My%20Share");
        row("disk is local", "25 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw", "/", "");
        row("gvfs fuse root left out", "41 26 0:38 / /run/user/1000/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw", "", "");
        row("malformed lines skipped",
            "garbage\n1 2 3\n108 29 0:59 / /mnt/c rw - cifs\n\n109 29 0:60 / /mnt/d rw - cifs //h/d rw\n", "/mnt/d",
            "smb://h/d");
    }
    void parse()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, path);
        QFETCH(QString, url);
        const QList<MountedVolume> volumes = GvfsMountTable::parseMountInfo(text);
        QCOMPARE(volumes.size(), path.isEmpty() ? 0 : 1);
        if (path.isEmpty())
            return;
        QCOMPARE(volumes.first().path, path);
        QCOMPARE(volumes.first().isLocal, url.isEmpty());
        QCOMPARE(volumes.first().remountUrl.has_value(), !url.isEmpty());
        if (!url.isEmpty())
            QCOMPARE(volumes.first().remountUrl->toString(QUrl::FullyEncoded), url);
    }

    void gvfsRemountUrl_data()
    {
        QTest::addColumn<QString>("uri");
        QTest::addColumn<QString>("url");
        QTest::newRow("smb") << "smb://127.0.0.1:1445/public/" << "smb://127.0.0.1:1445/public/";
        QTest::newRow("dav") << "dav://h:8080/public" << "http://h:8080/public";
        QTest::newRow("davs") << "davs://h/secure" << "https://h/secure";
    }
    void gvfsRemountUrl()
    {
        QFETCH(QString, uri);
        QTEST(GvfsMountTable::remountUrlForGvfsUri(uri).toString(), "url");
    }
};

QTEST_GUILESS_MAIN(TestMountInfo)
#include "tst_mountinfo.moc"
