// Directory group mappings over a scripted directory and the real engine: the status after a check, which
// mapped shares become records (case-sensitive groups, disabled mappings, existing shares, protocols, mount
// points), the status texts and audit entry of an apply, and the stored form of the mappings.
#include "support/EngineHarness.h"

#include "support/DirectoryFakes.h"
#include "UnitTestHelpers.h"

#include <QTest>

namespace {

struct Fixture
{
    EngineHarness harness;
    DirectoryFakes ad{harness};

    // "host/share|nickname|protocol|inVolumes|customPath", in list order.
    QStringList records() const
    {
        QStringList out;
        for (const VolumeRecord &r : harness.engine->store().records()) {
            out << QStringLiteral("%1/%2|%3|%4|%5|%6")
                       .arg(r.hostname_String, r.volume_String, r.nickname_String)
                       .arg(MountProtocol::scheme(r.mounting_using_protocol_Enum))
                       .arg(r.mount_inside_Volumes)
                       .arg(r.unique_mountpoint_fullpath_String);
        }
        return out;
    }
};

} // namespace

Q_DECLARE_METATYPE(QList<ADShareMapping>)

class TestDirectoryMappings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void status_data()
    {
        QTest::addColumn<DirectoryService::DomainLookup>("domain");
        QTest::addColumn<bool>("hasUser");
        QTest::addColumn<QString>("fullName");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("displayName");
        QTest::addColumn<QString>("line");

        const DirectoryService::DomainLookup bound{true, {}, QStringLiteral("corp.example")};
        const QString connected = QStringLiteral("Connected to corp.example");
        QTest::newRow("bound, full name")
            << bound << true << QStringLiteral("Ann Lee") << connected << QStringLiteral("Ann Lee") << QString();
        QTest::newRow("bound, no full name: the login name")
            << bound << true << QString() << connected << QStringLiteral("ann") << QString();
        QTest::newRow("not bound") << DirectoryService::DomainLookup{true, {}, {}} << true << QString()
                                   << QStringLiteral("Not bound to Active Directory") << QString() << QString();
        QTest::newRow("tool missing")
            << DirectoryService::DomainLookup{false, QStringLiteral("realm list: No such file or directory"), {}}
            << true << QString() << QStringLiteral("Not bound to Active Directory") << QString()
            << QStringLiteral("Failed to get AD domain: realm list: No such file or directory");
        QTest::newRow("bound but no user record")
            << bound << false << QString() << QStringLiteral("No Active Directory connection") << QString() << QString();
    }

    void status()
    {
        QFETCH(DirectoryService::DomainLookup, domain);
        QFETCH(bool, hasUser);
        QFETCH(QString, fullName);
        QFETCH(QString, displayName);
        QFETCH(QString, line);
        Fixture f;
        const auto user = DirectoryFakes::user(QStringLiteral("ann"), fullName);
        f.ad.directory.set(domain, {true, {}, {QStringLiteral("staff")}}, hasUser ? std::optional(user) : std::nullopt);
        QVERIFY(f.ad.check());
        QTEST(f.ad.manager->statusMessage(), "status");
        QCOMPARE(f.ad.manager->isConfigured(), !domain.domain.isEmpty());
        QCOMPARE(f.ad.manager->currentUser().has_value(), !displayName.isEmpty());
        if (f.ad.manager->currentUser()) {
            QCOMPARE(f.ad.manager->currentUser()->displayName, displayName);
            QCOMPARE(f.ad.manager->currentUser()->groups, strs({"staff"}));
            QCOMPARE(f.ad.manager->currentUser()->domain, QStringLiteral("corp.example"));
            QVERIFY(f.ad.manager->lastSyncDate());
        }
        if (!line.isEmpty())
            QVERIFY2(f.harness.hasLine(line), qPrintable(f.harness.console().join(QLatin1Char('\n'))));
    }

    void apply_data()
    {
        QTest::addColumn<QList<ADShareMapping>>("mappings"); // for a user in "domain users" and "staff"
        QTest::addColumn<QStringList>("existing");           // host/share of records present before
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("status");
        const auto row = [](const char *tag, const QList<ADShareMapping> &mappings, const QStringList &existing,
                            const QStringList &expected, const char *status) {
            QTest::newRow(tag) << mappings << existing << expected << QString::fromUtf8(status);
        };
        // `group` maps the SMB shares `names` on "fs".
        const auto fs = [](const char *group, std::initializer_list<const char *> names, bool enabled = true) {
            QList<ADMappedShare> shares;
            for (const char *name : names)
                shares << adShare(QStringLiteral("fs"), QString::fromUtf8(name));
            return adMapping(QString::fromUtf8(group), shares, enabled);
        };
        const char *one = "Added 1 share based on AD groups";
        const char *none = "No new shares to add";
        row("one share: singular status", {fs("staff", {"team"})}, {}, strs({"fs/team|team (AD: staff)|smb://|1|"}),
            one);
        row("group names are case-sensitive", {fs("Staff", {"team"})}, {}, {}, none);
        row("a group name with a space", {fs("domain users", {"all"})}, {},
            strs({"fs/all|all (AD: domain users)|smb://|1|"}), one);
        row("a disabled mapping adds nothing", {fs("staff", {"team"}, false)}, {}, {}, none);
        row("protocols: webdav becomes SMB, afp AFP; a mount point leaves the volumes folder",
            {adMapping(QStringLiteral("staff"),
                       {adShare(QStringLiteral("fs"), QStringLiteral("web"), QStringLiteral("webdav")),
                        adShare(QStringLiteral("fs"), QStringLiteral("mac"), QStringLiteral("afp"),
                                QStringLiteral("/srv/mac")),
                        adShare(QStringLiteral("fs"), QStringLiteral("blank"), QStringLiteral("SMB"), QString())})},
            {},
            strs({"fs/web|web (AD: staff)|smb://|1|", "fs/mac|mac (AD: staff)|afp://|0|/srv/mac",
                  "fs/blank|blank (AD: staff)|smb://|1|"}),
            "Added 3 shares based on AD groups");
        row("an existing record of the same share is kept alone", {fs("staff", {"team", "new"})}, strs({"fs/team"}),
            strs({"fs/team|Mine|smb://|1|", "fs/new|new (AD: staff)|smb://|1|"}), one);
        row("two mappings naming the same share add it once", {fs("staff", {"team"}), fs("domain users", {"team"})}, {},
            strs({"fs/team|team (AD: staff)|smb://|1|"}), one);
    }

    void apply()
    {
        QFETCH(QList<ADShareMapping>, mappings);
        QFETCH(QStringList, existing);
        Fixture f;
        for (const QString &e : existing) {
            f.harness.addRecord([&](VolumeRecord &r) {
                r.hostname_String = e.section(QLatin1Char('/'), 0, 0);
                r.volume_String = e.section(QLatin1Char('/'), 1);
                r.nickname_String = QStringLiteral("Mine");
            });
        }
        f.ad.bind(QStringLiteral("corp.example"), {QStringLiteral("domain users"), QStringLiteral("staff")});
        f.ad.manager->setMappings(mappings);
        QVERIFY(f.ad.check());
        f.ad.manager->applyMappings();
        QTEST(f.records(), "expected");
        QTEST(f.ad.manager->statusMessage(), "status");
    }

    void applyTwiceAndAudit()
    {
        Fixture f;
        // Before any check there is no user to apply for.
        f.ad.manager->applyMappings();
        QCOMPARE(f.ad.manager->statusMessage(), QStringLiteral("No user info available"));

        f.ad.bind(QStringLiteral("corp.example"), {QStringLiteral("staff")});
        const QString fs = QStringLiteral("fs");
        f.ad.manager->addMapping(
            adMapping(QStringLiteral("staff"), {adShare(fs, QStringLiteral("a")), adShare(fs, QStringLiteral("b"))}));
        QVERIFY(f.ad.check());
        QCOMPARE(f.ad.manager->applyMappings(), 2);
        QCOMPARE(f.ad.manager->statusMessage(), QStringLiteral("Added 2 shares based on AD groups"));
        QVERIFY(f.harness.hasLine(QStringLiteral("AD shares applied: Added 2 shares for user dana")));
        const auto audits = f.harness.audits();
        const auto imports = std::count_if(audits.cbegin(), audits.cend(), [](const AuditLogEntry &e) {
            return e.eventType == AuditEventType::configImport && e.success && e.details.contains(QLatin1String("2"))
                && e.details.contains(QLatin1String("dana"));
        });
        QCOMPARE(imports, 1);
        // The records are saved.
        f.harness.defaults.flush();
        Defaults reread(f.harness.defaults.filePath());
        RecordStore stored(reread);
        stored.load();
        QCOMPARE(stored.size(), 2);

        QCOMPARE(f.ad.manager->applyMappings(), 0);
        QCOMPARE(f.ad.manager->statusMessage(), QStringLiteral("No new shares to add"));
        QCOMPARE(f.harness.engine->store().size(), 2);
        QCOMPARE(f.harness.audits().size(), audits.size());
    }

    void storedMappings()
    {
        Fixture f;
        ADShareMapping m = adMapping(
            QStringLiteral("staff"),
            {adShare(QStringLiteral("fs"), QStringLiteral("a"), QStringLiteral("afp"), QStringLiteral("/srv/a"))});
        m.shares.first().driveLetter = QStringLiteral("S");
        f.ad.manager->addMapping(m);
        f.ad.manager->addMapping(adMapping(QStringLiteral("other"), {}, false));
        QVERIFY(f.ad.manager->setMappingEnabled(m.id, false));
        QVERIFY(!f.ad.manager->removeMapping(QUuid::createUuid()));

        f.ad.rebuild();
        const auto &loaded = f.ad.manager->shareMappings();
        QCOMPARE(loaded.size(), 2);
        QCOMPARE(loaded.at(0).id, m.id);
        QVERIFY(!loaded.at(0).isEnabled);
        QCOMPARE(loaded.at(0).shares.first().id, m.shares.first().id);
        QCOMPARE(loaded.at(0).shares.first().driveLetter, std::optional<QString>(QStringLiteral("S")));
        QCOMPARE(loaded.at(0).shares.first().mountPoint, std::optional<QString>(QStringLiteral("/srv/a")));
        QCOMPARE(loaded.at(1).groupName, QStringLiteral("other"));

        // The stored value is one JSON array in data form; anything else loads as no mappings, with a line.
        QCOMPARE(f.harness.defaults.value(ActiveDirectoryManager::kUserDefaultsKey).metaType().id(), int(QMetaType::QByteArray));
        f.harness.defaults.setValue(ActiveDirectoryManager::kUserDefaultsKey, QByteArray("[{\"groupName\":\"x\"}]"));
        f.harness.clearConsole();
        f.ad.rebuild();
        QVERIFY(f.ad.manager->shareMappings().isEmpty());
        QVERIFY(f.harness.hasLineContaining(QStringLiteral("Failed to load AD mappings: ")));
    }

};

QTEST_GUILESS_MAIN(TestDirectoryMappings)
#include "tst_directory_mappings.moc"
