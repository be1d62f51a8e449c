#include "ExchangeFixture.h"
#include "UnitTestHelpers.h"

#include "exchange/LegacyImporter.h"
#include "exchange/ShareCsv.h"

#include "base/Preferences.h"
#include "base/PropertyList.h"
#include "core/CredentialStore.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

class TestShareCsv : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The cell rules, one table: a line split into fields (shown joined by '|'), a Boolean cell, a protocol cell.
    void cellRules_data()
    {
        QTest::addColumn<QString>("rule");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *rule, const char *text, const char *value) {
            QTest::addRow("%s '%s'", rule, text) << QString::fromUtf8(rule) << QString::fromUtf8(text) << QString::fromUtf8(value);
        };
        row("fields", "a,b,c", "a|b|c");
        row("fields", "\"a, b\",c", "a, b|c");             // a quoted comma
        row("fields", "\"say \"\"hi\"\"\",x", "say hi|x"); // a doubled quote vanishes
        row("fields", ",,", "||");
        row("fields", "ab\"c,d\"e", "abc,de"); // a quote mid-field
        row("fields", "\"a,b", "a,b");         // an unterminated quote runs to the end
        for (const char *yes : {"Y", "  yes ", "On", "TRUE", "1", "y"})
            row("bool", yes, "1");
        for (const char *no : {"no", "2", "", "n", "off", "yess", "0"})
            row("bool", no, "0");
        row("protocol", "webdavs", "WebDAVS");
        row("protocol", "WebDAV", "WebDAV");
        row("protocol", "afp", "AFP");
        row("protocol", " NFS ", "NFS");
        row("protocol", "ftp", "SMB");
        row("protocol", "", "SMB");
    }
    void cellRules()
    {
        QFETCH(QString, rule);
        QFETCH(QString, text);
        QString value;
        if (rule == QLatin1String("fields"))
            value = ShareCsv::splitFields(text).join(u'|');
        else if (rule == QLatin1String("bool"))
            value = QString::number(ShareCsv::parseBool(text));
        else
            value = strs({"SMB", "AFP", "NFS", "WebDAV", "WebDAVS"}).at(int(ShareCsv::parseProtocol(text)));
        QTEST(value, "value");
    }
    void headerRules_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("rows");
        const QString missing = QStringLiteral("CSV must have 'hostname' and 'shareName' columns");
        QTest::newRow("any case, any order") << "ShareName,HOSTNAME\ns,h\n" << QString() << 1;
        QTest::newRow("comment and blank lines before the header") << "# made by hand\n\n  hostname,sharename\nh,s" << QString() << 1;
        QTest::newRow("no share column") << "hostname,nickname\nh,n\n" << missing << 0;
        QTest::newRow("no host column") << "host,shareName\nh,s\n" << missing << 0;
        QTest::newRow("empty file") << "" << missing << 0;
        QTest::newRow("only comments") << "# nothing\n#\n" << missing << 0;
        QTest::newRow("windows line ends and BOM") << "\xEF\xBB\xBFhostname,shareName\r\nh,s\r\n" << QString() << 1;
    }
    void headerRules()
    {
        QFETCH(QString, text);
        const ShareCsv::Parsed parsed = ShareCsv::parse(text);
        QTEST(parsed.error, "error");
        QTEST(int(parsed.rows.size()), "rows");
    }
    void rowsAndWarnings()
    {
        const QString text = QStringLiteral("# Tarnwell shares\n"
                                             "nickname,hostname,shareName,protocol,username,guest,port,group,autoMount,password\n"
                                             "\"Team, shared\", nas.local , Team ,webdavs,bob, yes ,8443,office,on,YOUR_PASSWORD\n"
                                             "short,only-host\n"
                                             "# comment between rows\n"
                                             "nohost,,share\n"
                                             "Min,h2,s2\n"
                                             "Bad port,h3,s3,smb,u,no,abc,,0,your_secret\n"
                                             "Pw,h4,s4,,,,,,,real pass\n"
                                             "Bad host,bad;host,s5\n"  // the field checks every way in shares
                                             "Nick\x1b,h6,s6\n");
        const ShareCsv::Parsed parsed = ShareCsv::parse(text);
        QVERIFY(parsed.error.isEmpty());
        QStringList warnings = parsed.warnings;
        for (QString &warning : warnings)
            warning = warning.section(QStringLiteral(" ("), 0, 0); // without the explanation of the field checks
        QCOMPARE(warnings, strs({"Line 4: Not enough columns", "Line 6: hostname required",
                                 "Line 10: 'hostname' must not contain ';'",
                                 "Line 11: 'nickname' must not contain control characters"}));
        QCOMPARE(parsed.rows.size(), 4);
        const VolumeRecord &team = parsed.rows.at(0).record;
        QCOMPARE(team.nickname_String, QStringLiteral("Team, shared"));
        QCOMPARE(team.hostname_String, QStringLiteral("nas.local"));
        QCOMPARE(team.volume_String, QStringLiteral("Team"));
        QCOMPARE(team.mounting_using_protocol_Enum, MountUsingProtocol_Enum::WebDAVS);
        QCOMPARE(team.no_password_guest_login, 1);
        QCOMPARE(team.port_Int, std::optional<qint64>(8443));
        QCOMPARE(team.group_String, QStringLiteral("office"));
        QCOMPARE(team.auto_Mount, 1);
        QVERIFY(!parsed.rows.at(0).password); // placeholder
        const VolumeRecord &min = parsed.rows.at(1).record; // missing optional cells keep the defaults
        QCOMPARE(min.username_String, VolumeRecord().username_String);
        QCOMPARE(min.no_password_guest_login, 0);
        QVERIFY(!min.port_Int);
        QVERIFY(!parsed.rows.at(2).record.port_Int); // not a number
        QVERIFY(!parsed.rows.at(2).password);        // your_ in any case
        QCOMPARE(parsed.rows.at(3).password, std::optional<QString>(QStringLiteral("real pass")));
        QCOMPARE(parsed.rows.at(3).line, 9);
    }
    void importStoresRealPasswordsOnly()
    {
        ExchangeFixture f;
        f.h.addShare(QStringLiteral("nas"), QStringLiteral("existing"), MountUsingProtocol_Enum::SMB, false, 0, QStringLiteral("x"));
        // Duplicates are the same share for the same user; "existing" for someone else would be a share of its own.
        const auto outcome = f.importCsv(QStringLiteral("hostname,shareName,username,password\n"
                                                        "nas,existing,x,pw0\n"
                                                        "nas,new,alice,Secret-1\n"
                                                        "nas,tmpl,bob,YOUR_PASSWORD\n"
                                                        "nas,New,carol,\n"
                                                        "nas,new,alice,again\n"
                                                        ",x\n"));
        QVERIFY(!outcome.error.isError());
        QCOMPARE(outcome.imported, 3);
        QCOMPARE(outcome.passwordsStored, 1);
        QCOMPARE(outcome.warnings, strs({"Line 2: nas/existing is already configured, skipped",
                                         "Line 6: nas/new is already configured, skipped", "Line 7: hostname required"}));
        QCOMPARE(outcome.title(), QStringLiteral("Import Complete with Warnings"));
        QCOMPARE(outcome.summary(), QStringLiteral("3 shares imported, 1 passwords stored, 3 lines skipped"));
        const qint64 alice = f.idOf(QStringLiteral("nas"), QStringLiteral("new"));
        const QString account = f.h.engine->record(alice)->credentialAccount();
        QCOMPARE(f.h.secrets.peek(f.h.credentials.serviceName(), account), std::optional<QString>(QStringLiteral("Secret-1")));
        QCOMPARE(f.h.secrets.itemCount(), 1);
        QCOMPARE(f.h.engine->record(alice)->_cachedPassword, std::optional<QString>(QStringLiteral("Secret-1")));
        // That it reaches no file, log or console line: tests/integration/tst_secret_leak.sh.

        // A password the secret store does not take is reported, not claimed.
        f.h.secrets.setAvailable(false);
        const auto failed = f.importCsv(QStringLiteral("hostname,shareName,password\nh,s,pw\n"));
        QCOMPARE((QList<int>{failed.imported, failed.passwordsStored, failed.passwordsFailed}), (QList<int>{1, 0, 1}));
        QCOMPARE(failed.title(), QStringLiteral("Import Complete"));
        QCOMPARE(failed.summary(), QStringLiteral("1 shares imported, 1 passwords could not be stored"));
    }
    void exportReadsBackThroughImport()
    {
        ExchangeFixture a;
        a.h.addRecord([](VolumeRecord &r) {
            setFields(r, "nick=Sales, EMEA;host=files.example;share=sales;protocol=WebDAVS;port=8443;guest=0;user=s.user;"
                         "group=#team;auto=1;password=never-exported");
        });
        a.h.addRecord([](VolumeRecord &r) { setFields(r, "nick=#hash first;share="); });
        const auto csv = a.config->exportCsv();
        QVERIFY(csv.ok());
        QVERIFY(csv.value.startsWith(ShareCsv::kHeader + QLatin1Char('\n')));
        QVERIFY(!csv.value.contains(QStringLiteral("never-exported")));

        ExchangeFixture b;
        const auto outcome = b.importCsv(csv.value);
        QCOMPARE(outcome.imported, 2);
        QVERIFY(outcome.warnings.isEmpty());
        const auto columns = [](const VolumeRecord &r) { // what a CSV row carries
            return QVariantList{r.nickname_String, r.hostname_String, r.volume_String, int(r.mounting_using_protocol_Enum),
                                r.username_String, r.no_password_guest_login, r.port_Int.value_or(0), r.group_String, r.auto_Mount};
        };
        for (qsizetype i = 0; i < 2; ++i)
            QCOMPARE(columns(b.h.engine->store().records().at(i)), columns(a.h.engine->store().records().at(i)));
    }
    void legacyImportTakesEverything()
    {
        ExchangeFixture f;
        f.h.addShare(QStringLiteral("srv"), QStringLiteral("already"));
        f.h.addShare(QStringLiteral("srv"), QStringLiteral("filler")); // takes id 2, the file's id of "new"
        f.h.eventLog.addEvent(LogEvent::general(EVENT_TYPE_ENUM::UNKNOWN_ERROR, QStringLiteral("local entry")));

        const VolumeRecord one = recordOf("id=1;host=srv;share=already;guest=1"); // the same guest share as the local one
        QVariantMap twoArchive = recordOf("id=2;host=srv;share=new;guest=0").encode();
        twoArchive.insert(QStringLiteral("password_String"), QStringLiteral("legacy-pw"));
        LogEvent event(2, QStringLiteral("srv"), QStringLiteral("new"), QString(), QString(), EVENT_TYPE_ENUM::UNKNOWN_ERROR,
                       QStringLiteral("old entry"));
        const QJsonArray sets{QJsonObject{{QStringLiteral("id"), QUuid::createUuid().toString(QUuid::WithoutBraces)},
                                          {QStringLiteral("name"), QStringLiteral("Mac set")},
                                          {QStringLiteral("shareIDs"), QJsonArray{2, 1}},
                                          {QStringLiteral("icon"), QStringLiteral("folder")}}};
        const QVariantMap prefs{
            {LegacyImporter::kRecordsKey, QVariantList{one.encode(), twoArchive}},
            {LegacyImporter::kEventsKey, QVariantList{event.encode()}},
            {LegacyImporter::kSetsKey, QJsonDocument(sets).toJson(QJsonDocument::Compact)},
            {LegacyImporter::kMappingsKey, QByteArray("mapping-bytes")},
            {Preferences::Keys::MountTimeout, qint64(5)},              // clamped to 10
            {Preferences::Keys::PlayActionSounds, true},
            {Preferences::Keys::AutoMountCheckInterval, QStringLiteral("15")}, // wrong kind
            {QStringLiteral("NSWindow Frame main"), QStringLiteral("0 0 100 100")},
        };
        const QString path = f.h.dir.filePath(QStringLiteral("mac.plist"));
        QVERIFY(writeFile(path, PropertyList::serialize(prefs, PropertyList::Format::Binary)));

        LegacyImporter importer(*f.config, f.h.eventLog);
        LegacyImporter::Summary summary;
        bool done = false;
        importer.importFile(path, [&](const LegacyImporter::Summary &s) {
            summary = s;
            done = true;
        });
        QTRY_VERIFY(done);
        QCOMPARE(summary.sharesImported, 1);
        QCOMPARE(summary.sharesSkipped, 1);
        QCOMPARE(summary.passwordsMoved, 1);
        QCOMPARE(summary.eventsImported, 1);
        QCOMPARE(summary.setsImported, 1);
        QVERIFY(summary.mappingsImported);
        QCOMPARE(summary.settingsImported, strs({"mount_timeout_Int", "play_action_sounds"}));
        QVERIFY(summary.notTaken.contains(QStringLiteral("auto_mount_check_interval_Int")));
        QVERIFY(summary.notTaken.contains(QStringLiteral("NSWindow Frame main")));
        QVERIFY(!summary.text().contains(QStringLiteral("legacy-pw")));

        const qint64 existing = f.idOf(QStringLiteral("srv"), QStringLiteral("already"));
        const qint64 added = f.idOf(QStringLiteral("srv"), QStringLiteral("new"));
        QCOMPARE(existing, 1);
        QCOMPARE(added, 3); // a fresh id of this machine; the file's id 2 belongs to another share here
        QCOMPARE(f.sets->sets().first().shareIDs, (QList<qint64>{added, existing}));
        QCOMPARE(f.h.eventLog.events().size(), 2);
        QCOMPARE(f.h.eventLog.events().last().internal_VolumeRecord_ID_Int, added);
        QCOMPARE(f.h.secrets.peek(f.h.credentials.serviceName(), f.h.engine->record(added)->credentialAccount()),
                 std::optional<QString>(QStringLiteral("legacy-pw")));
        QCOMPARE(f.h.defaults.integer(Preferences::Keys::MountTimeout), std::optional<qint64>(10));
        QCOMPARE(f.h.defaults.data(LegacyImporter::kMappingsKey), std::optional<QByteArray>("mapping-bytes"));

        // A file that is no preferences file, and any file while the organisation forbids imports: refused.
        const QString junk = f.h.dir.filePath(QStringLiteral("junk.plist"));
        QVERIFY(writeFile(junk, "not a property list"));
        importer.importFile(junk, [&](const LegacyImporter::Summary &s) { summary = s; });
        QCOMPARE(summary.error, QStringLiteral("Not a preferences file: junk.plist"));
        f.policy.insert(QStringLiteral("AllowShareImport"), false);
        importer.importFile(path, [&](const LegacyImporter::Summary &s) { summary = s; });
        QCOMPARE(summary.error, QStringLiteral("Import is disabled by your IT administrator"));
        QCOMPARE(f.shares(), strs({"srv/already", "srv/filler", "srv/new"}));
    }
};

QTEST_GUILESS_MAIN(TestShareCsv)
#include "tst_sharecsv.moc"
