// The control interface's engine side: the record JSON form, share names, tarnwell:// URLs, the interval
// notice, ControlService driving the real engine over the in-process fakes (EngineHarness), and the
// generated adaptor and proxy talking over a private peer-to-peer D-Bus connection.
#include "support/EngineHarness.h"
#include "UnitTestHelpers.h"

#include "control/Control1Adaptor.h"
#include "control/Control1Proxy.h"
#include "control/ControlNames.h"
#include "control/ControlService.h"
#include "base/Migrations.h"
#include "control/RecordJson.h"
#include "control/ShareResolver.h"
#include "control/UrlCommand.h"

#include <QDBusServer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

QJsonArray parseArray(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).array();
}

} // namespace

class TestControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applyJson_data()
    {
        QTest::addColumn<QJsonObject>("input");
        QTest::addColumn<QString>("check");  // the fields changed (setFields), all others as they were
        QTest::addColumn<QString>("reason"); // set: refused with this reason

        QTest::newRow("strings") << json(R"({"nickname":"N","hostname":" srv ","shareName":"s","username":"u",)"
                                         R"("group":"g","macAddress":"00:11:22:aa:bb:cc","allowedSSIDs":"a,b","customMountPoint":"/x"})")
                                 << "nick=N;host=srv;share=s;user=u;group=g;mac=00:11:22:aa:bb:cc;ssids=a,b;dir=/x" << "";
        QTest::newRow("port set") << json(R"({"port":8445})") << "port=8445" << "";
        QTest::newRow("port cleared") << json(R"({"port":null})") << "port=" << "";
        QTest::newRow("protocol any case") << json(R"({"protocolType":"webdavs"})") << "protocol=WebDAVS" << "";
        QTest::newRow("on/off as 0/1") << json(R"({"guest":1,"autoMount":1,"mountInVolumes":0})") << "guest=1;auto=1;volumes=0" << "";
        QTest::newRow("on/off as booleans") << json(R"({"guest":true,"autoMount":false})") << "guest=1;auto=0" << "";
        QTest::newRow("empty share name") << json(R"({"shareName":""})") << "share=" << "";

        QTest::newRow("unknown key") << json(R"({"nickname":"x","colour":"red"})") << "" << "unknown key 'colour'";
        QTest::newRow("malformed hardware address") << json(R"({"macAddress":"m"})") << "" << "'macAddress' must be";
        QTest::newRow("id") << json(R"({"id":9})") << "" << "'id' cannot be set";
        QTest::newRow("runtime") << json(R"({"mounted":true})") << "" << "'mounted' cannot be set";
        QTest::newRow("port zero") << json(R"({"port":0})") << "" << "'port'";
        QTest::newRow("port too big") << json(R"({"port":65536})") << "" << "'port'";
        QTest::newRow("port beyond 64 bits") << json(R"({"port":1e300})") << "" << "'port'";
        QTest::newRow("port fraction") << json(R"({"port":44.5})") << "" << "'port'";
        QTest::newRow("port text") << json(R"({"port":"445"})") << "" << "'port'";
        QTest::newRow("protocol") << json(R"({"protocolType":"ftp"})") << "" << "'protocolType'";
        QTest::newRow("guest 2") << json(R"({"guest":2})") << "" << "'guest' must be 0 or 1";
        QTest::newRow("string kind") << json(R"({"nickname":5})") << "" << "'nickname' must be a string";
        QTest::newRow("blank host") << json(R"({"hostname":"  "})") << "" << "'hostname' must not be empty";
        // The field checks every way in shares, on the keys given.
        QTest::newRow("newline") << json(R"({"hostname":"nas\nx"})") << "" << "'hostname' must not contain '\\x0a'";
        QTest::newRow("relative mount folder") << json(R"({"customMountPoint":"rel"})") << "" << "must be an absolute path";
        QTest::newRow("nickname") << QJsonObject{{QStringLiteral("nickname"), QString(5000, u'x')}} << "" << "'nickname' is too long";
    }
    void applyJson()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QString, check);
        QFETCH(QString, reason);
        VolumeRecord record = recordOf("id=5;nick=old;host=nas;share=data;port=1445");
        VolumeRecord expected = record;
        QString error;
        if (reason.isEmpty()) {
            QVERIFY2(RecordJson::apply(input, record, &error), qPrintable(error));
            setFields(expected, check);
        } else {
            QVERIFY(!RecordJson::apply(input, record, &error));
            QVERIFY2(error.contains(reason), qPrintable(error));
            // Refused as a whole: the valid keys before the bad one changed nothing either.
        }
        QCOMPARE(record.encode(), expected.encode());
    }
    void jsonRoundTrip()
    {
        VolumeRecord source = recordOf("id=8");
        QVERIFY(RecordJson::apply(
            json(R"({"nickname":"Team","hostname":"fe80::1","shareName":"/Team Docs/","port":4450,"protocolType":"AFP",)"
                 R"("username":"alice","autoMount":1,"mountInVolumes":0,"customMountPoint":"/mnt/team","group":"Office",)"
                 R"("macAddress":"00:11:22:33:44:55","allowedSSIDs":"Office, Lab"})"),
            source, nullptr));
        source.isLocked = true;
        source.managedBy = QStringLiteral("MDM");
        source.runtime_isMounted_Bool = true;
        source.runtime_status_String = QStringLiteral("Successfully mounted at /m");

        const QJsonObject o = RecordJson::toJson(source, {true, QStringLiteral("MOUNTED ✓")});
        QCOMPARE(o.value(QStringLiteral("mountURL")).toString(), QStringLiteral("afp://[fe80::1]:4450/Team Docs"));
        QCOMPARE(o.value(QStringLiteral("protocolType")).toString(), QStringLiteral("AFP"));
        QCOMPARE(o.value(QStringLiteral("autoMount")), QJsonValue(1)); // on/off as integers, not Booleans
        QCOMPARE(o.value(QStringLiteral("mounted")).toBool(), true);
        QCOMPARE(o.value(QStringLiteral("mountInProgress")).toBool(), true);
        QCOMPARE(o.value(QStringLiteral("statusLabel")).toString(), QStringLiteral("MOUNTED ✓"));
        QVERIFY(!QJsonDocument(o).toJson().toLower().contains("password"));

        // The settings keys applied to a fresh record give the same settings back.
        QJsonObject settings = o;
        for (const char *key : {"id", "isLocked", "managedBy", "mountURL", "status", "statusLabel", "mounted", "reachable",
                                "mountInProgress", "mountPoint", "ipAddress"})
            settings.remove(QLatin1String(key));
        VolumeRecord copy;
        QString error;
        QVERIFY2(RecordJson::apply(settings, copy, &error), qPrintable(error));
        copy.internal_ID_Int = source.internal_ID_Int;
        copy.isLocked = source.isLocked;
        copy.managedBy = source.managedBy;
        // The schedule is not part of the control JSON; a fresh record's default times depend on when it was made.
        copy.schedule_MountTime = source.schedule_MountTime;
        copy.schedule_UnMountTime = source.schedule_UnMountTime;
        QCOMPARE(copy.encode(), source.encode());
    }
    void resolve_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<qint64>("id"); // 0: not resolved
        QTest::addColumn<bool>("ambiguous");
        QTest::addColumn<QString>("message");

        QTest::newRow("id with blanks") << " 3 " << qint64(3) << false << "";
        QTest::newRow("nickname ignoring case") << "office nas" << qint64(1) << false << "";
        QTest::newRow("exact case wins") << "media" << qint64(4) << false << "";
        QTest::newRow("number that is a nickname") << "42" << qint64(5) << false << "";
        QTest::newRow("ambiguous") << "Backup" << qint64(0) << true << "IDs 2, 3";
        QTest::newRow("ambiguous ignoring case") << "MEDIA" << qint64(0) << true << "IDs 4, 6";
        QTest::newRow("unknown") << "Nope" << qint64(0) << false << "Unknown share: 'Nope'";
        QTest::newRow("unknown id") << "99" << qint64(0) << false << "Unknown share: '99'";
        QTest::newRow("empty") << "" << qint64(0) << false << "Unknown share";
    }
    void resolve()
    {
        QFETCH(QString, query);
        QFETCH(QString, message);
        const QList<VolumeRecord> records{recordOf("id=1;nick=Office NAS"), recordOf("id=2;nick=Backup"),
                                          recordOf("id=3;nick=Backup"),     recordOf("id=4;nick=media"),
                                          recordOf("id=5;nick=42"),         recordOf("id=6;nick=Media")};
        const auto r = ShareResolver::resolve(records, query);
        QTEST(r.id.value_or(0), "id");
        QTEST(r.ambiguous, "ambiguous");
        QVERIFY2(r.message.contains(message), qPrintable(r.message));
    }
    void urlCommand_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("action"); // -1: refused
        QTest::addColumn<QString>("share");

        using A = UrlCommand::Action;
        QTest::newRow("mount id") << "tarnwell://mount/3" << int(A::Mount) << "3";
        QTest::newRow("mount nickname encoded") << "tarnwell://mount/Office%20NAS/" << int(A::Mount) << "Office NAS";
        QTest::newRow("eject") << "TARNWELL://Eject/Backup" << int(A::Eject) << "Backup";
        QTest::newRow("eject all") << "tarnwell://eject-all" << int(A::EjectAll) << "";
        QTest::newRow("pause") << "tarnwell://pause" << int(A::Pause) << "";
        QTest::newRow("resume") << "tarnwell://resume/" << int(A::Resume) << "";
        QTest::newRow("show") << "tarnwell://show" << int(A::Show) << "";
        QTest::newRow("bare scheme") << "tarnwell:" << int(A::Show) << "";
        QTest::newRow("mount without share") << "tarnwell://mount" << -1 << "";
        QTest::newRow("pause with share") << "tarnwell://pause/3" << -1 << "";
        QTest::newRow("unknown action") << "tarnwell://format/3" << -1 << "";
        QTest::newRow("other scheme") << "smb://mount/3" << -1 << "";
    }
    void urlCommand()
    {
        QFETCH(QString, url);
        QFETCH(int, action);
        QString error;
        const auto command = UrlCommand::parse(url, &error);
        if (action < 0) {
            QVERIFY(!command);
            QVERIFY2(error.startsWith(QLatin1String("Unsupported tarnwell URL")), qPrintable(error));
            return;
        }
        QVERIFY2(command, qPrintable(error));
        QCOMPARE(int(command->action), action);
        QTEST(command->share, "share");
    }
    void intervalNotice_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("shown");

        QTest::newRow("61 seconds") << QVariant(61) << true;
        QTest::newRow("60 seconds") << QVariant(60) << false;
        QTest::newRow("absent") << QVariant() << false;
        QTest::newRow("not an integer") << QVariant(QStringLiteral("120")) << false;
    }
    void intervalNotice()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, shown);
        QTemporaryDir dir;
        Defaults defaults(dir.filePath(QStringLiteral("prefs.plist")));
        if (stored.isValid())
            defaults.setValue(QStringLiteral("auto_mount_check_interval_Int"), stored);

        const auto notice = Migrations::intervalNotice(defaults);
        QCOMPARE(notice.has_value(), shown);
        if (shown) {
            QVERIFY(notice->startsWith(QStringLiteral("Your auto-remount check interval is %1 seconds").arg(stored.toInt())));
            QCOMPARE(defaults.boolean(Migrations::kIntervalNoticeFlag), std::optional<bool>(true));
            // Once only, also for a later start, and the stored interval is left as it was.
            QVERIFY(!Migrations::intervalNotice(defaults));
            Defaults later(defaults.filePath());
            QVERIFY(!Migrations::intervalNotice(later));
            QCOMPARE(defaults.integer(QStringLiteral("auto_mount_check_interval_Int")), std::optional<qint64>(stored.toInt()));
        } else {
            QVERIFY(!defaults.contains(Migrations::kIntervalNoticeFlag));
        }
    }

    void serviceAddListRemove()
    {
        EngineHarness h;
        ControlService service(*h.engine, h.eventLog, h.auditLog);

        const auto added = service.addRecord(QStringLiteral(R"({"hostname":"nas","shareName":"team","username":"alice",)"
                                                            R"("nickname":"Team","port":1445})"),
                                             QStringLiteral("s3cret pw"));
        QVERIFY2(added.ok(), qPrintable(added.error.message));
        const qint64 id = added.value;
        QVERIFY(id > 0);
        // The password went to the secret store under the record's account, and nowhere into the records.
        h.engine->waitForWorkers();
        h.settle();
        QCOMPARE(h.secrets.peek(h.credentials.serviceName(), QStringLiteral("volume_record_%1").arg(id)),
                 std::optional<QString>(QStringLiteral("s3cret pw")));
        const auto listed = service.listRecords();
        QVERIFY(listed.ok());
        QVERIFY(!listed.value.contains(QLatin1String("s3cret")));
        QVERIFY(!readFile(h.defaults.filePath()).contains("s3cret"));

        const QJsonArray records = parseArray(listed.value);
        QCOMPARE(records.size(), 1);
        const QJsonObject r = records.first().toObject();
        QCOMPARE(r.value(QStringLiteral("id")).toInteger(), id);
        QCOMPARE(r.value(QStringLiteral("mountURL")).toString(), QStringLiteral("smb://nas:1445/team"));

        QCOMPARE(service.resolveShare(QStringLiteral("team")).value, id);
        const auto edited = service.editRecord(id, QStringLiteral(R"({"nickname":"Team 2","autoMount":1})"));
        QVERIFY2(edited.ok(), qPrintable(edited.error.message));
        QCOMPARE(h.engine->record(id)->nickname_String, QStringLiteral("Team 2"));
        QCOMPARE(h.engine->record(id)->auto_Mount, 1);
        QCOMPARE(h.engine->record(id)->port_Int, std::optional<qint64>(1445)); // keys not given stay

        QVERIFY(service.removeRecord(id).ok());
        QVERIFY(!h.engine->record(id));
        QCOMPARE(parseArray(service.listRecords().value).size(), 0);
    }
    void serviceRefusals_data()
    {
        // Over records 1 and 2 (guest shares nas/pub and nas/other, both nicknamed "twin") and 3 (managed by MDM).
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("errorName");
        QTest::addColumn<QString>("message");

        QTest::newRow("bad json") << "add" << "{nickname:" << ControlNames::kErrorInvalidArgument << "Bad JSON";
        QTest::newRow("json array") << "add" << "[1]" << ControlNames::kErrorInvalidArgument << "must be a JSON object";
        QTest::newRow("no host") << "add" << R"({"shareName":"x"})" << ControlNames::kErrorInvalidArgument
                                 << "'hostname' is required";
        QTest::newRow("edit unknown") << "edit99" << R"({"nickname":"x"})" << ControlNames::kErrorUnknownShare
                                      << "no share has the ID 99";
        QTest::newRow("edit bad key") << "edit2" << R"({"colour":"red"})" << ControlNames::kErrorInvalidArgument
                                      << "unknown key 'colour'";
        QTest::newRow("remove unknown") << "remove" << "99" << ControlNames::kErrorUnknownShare << "no share has the ID 99";
        QTest::newRow("mount unknown") << "mount" << "99" << ControlNames::kErrorUnknownShare << "99";
        QTest::newRow("url unknown share") << "url" << "tarnwell://mount/Nope" << ControlNames::kErrorUnknownShare << "'Nope'";
        QTest::newRow("url bad") << "url" << "tarnwell://explode" << ControlNames::kErrorInvalidArgument << "unknown action";
        QTest::newRow("resolve ambiguous") << "resolve" << "twin" << ControlNames::kErrorAmbiguousShare << "IDs 1, 2";
        // The engine's refusals (its own tests check the rules) arrive under their error names, texts whole.
        QTest::newRow("duplicate") << "add" << R"({"hostname":"NAS","shareName":"/pub/","guest":1})"
                                   << ControlNames::kErrorDuplicate << "Duplicate share: smb://nas/pub";
        QTest::newRow("edit managed") << "edit3" << R"({"nickname":"Mine"})" << ControlNames::kErrorLocked
                                      << "IT-Managed Share: This share is managed by MDM.";
        QTest::newRow("password managed") << "password" << "3" << ControlNames::kErrorLocked << "IT-Managed Share";
        QTest::newRow("remove managed") << "remove" << "3" << ControlNames::kErrorLocked
                                        << "Cannot Delete: This share is managed by MDM and cannot be deleted.";
    }
    void serviceRefusals()
    {
        QFETCH(QString, operation);
        QFETCH(QString, argument);
        QFETCH(QString, message);
        EngineHarness h;
        ControlService service(*h.engine, h.eventLog, h.auditLog);
        QVERIFY(service.addRecord(QStringLiteral(R"({"hostname":"nas","shareName":"pub","guest":1,"nickname":"twin"})"), {}).ok());
        QVERIFY(service.addRecord(QStringLiteral(R"({"hostname":"nas","shareName":"other","guest":1,"nickname":"twin"})"), {}).ok());
        QCOMPARE(h.engine->addRecord(recordOf("nick=Policies;host=corp;share=data;locked=1;by=MDM")), 3);
        const QByteArray before = QJsonDocument(parseArray(service.listRecords().value)).toJson();

        ControlService::Error error;
        if (operation == QLatin1String("add"))
            error = service.addRecord(argument, {}).error;
        else if (operation.startsWith(QLatin1String("edit")))
            error = service.editRecord(operation.mid(4).toLongLong(), argument).error;
        else if (operation == QLatin1String("password"))
            error = service.setPassword(argument.toLongLong(), QStringLiteral("pw")).error;
        else if (operation == QLatin1String("remove"))
            error = service.removeRecord(argument.toLongLong()).error;
        else if (operation == QLatin1String("mount"))
            error = service.mount(argument.toLongLong()).error;
        else if (operation == QLatin1String("url"))
            error = service.handleUrl(argument).error;
        else
            error = service.resolveShare(argument).error;

        QTEST(error.name, "errorName");
        QVERIFY2(error.message.contains(message), qPrintable(error.message));
        QCOMPARE(QJsonDocument(parseArray(service.listRecords().value)).toJson(), before);
        QVERIFY(!h.engine->isMountInProgress(1) && !h.engine->isMountInProgress(2));
    }
    void serviceMountAndSignals()
    {
        EngineHarness h;
        ControlService service(*h.engine, h.eventLog, h.auditLog);
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("pub"));
        QSignalSpy finished(service.adaptor(), &Control1Adaptor::MountFinished);
        QSignalSpy changed(service.adaptor(), &Control1Adaptor::RecordsChanged);
        QSignalSpy logChanged(service.adaptor(), &Control1Adaptor::EventLogChanged);

        // By nickname through a tarnwell:// URL, as a second launch forwards it.
        h.engine->updateRuntime(id, [](VolumeRecord &r) { r.nickname_String = QStringLiteral("Pub Share"); });
        QVERIFY(service.handleUrl(QStringLiteral("tarnwell://mount/pub%20share")).ok());
        QVERIFY(h.engine->isMountInProgress(id));
        const QJsonObject during = QJsonDocument::fromJson(service.getRecord(id).value.toUtf8()).object();
        QCOMPARE(during.value(QStringLiteral("mountInProgress")).toBool(), true);

        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 10000);
        QCOMPARE(finished.first().at(0).toLongLong(), id);
        QCOMPARE(finished.first().at(1).toInt(), 0);
        QCOMPARE(finished.first().at(2).toString(), h.engine->record(id)->runtime_status_String);
        QVERIFY(h.engine->record(id)->runtime_isMounted_Bool);
        // Bursts of runtime changes arrive as few signals, but at least one.
        QTRY_VERIFY(changed.size() >= 1);
        QVERIFY2(changed.size() < 5, qPrintable(QString::number(changed.size())));
        QTRY_VERIFY(logChanged.size() >= 1);

        const QJsonArray events = service.eventArray(1);
        QCOMPARE(events.size(), 1);
        QCOMPARE(events.first().toObject().value(QStringLiteral("type")).toString(), QStringLiteral("MOUNT_SUCCESS"));
        QCOMPARE(events.first().toObject().value(QStringLiteral("recordId")).toInteger(), id);
        QVERIFY(service.eventArray(0).size() >= 1);

        // The verification answers later, from its bounded check.
        const auto verified = [&service](qint64 share) {
            std::optional<ControlService::Result<bool>> answer;
            service.verify(share, [&answer](const ControlService::Result<bool> &r) { answer = r; });
            if (!QTest::qWaitFor([&answer] { return answer.has_value(); }, 10000))
                return false;
            return answer->ok() && answer->value;
        };
        QVERIFY(verified(id));
        QSignalSpy ejected(service.adaptor(), &Control1Adaptor::EjectFinished);
        QVERIFY(service.eject(id).ok());
        QTRY_COMPARE_WITH_TIMEOUT(ejected.size(), 1, 10000);
        QCOMPARE(ejected.first().at(1).toBool(), true);
        QVERIFY(!h.engine->record(id)->runtime_isMounted_Bool);
        QVERIFY(!verified(id));
    }
    // The format in any case. Bounds, the JSON form and the rows: tests/integration/tst_cli.sh.
    void serviceAuditExport()
    {
        EngineHarness h;
        ControlService service(*h.engine, h.eventLog, h.auditLog);
        h.auditLog.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("Tarnwell launched"), true);
        h.audits(); // settles until the entry is in memory
        const auto csv = service.exportAudit(QStringLiteral("CSV"), {}, {});
        QVERIFY2(csv.value.startsWith(EnterpriseAuditLog::kCsvHeader), qPrintable(csv.error.message));
        QVERIFY(csv.value.contains(QLatin1String(",APP_LAUNCH,")));
    }
    void servicePauseHooks()
    {
        EngineHarness h;
        ControlService service(*h.engine, h.eventLog, h.auditLog);
        QVERIFY(!service.isPaused());
        QCOMPARE(service.adaptor()->property("Version").toString(), QStringLiteral(TARNWELL_VERSION));
        bool paused = false;
        bool anythingMounted = false;
        // isPaused, pause (false: nothing to pause), resume.
        service.setPauseHooks({[&] { return paused; }, [&] { return paused = anythingMounted; }, [&] { paused = false; }});
        const auto refused = service.pause();
        QCOMPARE(refused.error.name, ControlNames::kErrorFailed);
        QCOMPARE(refused.error.message, ControlService::kNothingToPause);
        anythingMounted = true;
        QVERIFY(service.handleUrl(QStringLiteral("tarnwell://pause")).ok());
        QVERIFY(service.isPaused());
        QCOMPARE(service.adaptor()->property("Paused").toBool(), true); // read through by the generated adaptor
        QVERIFY(service.resume().ok());
        QVERIFY(!service.isPaused());

        // The status label comes from the labeler when one is set.
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("pub"));
        service.setStatusLabeler([](const VolumeRecord &r, bool) { return QStringLiteral("LABEL-%1").arg(r.internal_ID_Int); });
        QCOMPARE(parseArray(service.listRecords().value).first().toObject().value(QStringLiteral("statusLabel")).toString(),
                 QStringLiteral("LABEL-%1").arg(id));
    }
    // The generated adaptor reads the service's properties by name: each of the interface's must be one of the
    // service's, of the same type, and read through.
    void adaptorProperties()
    {
        QCOMPARE(ControlNames::kInterface, QLatin1String(Control1Proxy::staticInterfaceName()));
        const QMetaObject &adaptor = Control1Adaptor::staticMetaObject;
        const QMetaObject &service = ControlService::staticMetaObject;
        QVERIFY(adaptor.propertyCount() > adaptor.propertyOffset());
        for (int i = adaptor.propertyOffset(); i < adaptor.propertyCount(); ++i) {
            const QMetaProperty property = adaptor.property(i);
            const int index = service.indexOfProperty(property.name());
            QVERIFY2(index >= 0, property.name());
            QCOMPARE(service.property(index).metaType(), property.metaType());
        }
    }
    // The generated adaptor and proxy over a private peer-to-peer connection: values come back, a refusal (also
    // a delayed reply's) arrives as the D-Bus error reply under its name, and the signals reach the client.
    void overTheBus()
    {
        EngineHarness h;
        ControlService service(*h.engine, h.eventLog, h.auditLog);
        QTemporaryDir socketDir;
        QDBusServer server(QStringLiteral("unix:dir=") + socketDir.path());
        QVERIFY2(server.isConnected(), qPrintable(server.lastError().message()));
        std::optional<QDBusConnection> served;
        connect(&server, &QDBusServer::newConnection, this, [&](const QDBusConnection &connection) {
            served = connection;
            QVERIFY(served->registerObject(ControlNames::kObjectPath, &service, QDBusConnection::ExportAdaptors));
        });
        const QString clientName = QStringLiteral("tst_control");
        QDBusConnection client = QDBusConnection::connectToPeer(server.address(), clientName);
        QVERIFY2(client.isConnected(), qPrintable(client.lastError().message()));
        QTRY_VERIFY(served.has_value());

        {
            Control1Proxy proxy(QString(), ControlNames::kObjectPath, client);
            QSignalSpy changed(&proxy, &Control1Proxy::RecordsChanged);
            QDBusPendingReply<qlonglong> added
                = proxy.AddRecord(QStringLiteral(R"({"hostname":"nas","shareName":"pub","guest":1})"), QString());
            QTRY_VERIFY(added.isFinished());
            QVERIFY2(!added.isError(), qPrintable(added.error().message()));
            QCOMPARE(added.value(), 1);
            QTRY_VERIFY(changed.size() >= 1);

            // A delayed reply: the answer of the bounded check (not mounted), and an unknown share as an error.
            QDBusPendingReply<bool> verified = proxy.Verify(added.value());
            QTRY_VERIFY(verified.isFinished());
            QVERIFY2(!verified.isError(), qPrintable(verified.error().message()));
            QCOMPARE(verified.value(), false);
            QDBusPendingReply<bool> verifiedUnknown = proxy.Verify(99);
            QTRY_VERIFY(verifiedUnknown.isFinished());
            QCOMPARE(verifiedUnknown.error().name(), ControlNames::kErrorUnknownShare);

            QDBusPendingReply<> unknown = proxy.Mount(99);
            QTRY_VERIFY(unknown.isFinished());
            QCOMPARE(unknown.error().name(), ControlNames::kErrorUnknownShare);
        }
        QDBusConnection::disconnectFromPeer(clientName);
    }
};

// --- ControlService over the real engine and in-process fakes ---

QTEST_GUILESS_MAIN(TestControl)
#include "tst_control.moc"
