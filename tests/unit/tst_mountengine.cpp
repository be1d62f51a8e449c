// The mount pipeline driven through the real engine over fakes: response codes, ghost retry, resolution and
// probe outcomes, credentials, custom folders and the time-out.
#include "support/EngineHarness.h"

#include "core/MountPipeline.h"
#include "platform/MountResponseCode.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

namespace {
MountResult codeResult(int code)
{
    MountResult r;
    r.code = code;
    r.detail = QStringLiteral("scripted");
    return r;
}

QUrl shareUrl(const QString &host, const QString &share, const QString &scheme = QStringLiteral("smb"))
{
    return QUrl(scheme + QStringLiteral("://") + host + QLatin1Char('/') + share);
}
} // namespace

class TestMountEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void responseCodeTable_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("share");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("eventMessage");
        QTest::addColumn<QString>("auditDetails");
        QTest::addColumn<QString>("logLine");
        QTest::addColumn<int>("eventType");

        const QString ip = QStringLiteral("127.0.0.1");
        const QString name = QStringLiteral("fileserver.test");
        QTest::newRow("2 share not found") << ip << "docs" << 2 << "Share not found on server"
                                           << "SHARENAME_NOT_FOUND: Share 'docs' not found on server"
                                           << "Share 'docs' not found on server"
                                           << "❌ [MOUNT] Share not found (code 2)" << int(EVENT_TYPE_ENUM::SHARENAME_NOT_FOUND);
        QTest::newRow("8 on IP literal") << ip << "docs" << 8 << "Mount failed: Error 8 for 127.0.0.1"
                                         << "UNKNOWN_MOUNT_ERROR: NetFS error 8 on IP 127.0.0.1 (not DNS preflight)"
                                         << "NetFS error 8 for 127.0.0.1"
                                         << "❌ [MOUNT] NetFS error 8 on IP literal 127.0.0.1 — DNS preflight was skipped; this is a NetFS/connect failure"
                                         << int(EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR);
        QTest::newRow("8 on name") << name << "docs" << 8 << "Hostname unresolvable and not valid IP"
                                   << "HOSTNAME_UNRESOLVABLE: NetFS error 8: hostname lookup failed for fileserver.test"
                                   << "NetFS error 8 for fileserver.test"
                                   << "❌ [MOUNT] NetFS name lookup failed (code 8) for hostname fileserver.test"
                                   << int(EVENT_TYPE_ENUM::HOSTNAME_UNRESOLVABLE);
        QTest::newRow("13 permission") << ip << "docs" << 13 << "Permission denied" << "AUTH_FAILED: Permission denied"
                                       << "Permission denied" << "❌ [MOUNT] Permission denied (code 13)"
                                       << int(EVENT_TYPE_ENUM::AUTH_FAILED);
        QTest::newRow("19 with share") << ip << "docs" << 19 << "Error 19: share path not found"
                                       << "SHARENAME_NOT_FOUND: Mount failed with error 19 (ENODEV). Path 'docs' does not exist on the server (127.0.0.1)"
                                       << "Mount failed with error 19 (ENODEV). Path 'docs' does not exist on the server (127.0.0.1)"
                                       << "❌ [MOUNT] No such device (code 19 / ENODEV)" << int(EVENT_TYPE_ENUM::SHARENAME_NOT_FOUND);
        QTest::newRow("19 empty share") << ip << "" << 19 << "Error 19: share path not found"
                                        << "SHARENAME_NOT_FOUND: Mount failed with error 19 (ENODEV) for 127.0.0.1"
                                        << "Mount failed with error 19 (ENODEV) for 127.0.0.1"
                                        << "❌ [MOUNT] No such device (code 19 / ENODEV)" << int(EVENT_TYPE_ENUM::SHARENAME_NOT_FOUND);
        QTest::newRow("60 timed out") << ip << "docs" << 60 << "Connection timed out" << "CONNECTION_FAILED: Connection timed out"
                                      << "Connection timed out" << "❌ [MOUNT] Connection timed out (code 60)"
                                      << int(EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QTest::newRow("64 host down") << ip << "docs" << 64 << "Host is down (code 64)" << "CONNECTION_FAILED: Host is down (code 64)"
                                      << "Host is down (code 64)" << "❌ [MOUNT] Host is down (code 64)"
                                      << int(EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QTest::newRow("65 on address") << ip << "docs" << 65 << "Host unreachable (Error 65)"
                                       << "CONNECTION_FAILED: Host unreachable (Error 65)" << "Host unreachable (Error 65)"
                                       << "❌ [MOUNT] No route to host (code 65)" << int(EVENT_TYPE_ENUM::CONNECTION_FAILED);
        const QString hint = QStringLiteral("Host unreachable (Error 65). Use this Mac’s LAN IP, not localhost, for SMB.");
        QTest::newRow("65 on localhost") << "localhost" << "docs" << 65 << hint << QString(QStringLiteral("CONNECTION_FAILED: ") + hint) << hint
                                         << "❌ [MOUNT] No route to host (code 65)" << int(EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QTest::newRow("80 auth") << ip << "docs" << 80 << "Authentication failed" << "AUTH_FAILED: Authentication failed"
                                 << "Authentication failed" << "❌ [MOUNT] Authentication failed (code 80)"
                                 << int(EVENT_TYPE_ENUM::AUTH_FAILED);
        QTest::newRow("-6600 internal auth") << ip << "docs" << -6600 << "Auth error - try again"
                                             << "AUTH_FAILED: Auth error - try again" << "Auth error - try again"
                                             << "❌ [MOUNT] Internal auth error (code -6600)" << int(EVENT_TYPE_ENUM::AUTH_FAILED);
        QTest::newRow("5 other") << ip << "docs" << 5 << "Mount failed: Error 5" << "UNKNOWN_MOUNT_ERROR: Mount failed with error 5"
                                 << "Mount failed with error 5" << "❌ [MOUNT] Error code: 5"
                                 << int(EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR);
        QTest::newRow("45 other") << ip << "docs" << 45 << "Mount failed: Error 45"
                                  << "UNKNOWN_MOUNT_ERROR: Mount failed with error 45" << "Mount failed with error 45"
                                  << "❌ [MOUNT] Error code: 45" << int(EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR);
    }
    void responseCodeTable()
    {
        QFETCH(QString, host);
        QFETCH(QString, share);
        QFETCH(int, code);
        QFETCH(QString, status);
        QFETCH(QString, eventMessage);
        QFETCH(QString, auditDetails);
        QFETCH(QString, logLine);
        QFETCH(int, eventType);

        EngineHarness h;
        h.setResolved(QStringLiteral("fileserver.test"), QStringLiteral("127.0.0.5"));
        const qint64 id = h.addShare(host, share);
        h.service.script(QUrl(h.record(id).mountURLText()), {codeResult(code)});

        QCOMPARE(h.mountAndWait(id), code);
        const VolumeRecord &r = h.record(id);
        QCOMPARE(r.runtime_status_String, status);
        QVERIFY(!r.runtime_isMounted_Bool);
        QVERIFY(!r.runtime_mount_start_time.has_value());
        QVERIFY2(h.hasLine(logLine), qPrintable(h.console().join(QLatin1Char('\n'))));
        QVERIFY(h.hasLine(QStringLiteral("🎯 [MOUNT] Handling response code: ") + QString::number(code)));
        QCOMPARE(h.service.mountCalls().size(), 1);

        QCOMPARE(h.events().size(), 1);
        QCOMPARE(int(h.events().first().event_type_Enum), eventType);
        QCOMPARE(h.events().first().eventMessage, eventMessage);
        QCOMPARE(h.events().first().statusText, status);

        const QList<AuditLogEntry> audits = h.audits();
        QVERIFY(!audits.isEmpty());
        const AuditLogEntry &entry = audits.first(); // newest first
        QCOMPARE(entry.eventType, AuditEventType::mountFailure);
        QCOMPARE(entry.success, false);
        QCOMPARE(entry.details, auditDetails);
        QCOMPARE(entry.errorCode, std::optional<int>(code));
    }

    void success_data()
    {
        QTest::addColumn<bool>("allowUI"); // a user's mount (with the platform's UI) or an automatic one
        QTest::newRow("automatic") << false;
        QTest::newRow("by the user") << true;
    }
    void success()
    {
        QFETCH(bool, allowUI);
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("Public"));
        QSignalSpy started(h.engine.get(), &MountEngine::mountStarted);
        QSignalSpy finished(h.engine.get(), &MountEngine::mountFinished);
        h.engine->mount(id, allowUI);
        // At once: the countdown's first text and the start time, before the worker reports back.
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Connecting... 0s"));
        QVERIFY(h.record(id).runtime_mount_start_time.has_value());
        QVERIFY(h.engine->isMountInProgress(id));
        QCOMPARE(started.size(), 1);
        QVERIFY(finished.wait(5000));
        h.settle();

        const QString expected = h.volumePath(QStringLiteral("smb-share:server=127.0.0.1,share=public"));
        const VolumeRecord &r = h.record(id);
        QCOMPARE(r.runtime_status_String, QStringLiteral("Successfully mounted at ") + expected);
        QCOMPARE(r.runtime_computed_mountpoint_String, expected);
        QVERIFY(r.runtime_isMounted_Bool);
        QVERIFY(r.runtime_isReachable_Bool);
        QVERIFY(!h.engine->isMountInProgress(id));
        QCOMPARE(r.runtime_remount_URL, std::optional<QUrl>(QUrl(QStringLiteral("smb://127.0.0.1/Public"))));
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::MOUNT_SUCCESS);
        QCOMPARE(h.events().first().eventMessage, QStringLiteral("MOUNT_SUCCESS: Mounted Public"));
        QCOMPARE(h.events().first().mountpoint_String, expected);
        QVERIFY(h.hasLine(QStringLiteral("✅ [MOUNT] SUCCESS! Volume mounted")));
        QVERIFY(h.hasLine(QStringLiteral("🔍 [MOUNT] Discovering mount point in /Volumes...")));
        QVERIFY(h.hasLine(QStringLiteral("📍 [MOUNT] Set runtime_computed_mountpoint_String = '") + expected + QLatin1Char('\'')));
        QVERIFY(h.hasLine(QStringLiteral("Mounting URL: smb://127.0.0.1/Public")));
        QVERIFY(h.notifications.contains(QStringLiteral("Tarnwell_VolumeRecordChanged")));
        QVERIFY(h.notifications.contains(QStringLiteral("RefreshVolumeUI")));
        QCOMPARE(h.audits().first().eventType, AuditEventType::mountSuccess);
        // Only a user's mount writes a MOUNT_ATTEMPT, and only it lets the platform show its UI.
        bool attempt = false;
        for (const AuditLogEntry &e : h.audits())
            attempt = attempt || e.eventType == AuditEventType::mountAttempt;
        QCOMPARE(attempt, allowUI);
        QCOMPARE(h.service.mountCalls().first().allowUI, allowUI);
        QCOMPARE(h.hasLine(QStringLiteral("🔐 [MOUNT] NetFS UI: AllowUI (wait for Connect sheet)")), allowUI);
    }

    void alreadyMountedSkips()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        QCOMPARE(h.mountAndWait(id), 0);
        h.clearConsole();
        QCOMPARE(h.mountAndWait(id), -1);
        QVERIFY(h.hasLine(QStringLiteral("⚠️ [MOUNT] Already mounted, skipping")));
        QCOMPARE(h.service.mountCalls().size(), 1);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::ALREADY_MOUNTED);
        QCOMPARE(h.events().first().eventMessage, QStringLiteral("ALREADY_MOUNTED: Sharename was already mounted"));
        QVERIFY(h.record(id).runtime_isMounted_Bool);
    }

    void ghostRetryHappensOnceThenTheTableDecides()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const QUrl url = shareUrl(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        h.service.script(url, {codeResult(17), codeResult(17)});
        // An empty leftover folder at the expected place, created after the pre-mount check would have
        // removed it: the fake answers 17 twice, so the only removal that matters is the retry's.
        QCOMPARE(h.mountAndWait(id), 17);
        QCOMPARE(h.service.mountCalls().size(), 2); // one retry, no loop
        const QString expected = h.volumePath(QStringLiteral("smb-share:server=127.0.0.1,share=docs"));
        QCOMPARE(h.countLinesContaining(QStringLiteral("🧹 [MOUNT] EEXIST but no live mount at '") + expected), 1);
        QVERIFY(h.hasLine(QStringLiteral("📥 [MOUNT] NetFS retry returned response code: 17")));
        QVERIFY(h.hasLine(QStringLiteral("ℹ️ [MOUNT] EEXIST (code 17) — verifying live mount")));
        QVERIFY(h.hasLine(QStringLiteral("❌ [MOUNT] EEXIST but no live mount — ghost directory may still be blocking")));
        const VolumeRecord &r = h.record(id);
        QCOMPARE(r.runtime_status_String, QStringLiteral("Mount blocked by stale folder — try Clean Up"));
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR);
        QCOMPARE(h.events().first().eventMessage,
                 QStringLiteral("UNKNOWN_MOUNT_ERROR: Mount path blocked (stale folder at ") + expected + QLatin1Char(')'));
        QCOMPARE(h.audits().first().details, QStringLiteral("Stale mount point blocked connection"));
    }

    void ghostRetrySucceeds()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        h.service.script(shareUrl(QStringLiteral("127.0.0.1"), QStringLiteral("docs")), {codeResult(17), codeResult(0)});
        QCOMPARE(h.mountAndWait(id), 0);
        QCOMPARE(h.service.mountCalls().size(), 2);
        QVERIFY(h.record(id).runtime_isMounted_Bool);
        QVERIFY(h.record(id).runtime_status_String.startsWith(QStringLiteral("Successfully mounted at ")));
    }

    void code17WithLiveMount()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const QString path = h.makeVolumeFolder(QStringLiteral("smb-share:server=127.0.0.1,share=docs"), true);
        h.table.setVolumes({{path, QUrl(QStringLiteral("smb://127.0.0.1/docs/")), false}});
        h.service.script(shareUrl(QStringLiteral("127.0.0.1"), QStringLiteral("docs")), {codeResult(17)});
        QCOMPARE(h.mountAndWait(id), 17);
        QCOMPARE(h.service.mountCalls().size(), 1); // live: no ghost retry
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Already mounted at ") + path);
        QVERIFY(h.record(id).runtime_isMounted_Bool);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::MOUNT_SUCCESS);
        QCOMPARE(h.audits().first().eventType, AuditEventType::mountSuccess);
        QVERIFY(QFile::exists(path + QStringLiteral("/file.txt")));
    }

    void code17ListedButShareUrlDead()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("dav"), MountUsingProtocol_Enum::WebDAV);
        const QString path = h.makeVolumeFolder(QStringLiteral("dav:host=127.0.0.1,ssl=false,prefix=%2Fdav"), true);
        h.table.setVolumes({{path, QUrl(QStringLiteral("dav://127.0.0.1/dav/")), false}});
        h.setShareUrlReachable(false);
        h.service.script(shareUrl(QStringLiteral("127.0.0.1"), QStringLiteral("dav"), QStringLiteral("http")), {codeResult(17)});
        QCOMPARE(h.mountAndWait(id), 17);
        QVERIFY(h.hasLine(QStringLiteral("❌ [MOUNT] EEXIST path exists but share URL is unreachable")));
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Server unreachable"));
        QVERIFY(!h.record(id).runtime_isMounted_Bool);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QVERIFY(h.events().first().eventMessage.endsWith(QStringLiteral(" — server unreachable")));
        QCOMPARE(h.audits().first().details, QStringLiteral("Stale WebDAV mount, server unreachable"));
    }

    void numericHostIsNeverResolved()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.7"), QStringLiteral("docs"));
        QCOMPARE(h.mountAndWait(id), 0);
        QCOMPARE(h.resolveCalls(), 0);
        QVERIFY(h.hasLine(QStringLiteral("⚡ [MOUNT] Skipping DNS — numeric IP literal: 127.0.0.7")));
        QCOMPARE(h.record(id).runtime_ipAddress_String, QStringLiteral("127.0.0.7"));
        // Loopback: the socket test is skipped.
        QVERIFY(h.hasLine(QStringLiteral("⚡ [MOUNT] Skipping socket test for local address")));
        QCOMPARE(h.probeCalls(), 0);
    }

    void resolutionAndProbeOutcomes_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("resolvesTo"); // empty: unknown
        QTest::addColumn<int>("probe");          // -1 not probed; 0 ready, 1 closed, 2 error, 3 timeout
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("eventType");      // -1: no event (the mount went on)
        QTest::addColumn<bool>("platformCalled");

        QTest::newRow("empty host") << "   " << "" << -1 << "Hostname/IP is required" << int(EVENT_TYPE_ENUM::HOSTNAME_UNRESOLVABLE) << false;
        QTest::newRow("unresolvable") << "nas.invalid" << "" << -1 << "Hostname unresolvable and not valid IP"
                                      << int(EVENT_TYPE_ENUM::HOSTNAME_UNRESOLVABLE) << false;
        QTest::newRow("probe closed") << "nas.test" << "192.0.2.4" << 1 << "Failed: Socket Closed"
                                      << int(EVENT_TYPE_ENUM::CONNECTION_FAILED) << false;
        QTest::newRow("probe error") << "nas.test" << "192.0.2.4" << 2 << "Unable to connect to nas.test"
                                     << int(EVENT_TYPE_ENUM::CONNECTION_FAILED) << false;
        QTest::newRow("probe timeout") << "nas.test" << "192.0.2.4" << 3 << "Connection timeout: nas.test"
                                       << int(EVENT_TYPE_ENUM::CONNECTION_FAILED) << false;
        QTest::newRow("probe ready") << "nas.test" << "192.0.2.4" << 0
                                     << "Successfully mounted at " << int(EVENT_TYPE_ENUM::MOUNT_SUCCESS) << true;
        QTest::newRow("docker address skipped") << "nas.test" << "172.20.0.3" << -1
                                                << "Successfully mounted at " << int(EVENT_TYPE_ENUM::MOUNT_SUCCESS) << true;
    }
    void resolutionAndProbeOutcomes()
    {
        QFETCH(QString, host);
        QFETCH(QString, resolvesTo);
        QFETCH(int, probe);
        QFETCH(QString, status);
        QFETCH(int, eventType);
        QFETCH(bool, platformCalled);

        EngineHarness h;
        if (!resolvesTo.isEmpty())
            h.setResolved(host, resolvesTo);
        const SelectResult results[] = {SelectResult::ready(), SelectResult::closed(),
                                        SelectResult::error(QStringLiteral("Connection refused")), SelectResult::timeout()};
        if (probe >= 0)
            h.setProbeResult(results[probe]);
        const qint64 id = h.addShare(host, QStringLiteral("docs"));
        h.mountAndWait(id);
        QVERIFY2(h.record(id).runtime_status_String.startsWith(status), qPrintable(h.record(id).runtime_status_String));
        QCOMPARE(h.probeCalls(), probe >= 0 ? 1 : 0);
        QCOMPARE(!h.service.mountCalls().isEmpty(), platformCalled);
        QCOMPARE(int(h.events().first().event_type_Enum), eventType);
        if (!platformCalled)
            QVERIFY(!h.record(id).runtime_isMounted_Bool);
    }

    void credentials_data()
    {
        QTest::addColumn<bool>("guest");
        QTest::addColumn<QString>("storedPassword");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");

        QTest::newRow("guest") << true << "ignored" << "" << "";
        QTest::newRow("user with keyring password") << false << "s3cret" << "alice" << "s3cret";
        QTest::newRow("user without password") << false << "" << "alice" << "";
    }
    void credentials()
    {
        QFETCH(bool, guest);
        QFETCH(QString, storedPassword);
        QFETCH(QString, user);
        QFETCH(QString, password);

        EngineHarness h;
        const qint64 id = h.addRecord([&](VolumeRecord &r) {
            r.no_password_guest_login = guest ? 1 : 0;
            r.username_String = QStringLiteral("alice");
        });
        if (!storedPassword.isEmpty())
            h.secrets.save(h.credentials.serviceName(), QStringLiteral("volume_record_") + QString::number(id), storedPassword);
        QCOMPARE(h.mountAndWait(id), 0);
        const MountRequest request = h.service.mountCalls().first();
        QCOMPARE(request.guest, guest);
        QCOMPARE(request.user, user);
        QCOMPARE(request.password, password);
        if (!guest) {
            // The cache read on the worker reaches the live record; a second mount reads no keyring.
            QCOMPARE(h.record(id)._cachedPassword, std::optional<QString>(password));
            const int loads = h.secrets.loadCount();
            QVERIFY(h.ejectAndWait(id));
            QCOMPARE(h.mountAndWait(id), 0);
            QCOMPARE(h.secrets.loadCount(), loads);
        }
        // No password ever reaches the console.
        if (!password.isEmpty())
            QVERIFY(!h.hasLineContaining(password));
    }

    void encodedMountUrl()
    {
        VolumeRecord spaced;
        spaced.hostname_String = QStringLiteral("fe80::1");
        spaced.volume_String = QStringLiteral("My Files");
        QCOMPARE(MountPipeline::encodedMountUrl(spaced), QStringLiteral("smb://[fe80::1]/My%20Files"));
        VolumeRecord root;
        root.hostname_String = QStringLiteral("dav.test");
        root.volume_String.clear();
        root.mounting_using_protocol_Enum = MountUsingProtocol_Enum::WebDAV;
        QCOMPARE(MountPipeline::encodedMountUrl(root), QStringLiteral("http://dav.test/"));
    }

    void customMountFolderChecks_data()
    {
        QTest::addColumn<int>("kind"); // 0 empty path, 1 missing, 2 a file, 3 an empty folder, 4 a dangling link
        QTest::addColumn<QString>("statusPrefix");
        QTest::newRow("empty") << 0 << "Please select a local folder to mount in";
        QTest::newRow("missing") << 1 << "Folder does not exist: ";
        QTest::newRow("file") << 2 << "Mountpoint is not a directory";
        QTest::newRow("folder") << 3 << "Successfully mounted at ";
        QTest::newRow("link left by a dead mount") << 4 << "Successfully mounted at ";
    }
    void customMountFolderChecks()
    {
        QFETCH(int, kind);
        QFETCH(QString, statusPrefix);
        EngineHarness h;
        const QString folder = h.dir.path() + QStringLiteral("/mnt/docs");
        QDir().mkpath(h.dir.path() + QStringLiteral("/mnt"));
        if (kind == 2)
            QVERIFY(QFile(folder).open(QIODevice::WriteOnly));
        else if (kind == 3)
            QDir().mkpath(folder);
        else if (kind == 4)
            QVERIFY(QFile::link(h.volumePath(QStringLiteral("gone")), folder));
        const qint64 id = h.addRecord([&](VolumeRecord &r) {
            r.mount_inside_Volumes = 0;
            r.unique_mountpoint_fullpath_String = kind == 0 ? QString() : folder;
        });
        h.mountAndWait(id);
        QVERIFY2(h.record(id).runtime_status_String.startsWith(statusPrefix), qPrintable(h.record(id).runtime_status_String));
        QCOMPARE(h.service.mountCalls().size(), kind >= 3 ? 1 : 0);
        if (kind < 3) {
            QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::MOUNTPOINT_NOT_FOUND);
            return;
        }
        QCOMPARE(h.service.mountCalls().first().mountDirectory, folder);
        QCOMPARE(h.record(id).runtime_computed_mountpoint_String, folder);
        QVERIFY(h.record(id).runtime_isMounted_Bool);
        QVERIFY(QFileInfo(folder).isSymLink());
        QCOMPARE(h.hasLine(QStringLiteral("🧹 [GHOST] Removed ghost mount point: '") + folder + QLatin1Char('\'')), kind == 4);
        QVERIFY(h.engine->verify(id));
        // Eject puts the empty folder back (the service removes its link).
        QVERIFY(h.ejectAndWait(id));
        QVERIFY(QFileInfo(folder).isDir() && !QFileInfo(folder).isSymLink());
    }

    void staleFolderIsRemovedBeforeConnecting()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const QString ghost = h.makeVolumeFolder(QStringLiteral("smb-share:server=127.0.0.1,share=docs"));
        QSignalSpy changed(h.engine.get(), &MountEngine::recordChanged);
        QStringList statuses;
        connect(h.engine.get(), &MountEngine::recordChanged, this,
                [&](qint64) { statuses.append(h.record(id).runtime_status_String); });
        QCOMPARE(h.mountAndWait(id), 0);
        QVERIFY(h.hasLine(QStringLiteral("🧹 [GHOST] Removed ghost mount point: '") + ghost + QLatin1Char('\'')));
        QVERIFY(statuses.contains(QStringLiteral("Removed stale mount point before connecting")));
        QVERIFY(statuses.contains(QStringLiteral("Attempting mount...")));
    }

    void wakeOnLanBeforeResolving()
    {
        EngineHarness h;
        const qint64 id = h.addRecord([](VolumeRecord &r) { r.macAddress_String = QStringLiteral("AA:BB:CC:DD:EE:FF"); });
        QCOMPARE(h.mountAndWait(id), 0);
        QCOMPARE(h.wakeCalls(), QStringList{QStringLiteral("AA:BB:CC:DD:EE:FF")});
        const QStringList lines = h.console();
        const qsizetype wake = lines.indexOf(QStringLiteral("📡 [MOUNT] Sending Wake-on-LAN to: AA:BB:CC:DD:EE:FF"));
        const qsizetype resolve = lines.indexOf(QStringLiteral("🔍 [MOUNT] Step 1: Resolving hostname: '127.0.0.1'"));
        QVERIFY(wake >= 0 && resolve > wake);
    }

    void timeoutCancelsThePendingMount()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        QSignalSpy finished(h.engine.get(), &MountEngine::mountFinished);
        startHanging(h, id);
        QVERIFY(h.engine->isMountInProgress(id));
        h.engine->timeoutMount(id, 60);
        QVERIFY(finished.wait(5000));
        h.settle();
        QCOMPARE(finished.first().at(1).toInt(), int(MountResponseCode::Cancelled));
        QVERIFY(h.hasLine(QStringLiteral("⏰ [MOUNT] Timeout after 60 seconds")));
        QCOMPARE(h.events().size(), 1);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::MOUNT_TIMEOUT);
        QCOMPARE(h.events().first().eventMessage,
                 QStringLiteral("MOUNT_TIMEOUT: Mount operation timed out after 60 seconds"));
        QVERIFY(!h.record(id).runtime_isMounted_Bool);
        QVERIFY(!h.record(id).runtime_mount_start_time.has_value());
        QVERIFY(h.record(id).runtime_status_String.contains(QStringLiteral("timeout"), Qt::CaseInsensitive));
        QVERIFY(!h.engine->isMountInProgress(id));
        // The attempt is over: a new mount may start and completes.
        h.service.setBlocking(QUrl(h.record(id).mountURLText()), false);
        QCOMPARE(h.mountAndWait(id), 0);
    }

    void cancelOrRemoveWhilePending()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        QSignalSpy finished(h.engine.get(), &MountEngine::mountFinished);
        startHanging(h, id);
        // A cancel that is not a time-out writes no event.
        h.engine->cancelMount(id);
        QVERIFY(finished.wait(5000));
        h.settle();
        QVERIFY(h.events().isEmpty());
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Mount cancelled"));
        // A record removed meanwhile ignores its late result.
        finished.clear();
        startHanging(h, id);
        QVERIFY(h.engine->removeRecord(id).removed);
        h.service.releaseBlocked();
        QVERIFY(finished.wait(5000));
        QVERIFY(h.engine->record(id) == nullptr);
    }

    void concurrentMountsDoNotWaitForAHangingOne()
    {
        EngineHarness h;
        const qint64 hanging = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("slow"));
        startHanging(h, hanging);
        const qint64 other = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("fast"));
        QCOMPARE(h.mountAndWait(other), 0);
        QVERIFY(h.engine->isMountInProgress(hanging));
        // A second mount of the same record is ignored while the first is pending.
        h.engine->mount(hanging);
        h.engine->cancelMount(hanging);
        QTRY_VERIFY(!h.engine->isMountInProgress(hanging));
        QCOMPARE(h.service.mountCalls().size(), 2);
    }

    void postMountScriptRunsAfterSuccess()
    {
        EngineHarness h;
        const QString marker = h.dir.path() + QStringLiteral("/ran");
        const QString script = h.makeScript(QStringLiteral("post.sh"), QStringLiteral("echo hello > '%1'\nexit 3\n").arg(marker));
        const qint64 id = h.addRecord([&](VolumeRecord &r) { r.postMountScriptPath_String = script; });
        QCOMPARE(h.mountAndWait(id), 0);
        h.engine->waitForWorkers();
        QVERIFY(QFile::exists(marker));
        QVERIFY(h.hasLine(QStringLiteral("❌ [MOUNT] Script failed with exit code: 3")));
    }

private:
    // Starts a mount of `id` that hangs in the platform call until cancelled or released.
    static void startHanging(EngineHarness &h, qint64 id)
    {
        h.service.setBlocking(QUrl(h.record(id).mountURLText()));
        h.engine->mount(id);
        QVERIFY(h.service.waitForBlocked(1, 5000));
    }
};

QTEST_GUILESS_MAIN(TestMountEngine)
#include "tst_mountengine.moc"
