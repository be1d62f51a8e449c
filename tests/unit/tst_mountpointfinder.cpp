// Mount-point discovery by scoring, the live-mount and ghost tests, and mount-table matching.
#include "core/MountPointFinder.h"

#include "base/Console.h"
#include "platform/FileSystem.h"
#include "platform/fake/FakeMountService.h"
#include "platform/fake/FakeMountTable.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {
const QDateTime kNow(QDate(2024, 5, 1), QTime(10, 0, 0));

// A volumes folder whose listing order and creation dates the test sets.
class ScriptedFileSystem : public FileSystem
{
public:
    QList<std::pair<QString, std::optional<QDateTime>>> entries; // name, creation date
    bool listFails = false;
    QStringList existing; // other paths that exist

    QString volumesFolder() const override { return QStringLiteral("/run/test/gvfs"); }
    std::optional<QStringList> list(const QString &, QString *error) const override
    {
        if (listFails && error)
            *error = QStringLiteral("Permission denied");
        QStringList names;
        for (const auto &e : entries)
            names.append(e.first);
        return listFails ? std::nullopt : std::optional<QStringList>(names);
    }
    std::optional<QDateTime> creationDate(const QString &path) const override
    {
        for (const auto &e : entries) {
            if (volumesFolder() + QLatin1Char('/') + e.first == path)
                return e.second;
        }
        return std::nullopt;
    }
    bool exists(const QString &path, bool *isDirectory) const override
    {
        if (isDirectory)
            *isDirectory = true;
        return existing.contains(path);
    }
    bool isSymbolicLink(const QString &) const override { return false; }
    QString symbolicLinkTarget(const QString &) const override { return {}; }
    bool createSymbolicLink(const QString &, const QString &, QString *) override { return false; }
    bool removeEntry(const QString &, QString *) override { return false; }
};

// The finder over a file system of type Fs, a fake table and service, on the fixed clock.
template<typename Fs>
struct Rig
{
    template<typename... Args>
    explicit Rig(Args &&...args)
        : fs(std::forward<Args>(args)...)
    {
        finder.setClock([] { return kNow; });
    }
    Fs fs;
    FakeMountTable table;
    FakeMountService service;
    MountPointFinder finder{fs, table, service};
};

VolumeRecord smbRecord(const QString &host, const QString &share)
{
    VolumeRecord r;
    r.hostname_String = host;
    r.volume_String = share;
    return r;
}

std::optional<QString> gvfsPath(const QString &name)
{
    return QStringLiteral("/run/test/gvfs/") + name;
}
} // namespace

class TestMountPointFinder : public QObject
{
    Q_OBJECT

private:
    QStringList m_console;

private Q_SLOTS:
    void init()
    {
        m_console.clear();
        Console::setSink([this](const QString &line) { m_console.append(line); });
    }
    void cleanup() { Console::setSink({}); }

    void nameScore_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("share");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("score");

