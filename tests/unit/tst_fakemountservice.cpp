// The in-process mount service and table the engine tests run on: they must behave like the real pair
// where the engine depends on it (scripted codes, cancellation of a hanging mount, folders and table
// entries appearing and going away).
#include "platform/MountResponseCode.h"
#include "platform/fake/FakeMountService.h"
#include "platform/fake/FakeMountTable.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <future>

class TestFakeMountService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scriptedResultsInOrderLastRepeats();
    void blockedMountEndsOnCancel();
    void successCreatesFolderAndVolume();
    void customFolderBecomesLinkAndComesBack();
    void gvfsFolderName_data();
    void gvfsFolderName();
};

void TestFakeMountService::scriptedResultsInOrderLastRepeats()
{
    FakeMountService service;
    const QUrl url(QStringLiteral("smb://h/s"));
    service.script(url, {{MountResponseCode::AlreadyExists, {}, {}}, {MountResponseCode::AuthFailed, {}, {}}});
    MountRequest request;
    request.url = url;
    QCOMPARE(service.mount(request, nullptr).code, MountResponseCode::AlreadyExists);
    QCOMPARE(service.mount(request, nullptr).code, MountResponseCode::AuthFailed);
    QCOMPARE(service.mount(request, nullptr).code, MountResponseCode::AuthFailed);
    request.url = QUrl(QStringLiteral("smb://other/s"));
    QCOMPARE(service.mount(request, nullptr).code, MountResponseCode::Success);
    QCOMPARE(service.mountCalls().size(), 4);
    QCOMPARE(service.mountCalls().first().url, url);
}

void TestFakeMountService::blockedMountEndsOnCancel()
{
    FakeMountService service;
    const QUrl url(QStringLiteral("smb://h/hang"));
    service.setBlocking(url);
    auto cancellation = std::make_shared<MountCancellation>();
    MountRequest request;
    request.url = url;
    auto pending = std::async(std::launch::async, [&] { return service.mount(request, cancellation); });
    QVERIFY(service.waitForBlocked(1, 5000));
    QCOMPARE(pending.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    cancellation->cancel();
    QCOMPARE(pending.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    QCOMPARE(pending.get().code, MountResponseCode::Cancelled);
}

void TestFakeMountService::successCreatesFolderAndVolume()
{
    QTemporaryDir volumes;
    FakeMountTable table;
    FakeMountService service;
    service.attachVolumes(&table, volumes.path());
    QSignalSpy mounted(&table, &MountTable::volumeMounted);
    QSignalSpy unmounted(&table, &MountTable::volumeUnmounted);

    MountRequest request;
    request.url = QUrl(QStringLiteral("smb://server:1445/Public"));
    const MountResult result = service.mount(request, nullptr);
    QCOMPARE(result.code, MountResponseCode::Success);
    QCOMPARE(result.mountPath, volumes.filePath(QStringLiteral("smb-share:port=1445,server=server,share=public")));
    QVERIFY(QFileInfo(result.mountPath).isDir());
    QCOMPARE(table.mountedVolumes().size(), 1);
    QCOMPARE(table.mountedVolumes().first().remountUrl, std::optional<QUrl>(request.url));
    QVERIFY(!table.mountedVolumes().first().isLocal);
    QCOMPARE(mounted.size(), 1);

    // A failed mount leaves nothing behind.
    request.url = QUrl(QStringLiteral("smb://server/missing"));
    service.script(request.url, {{MountResponseCode::ShareNotFound, {}, {}}});
    QCOMPARE(service.mount(request, nullptr).code, MountResponseCode::ShareNotFound);
    QCOMPARE(table.mountedVolumes().size(), 1);

    QVERIFY(service.unmount(result.mountPath, false).ok);
    QVERIFY(!QFileInfo::exists(result.mountPath));
    QVERIFY(table.mountedVolumes().isEmpty());
    QCOMPARE(unmounted.size(), 1);
    const UnmountResult again = service.unmount(result.mountPath, false);
    QVERIFY(!again.ok);
    QCOMPARE(again.errnoValue, 22);
}

void TestFakeMountService::customFolderBecomesLinkAndComesBack()
{
    QTemporaryDir volumes;
    QTemporaryDir home;
    FakeMountTable table;
    FakeMountService service;
    service.attachVolumes(&table, volumes.path());
    const QString folder = home.filePath(QStringLiteral("here"));
    QVERIFY(QDir().mkdir(folder));

    MountRequest request;
    request.url = QUrl(QStringLiteral("https://dav.example/files/"));
    request.mountDirectory = folder;
    const MountResult result = service.mount(request, nullptr);
    QCOMPARE(result.code, MountResponseCode::Success);
    QCOMPARE(result.mountPath, folder);
    QVERIFY(QFileInfo(folder).isSymLink());
    QVERIFY(table.contains(QFileInfo(folder).symLinkTarget()));

    QVERIFY(service.unmount(folder, true).ok);
    QVERIFY(!QFileInfo(folder).isSymLink());
    QVERIFY(QFileInfo(folder).isDir());
    QVERIFY(table.mountedVolumes().isEmpty());
    QCOMPARE(service.unmountCalls().size(), 1);
    QVERIFY(service.unmountCalls().first().force);
}

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
