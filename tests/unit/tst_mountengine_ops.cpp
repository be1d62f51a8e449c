// Eject, eject-all, Clean Up, verification, the mount-table sync and record edits through the real engine.
#include "support/EngineHarness.h"

#include "core/MountPointFinder.h"
#include "core/ShareUrlProbe.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <future>

namespace {
// The fake platform's file system, except that listing a chosen folder hangs until released (a FUSE path
// of a stopped server). The folder is set before the flag that arms it, so workers read it without a lock.
class HangingFileSystem : public LocalFileSystem
{
public:
    using LocalFileSystem::LocalFileSystem;
    std::optional<QStringList> list(const QString &directory, QString *error) const override
    {
        if (m_armed && QDir::cleanPath(directory) == m_hanging) {
            ++m_hungCalls;
            m_released.wait();
        }
        return LocalFileSystem::list(directory, error);
    }
    void hang(const QString &path)
    {
        m_hanging = QDir::cleanPath(path);
        m_armed = true;
    }
    void release()
    {
        m_armed = false;
        m_release.set_value();
    }
    int hungCalls() const { return m_hungCalls; }

private:
    QString m_hanging;
    std::atomic<bool> m_armed = false;
    mutable std::atomic<int> m_hungCalls = 0;
    std::promise<void> m_release;
    std::shared_future<void> m_released = m_release.get_future().share();
};

UnmountResult failure(int errnoValue, const QString &text)
{
    return {false, errnoValue, text};
}
} // namespace

class TestMountEngineOps : public QObject
{
    Q_OBJECT

private:
    // A mounted guest SMB share (through the fake service).
    static qint64 mounted(EngineHarness &h, const QString &share = QStringLiteral("docs"),
                          MountUsingProtocol_Enum protocol = MountUsingProtocol_Enum::SMB)
    {
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), share, protocol);
        if (h.mountAndWait(id) != 0)
            qFatal("mount failed");
        h.clearConsole();
        return id;
    }

