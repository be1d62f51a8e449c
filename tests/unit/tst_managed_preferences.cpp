// Managed preferences over an in-process source: parsing of the share list, the locked records they
// become in the real engine (order, IDs, matching), the start-up check with its lines and notification,
// the policy gates, and re-application when the source changes.
#include "UnitTestHelpers.h"
#include "support/EngineHarness.h"

#include "enterprise/ManagedPreferencesMonitor.h"
#include "enterprise/ManagedPreferencesReader.h"
#include "platform/fake/FakeDesktopNotifier.h"
#include "platform/fake/FakeManagedPreferenceSource.h"

#include <QTest>

namespace {

QVariantMap share(const QString &host, const QString &name, const QVariantMap &extra = {})
{
    QVariantMap m{{QStringLiteral("hostname"), host}, {QStringLiteral("share"), name}};
    m.insert(extra);
    return m;
}

QVariantMap managed(const QVariantList &shares, const QVariantMap &extra = {})
{
    QVariantMap m{{ManagedPreferencesReader::kManagedSharesKey, shares}};
    m.insert(extra);
    return m;
}

// host/share of every record, front to back, with ID and lock: "2:nas/b:L"
QStringList layout(const MountEngine &engine)
{
    QStringList out;
    for (const VolumeRecord &r : engine.store().records()) {
        out << QStringLiteral("%1:%2/%3:%4").arg(r.internal_ID_Int).arg(r.hostname_String, r.volume_String,
                                                                          r.isLocked ? QStringLiteral("L") : QStringLiteral("U"));
    }
    return out;
}

struct Fixture
{
    EngineHarness harness;
    FakeManagedPreferenceSource source;
    FakeDesktopNotifier notifier;
    ManagedPreferencesMonitor monitor{source, *harness.engine, &harness.center, &notifier};
};

} // namespace

