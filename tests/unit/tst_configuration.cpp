#include "ExchangeFixture.h"
#include "UnitTestHelpers.h"

#include "exchange/RulesExchange.h"

#include "base/Preferences.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

using namespace Configuration;

namespace {

// A share of a file, "host/share", as the harness adds them (guest: duplicates compare the user).
QJsonObject share(qint64 id, const char *hostShare, const char *nickname = "")
{
    QJsonObject o = json(R"({"username":"u","guest":true,"protocolType":"SMB","mountInVolumes":true,)"
                         R"("customMountPoint":"","group":"","allowedSSIDs":"","scheduleEnabled":false,)"
                         R"("scheduleWeekdays":[2,3],"macAddress":"","postMountScript":"","preUnmountScript":"",)"
                         R"("isLocked":false})");
    const QString text = QString::fromUtf8(hostShare);
    o.insert(QStringLiteral("id"), id);
    o.insert(QStringLiteral("hostname"), text.section(QLatin1Char('/'), 0, 0));
    o.insert(QStringLiteral("shareName"), text.section(QLatin1Char('/'), 1));
    o.insert(QStringLiteral("nickname"), QString::fromUtf8(nickname));
    return o;
}

QJsonObject set(const char *name, const QJsonArray &ids)
{
    return QJsonObject{{QStringLiteral("id"), QUuid::createUuid().toString(QUuid::WithoutBraces)},
                       {QStringLiteral("name"), QString::fromUtf8(name)}, {QStringLiteral("shareIDs"), ids},
                       {QStringLiteral("icon"), QStringLiteral("folder")}, {QStringLiteral("isLocked"), false}};
}

QByteArray file(const QJsonArray &shares, const QJsonArray &sets = {}, const QJsonObject &extra = {})
{
    QJsonObject root{{QStringLiteral("version"), QStringLiteral("1.0")},
                     {QStringLiteral("exportDate"), QStringLiteral("2026-01-02T03:04:05Z")},
                     {QStringLiteral("exportedBy"), QStringLiteral("Someone")},
                     {QStringLiteral("shares"), shares},
                     {QStringLiteral("shareSets"), sets},
                     {QStringLiteral("rules"), QJsonArray()}};
    for (auto it = extra.begin(); it != extra.end(); ++it)
        root.insert(it.key(), it.value());
    return QJsonDocument(root).toJson();
}

// Records what the configuration passes on and answers with counts of its own: all but the first skipped.
class FakeRules : public RulesExchange
{
public:
    QJsonArray exportRules() const override { return rules; }
    ImportCount importRules(const QJsonArray &incoming, ImportMode mode) override
    {
        lastMode = mode;
        received = incoming;
        return {1, int(incoming.size()) - 1};
    }
    QJsonArray rules;
    QJsonArray received;
    std::optional<ImportMode> lastMode;
};

} // namespace

