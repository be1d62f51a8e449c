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
    void fieldRule_data();
    void fieldRule();
    void booleanCells_data();
    void booleanCells();
    void protocolCells_data();
    void protocolCells();
    void headerRules_data();
    void headerRules();
    void rowsAndWarnings();
    void importStoresRealPasswordsOnly();
    void passwordStoreFailureIsReported();
    void exportReadsBackThroughImport();
    void legacyImportTakesEverything();
    void legacyImportRefusesNonPreferences();
};

void TestShareCsv::fieldRule_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("fields");
    QTest::newRow("plain") << "a,b,c" << strs({"a", "b", "c"});
    QTest::newRow("quoted comma") << "\"a, b\",c" << strs({"a, b", "c"});
    QTest::newRow("doubled quote vanishes") << "\"say \"\"hi\"\"\",x" << strs({"say hi", "x"});
    QTest::newRow("empty cells") << ",," << strs({"", "", ""});
    QTest::newRow("quote mid-field") << "ab\"c,d\"e" << strs({"abc,de"});
    QTest::newRow("unterminated quote runs to the end") << "\"a,b" << strs({"a,b"});
}

void TestShareCsv::fieldRule()
{
    QFETCH(QString, line);
    QTEST(ShareCsv::splitFields(line), "fields");
}

void TestShareCsv::booleanCells_data()
{
    QTest::addColumn<QString>("cell");
    QTest::addColumn<bool>("value");
    for (const char *t : {"Y", "  yes ", "On", "TRUE", "1", "y"})
        QTest::newRow(t) << QString::fromUtf8(t) << true;
    for (const char *f : {"no", "2", "", "n", "off", "yess", "0"})
        QTest::newRow(f[0] ? f : "empty") << QString::fromUtf8(f) << false;
}

void TestShareCsv::booleanCells()
{
    QFETCH(QString, cell);
    QTEST(ShareCsv::parseBool(cell), "value");
}

void TestShareCsv::protocolCells_data()
{
    QTest::addColumn<QString>("cell");
    QTest::addColumn<int>("protocol");
    QTest::newRow("webdavs") << "webdavs" << int(MountUsingProtocol_Enum::WebDAVS);
    QTest::newRow("WebDAV") << "WebDAV" << int(MountUsingProtocol_Enum::WebDAV);
    QTest::newRow("afp") << "afp" << int(MountUsingProtocol_Enum::AFP);
    QTest::newRow("nfs") << " NFS " << int(MountUsingProtocol_Enum::NFS);
    QTest::newRow("ftp") << "ftp" << int(MountUsingProtocol_Enum::SMB);
    QTest::newRow("empty") << "" << int(MountUsingProtocol_Enum::SMB);
}

void TestShareCsv::protocolCells()
{
    QFETCH(QString, cell);
    QTEST(int(ShareCsv::parseProtocol(cell)), "protocol");
}

void TestShareCsv::headerRules_data()
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

void TestShareCsv::headerRules()
{
    QFETCH(QString, text);
    const ShareCsv::Parsed parsed = ShareCsv::parse(text);
    QTEST(parsed.error, "error");
    QTEST(int(parsed.rows.size()), "rows");
}

void TestShareCsv::rowsAndWarnings()
{
    const QString text = QStringLiteral("# Tarnwell shares\n"
                                         "nickname,hostname,shareName,protocol,username,guest,port,group,autoMount,password\n"
                                         "\"Team, shared\", nas.local , Team ,webdavs,bob, yes ,8443,office,on,YOUR_PASSWORD\n"
                                         "short,only-host\n"
                                         "# comment between rows\n"
                                         "nohost,,share\n"
                                         "Min,h2,s2\n"
                                         "Bad port,h3,s3,smb,u,no,abc,,0,your_secret\n"
                                         "Pw,h4,s4,,,,,,,real pass\n");
    const ShareCsv::Parsed parsed = ShareCsv::parse(text);
    QVERIFY(parsed.error.isEmpty());
    QCOMPARE(parsed.warnings, strs({"Line 4: Not enough columns", "Line 6: hostname required"}));
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

void TestShareCsv::importStoresRealPasswordsOnly()
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
    // Nothing of the password in the preferences file or on the console.
    f.h.defaults.flush();
    QFile prefs(f.h.defaults.filePath());
    QVERIFY(prefs.open(QIODevice::ReadOnly));
    QVERIFY(!prefs.readAll().contains("Secret-1"));
    QVERIFY(!f.h.hasLineContaining(QStringLiteral("Secret-1")));
}