class TestManagedPreferences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parseEntry_data()
    {
        QTest::addColumn<QVariantMap>("entry");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QString>("summary"); // nickname|port|user|protocol|inVolumes|ssids|locked|group

        const QString nothing = QStringLiteral("-|-|-|SMB|1|-|1|-");
        QTest::newRow("minimal") << share(QStringLiteral("nas"), QStringLiteral("docs")) << true << nothing;
        QTest::newRow("every key") << share(QStringLiteral("nas"), QStringLiteral("docs"),
                                            {{QStringLiteral("nickname"), QStringLiteral("Docs")},
                                             {QStringLiteral("port"), qint64(8445)},
                                             {QStringLiteral("username"), QStringLiteral("ann")},
                                             {QStringLiteral("protocol"), QStringLiteral("afp")},
                                             {QStringLiteral("mountInVolumes"), false},
                                             {QStringLiteral("allowedSSIDs"), QStringLiteral("Corp,Corp-5G")},
                                             {QStringLiteral("locked"), false},
                                             {QStringLiteral("group"), QStringLiteral("Finance")}})
                                   << true << QStringLiteral("Docs|8445|ann|afp|0|Corp,Corp-5G|0|Finance");
        QTest::newRow("no share")
            << QVariantMap{{QStringLiteral("hostname"), QStringLiteral("nas")}} << false << QString();
        QTest::newRow("no hostname")
            << QVariantMap{{QStringLiteral("share"), QStringLiteral("docs")}} << false << QString();
        QTest::newRow("hostname not a string")
            << QVariantMap{{QStringLiteral("hostname"), qint64(5)}, {QStringLiteral("share"), QStringLiteral("d")}}
            << false << QString();
        // Values of another kind count as missing, each on its own.
        QTest::newRow("wrong kinds fall back") << share(QStringLiteral("nas"), QStringLiteral("docs"),
                                                        {{QStringLiteral("port"), QStringLiteral("445")},
                                                         {QStringLiteral("locked"), qint64(0)},
                                                         {QStringLiteral("mountInVolumes"), QStringLiteral("no")},
                                                         {QStringLiteral("allowedSSIDs"), QVariantList{QStringLiteral("a")}},
                                                         {QStringLiteral("protocol"), qint64(3)}})
                                               << true << nothing;
    }

    void parseEntry()
    {
        QFETCH(QVariantMap, entry);
        const auto parsed = ManagedShare::fromDictionary(entry);
        QTEST(parsed.has_value(), "kept");
        if (!parsed)
            return;
        const auto opt = [](const std::optional<QString> &v) { return v.value_or(QStringLiteral("-")); };
        const QString actual = QStringList{opt(parsed->nickname),
                                           parsed->port ? QString::number(*parsed->port) : QStringLiteral("-"),
                                           opt(parsed->username), parsed->protocolType,
                                           QString::number(parsed->mountInVolumes), opt(parsed->allowedSSIDs),
                                           QString::number(parsed->isLocked), opt(parsed->group)}
                                   .join(QLatin1Char('|'));
        QTEST(actual, "summary");
    }

    void protocol_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<MountUsingProtocol_Enum>("expected");
        QTest::newRow("webdavs lower case") << QStringLiteral("webdavs") << MountUsingProtocol_Enum::WebDAVS;
        QTest::newRow("WebDAV mixed case") << QStringLiteral("WebDAV") << MountUsingProtocol_Enum::WebDAV;
        QTest::newRow("afp") << QStringLiteral("afp") << MountUsingProtocol_Enum::AFP;
        QTest::newRow("NFS") << QStringLiteral("NFS") << MountUsingProtocol_Enum::NFS;
        QTest::newRow("SMB2 is not a protocol") << QStringLiteral("SMB2") << MountUsingProtocol_Enum::SMB;
        QTest::newRow("padded") << QStringLiteral(" afp") << MountUsingProtocol_Enum::SMB;
        QTest::newRow("empty") << QString() << MountUsingProtocol_Enum::SMB;
    }

    void protocol()
    {
        QFETCH(QString, text);
        QTEST(ManagedPreferencesReader::protocolFromText(text), "expected");
    }

    void shareList_data()
    {
        QTest::addColumn<QVariantMap>("values");
        QTest::addColumn<QStringList>("hosts");
        const QVariantMap a = share(QStringLiteral("a"), QStringLiteral("s"));
        QTest::newRow("absent") << QVariantMap{} << QStringList{};
        QTest::newRow("a dictionary instead of an array")
            << QVariantMap{{ManagedPreferencesReader::kManagedSharesKey, a}} << QStringList{};
        QTest::newRow("an element that is not a dictionary") << managed({a, QStringLiteral("b")}) << QStringList{};
        QTest::newRow("entry without share is skipped, later ones kept")
            << managed({QVariantMap{{QStringLiteral("hostname"), QStringLiteral("a")}},
                        share(QStringLiteral("b"), QStringLiteral("s")), share(QStringLiteral("c"), QStringLiteral("s"))})
            << strs({"b", "c"});
    }

    void shareList()
    {
        QFETCH(QVariantMap, values);
        FakeManagedPreferenceSource source;
        source.setValues(values);
        QStringList actual;
        for (const ManagedShare &s : ManagedPreferencesReader(source).readManagedShares())
            actual << s.hostname;
        QTEST(actual, "hosts");
    }

    void apply_data()
    {
        QTest::addColumn<QStringList>("existing"); // "host/share:L|U"
        QTest::addColumn<QVariantList>("shares");
        QTest::addColumn<QList<int>>("addedPerApplication"); // one application per entry
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *tag, std::initializer_list<const char *> existing, const QVariantList &shares,
                            const QList<int> &added, std::initializer_list<const char *> expected) {
            QTest::newRow(tag) << strs(existing) << shares << added << strs(expected);
        };

        const QVariantMap a = share(QStringLiteral("nas"), QStringLiteral("a"));
        const QVariantMap b = share(QStringLiteral("nas"), QStringLiteral("b"));
        row("A then B on an empty list: B, A with IDs 2 and 1", {}, {a, b}, {2}, {"2:nas/b:L", "1:nas/a:L"});
        row("second application adds nothing", {}, {a, b}, {2, 0}, {"2:nas/b:L", "1:nas/a:L"});
        row("IDs continue after the largest existing one", {"x/y:U", "x/z:U"}, {a}, {1},
            {"3:nas/a:L", "1:x/y:U", "2:x/z:U"});
        row("a user's own record of the same share does not match", {"nas/a:U"}, {a}, {1}, {"2:nas/a:L", "1:nas/a:U"});
        row("an existing locked record matches", {"nas/a:L"}, {a, b}, {1}, {"2:nas/b:L", "1:nas/a:L"});
        row("matching is case-sensitive", {"NAS/a:L"}, {a}, {1}, {"2:nas/a:L", "1:NAS/a:L"});
        QVariantMap unlocked = a;
        unlocked.insert(QStringLiteral("locked"), false);
        row("locked false is added again at every launch", {}, {unlocked}, {1, 1, 1},
            {"3:nas/a:U", "2:nas/a:U", "1:nas/a:U"});
    }

    void apply()
    {
        QFETCH(QStringList, existing);
        QFETCH(QVariantList, shares);
        QFETCH(QList<int>, addedPerApplication);

        Fixture f;
        for (const QString &spec : existing) {
            const QString host = spec.section(QLatin1Char('/'), 0, 0);
            const QString name = spec.section(QLatin1Char('/'), 1).section(QLatin1Char(':'), 0, 0);
            const bool locked = spec.endsWith(QLatin1String(":L"));
            f.harness.addRecord([&](VolumeRecord &r) {
                r.hostname_String = host;
                r.volume_String = name;
                r.isLocked = locked;
            });
        }
        f.source.setValues(managed(shares));
        QList<int> added;
        for (qsizetype i = 0; i < addedPerApplication.size(); ++i)
            added << ManagedPreferencesReader(f.source).applyManagedShares(*f.harness.engine, &f.harness.center);
        QTEST(added, "addedPerApplication");
        QTEST(layout(*f.harness.engine), "expected");

        // What was added is on disk, in the same order.
        f.harness.defaults.flush();
        Defaults reread(f.harness.defaults.filePath());
        RecordStore stored(reread);
        stored.load();
        const auto ids = [](const RecordStore &store) {
            QList<qint64> out;
            for (const VolumeRecord &r : store.records())
                out << r.internal_ID_Int;
            return out;
        };
        QCOMPARE(ids(stored), ids(f.harness.engine->store()));
    }

    void appliedRecordFields()
    {
        Fixture f;
        f.source.setValues(managed({share(QStringLiteral("files.corp"), QStringLiteral("dept"),
                                          {{QStringLiteral("nickname"), QStringLiteral("Dept")},
                                           {QStringLiteral("port"), qint64(8443)},
                                           {QStringLiteral("protocol"), QStringLiteral("webdavs")},
                                           {QStringLiteral("mountInVolumes"), false},
                                           {QStringLiteral("allowedSSIDs"), QStringLiteral("Corp")},
                                           {QStringLiteral("group"), QStringLiteral("HR")}}),
                                    share(QStringLiteral("files.corp"), QStringLiteral("plain"))}));
        QCOMPARE(ManagedPreferencesReader(f.source).applyManagedShares(*f.harness.engine, &f.harness.center), 2);
        const auto &records = f.harness.engine->store().records();
        const VolumeRecord &plain = records.at(0);
        const VolumeRecord &dept = records.at(1);
        QCOMPARE(dept.nickname_String, QStringLiteral("Dept"));
        QCOMPARE(dept.port_Int, std::optional<qint64>(8443));
        QCOMPARE(dept.mounting_using_protocol_Enum, MountUsingProtocol_Enum::WebDAVS);
        QCOMPARE(dept.mount_inside_Volumes, 0);
        QCOMPARE(dept.allowedSSIDs_String, QStringLiteral("Corp"));
        QCOMPARE(dept.group_String, QStringLiteral("HR"));
        QCOMPARE(dept.managedBy, QStringLiteral("MDM"));
        QVERIFY(dept.isLocked);
        QCOMPARE(plain.nickname_String, QString());
        QCOMPARE(plain.username_String, QString());
        QVERIFY(!plain.port_Int);
        QCOMPARE(plain.mount_inside_Volumes, 1);
        QVERIFY(f.harness.hasLine(QStringLiteral("✅ [MDM] Added managed share: Dept")));
        QVERIFY(f.harness.notifications.count(Notifications::RefreshVolumeUI) >= 2);
        // The refusal to delete or edit a locked record is in tests/integration/tst_enterprise.sh.
    }

    void startupCheck_data()
    {
        QTest::addColumn<QVariantMap>("values");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QStringList>("notifications");

        const QVariantList two{share(QStringLiteral("nas"), QStringLiteral("a")),
                               share(QStringLiteral("nas"), QStringLiteral("b"))};
        QTest::newRow("nothing managed") << QVariantMap{} << QStringList{} << QStringList{};
        QTest::newRow("a dictionary instead of an array prints nothing")
            << QVariantMap{{ManagedPreferencesReader::kManagedSharesKey, two.first()},
                           {ManagedPreferencesReader::kOrganizationNameKey, QStringLiteral("Acme")}}
            << QStringList{} << QStringList{};
        QTest::newRow("two shares with an organisation")
            << managed(two, {{ManagedPreferencesReader::kOrganizationNameKey, QStringLiteral("Acme")}})
            << strs({"📱 [MDM] Managed preferences detected", "📱 [MDM] Organization: Acme",
                     "✅ [MDM] Added managed share: nas", "✅ [MDM] Added managed share: nas",
                     "📱 [MDM] Applied 2 managed shares"})
            << strs({"Tarnwell|Your IT department has configured 2 network share(s)."});
        QTest::newRow("an empty list: detected, nothing applied, no notice")
            << managed({}, {{ManagedPreferencesReader::kOrganizationNameKey, qint64(3)}})
            << strs({"📱 [MDM] Managed preferences detected"}) << QStringList{};
    }

    void startupCheck()
    {
        QFETCH(QVariantMap, values);
        Fixture f;
        f.source.setValues(values);
        f.harness.clearConsole();
        f.monitor.check();
        QTEST(f.harness.console().filter(QStringLiteral("[MDM]")), "lines");
        QStringList posted;
        for (const auto &[title, body] : std::as_const(f.notifier.posted))
            posted << title + QLatin1Char('|') + body;
        QTEST(posted, "notifications");
    }

    void policyGates_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("absent") << QVariant() << true;
        QTest::newRow("true") << QVariant(true) << true;
        QTest::newRow("false") << QVariant(false) << false;
        QTest::newRow("the text false is not a boolean") << QVariant(QStringLiteral("false")) << true;
        QTest::newRow("zero is not a boolean") << QVariant(qint64(0)) << true;
    }

    void policyGates()
    {
        QFETCH(QVariant, value);
        for (const QString &key : {ManagedPreferencesReader::kAllowShareImportKey, ManagedPreferencesReader::kAllowShareExportKey}) {
            FakeManagedPreferenceSource source;
            QVariantMap values;
            if (value.isValid())
                values.insert(key, value);
            source.setValues(values);
            const ManagedPreferencesReader reader(source);
            const bool gate = key == ManagedPreferencesReader::kAllowShareImportKey ? reader.isShareImportAllowed()
                                                                                   : reader.isShareExportAllowed();
            QTEST(gate, "allowed");
            // The other gate is untouched by this key.
            QVERIFY(key == ManagedPreferencesReader::kAllowShareImportKey ? reader.isShareExportAllowed()
                                                                         : reader.isShareImportAllowed());
        }
    }

    void reappliesWhenSourceChanges()
    {
        Fixture f;
        f.monitor.check();
        f.monitor.watch(50);
        QCOMPARE(f.harness.engine->store().size(), 0);

        // A profile written in three steps is applied once, with everything it ends up holding.
        f.harness.clearConsole();
        const QVariantMap a = share(QStringLiteral("nas"), QStringLiteral("a"));
        f.source.setValues(managed({a}));
        f.source.setValues(managed({a, share(QStringLiteral("nas"), QStringLiteral("b"))}));
        f.source.setValues(managed({a, share(QStringLiteral("nas"), QStringLiteral("b"))}));
        QTRY_COMPARE(f.harness.engine->store().size(), 2);
        QTest::qWait(150);
        QCOMPARE(f.harness.countLinesContaining(QStringLiteral("Managed preferences detected")), 1);
        QCOMPARE(f.notifier.posted.size(), 1);
        QCOMPARE(f.notifier.posted.first().second,
                 QStringLiteral("Your IT department has configured 2 network share(s)."));

        // A withdrawn profile removes nothing.
        f.source.setValues({});
        QTest::qWait(150);
        QCOMPARE(f.harness.engine->store().size(), 2);
    }

};

QTEST_GUILESS_MAIN(TestManagedPreferences)
#include "tst_managed_preferences.moc"