        QTest::newRow("exact share") << "Public" << "public" << "nas" << 100;
        QTest::newRow("share with slashes") << "public" << "/public/" << "nas" << 100;
        QTest::newRow("suffixed") << "public-1" << "public" << "nas" << 50;
        QTest::newRow("entry inside share") << "pub" << "public" << "nas" << 50;
        QTest::newRow("exact host") << "nas" << "public" << "nas" << 80;
        QTest::newRow("host inside") << "nas-backup" << "docs" << "nas" << 25;
        QTest::newRow("share and host") << "public on nas" << "public" << "nas" << 75;
        QTest::newRow("share empty") << "anything" << "" << "nas" << 0;
        QTest::newRow("gvfs smb exact") << "smb-share:port=1445,server=127.0.0.1,share=public" << "public" << "127.0.0.1" << 180;
        QTest::newRow("gvfs smb other share") << "smb-share:server=127.0.0.1,share=publicity" << "public" << "127.0.0.1" << 130;
        QTest::newRow("gvfs smb other host") << "smb-share:server=10.0.0.2,share=public" << "public" << "127.0.0.1" << 100;
        QTest::newRow("gvfs dav prefix") << "dav:host=127.0.0.1,port=8080,ssl=false,prefix=%2Fremote.php%2Fdav"
                                         << "remote.php/dav" << "127.0.0.1" << 180;
        QTest::newRow("gvfs dav root") << "dav:host=dav.test,ssl=true" << "" << "dav.test" << 80;
    }
    void nameScore()
    {
        QFETCH(QString, entry);
        QFETCH(QString, share);
        QFETCH(QString, host);
        Rig<ScriptedFileSystem> r;
        QTEST(r.finder.nameScore(entry, share, host), "score");
    }

    void candidatesAndOrder()
    {
        Rig<ScriptedFileSystem> r;
        r.fs.entries = {
            {QStringLiteral("Data"), kNow},                        // protected
            {QStringLiteral(".hidden-public"), kNow},              // dot-name
            {QStringLiteral("public-1"), kNow.addSecs(-2)},        // 50 + 75 = 125
            {QStringLiteral("unrelated"), kNow.addSecs(-3)},       // 0 + 75 = 75
            {QStringLiteral("public"), kNow.addSecs(-1)},          // 100 + 75 = 175
            {QStringLiteral("old-unrelated"), kNow.addSecs(-600)}, // 0: not a candidate
            {QStringLiteral("public-2"), std::nullopt},            // no creation date: dropped
            {QStringLiteral("future-public-3"), kNow.addSecs(30)}, // negative age counts as recent: 125
        };
        const VolumeRecord record = smbRecord(QStringLiteral("nas"), QStringLiteral("public"));
        QStringList scored; // "name:score", best first
        for (const auto &c : r.finder.scoreCandidates(record, r.fs.list(r.fs.volumesFolder(), nullptr).value()))
            scored.append(c.path.section(QLatin1Char('/'), -1) + QLatin1Char(':') + QString::number(c.score));
        QCOMPARE(scored, QStringLiteral("public:175 public-1:125 future-public-3:125 unrelated:75").split(QLatin1Char(' ')));
        QVERIFY(m_console.contains(QStringLiteral("🔍 [MOUNT]   Recent creation (3s ago) +75")));
        QVERIFY(m_console.contains(QStringLiteral("✅ [MOUNT]   Added as candidate with score: 175")));

        m_console.clear();
        QCOMPARE(r.finder.discoverMountPoint(record), gvfsPath(QStringLiteral("public")));
        QCOMPARE(m_console.first(), QStringLiteral("🔍 [MOUNT] Discovering mount point in /Volumes..."));
        QCOMPARE(m_console.at(1), QStringLiteral("🔍 [MOUNT] Looking for share: 'public', host: 'nas'"));
        QCOMPARE(m_console.last(), QStringLiteral("📍 [MOUNT] Selected mount point: '/run/test/gvfs/public'"));

        // Equal scores: the first listed wins.
        const VolumeRecord docs = smbRecord(QStringLiteral("h"), QStringLiteral("docs"));
        r.fs.entries = {{QStringLiteral("docs-b"), kNow.addSecs(-100)}, {QStringLiteral("docs-a"), kNow.addSecs(-100)}};
        QCOMPARE(r.finder.discoverMountPoint(docs), gvfsPath(QStringLiteral("docs-b")));
        std::reverse(r.fs.entries.begin(), r.fs.entries.end());
        QCOMPARE(r.finder.discoverMountPoint(docs), gvfsPath(QStringLiteral("docs-a")));
    }

    void otherMountsOfTheServer_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("chosen");
        // Fresh folders of parallel mounts on one server, all naming the share "public"; the first listed wins a tie.
        QTest::newRow("webdav beside an smb share of that name")
            << int(MountUsingProtocol_Enum::WebDAV) << 8080 << "dav:host=127.0.0.1,port=8080,ssl=false,prefix=%2Fpublic";
        QTest::newRow("secure webdav") << int(MountUsingProtocol_Enum::WebDAVS) << 8080
                                       << "dav:host=127.0.0.1,port=8080,ssl=true,prefix=%2Fpublic";
        QTest::newRow("webdav on another port") << int(MountUsingProtocol_Enum::WebDAV) << 8081
                                                << "dav:host=127.0.0.1,port=8081,ssl=false,prefix=%2Fpublic";
        QTest::newRow("smb") << int(MountUsingProtocol_Enum::SMB) << 1445 << "smb-share:port=1445,server=127.0.0.1,share=public";
    }
    void otherMountsOfTheServer()
    {
        QFETCH(int, protocol);
        QFETCH(int, port);
        Rig<ScriptedFileSystem> r;
        for (const char *name :
             {"smb-share:port=1445,server=127.0.0.1,share=public", "dav:host=127.0.0.1,port=8080,ssl=true,prefix=%2Fpublic",
              "dav:host=127.0.0.1,port=8081,ssl=false,prefix=%2Fpublic", "dav:host=127.0.0.1,port=8080,ssl=false,prefix=%2Fpublic"})
            r.fs.entries.append({QString::fromLatin1(name), kNow.addSecs(-5)});
        VolumeRecord record = smbRecord(QStringLiteral("127.0.0.1"), QStringLiteral("public"));
        record.mounting_using_protocol_Enum = MountUsingProtocol_Enum(protocol);
        record.port_Int = port;
        QTEST(r.finder.discoverMountPoint(record).value_or(QString()).section(QLatin1Char('/'), -1), "chosen");
    }

    void fallbacks()
    {
        Rig<ScriptedFileSystem> r;
        const VolumeRecord record = smbRecord(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const QString expected = *gvfsPath(QStringLiteral("smb-share:server=127.0.0.1,share=docs"));
        QCOMPARE(r.finder.expectedMountPath(record), expected);

        r.fs.listFails = true;
        QCOMPARE(r.finder.discoverMountPoint(record), std::optional<QString>(expected));
        QVERIFY(m_console.contains(QStringLiteral("❌ [MOUNT] Failed to discover mount point: Permission denied")));
        QVERIFY(m_console.contains(QStringLiteral("📍 [MOUNT] Using fallback path: '") + expected + QLatin1Char('\'')));

        r.fs.listFails = false;
        r.fs.entries = {{QStringLiteral("old"), kNow.addSecs(-600)}};
        QCOMPARE(r.finder.discoverMountPoint(record), std::nullopt);
        QVERIFY(m_console.contains(QStringLiteral("❌ [MOUNT] No candidates found and expected path doesn't exist!")));
        r.fs.existing = {expected};
        QCOMPARE(r.finder.discoverMountPoint(record), std::optional<QString>(expected));
        QVERIFY(m_console.contains(QStringLiteral("📍 [MOUNT] Using expected path: '") + expected + QLatin1Char('\'')));
    }

    void liveMountsAndGhosts()
    {
        QTemporaryDir dir;
        const QString volumes = dir.path() + QStringLiteral("/volumes");
        QDir().mkpath(volumes);
        Rig<LocalFileSystem> r(volumes);
        MountPointFinder &finder = r.finder;
        auto make = [&](const QString &name, bool withFile = false) {
            const QString p = volumes + QLatin1Char('/') + name;
            QDir().mkpath(p);
            if (withFile)
                (void)QFile(p + QStringLiteral("/x")).open(QIODevice::WriteOnly);
            return p;
        };
        const QString live = make(QStringLiteral("live"));
        r.table.setVolumes({{live, QUrl(QStringLiteral("smb://h/live")), false}});

        QVERIFY(finder.isLiveMount(live));
        QVERIFY(finder.isLiveMount(live + QStringLiteral("/sub/dir")));
        QVERIFY(!finder.isLiveMount(live + QStringLiteral("ly"))); // a sibling with the same prefix
        QVERIFY(!finder.isLiveMount(QString()));

        const QString empty = make(QStringLiteral("empty"));
        const QString full = make(QStringLiteral("full"), true);
        const QString data = make(QStringLiteral("Data"));
        const QString dot = make(QStringLiteral(".dot"));
        const QString outside = dir.path() + QStringLiteral("/outside");
        QDir().mkpath(outside);

        QVERIFY(finder.isConfirmedGhost(empty));
        // Mounted (though empty), with content, protected, hidden, outside, missing, the folder itself.
        for (const QString &p : {live, full, data, dot, outside, QString(volumes + QStringLiteral("/missing")), volumes})
            QVERIFY2(!finder.isConfirmedGhost(p), qPrintable(p));
        QVERIFY(!finder.isConfirmedGhost(outside, true)); // a user's custom folder is never a ghost

        for (const QString &p : {live, full, data, dot, outside})
            QVERIFY(!finder.removeGhost(p));
        QVERIFY(m_console.contains(QStringLiteral("🧹 [GHOST] Not removing '") + data + QStringLiteral("' — not a confirmed ghost")));
        QVERIFY(finder.removeGhost(empty));
        QVERIFY(!QFileInfo::exists(empty));
        QVERIFY(m_console.contains(QStringLiteral("🧹 [GHOST] Removed ghost mount point: '") + empty + QLatin1Char('\'')));
        for (const QString &p : {live, full, data, dot, outside})
            QVERIFY(QFileInfo::exists(p));

        // A custom folder realised as a link: live while its target is listed, a ghost once it dangles.
        const QString custom = dir.path() + QStringLiteral("/custom");
        QVERIFY(QFile::link(live, custom));
        QVERIFY(finder.isLiveMount(custom));
        QVERIFY(!finder.isConfirmedGhost(custom, true));
        r.table.setVolumes({});
        QVERIFY(QDir(live).removeRecursively());
        QVERIFY(finder.isConfirmedGhost(custom, true));
        QVERIFY(!finder.isConfirmedGhost(custom, false));
        QVERIFY(finder.removeGhost(custom, true));
        QVERIFY(QFileInfo(custom).isDir() && !QFileInfo(custom).isSymLink());
    }

    void contentPath_data()
    {
        QTest::addColumn<QString>("root");  // entry of the volumes folder
        QTest::addColumn<QString>("share"); // the record's share name (path)
        QTest::addColumn<QString>("below"); // expected sub-folder of the root ("" : the root itself)
        const QString smb = QStringLiteral("smb-share:port=1445,server=h,share=public");
        const QString dav = QStringLiteral("dav:host=h,port=80,ssl=false,prefix=%2Fpublic");
        QTest::newRow("smb share") << smb << "public" << "";
        QTest::newRow("smb path below the share") << smb << "/public/sub/dir/" << "sub/dir";
        QTest::newRow("dav collection") << dav << "public" << "";
        QTest::newRow("dav path below the collection") << dav << "public/deep/er" << "deep/er";
        QTest::newRow("dav path, other case") << dav << "Public/deep" << "deep";
        QTest::newRow("dav server root") << "dav:host=h,ssl=false" << "docs/a" << "docs/a";
        QTest::newRow("prefix that is not the share's") << dav << "publicity/x" << "";
        QTest::newRow("not a mount's name") << "Data2" << "public/x" << "";
    }
    void contentPath()
    {
        QFETCH(QString, root);
        QFETCH(QString, share);
        QFETCH(QString, below);
        Rig<ScriptedFileSystem> r;
        const QString rootPath = *gvfsPath(root);
        const QString expected = below.isEmpty() ? rootPath : rootPath + QLatin1Char('/') + below;
        VolumeRecord record = smbRecord(QStringLiteral("h"), share);
        QCOMPARE(r.finder.contentPath(rootPath, record), expected);

        // That folder matches its volume by known path, and the volume is live beneath it.
        record.runtime_computed_mountpoint_String = expected;
        const QList<MountedVolume> volumes{{rootPath, std::nullopt, false}};
        bool known = false;
        QCOMPARE(r.finder.matchVolume(record, volumes, &known)->path, rootPath);
        QVERIFY(known);
        QVERIFY(r.finder.isLiveMount(expected, volumes));
    }

    void matchVolumeOfAPathBelowTheMount()
    {
        Rig<ScriptedFileSystem> r;
        VolumeRecord record = smbRecord(QStringLiteral("h"), QStringLiteral("public/deep"));
        record.mounting_using_protocol_Enum = MountUsingProtocol_Enum::WebDAV;
        const QString root = *gvfsPath(QStringLiteral("dav:host=h,ssl=false,prefix=%2Fpublic"));
        // By its remount URL (after a restart nothing is stored): the share lies inside the mounted collection.
        const QList<MountedVolume> volumes{{*gvfsPath(QStringLiteral("dav:host=h,ssl=false,prefix=%2Fpub")),
                                            QUrl(QStringLiteral("dav://h/pub")), false},
                                           {root, QUrl(QStringLiteral("dav://h/public")), false}};
        QCOMPARE(r.finder.matchVolume(record, volumes)->path, root);
        record.volume_String = QStringLiteral("other/deep");
        QVERIFY(!r.finder.matchVolume(record, volumes).has_value());
    }

    void matchVolume()
    {
        QTemporaryDir dir;
        Rig<LocalFileSystem> r(dir.path());
        VolumeRecord record = smbRecord(QStringLiteral("[::1]"), QStringLiteral("docs"));
        const QList<MountedVolume> volumes{{dir.path() + QStringLiteral("/a"), QUrl(QStringLiteral("smb://[::1]/docs")), false}};
        bool known = true;
        QVERIFY(r.finder.matchVolume(record, volumes, &known).has_value());
        QVERIFY(!known);
        // Several candidates: the first listed wins, by path before any URL; hosts compare case-insensitively.
        record = smbRecord(QStringLiteral("NAS.local"), QStringLiteral("docs"));
        const QList<MountedVolume> several{{QStringLiteral("/mnt/x"), QUrl(QStringLiteral("smb://nas.local/media")), false},
                                           {QStringLiteral("/mnt/b"), QUrl(QStringLiteral("smb://nas.local/docs/b")), false},
                                           {QStringLiteral("/mnt/a"), QUrl(QStringLiteral("smb://nas.local/docs")), false},
                                           {QStringLiteral("/mnt/a"), std::nullopt, false}};
        QCOMPARE(r.finder.matchVolume(record, several)->path, QStringLiteral("/mnt/b"));
        record.runtime_computed_mountpoint_String = QStringLiteral("/mnt/a/");
        QCOMPARE(r.finder.matchVolume(record, several, &known)->remountUrl->path(), QStringLiteral("/docs"));
        QVERIFY(known);
        // The default mount point and the volumes folder itself never match by path.
        for (const QString &p : {QStringLiteral("/Volumes/"), QStringLiteral("/"), dir.path()}) {
            record.runtime_computed_mountpoint_String = p;
            record.hostname_String = QStringLiteral("other");
            QVERIFY(!r.finder.matchVolume(record, {{p, std::nullopt, false}}).has_value());
        }
    }
};

QTEST_GUILESS_MAIN(TestMountPointFinder)
#include "tst_mountpointfinder.moc"
