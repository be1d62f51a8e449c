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

QJsonObject share(qint64 id, const QString &host, const QString &name, const QString &nickname = QString())
{
    return QJsonObject{{QStringLiteral("id"), id},
                       {QStringLiteral("hostname"), host},
                       {QStringLiteral("shareName"), name},
                       {QStringLiteral("nickname"), nickname},
                       {QStringLiteral("username"), QStringLiteral("u")},
                       {QStringLiteral("guest"), true}, // as the harness's shares: duplicates compare the user
                       {QStringLiteral("protocolType"), QStringLiteral("SMB")},
                       {QStringLiteral("mountInVolumes"), true},
                       {QStringLiteral("customMountPoint"), QString()},
                       {QStringLiteral("group"), QString()},
                       {QStringLiteral("allowedSSIDs"), QString()},
                       {QStringLiteral("scheduleEnabled"), false},
                       {QStringLiteral("scheduleWeekdays"), QJsonArray{2, 3}},
                       {QStringLiteral("macAddress"), QString()},
                       {QStringLiteral("postMountScript"), QString()},
                       {QStringLiteral("preUnmountScript"), QString()},
                       {QStringLiteral("isLocked"), false}};
}

QJsonObject set(const QString &name, const QJsonArray &ids)
{
    return QJsonObject{{QStringLiteral("id"), QUuid::createUuid().toString(QUuid::WithoutBraces)},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("shareIDs"), ids},
                       {QStringLiteral("icon"), QStringLiteral("folder")},
                       {QStringLiteral("isLocked"), false}};
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

class FakeRules : public RulesExchange
{
public:
    QJsonArray exportRules() const override { return rules; }
    ImportCount importRules(const QJsonArray &incoming, ImportMode mode) override
    {
        lastMode = mode;
        ImportCount count;
        QSet<QString> known;
        if (mode == ImportMode::Replace)
            rules = {};
        for (const QJsonValue &r : std::as_const(rules))
            known.insert(r.toObject().value(QStringLiteral("id")).toString());
        for (const QJsonValue &r : incoming) {
            if (known.contains(r.toObject().value(QStringLiteral("id")).toString())) {
                ++count.skipped;
            } else {
                rules.append(r);
                ++count.imported;
            }
        }
        return count;
    }
    QJsonArray rules;
    std::optional<ImportMode> lastMode;
};

} // namespace

class TestConfiguration : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void roundTripBetweenTwoEngines();
    void importModes_data();
    void importModes();
    void setMembersAreRemapped();
    void updateKeepsIdentityAndLockedRecords();
    void replaceKeepsLockedSharesAndSets();
    void versionRule_data();
    void versionRule();
    void invalidFilesChangeNothing_data();
    void invalidFilesChangeNothing();
    void summaryText_data();
    void summaryText();
    void policyGates_data();
    void policyGates();
    void preferencesAndPreview();
    void rulesGoThroughTheInterface();
    void setFile();
    void failedWriteIsReported();
};