private Q_SLOTS:
    void ejectOutcomes_data()
    {
        QTest::addColumn<bool>("webdav");
        QTest::addColumn<QList<UnmountResult>>("results"); // scripted unmount results
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("eventMessage");
        QTest::addColumn<int>("unmountCalls"); // a failed plain unmount is retried forced

        const UnmountResult done{true, 0, {}};
        const QString ejected = QStringLiteral("UMMOUNT_SUCCESS: Volume was ejected by user");
        QTest::newRow("success") << false << QList<UnmountResult>{done} << true << "Ejected" << ejected << 1;
        QTest::newRow("busy") << false << QList<UnmountResult>{failure(16, QStringLiteral("Device or resource busy"))} << false
                              << "Eject failed: Volume is busy (close open files)"
                              << "UMMOUNT_ERROR: Volume busy - files may be open" << 2;
        QTest::newRow("other error") << false << QList<UnmountResult>{failure(5, QStringLiteral("Input/output error"))} << false
                                     << "Eject failed: Input/output error" << "UMMOUNT_ERROR: Input/output error" << 2;
        QTest::newRow("error without text") << false << QList<UnmountResult>{failure(99, QString())} << false
                                            << "Eject failed: Unknown error" << "UMMOUNT_ERROR: Unknown error" << 2;
        QTest::newRow("forced retry works") << false << QList<UnmountResult>{failure(16, QStringLiteral("busy")), done} << true
                                            << "Ejected" << ejected << 2;
        QTest::newRow("WebDAV is forced at once") << true << QList<UnmountResult>{done} << true << "Ejected" << ejected << 1;
    }
    void ejectOutcomes()
    {
        QFETCH(bool, webdav);
        QFETCH(QList<UnmountResult>, results);
        QFETCH(bool, ok);
        QFETCH(int, unmountCalls);

        EngineHarness h;
        const qint64 id = webdav ? mounted(h, QStringLiteral("dav"), MountUsingProtocol_Enum::WebDAV) : mounted(h);
        const QString path = h.record(id).runtime_computed_mountpoint_String;
        h.service.scriptUnmount(path, results);
        QCOMPARE(h.ejectAndWait(id), ok);
        QTEST(h.record(id).runtime_status_String, "status");
        QCOMPARE(h.record(id).runtime_isMounted_Bool, !ok);
        QTEST(h.events().first().eventMessage, "eventMessage");
        QCOMPARE(h.service.unmountCalls().size(), unmountCalls);
        QCOMPARE(h.service.unmountCalls().first().force, webdav);
        if (unmountCalls == 2)
            QVERIFY(h.service.unmountCalls().at(1).force);
        QVERIFY(h.hasLine(QStringLiteral("🔓 [EJECT] Attempting to eject: '") + path + QLatin1Char('\'')));
        if (!ok && results.first().errnoValue == 16) {
            QCOMPARE(h.audits().first().eventType, AuditEventType::unmountFailure);
            QCOMPARE(h.audits().first().details, QStringLiteral("Volume busy"));
        }
        if (ok)
            QCOMPARE(h.audits().first().eventType, AuditEventType::unmountSuccess);
    }

    void ejectFindsThePath()
    {
        EngineHarness h;
        const QString marker = h.dir.path() + QStringLiteral("/pre");
        const QString script = h.makeScript(QStringLiteral("pre.sh"), QStringLiteral("touch '%1'\n").arg(marker));
        const qint64 id = mounted(h);
        const QString live = h.record(id).runtime_computed_mountpoint_String;
        // A stale stored path: the OS's live one is ejected, after the pre-unmount script has run.
        h.edit(id, [&](VolumeRecord &r) { r.preUnmountScriptPath_String = script; });
        h.engine->updateRuntime(id, [&](VolumeRecord &r) { r.runtime_computed_mountpoint_String = h.volumePath(QStringLiteral("docs-1")); });
        QVERIFY(h.ejectAndWait(id));
        QVERIFY(h.hasLine(QStringLiteral("🔓 [EJECT] Using live OS path: '") + live + QLatin1Char('\'')));
        QCOMPARE(h.service.unmountCalls().first().path, live);
        QVERIFY(QFile::exists(marker));
        const QStringList lines = h.console();
        const qsizetype ran = lines.indexOf(QStringLiteral("✅ [EJECT] Script completed successfully"));
        const qsizetype attempt = lines.indexOf(QStringLiteral("🔓 [EJECT] Attempting to eject: '") + live + QLatin1Char('\''));
        QVERIFY2(ran >= 0 && attempt > ran, qPrintable(lines.join(QLatin1Char('\n'))));

        // Mounted, but no longer in the table: marked ejected without an unmount.
        QCOMPARE(h.mountAndWait(id), 0);
        h.service.clearCalls();
        h.table.setVolumes({});
        QVERIFY(h.ejectAndWait(id));
        QVERIFY(h.hasLine(QStringLiteral("❌ [EJECT] Path not in OS mount table — marking ejected")));
        QVERIFY(h.service.unmountCalls().isEmpty());
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Ejected"));
        QCOMPARE(h.events().first().eventMessage, QStringLiteral("UMMOUNT_SUCCESS: Volume was already ejected"));

        // Never mounted: no path at all.
        const qint64 other = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("never"));
        QVERIFY(!h.ejectAndWait(other));
        QVERIFY(h.hasLine(QStringLiteral("❌ [EJECT] Cannot find mount point - volume may not be mounted")));
        QCOMPARE(h.events().first().eventMessage, QStringLiteral("UMMOUNT_ERROR: Volume not found - may already be ejected"));
    }

    void ejectAllEjectsEveryMountedShare()
    {
        EngineHarness h;
        const qint64 a = mounted(h, QStringLiteral("a"));
        const qint64 b = mounted(h, QStringLiteral("b"));
        const qint64 idle = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("idle"));
        QSignalSpy done(h.engine, &MountEngine::ejectAllFinished);
        h.engine->ejectAll();
        QVERIFY(done.wait(5000));
        h.settle();
        QCOMPARE(h.record(a).runtime_status_String, QStringLiteral("Ejected all"));
        QCOMPARE(h.record(b).runtime_status_String, QStringLiteral("Ejected all"));
        QVERIFY(h.record(idle).runtime_status_String.isEmpty());
        QCOMPARE(h.service.unmountCalls().size(), 2);
        QCOMPARE(h.audits().first().details, QStringLiteral("All volumes were ejected"));
    }

    void cleanUpStatuses_data()
    {
        QTest::addColumn<bool>("isMounted");
        QTest::addColumn<QStringList>("ghosts"); // empty folders Clean Up must remove
        QTest::addColumn<QString>("status");
        const QString notMounted = QStringLiteral("Clean Up finished; share is not mounted");
        QTest::newRow("nothing to do") << false << QStringList() << notMounted;
        QTest::newRow("healthy mount") << true << QStringList() << "Clean Up left a healthy volume mounted";
        QTest::newRow("ghost beside a healthy mount") << true << QStringList{QStringLiteral("docs-1")}
                                                      << "Clean Up: removed 1 ghost folder(s); healthy mounts left connected";
        QTest::newRow("ghost, no mount") << false << QStringList{QStringLiteral("smb-share:server=127.0.0.1,share=docs")}
                                         << notMounted;
    }
    void cleanUpStatuses()
    {
        QFETCH(bool, isMounted);
        QFETCH(QStringList, ghosts);
        EngineHarness h;
        const qint64 id = isMounted ? mounted(h) : h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const QString live = h.record(id).runtime_computed_mountpoint_String;
        // Never removed: a folder with content, a hidden one.
        const QStringList kept{h.makeVolumeFolder(QStringLiteral("docs-2"), true), h.makeVolumeFolder(QStringLiteral(".docs"))};
        for (const QString &ghost : ghosts)
            h.makeVolumeFolder(ghost);
        QVERIFY(h.cleanUpAndWait(id));
        QTEST(h.record(id).runtime_status_String, "status");
        QVERIFY(h.hasLine(QStringLiteral("🧹 [CLEAN] Starting stale mount cleanup for docs")));
        QCOMPARE(h.audits().first().eventType, AuditEventType::shareModified);
        for (const QString &ghost : ghosts)
            QVERIFY(!QFileInfo::exists(h.volumePath(ghost)));
        if (isMounted && !ghosts.isEmpty())
            QVERIFY(h.hasLine(QStringLiteral("🧹 [CLEAN] Removed stale mount folder at ") + h.volumePath(ghosts.first())));
        for (const QString &path : kept)
            QVERIFY(QFileInfo::exists(path));
        if (isMounted)
            QVERIFY(QFileInfo(live).isDir()); // the live folder (empty, but mounted) stays
    }

    void ejectDuringMount_data()
    {
        QTest::addColumn<bool>("completesAnyway"); // the platform call reports success although cancelled
        QTest::addColumn<QString>("status");
        QTest::newRow("cancelled in time") << false << MountEngine::kStatusEjectCancelledMount;
        QTest::newRow("finished as it was cancelled") << true << MountEngine::kStatusEjectUndidLateMount;
    }
    void ejectDuringMount()
    {
        QFETCH(bool, completesAnyway);
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const QUrl url(h.record(id).mountURLText());
        h.service.setBlocking(url);
        h.service.setCompletesDespiteCancel(completesAnyway);
        QSignalSpy mounted(h.engine, &MountEngine::mountFinished);
        h.engine->mount(id);
        QVERIFY(h.service.waitForBlocked(1, 5000));

        QVERIFY(h.ejectAndWait(id));
        QCOMPARE(mounted.size(), 1);
        QCOMPARE(mounted.first().at(1).toInt(), 89);
        QTEST(h.record(id).runtime_status_String, "status");
        QVERIFY(!h.record(id).runtime_isMounted_Bool);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
        QCOMPARE(h.audits().first().eventType, AuditEventType::unmountSuccess);
        // What the late success put there was unmounted again at once.
        const QString folder = h.volumePath(h.service.volumeFolderName(url));
        QCOMPARE(h.service.unmountCalls().size(), completesAnyway ? 1 : 0);
        QCOMPARE(h.table.mountedVolumes().isEmpty(), true);

        // The daemon finishes the cancelled mount later still: it goes as soon as the table shows it.
        h.service.clearCalls();
        h.table.addVolume({folder, url, false});
        QTRY_COMPARE(h.service.unmountCalls().size(), 1);
        QCOMPARE(h.service.unmountCalls().first().path, folder);
        QTRY_VERIFY(h.table.mountedVolumes().isEmpty() || !h.record(id).runtime_isMounted_Bool);
        QVERIFY(!h.record(id).runtime_isMounted_Bool);

        // Asked for again, the share is mounted and stays so.
        h.service.setBlocking(url, false);
        h.service.setCompletesDespiteCancel(false);
        h.table.setVolumes({});
        QCOMPARE(h.mountAndWait(id), 0);
        QVERIFY(h.record(id).runtime_isMounted_Bool);
        h.settle(50);
        QCOMPARE(h.service.unmountCalls().size(), 1);
    }

    void verificationOfAHungOrBrokenFolder()
    {
        std::shared_ptr<HangingFileSystem> fs;
        EngineHarness h(EngineHarness::ConsoleMode::Capture, EngineHarness::defaultOptions(), [&fs](PlatformPorts &ports) {
            fs = std::make_shared<HangingFileSystem>(ports.fileSystem->volumesFolder());
            ports.fileSystem = fs;
        });
        const qint64 id = mounted(h);
        const QString path = h.record(id).runtime_computed_mountpoint_String;
        h.engine->updateRuntime(id, [](VolumeRecord &r) { r.runtime_isReachable_Bool = true; });
        const qsizetype events = h.events().size();
        const qsizetype audits = h.audits().size();

        fs->hang(path);
        QVERIFY(!h.verifyAndWait(id, 10000)); // answered by the bound, not by the listing
        QCOMPARE(h.record(id).runtime_status_String, MountEngine::kNotAnsweringStatus);
        QVERIFY(!h.record(id).runtime_isReachable_Bool);
        QCOMPARE(h.events().size(), events + 1);
        QCOMPARE(h.events().first().eventMessage,
                 QStringLiteral("CONNECTION_FAILED: Verification failed — no answer within 3 s from ") + path);
        QCOMPARE(h.audits().size(), audits + 1);
        // Still hanging: not connected at once, no second listing, nothing written again.
        QVERIFY(!h.verifyAndWait(id, 1000));
        QCOMPARE(fs->hungCalls(), 1);
        QCOMPARE(h.events().size(), events + 1);
        QCOMPARE(h.audits().size(), audits + 1);

        // The folder answers again: the next check sees it, and that change is written once.
        fs->release();
        QTRY_VERIFY_WITH_TIMEOUT(h.verifyAndWait(id), 5000);
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Verified — connected at ") + path);
        QCOMPARE(h.events().size(), events + 2);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_SUCCESS);

        // Listed in the table, but the folder cannot be read (a dead server's FUSE path fails).
        QVERIFY(QDir(path).removeRecursively());
        QVERIFY(!h.verifyAndWait(id));
        QVERIFY2(h.record(id).runtime_status_String.startsWith(QStringLiteral("Connection lost — mount folder unreadable: ")),
                 qPrintable(h.record(id).runtime_status_String));
        QCOMPARE(h.events().size(), events + 3);
    }

    void verificationAndSyncOfAMountedShare()
    {
        EngineHarness h;
        const qint64 id = mounted(h);
        const QString path = h.record(id).runtime_computed_mountpoint_String;
        // Listed under a URL that no longer matches the record: the known path still does.
        h.table.setVolumes({{path, QUrl(QStringLiteral("smb://elsewhere/x")), false}});
        QVERIFY(h.syncAndWait());
        QVERIFY(h.record(id).runtime_isMounted_Bool);
        QVERIFY(h.hasLine(QStringLiteral("🔄 [SYNC] 'docs' matched via known path '") + path + QLatin1Char('\'')));
        // Believed unreachable: the check that finds it answering is a change, written once.
        h.engine->updateRuntime(id, [](VolumeRecord &r) { r.runtime_isReachable_Bool = false; });
        const qsizetype events = h.events().size();
        const qsizetype audits = h.audits().size();
        for (int round = 0; round < 3; ++round) {
            QVERIFY(h.verifyAndWait(id));
            QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Verified — connected at ") + path);
        }
        QCOMPARE(h.events().size(), events + 1);
        QCOMPARE(h.events().first().eventMessage, QStringLiteral("CONNECTION_SUCCESS: Connection verified at ") + path);
        QCOMPARE(h.audits().size(), audits + 1);
        QCOMPARE(h.audits().first().details, QStringLiteral("Mount verification success"));

        // Gone from the table: verification fails and clears the flag, once; so does the sync, with its line.
        h.table.setVolumes({});
        for (int round = 0; round < 3; ++round) {
            QVERIFY(!h.verifyAndWait(id));
            QVERIFY(!h.record(id).runtime_isMounted_Bool);
            QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Connection lost — mount point not found"));
        }
        QCOMPARE(h.events().size(), events + 2);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QCOMPARE(h.events().first().eventMessage,
                 QStringLiteral("CONNECTION_FAILED: Verification failed — no live mount at ") + path);
        QCOMPARE(h.audits().size(), audits + 2);
        QCOMPARE(h.audits().first().details, QStringLiteral("Mount verification failure"));
        h.engine->updateRuntime(id, [](VolumeRecord &r) { r.runtime_isMounted_Bool = true; });
        QVERIFY(h.syncAndWait());
        QVERIFY(!h.record(id).runtime_isMounted_Bool);
        QVERIFY(h.hasLine(QStringLiteral("🔄 [SYNC] 'docs' no longer matched — clearing mounted flag. Last path: '") + path
                          + QLatin1Char('\'')));
    }

    void syncMatching_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("share");
        QTest::addColumn<QString>("remountUrl");
        QTest::addColumn<bool>("matches");

        QTest::newRow("smb") << int(MountUsingProtocol_Enum::SMB) << "docs" << "smb://127.0.0.1/docs/" << true;
        QTest::newRow("smb case") << int(MountUsingProtocol_Enum::SMB) << "Docs" << "SMB://127.0.0.1/DOCS" << true;
        QTest::newRow("cifs") << int(MountUsingProtocol_Enum::SMB) << "docs" << "cifs://127.0.0.1/docs" << true;
        QTest::newRow("smb subfolder") << int(MountUsingProtocol_Enum::SMB) << "docs" << "smb://127.0.0.1/docs/sub" << true;
        QTest::newRow("other share") << int(MountUsingProtocol_Enum::SMB) << "docs" << "smb://127.0.0.1/media" << false;
        QTest::newRow("other host") << int(MountUsingProtocol_Enum::SMB) << "docs" << "smb://127.0.0.2/docs" << false;
        QTest::newRow("wrong scheme") << int(MountUsingProtocol_Enum::SMB) << "docs" << "afp://127.0.0.1/docs" << false;
        QTest::newRow("dav") << int(MountUsingProtocol_Enum::WebDAV) << "dav" << "dav://127.0.0.1:8080/dav/" << true;
        QTest::newRow("http") << int(MountUsingProtocol_Enum::WebDAV) << "dav" << "http://127.0.0.1/dav" << true;
        QTest::newRow("davs for WebDAV") << int(MountUsingProtocol_Enum::WebDAV) << "dav" << "davs://127.0.0.1/dav" << false;
        QTest::newRow("davs") << int(MountUsingProtocol_Enum::WebDAVS) << "dav" << "davs://127.0.0.1/dav" << true;
        QTest::newRow("https") << int(MountUsingProtocol_Enum::WebDAVS) << "dav" << "https://127.0.0.1/dav" << true;
        QTest::newRow("nfs") << int(MountUsingProtocol_Enum::NFS) << "export" << "nfs://127.0.0.1/export" << true;
    }
    void syncMatching()
    {
        QFETCH(int, protocol);
        QFETCH(QString, share);
        QFETCH(QString, remountUrl);
        QFETCH(bool, matches);

        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), share, MountUsingProtocol_Enum(protocol));
        const QString path = h.makeVolumeFolder(QStringLiteral("vol"));
        h.table.setVolumes({{path, QUrl(remountUrl), false}, {QStringLiteral("/"), QUrl(QStringLiteral("smb://127.0.0.1/docs")), true}});
        QVERIFY(h.syncAndWait());
        QCOMPARE(h.record(id).runtime_isMounted_Bool, matches);
        QCOMPARE(h.record(id).runtime_get_mounted_found_Bool, matches);
        if (matches)
            QCOMPARE(h.record(id).runtime_computed_mountpoint_String, path);
        QVERIFY(h.hasLine(QStringLiteral("🔄 [SYNC] OS remount table:")));
    }

    void syncProbesListedWebdav_data()
    {
        QTest::addColumn<bool>("serverUp"); // a server answering HEAD with an error status is alive
        QTest::newRow("server gone: force-ejected") << false;
        QTest::newRow("server answers 405: kept") << true;
    }
    void syncProbesListedWebdav()
    {
        QFETCH(bool, serverUp);
        const int port = 8080;
        EngineHarness h;
        if (serverUp)
            h.network.setHttpAnswer({true, false, 405, QNetworkReply::ContentOperationNotPermittedError});
        else
            h.network.setConnectResult(NetworkProbe::Connect::Failed);
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("dav"), MountUsingProtocol_Enum::WebDAV, true, port);
        const QString path = h.makeVolumeFolder(QStringLiteral("dav:host=127.0.0.1,port=%1,ssl=false,prefix=%2Fdav").arg(port));
        h.table.setVolumes({{path, QUrl(QStringLiteral("dav://127.0.0.1:%1/dav/").arg(port)), false}});
        QVERIFY(h.syncAndWait(15000));

        if (serverUp) {
            QVERIFY2(h.record(id).runtime_isMounted_Bool, qPrintable(h.console().join(QLatin1Char('\n'))));
            QVERIFY(h.service.unmountCalls().isEmpty());
            QCOMPARE(h.network.httpMethods(), QList<QByteArray>{"HEAD"});
            QVERIFY(h.hasLine(QStringLiteral("🔎 [PROBE] HEAD http://127.0.0.1:%1/dav → HTTP 405 (alive)").arg(port)));
            return;
        }
        QVERIFY(h.hasLine(QStringLiteral("🔎 [PROBE] TCP 127.0.0.1:%1 closed — share server unreachable").arg(port)));
        QVERIFY(h.hasLine(QStringLiteral("🔄 [SYNC] 'dav' is listed at '") + path
                          + QStringLiteral("' but the share URL is unreachable — ejecting stale mount")));
        QVERIFY(h.hasLine(QStringLiteral("🧹 [SYNC] Force-ejected stale mount at '") + path + QLatin1Char('\'')));
        QCOMPARE(h.service.unmountCalls().size(), 1);
        QVERIFY(h.service.unmountCalls().first().force);
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Server unreachable"));
        QVERIFY(!h.record(id).runtime_isMounted_Bool);
        QCOMPARE(h.events().first().eventMessage,
                 QStringLiteral("CONNECTION_FAILED: Server unreachable; ejected stale mount at ") + path);
        QCOMPARE(h.audits().first().details, QStringLiteral("Share URL probe failed while the OS still listed the volume"));
    }

    void probeVerdicts_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("error"); // QNetworkReply::NetworkError
        QTest::addColumn<int>("verdict");
        const int alive = int(ShareUrlProbe::Verdict::Reachable);
        const int dead = int(ShareUrlProbe::Verdict::Unreachable);
        const int unsure = int(ShareUrlProbe::Verdict::Inconclusive);
        QTest::newRow("200") << true << 200 << int(QNetworkReply::NoError) << alive;
        QTest::newRow("401 with error") << true << 401 << int(QNetworkReply::AuthenticationRequiredError) << alive;
        QTest::newRow("refused") << true << 0 << int(QNetworkReply::ConnectionRefusedError) << dead;
        QTest::newRow("closed") << true << 0 << int(QNetworkReply::RemoteHostClosedError) << dead;
        QTest::newRow("no host") << true << 0 << int(QNetworkReply::HostNotFoundError) << dead;
        QTest::newRow("timeout") << true << 0 << int(QNetworkReply::TimeoutError) << dead;
        QTest::newRow("network down") << true << 0 << int(QNetworkReply::TemporaryNetworkFailureError) << dead;
        QTest::newRow("tls") << true << 0 << int(QNetworkReply::SslHandshakeFailedError) << unsure;
        QTest::newRow("no answer in time") << false << 0 << int(QNetworkReply::NoError) << unsure;
    }
    void probeVerdicts()
    {
        QFETCH(bool, answered);
        QFETCH(int, status);
        QFETCH(int, error);
        const int code = ShareUrlProbe::transportCode(QNetworkReply::NetworkError(error));
        QTEST(int(ShareUrlProbe::classify(answered, status, code)), "verdict");
    }

    void probeShareUrlCallsBackOnTheMainThread()
    {
        EngineHarness h;
        const qint64 smb = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const qint64 dav = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("dav"), MountUsingProtocol_Enum::WebDAV);
        h.network.setServersAnswer(false);
        const qint64 ids[] = {smb, dav, 999}; // 999: no such record
        std::optional<bool> results[3];
        for (int i = 0; i < 3; ++i) {
            h.engine->probeShareUrl(ids[i], 2.0, [&results, i](bool r) {
                QCOMPARE(QThread::currentThread(), qApp->thread());
                results[i] = r;
            });
        }
        QTRY_VERIFY(results[0] && results[1] && results[2]);
        QCOMPARE(*results[0], true); // only WebDAV shares are probed
        QCOMPARE(*results[1], false);
        QCOMPARE(*results[2], false);
    }

    void recordEdits()
    {
        EngineHarness h;
        const qint64 id = mounted(h);
        VolumeRecord edited = *h.engine->record(id);
        edited.nickname_String = QStringLiteral("Team");
        edited.runtime_isMounted_Bool = false; // runtime fields of an edit are ignored
        edited.runtime_status_String = QStringLiteral("stale copy");
        CredentialStore::setPassword(edited, QStringLiteral("pw"));
        h.notifications.clear();
        QVERIFY(h.engine->updateRecord(edited));
        QVERIFY(h.record(id).runtime_isMounted_Bool);
        QVERIFY(h.record(id).runtime_status_String.startsWith(QStringLiteral("Successfully mounted")));
        QCOMPARE(h.record(id).nickname_String, QStringLiteral("Team"));
        QVERIFY(h.notifications.contains(QStringLiteral("Tarnwell_VolumeRecordChanged")));
        QCOMPARE(h.audits().first().eventType, AuditEventType::shareModified);
        h.engine->waitForWorkers();
        QCOMPARE(h.secrets.peek(h.credentials.serviceName(), QStringLiteral("volume_record_") + QString::number(id)),
                 std::optional<QString>(QStringLiteral("pw")));
        // Persisted: a fresh store reads the nickname back.
        RecordStore reread(h.defaults);
        reread.load();
        QCOMPARE(reread.find(id)->nickname_String, QStringLiteral("Team"));
    }

    void removeRespectsLocksAndDeletesLogEntries()
    {
        EngineHarness h;
        // A lock naming its manager is tst_cli.sh's ("Cannot Delete: ... managed by MDM"); without a name, IT.
        const qint64 locked = h.addRecord([](VolumeRecord &r) { r.isLocked = true; });
        const MountEngine::RemoveResult refused = h.engine->removeRecord(locked);
        QVERIFY(!refused.removed);
        QCOMPARE(refused.alertText, QStringLiteral("This share is managed by IT and cannot be deleted."));

        const qint64 a = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("a"));
        const qint64 b = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("b"));
        // A verification that finds a believed mount gone writes one event for each.
        for (qint64 id : {a, b}) {
            h.engine->updateRuntime(id, [](VolumeRecord &r) {
                r.runtime_isMounted_Bool = true;
                r.runtime_isReachable_Bool = true;
            });
            QVERIFY(!h.verifyAndWait(id));
        }
        QVERIFY(h.engine->removeRecord(a).removed);
        QVERIFY(h.engine->record(a) == nullptr);
        for (const LogEvent &e : h.events())
            QVERIFY(e.internal_VolumeRecord_ID_Int != a);
        QCOMPARE(h.events().size(), 1);

        h.defaults.setValue(QStringLiteral("delete_associated_log_entries"), false);
        QVERIFY(h.engine->removeRecord(b).removed);
        QCOMPARE(h.events().size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestMountEngineOps)
#include "tst_mountengine_ops.moc"
