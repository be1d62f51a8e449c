// The Linux mount platform against the real stack: GVfs (gvfsd + FUSE), Samba and Apache WebDAV.
#include "support/linux/TestStack.h"

#include "platform/MountResponseCode.h"
#include "platform/linux/GvfsMountService.h"
#include "platform/linux/GvfsMountTable.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

using namespace TestStack;

namespace {

QUrl smbUrl(const QString &share, int port = -1)
{
    return QUrl(QStringLiteral("smb://%1:%2/%3")
                    .arg(env("TW_SMB_HOST"))
                    .arg(port > 0 ? port : env("TW_SMB_PORT").toInt())
                    .arg(share));
}

MountRequest guestRequest(const QUrl &url)
{
    MountRequest request;
    request.url = url;
    request.guest = true;
    return request;
}

std::optional<MountedVolume> listed(const GvfsMountTable &table, const QString &path)
{
    const QList<MountedVolume> volumes = table.mountedVolumes();
    const auto it = std::ranges::find_if(volumes, [&path](const MountedVolume &v) { return v.path == path; });
    return it == volumes.end() ? std::nullopt : std::optional<MountedVolume>(*it);
}

} // namespace

class TestGvfsPlatform : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (env("TW_SMB_PORT").isEmpty() || env("TW_DAV_PORT").isEmpty())
            QSKIP("needs the test stack (tests/stack/with-stack.sh)");
        m_fuseRoot = QDir(env("XDG_RUNTIME_DIR")).filePath(QStringLiteral("gvfs"));
        m_table = std::make_unique<GvfsMountTable>();
        m_service = std::make_unique<GvfsMountService>(m_table.get());
    }

    // A failed case must not leave a mount behind that turns the next case into "already mounted".
    void cleanup()
    {
        for (const MountedVolume &volume : m_table->mountedVolumes()) {
            if (volume.path.startsWith(m_fuseRoot + QLatin1Char('/')))
                unmountOnWorker(volume.path, true);
        }
    }

    void guestMountRoundTrip()
    {
        QSignalSpy mounted(m_table.get(), &MountTable::volumeMounted);
        QSignalSpy unmounted(m_table.get(), &MountTable::volumeUnmounted);
        const QUrl url = smbUrl(env("TW_SMB_GUEST_SHARE"));

        const MountResult result = onWorker([&] { return m_service->mount(guestRequest(url), nullptr); });
        QCOMPARE(result.code, MountResponseCode::Success);
        QVERIFY2(result.mountPath.startsWith(m_fuseRoot + QLatin1Char('/')), qPrintable(result.mountPath));

        // Listed at once (reported by the service), and still listed once the monitor has heard of it.
        QVERIFY(listed(*m_table, result.mountPath));
        QTRY_VERIFY(mounted.contains(QVariantList{result.mountPath}));
        const std::optional<MountedVolume> volume = listed(*m_table, result.mountPath);
        QVERIFY(volume);
        QVERIFY(!volume->isLocal);
        QVERIFY(volume->remountUrl.has_value());
        QCOMPARE(volume->remountUrl->scheme(), QStringLiteral("smb"));
        QCOMPARE(volume->remountUrl->host(), env("TW_SMB_HOST"));
        QCOMPARE(volume->remountUrl->port(), env("TW_SMB_PORT").toInt());
        QCOMPARE(volume->remountUrl->path().remove(QLatin1Char('/')), env("TW_SMB_GUEST_SHARE"));

        // Written through the FUSE path, read on the server side.
        const QString name = QStringLiteral("roundtrip-%1.txt").arg(QCoreApplication::applicationPid());
        {
            QFile file(QDir(result.mountPath).filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.write("written through gvfs\n") > 0);
        }
        QFile onServer(QDir(env("TW_SMB_SHARES_DIR")).filePath(env("TW_SMB_GUEST_SHARE") + QLatin1Char('/') + name));
        QVERIFY(onServer.open(QIODevice::ReadOnly));
        QCOMPARE(onServer.readAll(), QByteArray("written through gvfs\n"));

        const MountResult again = onWorker([&] { return m_service->mount(guestRequest(url), nullptr); });
        QCOMPARE(again.code, MountResponseCode::AlreadyExists);
        QCOMPARE(again.mountPath, result.mountPath);

        const UnmountResult gone = unmountOnWorker(result.mountPath);
        QVERIFY2(gone.ok, qPrintable(gone.errorText));
        QVERIFY(!listed(*m_table, result.mountPath));
        QTRY_VERIFY(unmounted.contains(QVariantList{result.mountPath}));
        QVERIFY(!listed(*m_table, result.mountPath));
        QVERIFY(!QFileInfo::exists(result.mountPath));
    }

    void mountOutcomes_data()
    {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<QString>("user"); // empty: as guest
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("acceptCertificate");
        QTest::addColumn<int>("code");

        const QString smbUser = env("TW_SMB_USER");
        const QString smbPassword = env("TW_SMB_PASSWORD");
        const QString davUser = env("TW_DAV_USER");
        const QString davPassword = env("TW_DAV_PASSWORD");
        const QUrl secure = smbUrl(env("TW_SMB_USER_SHARE"));
        const QUrl dav(env("TW_DAV_URL"));
        const QUrl davSecure(env("TW_DAV_SECURE_URL"));
        const QUrl davs(env("TW_DAVS_URL"));
        const QString davHostPort = QStringLiteral("http://127.0.0.1:%1").arg(env("TW_DAV_PORT"));
        using namespace MountResponseCode;

        const auto row = [](const char *tag, const QUrl &url, const QString &user, const QString &password, int code,
                            bool acceptCertificate = false) {
            QTest::newRow(tag) << url << user << password << acceptCertificate << code;
        };
        const QString wrong = QStringLiteral("not-it");
        row("smb user share, right password", secure, smbUser, smbPassword, Success);
        row("smb user share, domain\\user form", secure, QStringLiteral("TARNWELL\\") + smbUser, smbPassword, Success);
        row("smb user share, wrong password", secure, smbUser, wrong, AuthFailed);
        row("smb user share as guest", secure, {}, {}, AuthFailed);
        row("smb missing share", smbUrl(QStringLiteral("no-such-share")), {}, {}, ShareNotFound);
        row("smb closed port", smbUrl(QStringLiteral("public"), freePort()), {}, {}, HostDown);
        row("dav plain", dav, {}, {}, Success);
        row("dav basic auth, right password", davSecure, davUser, davPassword, Success);
        row("dav basic auth, wrong password", davSecure, davUser, wrong, AuthFailed);
        row("dav missing folder", QUrl(davHostPort + QStringLiteral("/no-such-folder/")), {}, {}, ShareNotFound);
        row("dav closed port", QUrl(QStringLiteral("http://127.0.0.1:%1/public/").arg(freePort())), {}, {}, HostDown);
        // An unknown name is the platform table's row: a look-up would leave loopback.
        row("davs self-signed, refused", davs, {}, {}, AuthFailed);
        row("davs self-signed, accepted", davs, {}, {}, Success, true);
    }
    void mountOutcomes()
    {
        QFETCH(QUrl, url);
        QFETCH(QString, user);
        QFETCH(QString, password);
        QFETCH(bool, acceptCertificate);
        QFETCH(int, code);

        MountRequest request;
        request.url = url;
        request.user = user;
        request.password = password;
        request.guest = user.isEmpty();
        request.acceptUntrustedCertificate = acceptCertificate;
        const MountResult result = onWorker([&] { return m_service->mount(request, nullptr); });
        QVERIFY2(result.code == code, qPrintable(QStringLiteral("code %1 (%2)").arg(result.code).arg(result.detail)));

        if (code == MountResponseCode::Success) {
            QVERIFY2(result.mountPath.startsWith(m_fuseRoot + QLatin1Char('/')), qPrintable(result.mountPath));
            QVERIFY(QFileInfo(result.mountPath).isDir());
            const UnmountResult gone = unmountOnWorker(result.mountPath);
            QVERIFY2(gone.ok, qPrintable(result.mountPath + QStringLiteral(": ") + gone.errorText));
        } else {
            // A failed attempt leaves nothing mounted for that URL.
            const QString host = url.host();
            for (const MountedVolume &volume : m_table->mountedVolumes()) {
                if (volume.remountUrl && volume.remountUrl->host() == host && volume.remountUrl->port() == url.port())
                    QFAIL(qPrintable(QStringLiteral("still mounted: ") + volume.path));
            }
        }
    }

    void cancelHangingMount()
    {
        // Accepts connections and never answers: the mount hangs until it is cancelled.
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost, 0));
        const QUrl url = smbUrl(QStringLiteral("public"), silent.serverPort());
        auto cancellation = std::make_shared<MountCancellation>();

        QElapsedTimer timer;
        timer.start();
        std::thread canceller([cancellation] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
            cancellation->cancel();
        });
        const MountResult result = onWorker([&] { return m_service->mount(guestRequest(url), cancellation); });
        canceller.join();
        QCOMPARE(result.code, MountResponseCode::Cancelled);
        QVERIFY2(timer.elapsed() < 15000, "the cancelled mount did not return promptly");
    }

    void timeLimitReadsTimedOut()
    {
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost, 0));
        GvfsMountService limited(m_table.get());
        limited.setTimeLimit(std::chrono::milliseconds(1500));
        const QUrl url(QStringLiteral("http://127.0.0.1:%1/public/").arg(silent.serverPort()));
        const MountResult result = onWorker([&] { return limited.mount(guestRequest(url), nullptr); });
        QCOMPARE(result.code, MountResponseCode::TimedOut);
    }

    void customMountFolderIsALink()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString folder = dir.filePath(QStringLiteral("public-here"));
        QVERIFY(QDir().mkdir(folder));

        MountRequest request = guestRequest(smbUrl(env("TW_SMB_GUEST_SHARE")));
        request.mountDirectory = folder;
        const MountResult result = onWorker([&] { return m_service->mount(request, nullptr); });
        QCOMPARE(result.code, MountResponseCode::Success);
        QCOMPARE(result.mountPath, folder);
        const QFileInfo link(folder);
        QVERIFY(link.isSymLink());
        QVERIFY2(link.symLinkTarget().startsWith(m_fuseRoot + QLatin1Char('/')), qPrintable(link.symLinkTarget()));
        QVERIFY(listed(*m_table, link.symLinkTarget()));
        // Content through the link: tst_share_paths' custom-folder rows.

        const QString target = link.symLinkTarget();
        const UnmountResult gone = unmountOnWorker(folder);
        QVERIFY2(gone.ok, qPrintable(gone.errorText));
        QVERIFY(!QFileInfo(folder).isSymLink() && QFileInfo(folder).isDir());
        QVERIFY(QDir(folder).isEmpty());
        QVERIFY(!listed(*m_table, target));

        // A folder with something in it is not given up: the mount is undone and the folder is in the way.
        QFile keep(QDir(folder).filePath(QStringLiteral("keep")));
        QVERIFY(keep.open(QIODevice::WriteOnly));
        keep.close();
        const MountResult blocked = onWorker([&] { return m_service->mount(request, nullptr); });
        QCOMPARE(blocked.code, MountResponseCode::AlreadyExists);
        QVERIFY(!QFileInfo(folder).isSymLink());
        QVERIFY(QFileInfo::exists(keep.fileName()));
        QVERIFY(!listed(*m_table, target));
    }

    void unmountOfNothing()
    {
        const UnmountResult missing = unmountOnWorker(m_fuseRoot + QStringLiteral("/smb-share:server=nowhere,share=none"));
        QVERIFY(!missing.ok);
        QCOMPARE(missing.errnoValue, ENOENT);

        QTemporaryDir plain;
        const UnmountResult notAMount = unmountOnWorker(plain.path());
        QVERIFY(!notAMount.ok);
        QCOMPARE(notAMount.errnoValue, EINVAL);
        QVERIFY(!notAMount.errorText.isEmpty());
    }

private:
    UnmountResult unmountOnWorker(const QString &path, bool force = false)
    {
        return onWorker([&] { return m_service->unmount(path, force); });
    }

    std::unique_ptr<GvfsMountTable> m_table;
    std::unique_ptr<GvfsMountService> m_service;
    QString m_fuseRoot;
};

QTEST_GUILESS_MAIN(TestGvfsPlatform)
#include "tst_gvfs_platform.moc"
