// The in-process mount service names its folders as GVfs does, so discovery tests over it score the
// names the real volumes folder shows.
#include "platform/fake/FakeMountService.h"

#include <QTest>

class TestFakeMountService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void gvfsFolderName_data();
    void gvfsFolderName();
};

void TestFakeMountService::gvfsFolderName_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("name");
    // As GVfs 1.50 names them under its FUSE root (seen on the test stack).
    QTest::newRow("smb with port") << QUrl(QStringLiteral("smb://127.0.0.1:58415/public"))
                                   << QStringLiteral("smb-share:port=58415,server=127.0.0.1,share=public");
    QTest::newRow("smb") << QUrl(QStringLiteral("smb://nas/Media/sub")) << QStringLiteral("smb-share:server=nas,share=media");
    QTest::newRow("dav") << QUrl(QStringLiteral("http://127.0.0.1:47821/public/"))
                         << QStringLiteral("dav:host=127.0.0.1,port=47821,ssl=false,prefix=%2Fpublic");
    QTest::newRow("davs root") << QUrl(QStringLiteral("https://h/")) << QStringLiteral("dav:host=h,ssl=true");
}

void TestFakeMountService::gvfsFolderName()
{
    QFETCH(QUrl, url);
    QFETCH(QString, name);
    QCOMPARE(FakeMountService::gvfsFolderName(url), name);
}

QTEST_GUILESS_MAIN(TestFakeMountService)
#include "tst_fakemountservice.moc"
