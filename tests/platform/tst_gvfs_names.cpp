// How GVfs names a mount's folder under its FUSE root, and the parse back to share and host: one code for
// the GVfs service and the fake, so discovery over the fake scores the names the real folder shows.
#include "platform/linux/gvfsnames/GvfsNames.h"

#include <QTest>

class TestGvfsNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folderName_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("share"); // what the name parses back to
        QTest::addColumn<QString>("host");
        // As GVfs 1.50 names them under its FUSE root (seen on the test stack).
        QTest::newRow("smb, share lower-cased") << "smb://127.0.0.1/Public" << "smb-share:server=127.0.0.1,share=public"
                                                << "public" << "127.0.0.1";
        QTest::newRow("smb port, deeper path") << "smb://127.0.0.1:1445/public/sub/" << "smb-share:port=1445,server=127.0.0.1,share=public"
                                               << "public" << "127.0.0.1";
        QTest::newRow("smb server only") << "smb://nas" << "smb-server:server=nas" << "" << "nas";
        QTest::newRow("dav prefix escaped") << "http://127.0.0.1:8080/dav/files/" << "dav:host=127.0.0.1,port=8080,ssl=false,prefix=%2Fdav%2Ffiles"
                                            << "dav/files" << "127.0.0.1";
        QTest::newRow("davs root") << "https://dav.test/" << "dav:host=dav.test,ssl=true" << "" << "dav.test";
        QTest::newRow("reserved characters kept") << "http://h/a+b(1)" << "dav:host=h,ssl=false,prefix=%2Fa+b(1)" << "a+b(1)" << "h";
        QTest::newRow("afp") << "afp://mac.test/Vol" << "afp-volume:host=mac.test,volume=Vol" << "" << "mac.test";
        QTest::newRow("nfs") << "nfs://nas/export" << "nfs:host=nas,prefix=%2Fexport" << "export" << "nas";
    }
    void folderName()
    {
        QFETCH(QString, url);
        QFETCH(QString, name);
        QCOMPARE(GvfsNames::folderName(QUrl(url)), name);
        const auto parsed = GvfsNames::shareAndHost(name);
        QVERIFY(parsed);
        QTEST(parsed->share, "share");
        QTEST(parsed->host, "host");
    }

    void otherNamesAreNoSpec_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("plain folder") << "Public";
        QTest::newRow("colon without fields") << "backup: old";
        QTest::newRow("item without key") << "smb-share:server=h,=x";
        QTest::newRow("leading colon") << ":server=h";
    }
    void otherNamesAreNoSpec()
    {
        QFETCH(QString, name);
        QVERIFY(GvfsNames::specFields(name).isEmpty());
        QVERIFY(!GvfsNames::shareAndHost(name));
    }
};

QTEST_GUILESS_MAIN(TestGvfsNames)
#include "tst_gvfs_names.moc"