void TestShareCsv::passwordStoreFailureIsReported()
{
    ExchangeFixture f;
    f.h.secrets.setAvailable(false);
    const auto outcome = f.importCsv(QStringLiteral("hostname,shareName,password\nh,s,pw\n"));
    QCOMPARE(outcome.imported, 1);
    QCOMPARE(outcome.passwordsStored, 0);
    QCOMPARE(outcome.passwordsFailed, 1);
    QCOMPARE(outcome.title(), QStringLiteral("Import Complete"));
    QCOMPARE(outcome.summary(), QStringLiteral("1 shares imported, 1 passwords could not be stored"));
}

void TestShareCsv::exportReadsBackThroughImport()
{
    ExchangeFixture a;
    a.h.addRecord([](VolumeRecord &r) {
        r.nickname_String = QStringLiteral("Sales, EMEA");
        r.hostname_String = QStringLiteral("files.example");
        r.volume_String = QStringLiteral("sales");
        r.mounting_using_protocol_Enum = MountUsingProtocol_Enum::WebDAVS;
        r.port_Int = 8443;
        r.no_password_guest_login = 0;
        r.username_String = QStringLiteral("s.user");
        r.group_String = QStringLiteral("#team");
        r.auto_Mount = 1;
        r._cachedPassword = QStringLiteral("never-exported");
    });
    a.h.addRecord([](VolumeRecord &r) {
        r.nickname_String = QStringLiteral("#hash first");
        r.volume_String = QString();
    });
    const auto csv = a.config->exportCsv();
    QVERIFY(csv.ok());
    QVERIFY(csv.value.startsWith(ShareCsv::kHeader + QLatin1Char('\n')));
    QVERIFY(!csv.value.contains(QStringLiteral("never-exported")));

    ExchangeFixture b;
    const auto outcome = b.importCsv(csv.value);
    QCOMPARE(outcome.imported, 2);
    QVERIFY(outcome.warnings.isEmpty());
    for (qsizetype i = 0; i < 2; ++i) {
        const VolumeRecord &x = a.h.engine->store().records().at(i);
        const VolumeRecord &y = b.h.engine->store().records().at(i);
        QCOMPARE(y.nickname_String, x.nickname_String);
        QCOMPARE(y.hostname_String, x.hostname_String);
        QCOMPARE(y.volume_String, x.volume_String);
        QCOMPARE(y.mounting_using_protocol_Enum, x.mounting_using_protocol_Enum);
        QCOMPARE(y.username_String, x.username_String);
        QCOMPARE(y.no_password_guest_login, x.no_password_guest_login);
        QCOMPARE(y.port_Int, x.port_Int);
        QCOMPARE(y.group_String, x.group_String);
        QCOMPARE(y.auto_Mount, x.auto_Mount);
    }
}

void TestShareCsv::legacyImportTakesEverything()
{
    ExchangeFixture f;
    f.h.addShare(QStringLiteral("srv"), QStringLiteral("already"));
    f.h.addShare(QStringLiteral("srv"), QStringLiteral("filler")); // takes id 2, the file's id of "new"
    f.h.eventLog.addEvent(LogEvent::general(EVENT_TYPE_ENUM::UNKNOWN_ERROR, QStringLiteral("local entry")));

    VolumeRecord one;
    one.internal_ID_Int = 1;
    one.hostname_String = QStringLiteral("srv");
    one.volume_String = QStringLiteral("already");
    one.no_password_guest_login = 1; // the same guest share as the local one
    VolumeRecord two;
    two.internal_ID_Int = 2;
    two.hostname_String = QStringLiteral("srv");
    two.volume_String = QStringLiteral("new");
    two.no_password_guest_login = 0;
    QVariantMap twoArchive = two.encode();
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
    QFile out(path);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(PropertyList::serialize(prefs, PropertyList::Format::Binary));
    out.close();

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
    f.h.defaults.flush();
    QFile stored(f.h.defaults.filePath());
    QVERIFY(stored.open(QIODevice::ReadOnly));
    QVERIFY(!stored.readAll().contains("legacy-pw"));
    QVERIFY(!f.h.hasLineContaining(QStringLiteral("legacy-pw")));
}

void TestShareCsv::legacyImportRefusesNonPreferences()
{
    ExchangeFixture f;
    const QString path = f.h.dir.filePath(QStringLiteral("junk.plist"));
    QFile out(path);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write("not a property list");
    out.close();
    LegacyImporter importer(*f.config, f.h.eventLog);
    QString error;
    importer.importFile(path, [&](const LegacyImporter::Summary &s) { error = s.error; });
    QCOMPARE(error, QStringLiteral("Not a preferences file: junk.plist"));
    f.policy.insert(QStringLiteral("AllowShareImport"), false);
    importer.importFile(path, [&](const LegacyImporter::Summary &s) { error = s.error; });
    QCOMPARE(error, QStringLiteral("Import is disabled by your IT administrator"));
    QVERIFY(f.shares().isEmpty());
}

QTEST_GUILESS_MAIN(TestShareCsv)
#include "tst_sharecsv.moc"