class TestConfiguration : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void roundTripBetweenTwoEngines()
    {
        ExchangeFixture a;
        const qint64 guest = a.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("public"));
        const qint64 secured = a.h.addRecord([](VolumeRecord &r) {
            setFields(r, "share=secure;guest=0;user=alice;port=1445;protocol=WebDAVS;auto=1;group=office;ssids=Home,Work;"
                         "mac=00:11:22:33:44:55;nick=Secure, \"quoted\";password=S3cret-Pass");
            r.schedule_Mount = 1;
            r.schedule_MountTime = QDateTime(QDate(2026, 3, 4), QTime(8, 15));
            r.schedule_UnMountTime = QDateTime(QDate(2026, 3, 4), QTime(17, 45));
            r.schedule_Weekdays = {2, 4};
        });
        a.makeSet(QStringLiteral("Both"), {secured, guest});
        const auto exported = a.config->exportConfiguration();
        QVERIFY(exported.ok());
        QVERIFY(!exported.value.contains("S3cret-Pass"));
        QVERIFY(!exported.value.contains("volume_record_"));
        const QJsonObject root = QJsonDocument::fromJson(exported.value).object();
        QCOMPARE(root.value(QStringLiteral("version")).toString(), QStringLiteral("1.0"));
        QCOMPARE(root.value(QStringLiteral("exportedBy")).toString(), QStringLiteral("Ada Example"));
        QVERIFY(QDateTime::fromString(root.value(QStringLiteral("exportDate")).toString(), Qt::ISODate).isValid());
        QVERIFY(exported.value.contains("\n    \"exportDate\"")); // pretty-printed, keys sorted
        QVERIFY(exported.value.indexOf("\"exportDate\"") < exported.value.indexOf("\"shareSets\""));

        ExchangeFixture b;
        b.h.addShare(QStringLiteral("10.0.0.9"), QStringLiteral("other")); // ids differ on the receiving side
        const auto imported = b.config->importConfiguration(exported.value, ImportMode::Merge);
        QVERIFY(imported.ok());
        QCOMPARE(imported.value.sharesImported, 2);
        QCOMPARE(imported.value.setsImported, 1);
        for (const VolumeRecord &src : a.h.engine->store().records()) {
            const qint64 id = b.idOf(src.hostname_String, src.volume_String);
            QVERIFY(id > 0);
            QJsonObject left = ConfigurationManager::shareToJson(src);
            QJsonObject right = ConfigurationManager::shareToJson(*b.h.engine->record(id));
            left.remove(QStringLiteral("id"));
            right.remove(QStringLiteral("id"));
            QCOMPARE(right, left);
            QVERIFY(!b.h.engine->record(id)->_cachedPassword.has_value());
        }
        const ShareSet &set = b.sets->sets().first();
        QCOMPARE(set.shareIDs, (QList<qint64>{b.idOf("127.0.0.1/secure"), b.idOf("127.0.0.1/public")}));
        QVERIFY(b.h.hasLine(QStringLiteral("✅ [CONFIG] Import complete: 2 shares imported, 1 sets imported, preferences imported")));
        QVERIFY(b.h.notifications.contains(QStringLiteral("RefreshVolumeUI")));
    }
    void importModes_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QList<int>>("counts"); // imported, skipped, updated, sets imported, sets skipped
        // Local: h/Data, h/other; set "Team". File: h/Data (dup), h/data (not a dup: case), x/new; sets "team", "New".
        QTest::newRow("merge") << int(ImportMode::Merge) << strs({"h/Data", "h/other", "h/data", "x/new"})
                               << QList<int>{2, 1, 0, 1, 1};
        QTest::newRow("update") << int(ImportMode::Update) << strs({"h/Data", "h/other", "h/data", "x/new"})
                                << QList<int>{2, 0, 1, 1, 1};
        QTest::newRow("replace") << int(ImportMode::Replace) << strs({"h/Data", "h/data", "x/new"})
                                 << QList<int>{3, 0, 0, 2, 0};
    }
    void importModes()
    {
        QFETCH(int, mode);
        ExchangeFixture f;
        const qint64 data = f.h.addShare(QStringLiteral("h"), QStringLiteral("Data"));
        f.h.addShare(QStringLiteral("h"), QStringLiteral("other"));
        f.makeSet(QStringLiteral("Team"), {data});
        const QByteArray bytes = file(QJsonArray{share(1, "h/Data", "renamed"), share(2, "h/data"), share(3, "x/new")},
                                      QJsonArray{set("team", {1}), set("New", {3, 1})});
        const auto result = f.config->importConfiguration(bytes, ImportMode(mode));
        QVERIFY(result.ok());
        QTEST(f.shares(), "after");
        const ImportResult &r = result.value;
        QTEST((QList<int>{r.sharesImported, r.sharesSkipped, r.sharesUpdated, r.setsImported, r.setsSkipped}), "counts");
        const QString nickname = f.h.engine->record(f.idOf("h/Data"))->nickname_String;
        QCOMPARE(nickname, ImportMode(mode) == ImportMode::Merge ? QString() : QStringLiteral("renamed"));
        // The new set points at the local records, whichever way they came.
        const ShareSet *added = f.sets->findByIdOrName(QStringLiteral("New"));
        QVERIFY(added);
        QCOMPARE(added->shareIDs, (QList<qint64>{f.idOf("x/new"), f.idOf("h/Data")}));
    }
    void setMembersAreRemapped()
    {
        ExchangeFixture f;
        for (int i = 0; i < 5; ++i)
            f.h.addShare(QStringLiteral("local"), QString::number(i)); // ids 1..5 are taken here
        const QByteArray bytes = file(QJsonArray{share(1, "a/one"), share(2, "b/two"), share(7, "a/one")}, // one twice
                                      QJsonArray{set("S", {2, 99, 1, 7, 2})});
        const auto result = f.config->importConfiguration(bytes, ImportMode::Merge);
        QVERIFY(result.ok());
        QCOMPARE(result.value.sharesImported, 2);
        QCOMPARE(result.value.sharesSkipped, 1);
        const qint64 one = f.idOf("a/one");
        const qint64 two = f.idOf("b/two");
        QVERIFY(one > 5 && two > 5);
        QCOMPARE(f.sets->sets().first().shareIDs, (QList<qint64>{two, one, one, two})); // 99 named nothing in the file
    }
    void updateKeepsIdentityAndLockedRecords()
    {
        ExchangeFixture f;
        const qint64 mine = f.h.addRecord([](VolumeRecord &r) {
            setFields(r, "host=srv;share=mine;port=8445;password=keep-me;"
                         "override=volume_record_duplicate_6B1D1A6E-9C2F-4E4B-8F1E-0D5C7A3B2E11");
        });
        const qint64 managed = f.h.addRecord([](VolumeRecord &r) { setFields(r, "host=srv;share=managed;locked=1;nick=IT"); });
        QJsonObject changed = share(40, "srv/mine", "New name");
        changed.insert(QStringLiteral("port"), 8445);
        changed.insert(QStringLiteral("group"), QStringLiteral("G"));
        // The same share on another port is another share: added, not merged into "mine".
        QJsonObject otherPort = share(42, "srv/mine", "Other port");
        otherPort.insert(QStringLiteral("port"), 9445);
        const auto result = f.config->importConfiguration(
            file(QJsonArray{changed, share(41, "srv/managed", "Hijack"), otherPort}), ImportMode::Update);
        QVERIFY(result.ok());
        QCOMPARE(result.value.sharesUpdated, 1);
        QCOMPARE(result.value.sharesSkipped, 1);
        QCOMPARE(result.value.sharesImported, 1);
        const VolumeRecord *r = f.h.engine->record(mine);
        QCOMPARE(r->nickname_String, QStringLiteral("New name"));
        QCOMPARE(r->group_String, QStringLiteral("G"));
        QCOMPARE(r->_cachedPassword, std::optional<QString>(QStringLiteral("keep-me")));
        QVERIFY(r->credentialAccountOverride.has_value());
        QCOMPARE(f.h.engine->record(managed)->nickname_String, QStringLiteral("IT"));
        // Saved, not only changed in memory.
        f.h.defaults.flush();
        RecordStore reread(f.h.defaults);
        reread.load();
        QCOMPARE(reread.find(mine)->nickname_String, QStringLiteral("New name"));
    }
    void replaceKeepsLockedSharesAndSets()
    {
        ExchangeFixture f;
        const qint64 locked = f.h.addRecord([](VolumeRecord &r) { setFields(r, "host=it;share=corp;locked=1"); });
        const qint64 gone = f.h.addShare(QStringLiteral("old"), QStringLiteral("share"));
        ShareSet lockedSet;
        lockedSet.name = QStringLiteral("Corporate");
        lockedSet.shareIDs = {locked, gone};
        lockedSet.isLocked = true;
        f.sets->addSet(lockedSet);
        f.makeSet(QStringLiteral("Mine"), {gone});
        const auto result = f.config->importConfiguration(
            file(QJsonArray{share(1, "it/corp"), share(2, "n/s")}, QJsonArray{set("corporate", {1}), set("Fresh", {1, 2})}),
            ImportMode::Replace);
        QVERIFY(result.ok());
        QCOMPARE(f.shares(), (strs({"it/corp", "n/s"})));
        QCOMPARE(f.idOf("it/corp"), locked);
        QStringList names;
        for (const ShareSet &s : f.sets->sets())
            names << s.name;
        QCOMPARE(names, (strs({"Corporate", "Fresh"})));
        QCOMPARE(f.sets->sets().first().shareIDs, QList<qint64>{locked}); // the removed share left the kept set too
        QCOMPARE(f.sets->findByIdOrName(QStringLiteral("Fresh"))->shareIDs, (QList<qint64>{locked, f.idOf("n/s")}));
        QCOMPARE(result.value.sharesSkipped, 1);
        QCOMPARE(result.value.setsSkipped, 1);
    }
    // The version rule and the file's form: a refusal changes nothing in any mode, and a preview refuses alike.
    void fileRules_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error"); // empty: accepted
        const auto withVersion = [](const QJsonValue &version) {
            QJsonObject root = QJsonDocument::fromJson(file(QJsonArray{share(1, "h/s")})).object();
            if (version.isUndefined())
                root.remove(QStringLiteral("version"));
            else
                root.insert(QStringLiteral("version"), version);
            return QJsonDocument(root).toJson();
        };
        for (const char *version : {"1.0", "1.7", "1.10.2", "1"})
            QTest::newRow(version) << withVersion(QString::fromUtf8(version)) << QString();
        for (const char *version : {"2.0", "10.0", "0.9", ""}) {
            QTest::addRow("version '%s'", version) << withVersion(QString::fromUtf8(version))
                                                   << QStringLiteral("Unsupported configuration version: ") + QString::fromUtf8(version);
        }
        const QString invalid = QStringLiteral("The configuration file is not in a valid format");
        QTest::newRow("version a number") << withVersion(1.0) << invalid;
        QTest::newRow("no version") << withVersion(QJsonValue::Undefined) << "Configuration is missing required data: version";
        QTest::newRow("not json") << QByteArray("{\"version\": \"1.0\",") << invalid;
        QTest::newRow("array root") << QByteArray("[]") << invalid;
        QJsonObject noHost = share(2, "h/s");
        noHost.remove(QStringLiteral("hostname"));
        QTest::newRow("share without host") << file(QJsonArray{share(1, "ok/ok"), noHost}) << invalid;
        QTest::newRow("set with bad id") << file({}, QJsonArray{json(R"({"id":"x","name":"n","shareIDs":[]})")}) << invalid;
        QJsonObject root = QJsonDocument::fromJson(file({})).object();
        root.remove(QStringLiteral("shares"));
        QTest::newRow("no shares") << QJsonDocument(root).toJson() << "Configuration is missing required data: shares";
    }
    void fileRules()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, error);
        ExchangeFixture f;
        f.h.addShare(QStringLiteral("keep"), QStringLiteral("me"));
        f.makeSet(QStringLiteral("Kept"), {1});
        QCOMPARE(f.config->preview(bytes).error.text(), error);
        const auto modes = error.isEmpty() ? QList<ImportMode>{ImportMode::Merge}
                                           : QList<ImportMode>{ImportMode::Replace, ImportMode::Merge, ImportMode::Update};
        for (ImportMode mode : modes) {
            QCOMPARE(f.config->importConfiguration(bytes, mode).error.text(), error);
            QCOMPARE(f.shares(), error.isEmpty() ? strs({"keep/me", "h/s"}) : strs({"keep/me"}));
            QCOMPARE(f.sets->sets().size(), 1);
        }
    }
    void summaryText_data()
    {
        QTest::addColumn<ImportResult>("result");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << ImportResult{} << "No changes";
        QTest::newRow("only skipped sets and rules") << ImportResult{0, 0, 0, 0, 3, 0, 2, false} << "No changes";
        QTest::newRow("all") << ImportResult{3, 1, 2, 4, 1, 5, 1, true}
                             << "3 shares imported, 2 shares updated, 1 shares skipped, 4 sets imported, 5 rules imported, "
                                "preferences imported";
        QTest::newRow("preferences only") << ImportResult{0, 0, 0, 0, 0, 0, 0, true} << "preferences imported";
        QTest::newRow("one skipped") << ImportResult{0, 1, 0, 0, 0, 0, 0, false} << "1 shares skipped";
    }
    void summaryText()
    {
        QFETCH(ImportResult, result);
        QTEST(Configuration::summaryText(result), "text");
    }
    void policyGates_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("value"); // -1 absent, 0 false, 1 true
        QTest::addColumn<bool>("allowed");
        for (const QString &key : {QStringLiteral("AllowShareImport"), QStringLiteral("AllowShareExport")}) {
            QTest::addRow("%s absent", qPrintable(key)) << key << -1 << true;
            QTest::addRow("%s true", qPrintable(key)) << key << 1 << true;
            QTest::addRow("%s false", qPrintable(key)) << key << 0 << false;
        }
    }
    void policyGates()
    {
        QFETCH(QString, key);
        QFETCH(int, value);
        QFETCH(bool, allowed);
        ExchangeFixture f;
        const qint64 id = f.h.addShare(QStringLiteral("h"), QStringLiteral("s"));
        const ShareSet s = f.makeSet(QStringLiteral("S"), {id});
        if (value >= 0)
            f.policy.insert(key, value == 1);
        const QString path = f.h.dir.filePath(QStringLiteral("out.twconfig"));
        const QByteArray incoming = file(QJsonArray{share(1, "n/new")});
        if (key == QLatin1String("AllowShareExport")) {
            const QString refusal = allowed ? QString() : QStringLiteral("Export is disabled by your IT administrator");
            QCOMPARE(f.config->exportConfigurationFile(path).error.text(), refusal);
            QCOMPARE(QFile::exists(path), allowed);
            QCOMPARE(f.config->exportSet(s.id).error.text(), refusal);
            QCOMPARE(f.config->exportCsv().error.text(), refusal);
            QVERIFY(f.config->importConfiguration(incoming, ImportMode::Merge).ok());
        } else {
            const QString refusal = allowed ? QString() : QStringLiteral("Import is disabled by your IT administrator");
            QCOMPARE(f.config->importConfiguration(incoming, ImportMode::Merge).error.text(), refusal);
            QCOMPARE(f.importCsv(QStringLiteral("hostname,shareName\nc,csv\n")).error.text(), refusal);
            QCOMPARE(f.shares(), allowed ? (strs({"h/s", "n/new", "c/csv"})) : strs({"h/s"}));
            QVERIFY(f.config->exportConfiguration().ok());
        }
    }
    void preferencesAndPreview()
    {
        ExchangeFixture f;
        const QByteArray without
            = file(QJsonArray{share(1, "h/s", "Nick")}, QJsonArray{set("Set A", {1})}, json(R"({"organizationName":"Org"})"));
        const auto preview = f.config->preview(without);
        QVERIFY(preview.ok());
        QCOMPARE(preview.value.shareCount, 1);
        QCOMPARE(preview.value.shareNames, strs({"Nick"}));
        QCOMPARE(preview.value.setNames, strs({"Set A"}));
        QCOMPARE(preview.value.organizationName, QStringLiteral("Org"));
        QCOMPARE(preview.value.exportDate, std::optional<QDateTime>(QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), QTimeZone::utc())));
        QVERIFY(!preview.value.hasPreferences);
        QVERIFY(f.shares().isEmpty()); // a preview changes nothing
        auto result = f.config->importConfiguration(without, ImportMode::Merge);
        QVERIFY(!result.value.preferencesImported);
        QCOMPARE(Configuration::summaryText(f.config->importConfiguration(without, ImportMode::Merge).value),
                 QStringLiteral("1 shares skipped"));

        const QByteArray with
            = file({}, {}, json(R"({"preferences":{"showDashboardAtStartup":false,"mountTimeoutSeconds":5000}})"));
        result = f.config->importConfiguration(with, ImportMode::Merge);
        QVERIFY(result.value.preferencesImported);
        QCOMPARE(f.h.defaults.boolean(Preferences::Keys::ShowConfigurationOnStart), std::optional<bool>(false));
        QCOMPARE(f.h.defaults.integer(Preferences::Keys::MountTimeout), std::optional<qint64>(300)); // clamped
        QVERIFY(f.h.notifications.contains(QStringLiteral("Tarnwell_PreferencesChanged")));
    }
    void rulesGoThroughTheInterface()
    {
        ExchangeFixture f;
        FakeRules rules;
        rules.rules = QJsonArray{json(R"({"id":"A","name":"Rule A"})")};
        f.config->setRulesExchange(&rules);
        const QJsonObject root = QJsonDocument::fromJson(f.config->exportConfiguration().value).object();
        QCOMPARE(root.value(QStringLiteral("rules")).toArray(), rules.rules);

        const QJsonArray incoming{json(R"({"id":"A","name":"Rule A"})"), json(R"({"id":"B","name":"Rule B"})")};
        const QByteArray bytes = file({}, {}, QJsonObject{{QStringLiteral("rules"), incoming}});
        QCOMPARE(f.config->preview(bytes).value.ruleNames, (strs({"Rule A", "Rule B"})));
        auto result = f.config->importConfiguration(bytes, ImportMode::Merge);
        QCOMPARE(rules.received, incoming);
        QCOMPARE(result.value.rulesImported, 1);
        QCOMPARE(result.value.rulesSkipped, 1);
        QCOMPARE(rules.lastMode, std::optional<ImportMode>(ImportMode::Merge));
        QCOMPARE(Configuration::summaryText(result.value), QStringLiteral("1 rules imported"));

        // Without a rules exchange, the file's rules are skipped (and never claimed).
        f.config->setRulesExchange(nullptr);
        result = f.config->importConfiguration(bytes, ImportMode::Replace);
        QCOMPARE(result.value.rulesImported, 0);
        QCOMPARE(result.value.rulesSkipped, 2);
    }
    void setFile()
    {
        ExchangeFixture f;
        const qint64 a = f.h.addShare(QStringLiteral("h"), QStringLiteral("a"));
        f.h.addShare(QStringLiteral("h"), QStringLiteral("not-in-set"));
        const ShareSet ghost = f.makeSet(QStringLiteral("Ghost"), {999});
        QCOMPARE(f.config->exportSet(ghost.id).error.text(), QStringLiteral("Set has no shares"));
        const ShareSet real = f.makeSet(QStringLiteral("Real"), {a, 999, a});
        const QString path = f.h.dir.filePath(QStringLiteral("Real-Set.twconfig"));
        QVERIFY(f.config->exportSetFile(real.id, path).ok());
        QVERIFY(f.h.hasLine(QStringLiteral("✅ [CONFIG] Exported configuration to: ") + path));
        // A write that fails is reported as such, and claimed nowhere.
        const QString missing = f.h.dir.filePath(QStringLiteral("missing-folder/out.twconfig"));
        QVERIFY(f.config->exportConfigurationFile(missing).error.text().startsWith(QStringLiteral("Cannot write ")));
        QVERIFY(!f.config->exportCsvFile(missing).ok());
        QCOMPARE(f.h.countLinesContaining(QStringLiteral("Exported configuration")), 1);

        ExchangeFixture g;
        const auto result = g.config->importConfigurationFile(path, ImportMode::Merge);
        QVERIFY(result.ok());
        QCOMPARE(g.shares(), strs({"h/a"}));
        QCOMPARE(g.sets->sets().first().name, QStringLiteral("Real"));
        QCOMPARE(g.sets->sets().first().shareIDs, (QList<qint64>{g.idOf("h/a"), g.idOf("h/a")}));
    }
};

QTEST_GUILESS_MAIN(TestConfiguration)
#include "tst_configuration.moc"
