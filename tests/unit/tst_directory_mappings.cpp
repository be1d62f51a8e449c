// Directory group mappings over a scripted directory and the real engine: the status after a check, which
// mapped shares become records (case-sensitive groups, disabled mappings, existing shares, protocols, mount
// points), the status texts and audit entry of an apply, and the stored form of the mappings.
#include "support/EngineHarness.h"

#include "enterprise/ActiveDirectoryManager.h"
#include "platform/fake/FakeDirectoryService.h"

#include <QSignalSpy>
#include <QTest>

namespace {

ADMappedShare mapped(const QString &host, const QString &name, const QString &protocol = QStringLiteral("SMB"),
                     const std::optional<QString> &mountPoint = std::nullopt)
{
    ADMappedShare s;
    s.hostname = host;
    s.shareName = name;
    s.protocolType = protocol;
    s.mountPoint = mountPoint;
    return s;
}

ADShareMapping mapping(const QString &group, const QList<ADMappedShare> &shares, bool enabled = true)
{
    ADShareMapping m;
    m.groupName = group;
    m.shares = shares;
    m.isEnabled = enabled;
    return m;
}

DirectoryService::UserRecord user(const QString &name = QStringLiteral("ann"), const QString &full = QStringLiteral("Ann Lee"))
{
    DirectoryService::UserRecord u;
    u.userName = name;
    u.fullName = full;
    u.homeDirectory = QStringLiteral("/home/ann");
    return u;
}

struct Fixture
{
    EngineHarness harness;
    FakeDirectoryService directory;
    std::unique_ptr<ActiveDirectoryManager> manager;

