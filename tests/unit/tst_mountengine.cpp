// The mount pipeline driven through the real engine over fakes: response codes, ghost retry, resolution and
// probe outcomes, credentials, custom folders and the time-out.
#include "support/EngineHarness.h"

#include "base/Console.h"
#include "core/WakeOnLan.h"

#include "core/MountPipeline.h"
#include "platform/MountResponseCode.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>


namespace {
const MountResult kExists{17, QStringLiteral("scripted"), {}}; // EEXIST from the platform
} // namespace

class TestMountEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nonAsciiWebDavPassword_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("password");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("status");
        const QString nonAscii = MountPipeline::kNonAsciiPasswordStatus;
        const int dav = int(MountUsingProtocol_Enum::WebDAV);
        QTest::newRow("WebDAV, umlaut") << dav << QStringLiteral("pässwort") << 80 << nonAscii;
        QTest::newRow("WebDAVS, euro sign, denied") << int(MountUsingProtocol_Enum::WebDAVS) << QStringLiteral("x€") << 13 << nonAscii;
        QTest::newRow("WebDAV, ASCII") << dav << QStringLiteral("password") << 80 << QStringLiteral("Authentication failed");
        QTest::newRow("SMB, umlaut") << int(MountUsingProtocol_Enum::SMB) << QStringLiteral("pässwort") << 80
                                     << QStringLiteral("Authentication failed");
        QTest::newRow("WebDAV, umlaut, not an auth failure") << dav << QStringLiteral("pässwort") << 64
                                                             << QStringLiteral("Host is down (code 64)");
    }
    void nonAsciiWebDavPassword()
    {
        QFETCH(int, protocol);
        QFETCH(QString, password);
        QFETCH(int, code);
        EngineHarness h;
        const qint64 id = h.addRecord([&](VolumeRecord &r) {
            r.mounting_using_protocol_Enum = MountUsingProtocol_Enum(protocol);
            r.no_password_guest_login = 0;
            r.username_String = QStringLiteral("alice");
            r._cachedPassword = password;
        });
        h.service.setDefaultResult(MountResult{code, QStringLiteral("refused"), {}});
        QCOMPARE(h.mountAndWait(id), code);
        QTEST(h.record(id).runtime_status_String, "status");
        QVERIFY(!h.console().join(QLatin1Char('\n')).contains(password)); // never in clear
    }

    void responseCodeTable_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("share");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("eventType");
        QTest::addColumn<QString>("logLine");
        QTest::addColumn<QString>("eventText");    // null: the status
        QTest::addColumn<QString>("auditDetails"); // null: the event text
        using E = EVENT_TYPE_ENUM;
        const auto row = [](const char *tag, const char *host, const char *share, int code, const char *status,
                            E type, const char *logLine, const char *eventText = nullptr, const char *audit = nullptr) {
            QTest::newRow(tag) << QString::fromUtf8(host) << QString::fromUtf8(share) << code << QString::fromUtf8(status) << int(type)
                               << QString::fromUtf8(logLine) << (eventText ? QString::fromUtf8(eventText) : QString())
                               << (audit ? QString::fromUtf8(audit) : QString());
        };
        const char *ip = "127.0.0.1";
        row("2 share not found", ip, "docs", 2, "Share not found on server", E::SHARENAME_NOT_FOUND,
            "❌ [MOUNT] Share not found (code 2)", "Share 'docs' not found on server");
        row("8 on IP literal", ip, "docs", 8, "Mount failed: Error 8 for 127.0.0.1", E::UNKNOWN_MOUNT_ERROR,
            "❌ [MOUNT] NetFS error 8 on IP literal 127.0.0.1 — DNS preflight was skipped; this is a NetFS/connect failure",
            "NetFS error 8 on IP 127.0.0.1 (not DNS preflight)", "NetFS error 8 for 127.0.0.1");
        row("8 on name", "fileserver.test", "docs", 8, "Hostname unresolvable and not valid IP",
            E::HOSTNAME_UNRESOLVABLE, "❌ [MOUNT] NetFS name lookup failed (code 8) for hostname fileserver.test",
            "NetFS error 8: hostname lookup failed for fileserver.test", "NetFS error 8 for fileserver.test");
        row("13 permission", ip, "docs", 13, "Permission denied", E::AUTH_FAILED,
            "❌ [MOUNT] Permission denied (code 13)");
        const char *noPath = "Error 19: share path not found";
        const char *noDevice = "❌ [MOUNT] No such device (code 19 / ENODEV)";
        row("19 with share", ip, "docs", 19, noPath, E::SHARENAME_NOT_FOUND, noDevice,
            "Mount failed with error 19 (ENODEV). Path 'docs' does not exist on the server (127.0.0.1)");
        row("19 empty share", ip, "", 19, noPath, E::SHARENAME_NOT_FOUND, noDevice,
            "Mount failed with error 19 (ENODEV) for 127.0.0.1");
        row("60 timed out", ip, "docs", 60, "Connection timed out", E::CONNECTION_FAILED,
            "❌ [MOUNT] Connection timed out (code 60)");
        row("64 host down", ip, "docs", 64, "Host is down (code 64)", E::CONNECTION_FAILED,
            "❌ [MOUNT] Host is down (code 64)");
        row("65 on address", ip, "docs", 65, "Host unreachable (Error 65)", E::CONNECTION_FAILED,
            "❌ [MOUNT] No route to host (code 65)");
        row("65 on localhost", "localhost", "docs", 65,
            "Host unreachable (Error 65). Use this Mac’s LAN IP, not localhost, for SMB.", E::CONNECTION_FAILED,
            "❌ [MOUNT] No route to host (code 65)");
        row("80 auth", ip, "docs", 80, "Authentication failed", E::AUTH_FAILED,
            "❌ [MOUNT] Authentication failed (code 80)");
        row("-6600 internal auth", ip, "docs", -6600, "Auth error - try again", E::AUTH_FAILED,
            "❌ [MOUNT] Internal auth error (code -6600)");
        row("5 other", ip, "docs", 5, "Mount failed: Error 5", E::UNKNOWN_MOUNT_ERROR, "❌ [MOUNT] Error code: 5",
            "Mount failed with error 5");
    }
    void responseCodeTable()
    {
        QFETCH(QString, host);
        QFETCH(QString, share);
        QFETCH(int, code);
        QFETCH(QString, status);
        QFETCH(QString, logLine);
        QFETCH(QString, eventText);
        QFETCH(QString, auditDetails);

        // The table as a function; applying an outcome to the record, the log and the audit is the engine's
        // part, seen in the scenarios below.
        VolumeRecord record;
        record.hostname_String = host;
        record.volume_String = share;
        MountOutcome outcome;
        QStringList lines;
        Console::setSink([&lines](const QString &line) { lines.append(line); });
        MountPipeline::applyFailureCode(record, code, outcome);
        Console::setSink({});
        QCOMPARE(outcome.status, status);
        QVERIFY(outcome.eventType);
        QTEST(int(*outcome.eventType), "eventType");
        QCOMPARE(outcome.eventText, eventText.isNull() ? status : eventText);
        QVERIFY2(lines.contains(logLine), qPrintable(lines.join(QLatin1Char('\n'))));
        QCOMPARE(outcome.auditType, std::optional<AuditEventType>(AuditEventType::mountFailure));
        QVERIFY(!outcome.auditSuccess);
        QCOMPARE(outcome.auditDetails, auditDetails.isNull() ? outcome.eventText : auditDetails);
        QCOMPARE(outcome.auditErrorCode, std::optional<int>(code));
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
        const QDateTime when(QDate(2031, 3, 4), QTime(5, 6, 7));
        h.clock.setNow(when); // every date of the engine comes from the ports' clock
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("Public"));
        QSignalSpy started(h.engine, &MountEngine::mountStarted);
        QSignalSpy finished(h.engine, &MountEngine::mountFinished);
        h.engine->mount(id, allowUI);
        // At once: the countdown's first text and the start time, before the worker reports back.
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Connecting... 0s"));
        QCOMPARE(h.record(id).runtime_mount_start_time, std::optional<QDateTime>(when));
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
        QCOMPARE(h.events().first().eventDate, when);
        QCOMPARE(h.audits().first().eventType, AuditEventType::mountSuccess);
        QCOMPARE(h.audits().first().timestamp, when.toUTC());
        // Only a user's mount writes a MOUNT_ATTEMPT, and only it lets the platform show its UI.
        const QList<AuditLogEntry> audits = h.audits();
        QCOMPARE(std::ranges::any_of(audits, [](const auto &e) { return e.eventType == AuditEventType::mountAttempt; }),
                 allowUI);
        QCOMPARE(h.service.mountCalls().first().allowUI, allowUI);
        QCOMPARE(h.hasLine(QStringLiteral("🔐 [MOUNT] NetFS UI: AllowUI (wait for Connect sheet)")), allowUI);
        // A numeric loopback host: neither resolved nor probed.
        QCOMPARE(h.network.resolveCalls(), 0);
        QCOMPARE(h.network.probeCalls(), 0);
        QVERIFY(h.hasLine(QStringLiteral("⚡ [MOUNT] Skipping DNS — numeric IP literal: 127.0.0.1")));
        QVERIFY(h.hasLine(QStringLiteral("⚡ [MOUNT] Skipping socket test for local address")));
        QCOMPARE(r.runtime_ipAddress_String, QStringLiteral("127.0.0.1"));

        // Mounted: a second mount is skipped.
        h.clearConsole();
        QCOMPARE(h.mountAndWait(id), -1);
        QVERIFY(h.hasLine(QStringLiteral("⚠️ [MOUNT] Already mounted, skipping")));
        QCOMPARE(h.service.mountCalls().size(), 1);
        QCOMPARE(h.events().first().eventMessage, QStringLiteral("ALREADY_MOUNTED: Sharename was already mounted"));
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::ALREADY_MOUNTED);
        QVERIFY(h.record(id).runtime_isMounted_Bool);
    }

    void ghostRetryHappensOnceThenTheTableDecides()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        const QUrl url(QStringLiteral("smb://127.0.0.1/docs"));
        h.service.script(url, {kExists, kExists});
        // An empty leftover folder at the expected place, created after the pre-mount check would have
        // removed it: the fake answers 17 twice, so the only removal that matters is the retry's.
        QCOMPARE(h.mountAndWait(id), 17);
        QCOMPARE(h.service.mountCalls().size(), 2); // one retry, no loop
        const QString expected = h.volumePath(QStringLiteral("smb-share:server=127.0.0.1,share=docs"));
        QCOMPARE(h.countLinesContaining(QStringLiteral("🧹 [MOUNT] EEXIST but no live mount at '") + expected), 1);
        QVERIFY(h.hasLine(QStringLiteral("📥 [MOUNT] NetFS retry returned response code: 17")));
        QVERIFY(h.hasLine(QStringLiteral("ℹ️ [MOUNT] EEXIST (code 17) — verifying live mount")));
        QVERIFY(h.hasLine(QStringLiteral("❌ [MOUNT] EEXIST but no live mount — ghost directory may still be blocking")));
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Mount blocked by stale folder — try Clean Up"));
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR);
        QCOMPARE(h.events().first().eventMessage,
                 QStringLiteral("UNKNOWN_MOUNT_ERROR: Mount path blocked (stale folder at ") + expected + QLatin1Char(')'));
        QCOMPARE(h.events().first().statusText, h.record(id).runtime_status_String);
        QCOMPARE(h.audits().first().details, QStringLiteral("Stale mount point blocked connection"));
        QCOMPARE(h.audits().first().errorCode, std::optional<int>(17));
        QVERIFY(h.hasLine(QStringLiteral("🎯 [MOUNT] Handling response code: 17")));
        QVERIFY(!h.record(id).runtime_mount_start_time.has_value());

        // The retry that succeeds mounts the share.
        h.service.script(url, {kExists, MountResult{}});
        QCOMPARE(h.mountAndWait(id), 0);
        QCOMPARE(h.service.mountCalls().size(), 4);
        QVERIFY(h.record(id).runtime_isMounted_Bool);
        QVERIFY(h.record(id).runtime_status_String.startsWith(QStringLiteral("Successfully mounted at ")));
    }

    void code17OnAListedPath()
    {
        EngineHarness h;
        const QString ip = QStringLiteral("127.0.0.1");
        const qint64 smb = h.addShare(ip, QStringLiteral("docs"));
        const qint64 dav = h.addShare(ip, QStringLiteral("dav"), MountUsingProtocol_Enum::WebDAV);
        const QString smbPath = h.makeVolumeFolder(QStringLiteral("smb-share:server=127.0.0.1,share=docs"), true);
        const QString davPath = h.makeVolumeFolder(QStringLiteral("dav:host=127.0.0.1,ssl=false,prefix=%2Fdav"), true);
        h.table.setVolumes({{smbPath, QUrl(QStringLiteral("smb://127.0.0.1/docs/")), false},
                            {davPath, QUrl(QStringLiteral("dav://127.0.0.1/dav/")), false}});
        h.service.script(QUrl(QStringLiteral("smb://127.0.0.1/docs")), {kExists});
        h.service.script(QUrl(QStringLiteral("http://127.0.0.1/dav")), {kExists});

        // Live: no ghost retry, the share counts as mounted and its files are untouched.
        QCOMPARE(h.mountAndWait(smb), 17);
        QCOMPARE(h.service.mountCalls().size(), 1);
        QCOMPARE(h.record(smb).runtime_status_String, QStringLiteral("Already mounted at ") + smbPath);
        QVERIFY(h.record(smb).runtime_isMounted_Bool);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::MOUNT_SUCCESS);
        QCOMPARE(h.audits().first().eventType, AuditEventType::mountSuccess);
        QVERIFY(QFile::exists(smbPath + QStringLiteral("/file.txt")));

        // Listed, but the WebDAV server behind it is gone.
        h.network.setServersAnswer(false);
        QCOMPARE(h.mountAndWait(dav), 17);
        QVERIFY(h.hasLine(QStringLiteral("❌ [MOUNT] EEXIST path exists but share URL is unreachable")));
        QCOMPARE(h.record(dav).runtime_status_String, QStringLiteral("Server unreachable"));
        QVERIFY(!h.record(dav).runtime_isMounted_Bool);
        QCOMPARE(h.events().first().event_type_Enum, EVENT_TYPE_ENUM::CONNECTION_FAILED);
        QVERIFY(h.events().first().eventMessage.endsWith(QStringLiteral(" — server unreachable")));
        QCOMPARE(h.audits().first().details, QStringLiteral("Stale WebDAV mount, server unreachable"));
    }

    void resolutionAndProbeOutcomes_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("resolvesTo"); // empty: unknown
        QTest::addColumn<int>("probe");          // -1 not probed; 0 ready, 1 closed, 2 error, 3 timeout
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("eventType");      // -1: no event (the mount went on)
        QTest::addColumn<bool>("platformCalled");

        using E = EVENT_TYPE_ENUM;
        QTest::newRow("empty host") << "   " << "" << -1 << "Hostname/IP is required" << int(E::HOSTNAME_UNRESOLVABLE) << false;
        QTest::newRow("unresolvable") << "nas.invalid" << "" << -1 << "Hostname unresolvable and not valid IP"
                                      << int(E::HOSTNAME_UNRESOLVABLE) << false;
        QTest::newRow("probe closed") << "nas.test" << "192.0.2.4" << 1 << "Failed: Socket Closed" << int(E::CONNECTION_FAILED) << false;
        QTest::newRow("probe error") << "nas.test" << "192.0.2.4" << 2 << "Unable to connect to nas.test" << int(E::CONNECTION_FAILED) << false;
        QTest::newRow("probe timeout") << "nas.test" << "192.0.2.4" << 3 << "Connection timeout: nas.test" << int(E::CONNECTION_FAILED) << false;
        QTest::newRow("probe ready") << "nas.test" << "192.0.2.4" << 0 << "Successfully mounted at " << int(E::MOUNT_SUCCESS) << true;
        QTest::newRow("docker address skipped") << "nas.test" << "172.20.0.3" << -1 << "Successfully mounted at " << int(E::MOUNT_SUCCESS) << true;
    }
    void resolutionAndProbeOutcomes()
    {
        QFETCH(QString, host);
        QFETCH(QString, resolvesTo);
        QFETCH(int, probe);
        QFETCH(QString, status);
        QFETCH(bool, platformCalled);

        EngineHarness h;
        if (!resolvesTo.isEmpty())
            h.network.setResolved(host, resolvesTo);
        const SelectResult results[] = {SelectResult::ready(), SelectResult::closed(),
                                        SelectResult::error(QStringLiteral("Connection refused")), SelectResult::timeout()};
        if (probe >= 0)
            h.network.setProbeResult(results[probe]);
        const qint64 id = h.addShare(host, QStringLiteral("docs"));
        h.mountAndWait(id);
        QVERIFY2(h.record(id).runtime_status_String.startsWith(status), qPrintable(h.record(id).runtime_status_String));
        QCOMPARE(h.network.probeCalls(), probe >= 0 ? 1 : 0);
        QCOMPARE(!h.service.mountCalls().isEmpty(), platformCalled);
        QTEST(int(h.events().first().event_type_Enum), "eventType");
        if (!platformCalled)
            QVERIFY(!h.record(id).runtime_isMounted_Bool);
    }

    void credentials_data()
    {
        QTest::addColumn<bool>("guest");
        QTest::addColumn<QString>("storedPassword"); // in the keyring for the record; a guest sends none
        QTest::newRow("guest") << true << "ignored";
        QTest::newRow("user with keyring password") << false << "s3cret";
        QTest::newRow("user without password") << false << "";
    }
    void credentials()
    {
        QFETCH(bool, guest);
        QFETCH(QString, storedPassword);
        const QString user = guest ? QString() : QStringLiteral("alice");
        const QString password = guest ? QString() : storedPassword;

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
        QVERIFY(h.verifyAndWait(id));
        // Eject puts the empty folder back (the service removes its link).
        QVERIFY(h.ejectAndWait(id));
        QVERIFY(QFileInfo(folder).isDir() && !QFileInfo(folder).isSymLink());
    }

    void stepsAroundTheMount()
    {
        EngineHarness h;
        const QString marker = h.dir.path() + QStringLiteral("/ran");
        const QString script = h.makeScript(QStringLiteral("post.sh"), QStringLiteral("echo hi > '%1'\nexit 3\n").arg(marker));
        const qint64 id = h.addRecord([&](VolumeRecord &r) {
            r.macAddress_String = QStringLiteral("AA:BB:CC:DD:EE:FF");
            r.postMountScriptPath_String = script;
        });
        const QString ghost = h.makeVolumeFolder(QStringLiteral("smb-share:server=127.0.0.1,share=docs"));
        QStringList statuses;
        connect(h.engine, &MountEngine::recordChanged, this,
                [&](qint64) { statuses.append(h.record(id).runtime_status_String); });
        QCOMPARE(h.mountAndWait(id), 0);
        // Before connecting: the stale folder goes, and Wake-on-LAN is sent before the name is resolved.
        QVERIFY(h.hasLine(QStringLiteral("🧹 [GHOST] Removed ghost mount point: '") + ghost + QLatin1Char('\'')));
        QVERIFY(statuses.contains(QStringLiteral("Removed stale mount point before connecting")));
        QVERIFY(statuses.contains(QStringLiteral("Attempting mount...")));
        QCOMPARE(h.network.wakePackets(), QList<QByteArray>{*WakeOnLan::magicPacket(QStringLiteral("AA:BB:CC:DD:EE:FF"))});
        const QStringList lines = h.console();
        const qsizetype wake = lines.indexOf(QStringLiteral("📡 [MOUNT] Sending Wake-on-LAN to: AA:BB:CC:DD:EE:FF"));
        const qsizetype resolve = lines.indexOf(QStringLiteral("🔍 [MOUNT] Step 1: Resolving hostname: '127.0.0.1'"));
        QVERIFY(wake >= 0 && resolve > wake);
        // After success: the post-mount script runs; its failure is reported, the mount stays.
        h.engine->waitForWorkers();
        QVERIFY(QFile::exists(marker));
        QVERIFY(h.hasLine(QStringLiteral("❌ [MOUNT] Script failed with exit code: 3")));
        QVERIFY(h.record(id).runtime_isMounted_Bool);
    }

    void hangingMountTimeoutCancelRemove()
    {
        EngineHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("slow"));
        startHanging(h, id);
        const qint64 other = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("fast"));
        QCOMPARE(h.mountAndWait(other), 0); // not held up by the hanging one
        QSignalSpy finished(h.engine, &MountEngine::mountFinished);
        h.engine->mount(id); // ignored while the first is pending
        QVERIFY(h.engine->isMountInProgress(id));
        h.engine->timeoutMount(id, 60);
        QVERIFY(finished.wait(5000));
        h.settle();
        QCOMPARE(h.service.mountCalls().size(), 2);
        QCOMPARE(finished.first().at(1).toInt(), int(MountResponseCode::Cancelled));
        QCOMPARE(h.eventCount(EVENT_TYPE_ENUM::MOUNT_TIMEOUT), 1);
        QCOMPARE(h.events().first().eventMessage,
                 QStringLiteral("MOUNT_TIMEOUT: Mount operation timed out after 60 seconds"));
        QVERIFY(!h.record(id).runtime_isMounted_Bool);
        QVERIFY(!h.record(id).runtime_mount_start_time.has_value());
        QVERIFY(h.record(id).runtime_status_String.contains(QStringLiteral("timeout"), Qt::CaseInsensitive));
        QVERIFY(!h.engine->isMountInProgress(id));

        // A new attempt may start; a cancel that is not a time-out writes no event.
        const qsizetype events = h.events().size();
        finished.clear();
        startHanging(h, id);
        h.engine->cancelMount(id);
        QVERIFY(finished.wait(5000));
        h.settle();
        QCOMPARE(h.events().size(), events);
        QCOMPARE(h.record(id).runtime_status_String, QStringLiteral("Mount cancelled"));
        h.service.setBlocking(QUrl(h.record(id).mountURLText()), false);
        QCOMPARE(h.mountAndWait(id), 0);

        // A record removed meanwhile ignores its late result.
        const qint64 gone = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("gone"));
        finished.clear();
        startHanging(h, gone);
        QVERIFY(h.engine->removeRecord(gone).removed);
        h.service.releaseBlocked();
        QVERIFY(finished.wait(5000));
        QVERIFY(h.engine->record(gone) == nullptr);
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