void TestConfiguration::roundTripBetweenTwoEngines()
{
    ExchangeFixture a;
    const qint64 guest = a.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("public"));
    const qint64 secured = a.h.addRecord([](VolumeRecord &r) {
        r.volume_String = QStringLiteral("secure");
        r.no_password_guest_login = 0;
        r.username_String = QStringLiteral("alice");
        r.port_Int = 1445;
        r.mounting_using_protocol_Enum = MountUsingProtocol_Enum::WebDAVS;
        r.auto_Mount = 1;
        r.schedule_Mount = 1;
        r.schedule_MountTime = QDateTime(QDate(2026, 3, 4), QTime(8, 15));
        r.schedule_UnMountTime = QDateTime(QDate(2026, 3, 4), QTime(17, 45));
        r.schedule_Weekdays = {2, 4};
        r.group_String = QStringLiteral("office");
        r.allowedSSIDs_String = QStringLiteral("Home,Work");
        r.macAddress_String = QStringLiteral("00:11:22:33:44:55");
        r.nickname_String = QStringLiteral("Secure, \"quoted\"");
        r._cachedPassword = QStringLiteral("S3cret-Pass");
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
    QCOMPARE(set.shareIDs, (QList<qint64>{b.idOf(QStringLiteral("127.0.0.1"), QStringLiteral("secure")),
                                          b.idOf(QStringLiteral("127.0.0.1"), QStringLiteral("public"))}));
    QVERIFY(b.h.hasLine(QStringLiteral("✅ [CONFIG] Import complete: 2 shares imported, 1 sets imported, preferences imported")));
    QVERIFY(b.h.notifications.contains(QStringLiteral("RefreshVolumeUI")));
}

void TestConfiguration::importModes_data()
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

void TestConfiguration::importModes()
{
    QFETCH(int, mode);
    ExchangeFixture f;
    const qint64 data = f.h.addShare(QStringLiteral("h"), QStringLiteral("Data"));
    f.h.addShare(QStringLiteral("h"), QStringLiteral("other"));
    f.makeSet(QStringLiteral("Team"), {data});
    const QByteArray bytes = file(QJsonArray{share(1, QStringLiteral("h"), QStringLiteral("Data"), QStringLiteral("renamed")),
                                             share(2, QStringLiteral("h"), QStringLiteral("data")),
                                             share(3, QStringLiteral("x"), QStringLiteral("new"))},
                                  QJsonArray{set(QStringLiteral("team"), {1}), set(QStringLiteral("New"), {3, 1})});
    const auto result = f.config->importConfiguration(bytes, ImportMode(mode));
    QVERIFY(result.ok());
    QTEST(f.shares(), "after");
    const ImportResult &r = result.value;
    QTEST((QList<int>{r.sharesImported, r.sharesSkipped, r.sharesUpdated, r.setsImported, r.setsSkipped}), "counts");
    const QString nickname = f.h.engine->record(f.idOf(QStringLiteral("h"), QStringLiteral("Data")))->nickname_String;
    QCOMPARE(nickname, ImportMode(mode) == ImportMode::Merge ? QString() : QStringLiteral("renamed"));
    // The new set points at the local records, whichever way they came.
    const ShareSet *added = f.sets->findByIdOrName(QStringLiteral("New"));
    QVERIFY(added);
    QCOMPARE(added->shareIDs, (QList<qint64>{f.idOf(QStringLiteral("x"), QStringLiteral("new")),
                                             f.idOf(QStringLiteral("h"), QStringLiteral("Data"))}));
}

void TestConfiguration::setMembersAreRemapped()
{
    ExchangeFixture f;
    for (int i = 0; i < 5; ++i)
        f.h.addShare(QStringLiteral("local"), QString::number(i)); // ids 1..5 are taken here
    const QByteArray bytes =
        file(QJsonArray{share(1, QStringLiteral("a"), QStringLiteral("one")), share(2, QStringLiteral("b"), QStringLiteral("two")),
                        share(7, QStringLiteral("a"), QStringLiteral("one"))}, // same share twice in the file
             QJsonArray{set(QStringLiteral("S"), {2, 99, 1, 7, 2})});
    const auto result = f.config->importConfiguration(bytes, ImportMode::Merge);
    QVERIFY(result.ok());
    QCOMPARE(result.value.sharesImported, 2);
    QCOMPARE(result.value.sharesSkipped, 1);
    const qint64 one = f.idOf(QStringLiteral("a"), QStringLiteral("one"));
    const qint64 two = f.idOf(QStringLiteral("b"), QStringLiteral("two"));
    QVERIFY(one > 5 && two > 5);
    QCOMPARE(f.sets->sets().first().shareIDs, (QList<qint64>{two, one, one, two})); // 99 named nothing in the file
}

void TestConfiguration::updateKeepsIdentityAndLockedRecords()
{
    ExchangeFixture f;
    const qint64 mine = f.h.addRecord([](VolumeRecord &r) {
        r.hostname_String = QStringLiteral("srv");
        r.volume_String = QStringLiteral("mine");
        r.port_Int = 8445;
        r.credentialAccountOverride = QStringLiteral("volume_record_duplicate_6B1D1A6E-9C2F-4E4B-8F1E-0D5C7A3B2E11");
        r._cachedPassword = QStringLiteral("keep-me");
    });
    const qint64 managed = f.h.addRecord([](VolumeRecord &r) {
        r.hostname_String = QStringLiteral("srv");
        r.volume_String = QStringLiteral("managed");
        r.isLocked = true;
        r.nickname_String = QStringLiteral("IT");
    });
    QJsonObject changed = share(40, QStringLiteral("srv"), QStringLiteral("mine"), QStringLiteral("New name"));
    changed.insert(QStringLiteral("port"), 8445);
    changed.insert(QStringLiteral("group"), QStringLiteral("G"));
    // The same share on another port is another share: added, not merged into "mine".
    QJsonObject otherPort = share(42, QStringLiteral("srv"), QStringLiteral("mine"), QStringLiteral("Other port"));
    otherPort.insert(QStringLiteral("port"), 9445);
    const auto result = f.config->importConfiguration(
        file(QJsonArray{changed, share(41, QStringLiteral("srv"), QStringLiteral("managed"), QStringLiteral("Hijack")),
                        otherPort}),
        ImportMode::Update);
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

void TestConfiguration::replaceKeepsLockedSharesAndSets()
{
    ExchangeFixture f;
    const qint64 locked = f.h.addRecord([](VolumeRecord &r) {
        r.hostname_String = QStringLiteral("it");
        r.volume_String = QStringLiteral("corp");
        r.isLocked = true;
    });
    const qint64 gone = f.h.addShare(QStringLiteral("old"), QStringLiteral("share"));
    ShareSet lockedSet;
    lockedSet.name = QStringLiteral("Corporate");
    lockedSet.shareIDs = {locked, gone};
    lockedSet.isLocked = true;
    f.sets->addSet(lockedSet);
    f.makeSet(QStringLiteral("Mine"), {gone});
    const auto result = f.config->importConfiguration(
        file(QJsonArray{share(1, QStringLiteral("it"), QStringLiteral("corp")), share(2, QStringLiteral("n"), QStringLiteral("s"))},
             QJsonArray{set(QStringLiteral("corporate"), {1}), set(QStringLiteral("Fresh"), {1, 2})}),
        ImportMode::Replace);
    QVERIFY(result.ok());
    QCOMPARE(f.shares(), (strs({"it/corp", "n/s"})));
    QCOMPARE(f.idOf(QStringLiteral("it"), QStringLiteral("corp")), locked);
    QStringList names;
    for (const ShareSet &s : f.sets->sets())
        names << s.name;
    QCOMPARE(names, (strs({"Corporate", "Fresh"})));
    QCOMPARE(f.sets->sets().first().shareIDs, QList<qint64>{locked}); // the removed share left the kept set too
    QCOMPARE(f.sets->findByIdOrName(QStringLiteral("Fresh"))->shareIDs,
             (QList<qint64>{locked, f.idOf(QStringLiteral("n"), QStringLiteral("s"))}));
    QCOMPARE(result.value.sharesSkipped, 1);
    QCOMPARE(result.value.setsSkipped, 1);
}

void TestConfiguration::versionRule_data()
{
    QTest::addColumn<QJsonValue>("version");
    QTest::addColumn<QString>("error"); // empty: accepted
    QTest::newRow("1.0") << QJsonValue(QStringLiteral("1.0")) << QString();
    QTest::newRow("1.7") << QJsonValue(QStringLiteral("1.7")) << QString();
    QTest::newRow("1.10.2") << QJsonValue(QStringLiteral("1.10.2")) << QString();
    QTest::newRow("1") << QJsonValue(QStringLiteral("1")) << QString();
    QTest::newRow("2.0") << QJsonValue(QStringLiteral("2.0")) << "Unsupported configuration version: 2.0";
    QTest::newRow("10.0") << QJsonValue(QStringLiteral("10.0")) << "Unsupported configuration version: 10.0";
    QTest::newRow("0.9") << QJsonValue(QStringLiteral("0.9")) << "Unsupported configuration version: 0.9";
    QTest::newRow("empty") << QJsonValue(QString()) << "Unsupported configuration version: ";
    QTest::newRow("number") << QJsonValue(1.0) << "The configuration file is not in a valid format";
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << "Configuration is missing required data: version";
}

void TestConfiguration::versionRule()
{
    QFETCH(QJsonValue, version);
    QFETCH(QString, error);
    ExchangeFixture f;
    QJsonObject root = QJsonDocument::fromJson(file(QJsonArray{share(1, QStringLiteral("h"), QStringLiteral("s"))})).object();
    if (version.isUndefined())
        root.remove(QStringLiteral("version"));
    else
        root.insert(QStringLiteral("version"), version);
    const auto result = f.config->importConfiguration(QJsonDocument(root).toJson(), ImportMode::Merge);
    QCOMPARE(result.error.text(), error);
    QCOMPARE(f.shares().size(), error.isEmpty() ? 1 : 0);
    QCOMPARE(f.config->preview(QJsonDocument(root).toJson()).error.text(), error);
}

void TestConfiguration::invalidFilesChangeNothing_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");
    const QString invalid = QStringLiteral("The configuration file is not in a valid format");
    QTest::newRow("not json") << QByteArray("{\"version\": \"1.0\",") << invalid;
    QTest::newRow("array root") << QByteArray("[]") << invalid;
    QJsonObject noHost = share(2, QStringLiteral("h"), QStringLiteral("s"));
    noHost.remove(QStringLiteral("hostname"));
    QTest::newRow("share without host")
        << file(QJsonArray{share(1, QStringLiteral("ok"), QStringLiteral("ok")), noHost}) << invalid;
    QTest::newRow("set with bad id") << file(QJsonArray{}, QJsonArray{QJsonObject{{QStringLiteral("id"), QStringLiteral("x")},
                                                                               {QStringLiteral("name"), QStringLiteral("n")},
                                                                               {QStringLiteral("shareIDs"), QJsonArray{}}}})
                                     << invalid;
    QJsonObject root = QJsonDocument::fromJson(file({})).object();
    root.remove(QStringLiteral("shares"));
    QTest::newRow("no shares") << QJsonDocument(root).toJson() << "Configuration is missing required data: shares";
}

void TestConfiguration::invalidFilesChangeNothing()
{
    QFETCH(QByteArray, bytes);
    ExchangeFixture f;
    f.h.addShare(QStringLiteral("keep"), QStringLiteral("me"));
    f.makeSet(QStringLiteral("Kept"), {1});
    for (ImportMode mode : {ImportMode::Replace, ImportMode::Merge, ImportMode::Update}) {
        const auto result = f.config->importConfiguration(bytes, mode);
        QTEST(result.error.text(), "error");
        QCOMPARE(f.shares(), strs({"keep/me"}));
        QCOMPARE(f.sets->sets().size(), 1);
    }
}

void TestConfiguration::summaryText_data()
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

void TestConfiguration::summaryText()
{
    QFETCH(ImportResult, result);
    QTEST(Configuration::summaryText(result), "text");
}

void TestConfiguration::policyGates_data()
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

void TestConfiguration::policyGates()
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
    const QByteArray incoming = file(QJsonArray{share(1, QStringLiteral("n"), QStringLiteral("new"))});
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

void TestConfiguration::preferencesAndPreview()
{
    ExchangeFixture f;
    const QByteArray without = file(QJsonArray{share(1, QStringLiteral("h"), QStringLiteral("s"), QStringLiteral("Nick"))},
                                    QJsonArray{set(QStringLiteral("Set A"), {1})},
                                    QJsonObject{{QStringLiteral("organizationName"), QStringLiteral("Org")}});
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

    const QByteArray with = file({}, {},
                                 QJsonObject{{QStringLiteral("preferences"),
                                              QJsonObject{{QStringLiteral("showDashboardAtStartup"), false},
                                                          {QStringLiteral("mountTimeoutSeconds"), 5000}}}});
    result = f.config->importConfiguration(with, ImportMode::Merge);
    QVERIFY(result.value.preferencesImported);
    QCOMPARE(f.h.defaults.boolean(Preferences::Keys::ShowConfigurationOnStart), std::optional<bool>(false));
    QCOMPARE(f.h.defaults.integer(Preferences::Keys::MountTimeout), std::optional<qint64>(300)); // clamped
    QVERIFY(f.h.notifications.contains(QStringLiteral("Tarnwell_PreferencesChanged")));
}

void TestConfiguration::rulesGoThroughTheInterface()
{
    ExchangeFixture f;
    FakeRules rules;
    rules.rules = QJsonArray{QJsonObject{{QStringLiteral("id"), QStringLiteral("A")}, {QStringLiteral("name"), QStringLiteral("Rule A")}}};
    f.config->setRulesExchange(&rules);
    const QJsonObject root = QJsonDocument::fromJson(f.config->exportConfiguration().value).object();
    QCOMPARE(root.value(QStringLiteral("rules")).toArray(), rules.rules);

    const QJsonArray incoming{QJsonObject{{QStringLiteral("id"), QStringLiteral("A")}, {QStringLiteral("name"), QStringLiteral("Rule A")}},
                              QJsonObject{{QStringLiteral("id"), QStringLiteral("B")}, {QStringLiteral("name"), QStringLiteral("Rule B")}}};
    const QByteArray bytes = file({}, {}, QJsonObject{{QStringLiteral("rules"), incoming}});
    QCOMPARE(f.config->preview(bytes).value.ruleNames, (strs({"Rule A", "Rule B"})));
    auto result = f.config->importConfiguration(bytes, ImportMode::Merge);
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

void TestConfiguration::setFile()
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

    ExchangeFixture g;
    const auto result = g.config->importConfigurationFile(path, ImportMode::Merge);
    QVERIFY(result.ok());
    QCOMPARE(g.shares(), strs({"h/a"}));
    QCOMPARE(g.sets->sets().first().name, QStringLiteral("Real"));
    QCOMPARE(g.sets->sets().first().shareIDs, (QList<qint64>{g.idOf(QStringLiteral("h"), QStringLiteral("a")),
                                                             g.idOf(QStringLiteral("h"), QStringLiteral("a"))}));
}

void TestConfiguration::failedWriteIsReported()
{
    ExchangeFixture f;
    const QString path = f.h.dir.filePath(QStringLiteral("missing-folder/out.twconfig"));
    const auto result = f.config->exportConfigurationFile(path);
    QVERIFY(!result.ok());
    QVERIFY(result.error.text().startsWith(QStringLiteral("Cannot write ")));
    QVERIFY(!f.h.hasLineContaining(QStringLiteral("Exported configuration")));
    QVERIFY(!f.config->exportCsvFile(path).ok());
}

QTEST_GUILESS_MAIN(TestConfiguration)
#include "tst_configuration.moc"