    Fixture() { rebuild(); }
    void rebuild()
    {
        manager.reset();
        ActiveDirectoryManager::Dependencies deps;
        deps.directory = &directory;
        deps.defaults = &harness.defaults;
        deps.engine = harness.engine;
        deps.auditLog = &harness.auditLog;
        deps.center = &harness.center;
        manager = std::make_unique<ActiveDirectoryManager>(deps);
    }
    void bind(const QStringList &groups, std::optional<DirectoryService::UserRecord> record = user())
    {
        directory.set({true, {}, QStringLiteral("corp.example")}, {true, {}, groups}, std::move(record));
    }
    bool check()
    {
        QSignalSpy spy(manager.get(), &ActiveDirectoryManager::statusChecked);
        manager->checkStatus();
        return spy.wait(5000);
    }
    // "host/share|nickname|protocol|inVolumes|customPath", in list order.
    QStringList records() const
    {
        QStringList out;
        for (const VolumeRecord &r : harness.engine->store().records()) {
            out << QStringLiteral("%1/%2|%3|%4|%5|%6")
                       .arg(r.hostname_String, r.volume_String, r.nickname_String)
                       .arg(int(r.mounting_using_protocol_Enum))
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
    void status_data();
    void status();
    void apply_data();
    void apply();
    void applyTwiceAndAudit();
    void storedMappings();
};

void TestDirectoryMappings::status_data()
{
    QTest::addColumn<DirectoryService::DomainLookup>("domain");
    QTest::addColumn<bool>("hasUser");
    QTest::addColumn<QString>("fullName");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("displayName");
    QTest::addColumn<QString>("line");

    QTest::newRow("bound, full name")
        << DirectoryService::DomainLookup{true, {}, QStringLiteral("corp.example")} << true << QStringLiteral("Ann Lee")
        << QStringLiteral("Connected to corp.example") << QStringLiteral("Ann Lee") << QString();
    QTest::newRow("bound, no full name: the login name")
        << DirectoryService::DomainLookup{true, {}, QStringLiteral("corp.example")} << true << QString()
        << QStringLiteral("Connected to corp.example") << QStringLiteral("ann") << QString();
    QTest::newRow("not bound") << DirectoryService::DomainLookup{true, {}, {}} << true << QString()
                               << QStringLiteral("Not bound to Active Directory") << QString() << QString();
    QTest::newRow("tool missing")
        << DirectoryService::DomainLookup{false, QStringLiteral("realm list: No such file or directory"), {}} << true
        << QString() << QStringLiteral("Not bound to Active Directory") << QString()
        << QStringLiteral("Failed to get AD domain: realm list: No such file or directory");
    QTest::newRow("bound but no user record")
        << DirectoryService::DomainLookup{true, {}, QStringLiteral("corp.example")} << false << QString()
        << QStringLiteral("No Active Directory connection") << QString() << QString();
}

void TestDirectoryMappings::status()
{
    QFETCH(DirectoryService::DomainLookup, domain);
    QFETCH(bool, hasUser);
    QFETCH(QString, fullName);
    QFETCH(QString, displayName);
    QFETCH(QString, line);
    Fixture f;
    f.directory.set(domain, {true, {}, {QStringLiteral("staff")}},
                    hasUser ? std::optional(user(QStringLiteral("ann"), fullName)) : std::nullopt);
    QVERIFY(f.check());
    QTEST(f.manager->statusMessage(), "status");
    QCOMPARE(f.manager->isConfigured(), !domain.domain.isEmpty());
    QCOMPARE(f.manager->currentUser().has_value(), !displayName.isEmpty());
    if (f.manager->currentUser()) {
        QCOMPARE(f.manager->currentUser()->displayName, displayName);
        QCOMPARE(f.manager->currentUser()->groups, QStringList{QStringLiteral("staff")});
        QCOMPARE(f.manager->currentUser()->domain, QStringLiteral("corp.example"));
        QVERIFY(f.manager->lastSyncDate());
    }
    if (!line.isEmpty())
        QVERIFY2(f.harness.hasLine(line), qPrintable(f.harness.console().join(QLatin1Char('\n'))));
}

void TestDirectoryMappings::apply_data()
{
    QTest::addColumn<QStringList>("groups");
    QTest::addColumn<QList<ADShareMapping>>("mappings");
    QTest::addColumn<QStringList>("existing"); // host/share of records present before
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QString>("status");

    const QStringList staff{QStringLiteral("domain users"), QStringLiteral("staff")};
    const QString smb = QString::number(int(MountUsingProtocol_Enum::SMB));
    const QString afp = QString::number(int(MountUsingProtocol_Enum::AFP));
    QTest::newRow("one share: singular status")
        << staff << QList{mapping(QStringLiteral("staff"), {mapped(QStringLiteral("fs"), QStringLiteral("team"))})}
        << QStringList{} << QStringList{QStringLiteral("fs/team|team (AD: staff)|") + smb + QStringLiteral("|1|")}
        << QStringLiteral("Added 1 share based on AD groups");
    QTest::newRow("group names are case-sensitive")
        << staff << QList{mapping(QStringLiteral("Staff"), {mapped(QStringLiteral("fs"), QStringLiteral("team"))})}
        << QStringList{} << QStringList{} << QStringLiteral("No new shares to add");
    QTest::newRow("a group name with a space")
        << staff << QList{mapping(QStringLiteral("domain users"), {mapped(QStringLiteral("fs"), QStringLiteral("all"))})}
        << QStringList{} << QStringList{QStringLiteral("fs/all|all (AD: domain users)|") + smb + QStringLiteral("|1|")}
        << QStringLiteral("Added 1 share based on AD groups");
    QTest::newRow("a disabled mapping adds nothing")
        << staff << QList{mapping(QStringLiteral("staff"), {mapped(QStringLiteral("fs"), QStringLiteral("team"))}, false)}
        << QStringList{} << QStringList{} << QStringLiteral("No new shares to add");
    QTest::newRow("protocols: webdav becomes SMB, afp AFP; a mount point leaves the volumes folder")
        << staff
        << QList{mapping(QStringLiteral("staff"), {mapped(QStringLiteral("fs"), QStringLiteral("web"), QStringLiteral("webdav")),
                                                   mapped(QStringLiteral("fs"), QStringLiteral("mac"), QStringLiteral("afp"),
                                                          QStringLiteral("/srv/mac")),
                                                   mapped(QStringLiteral("fs"), QStringLiteral("blank"), QStringLiteral("SMB"),
                                                          QString())})}
        << QStringList{}
        << QStringList{QStringLiteral("fs/web|web (AD: staff)|") + smb + QStringLiteral("|1|"),
                       QStringLiteral("fs/mac|mac (AD: staff)|") + afp + QStringLiteral("|0|/srv/mac"),
                       QStringLiteral("fs/blank|blank (AD: staff)|") + smb + QStringLiteral("|1|")}
        << QStringLiteral("Added 3 shares based on AD groups");
    QTest::newRow("an existing record of the same share is kept alone")
        << staff
        << QList{mapping(QStringLiteral("staff"), {mapped(QStringLiteral("fs"), QStringLiteral("team")),
                                                   mapped(QStringLiteral("fs"), QStringLiteral("new"))})}
        << QStringList{QStringLiteral("fs/team")}
        << QStringList{QStringLiteral("fs/team|Mine|") + smb + QStringLiteral("|1|"),
                       QStringLiteral("fs/new|new (AD: staff)|") + smb + QStringLiteral("|1|")}
        << QStringLiteral("Added 1 share based on AD groups");
    QTest::newRow("two mappings naming the same share add it once")
        << staff
        << QList{mapping(QStringLiteral("staff"), {mapped(QStringLiteral("fs"), QStringLiteral("team"))}),
                 mapping(QStringLiteral("domain users"), {mapped(QStringLiteral("fs"), QStringLiteral("team"))})}
        << QStringList{} << QStringList{QStringLiteral("fs/team|team (AD: staff)|") + smb + QStringLiteral("|1|")}
        << QStringLiteral("Added 1 share based on AD groups");
}

void TestDirectoryMappings::apply()
{
    QFETCH(QStringList, groups);
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
    f.bind(groups);
    f.manager->setMappings(mappings);
    QVERIFY(f.check());
    f.manager->applyMappings();
    QTEST(f.records(), "expected");
    QTEST(f.manager->statusMessage(), "status");
}

void TestDirectoryMappings::applyTwiceAndAudit()
{
    Fixture f;
    // Before any check there is no user to apply for.
    f.manager->applyMappings();
    QCOMPARE(f.manager->statusMessage(), QStringLiteral("No user info available"));

    f.bind({QStringLiteral("staff")});
    f.manager->addMapping(mapping(QStringLiteral("staff"), {mapped(QStringLiteral("fs"), QStringLiteral("a")),
                                                            mapped(QStringLiteral("fs"), QStringLiteral("b"))}));
    QVERIFY(f.check());
    QCOMPARE(f.manager->applyMappings(), 2);
    QCOMPARE(f.manager->statusMessage(), QStringLiteral("Added 2 shares based on AD groups"));
    QVERIFY(f.harness.hasLine(QStringLiteral("AD shares applied: Added 2 shares for user ann")));
    const auto audits = f.harness.audits();
    const auto imports = std::count_if(audits.cbegin(), audits.cend(), [](const AuditLogEntry &e) {
        return e.eventType == AuditEventType::configImport && e.success && e.details.contains(QLatin1String("2"))
            && e.details.contains(QLatin1String("ann"));
    });
    QCOMPARE(imports, 1);
    // The records are saved.
    f.harness.defaults.flush();
    Defaults reread(f.harness.defaults.filePath());
    RecordStore stored(reread);
    stored.load();
    QCOMPARE(stored.size(), 2);

    QCOMPARE(f.manager->applyMappings(), 0);
    QCOMPARE(f.manager->statusMessage(), QStringLiteral("No new shares to add"));
    QCOMPARE(f.harness.engine->store().size(), 2);
    QCOMPARE(f.harness.audits().size(), audits.size());
}

void TestDirectoryMappings::storedMappings()
{
    Fixture f;
    ADShareMapping m = mapping(QStringLiteral("staff"), {mapped(QStringLiteral("fs"), QStringLiteral("a"), QStringLiteral("afp"),
                                                                QStringLiteral("/srv/a"))});
    m.shares.first().driveLetter = QStringLiteral("S");
    f.manager->addMapping(m);
    f.manager->addMapping(mapping(QStringLiteral("other"), {}, false));
    QVERIFY(f.manager->setMappingEnabled(m.id, false));
    QVERIFY(!f.manager->removeMapping(QUuid::createUuid()));

    f.rebuild();
    const auto &loaded = f.manager->shareMappings();
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
    f.rebuild();
    QVERIFY(f.manager->shareMappings().isEmpty());
    QVERIFY(f.harness.hasLineContaining(QStringLiteral("Failed to load AD mappings: ")));
}

QTEST_GUILESS_MAIN(TestDirectoryMappings)
#include "tst_directory_mappings.moc"
