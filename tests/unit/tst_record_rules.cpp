// The rules every user edit of the records obeys (RecordRules), applied by the engine: no share configured
// twice, no edit of a managed share. Checked once here, on the real engine over the in-process fakes; the
// control interface and tarnwellctl only pass the refusals on. (Removal of a managed share: the engine's
// own tests.)
#include "support/EngineHarness.h"

#include "core/RecordRules.h"

#include <QTest>

namespace {

using RecordEdit = std::function<void(VolumeRecord &)>;

VolumeRecord share(const QString &host, const QString &name, const QString &user = QString())
{
    VolumeRecord r;
    r.hostname_String = host;
    r.volume_String = name;
    r.no_password_guest_login = user.isEmpty() ? 1 : 0;
    r.username_String = user.isEmpty() ? QStringLiteral("guest") : user;
    return r;
}

QList<QVariantMap> stored(const MountEngine &engine)
{
    QList<QVariantMap> all;
    for (const VolumeRecord &r : engine.store().records())
        all.append(r.encode());
    return all;
}

} // namespace

Q_DECLARE_METATYPE(RecordEdit)

class TestRecordRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sameShare_data();
    void sameShare();
    void userChanges_data();
    void userChanges();
};

void TestRecordRules::sameShare_data()
{
    QTest::addColumn<RecordEdit>("edit"); // turns a copy of A (alice on smb://NAS/data) into B
    QTest::addColumn<bool>("same");

    QTest::newRow("host case and blanks") << RecordEdit([](VolumeRecord &r) { r.hostname_String = QStringLiteral(" nas "); })
                                          << true;
    QTest::newRow("share slashes") << RecordEdit([](VolumeRecord &r) { r.volume_String = QStringLiteral("/data/"); }) << true;
    QTest::newRow("share case differs") << RecordEdit([](VolumeRecord &r) { r.volume_String = QStringLiteral("Data"); })
                                        << false;
    QTest::newRow("other protocol")
        << RecordEdit([](VolumeRecord &r) { r.mounting_using_protocol_Enum = MountUsingProtocol_Enum::AFP; }) << false;
    QTest::newRow("other user") << RecordEdit([](VolumeRecord &r) { r.username_String = QStringLiteral("bob"); }) << false;
    QTest::newRow("other port") << RecordEdit([](VolumeRecord &r) { r.port_Int = 1445; }) << false;
    QTest::newRow("default port spelled out") << RecordEdit([](VolumeRecord &r) { r.port_Int = 445; }) << true;
    QTest::newRow("guest vs user") << RecordEdit([](VolumeRecord &r) { r.no_password_guest_login = 1; }) << false;
}

void TestRecordRules::sameShare()
{
    QFETCH(RecordEdit, edit);
    QFETCH(bool, same);
    VolumeRecord a = share(QStringLiteral("NAS"), QStringLiteral("data"), QStringLiteral("alice"));
    VolumeRecord b = a;
    edit(b);
    QCOMPARE(RecordRules::isSameShare(a, b), same);
    QCOMPARE(RecordRules::isSameShare(b, a), same);
}

void TestRecordRules::userChanges_data()
{
    // On an engine holding 1: guest smb://nas/pub, 2: alice on smb://nas/team, 3: managed by MDM,
    // 4: managed without a name. "add" adds share(...) changed by `change`; "edit N" changes record N;
    // "password N" stores a password for record N.
    QTest::addColumn<QString>("operation");
    QTest::addColumn<RecordEdit>("change");
    QTest::addColumn<QString>("refusal"); // the whole message; empty: accepted

    const RecordEdit none = [](VolumeRecord &) {};
    QTest::newRow("add the same share spelt differently") << "add" << RecordEdit([](VolumeRecord &r) {
        r.hostname_String = QStringLiteral(" NAS ");
        r.volume_String = QStringLiteral("/pub/");
    }) << "Duplicate share: smb://nas/pub (SMB, user guest) already exists with the ID 1";
    QTest::newRow("add the same share for another user") << "add" << RecordEdit([](VolumeRecord &r) {
        r.volume_String = QStringLiteral("team");
        r.no_password_guest_login = 0;
        r.username_String = QStringLiteral("bob");
    }) << "";
    QTest::newRow("edit into another share") << "edit 2" << RecordEdit([](VolumeRecord &r) {
        r.volume_String = QStringLiteral("pub");
        r.no_password_guest_login = 1;
    }) << "Duplicate share: the share with the ID 1 already has these settings";
    QTest::newRow("edit keeping its own settings")
        << "edit 2" << RecordEdit([](VolumeRecord &r) { r.nickname_String = QStringLiteral("Team"); }) << "";
    QTest::newRow("edit a managed share")
        << "edit 3" << RecordEdit([](VolumeRecord &r) { r.nickname_String = QStringLiteral("Mine"); })
        << "IT-Managed Share: This share is managed by MDM. Settings cannot be modified.";
    // The fallbacks of the edit and remove texts differ on purpose.
    QTest::newRow("edit a managed share without a manager")
        << "edit 4" << none << "IT-Managed Share: This share is managed by IT Department. Settings cannot be modified.";
    QTest::newRow("password of a managed share")
        << "password 3" << none << "IT-Managed Share: This share is managed by MDM. Settings cannot be modified.";
    QTest::newRow("password of a share") << "password 2" << none << "";
}

void TestRecordRules::userChanges()
{
    QFETCH(QString, operation);
    QFETCH(RecordEdit, change);
    QFETCH(QString, refusal);
    EngineHarness h;
    QCOMPARE(h.engine->addRecord(share(QStringLiteral("nas"), QStringLiteral("pub"))), 1);
    QCOMPARE(h.engine->addRecord(share(QStringLiteral("nas"), QStringLiteral("team"), QStringLiteral("alice"))), 2);
    for (const QString &manager : {QStringLiteral("MDM"), QString()}) {
        VolumeRecord managed = share(QStringLiteral("corp"), QStringLiteral("policies"));
        managed.isLocked = true;
        managed.managedBy = manager;
        h.engine->addRecord(managed);
    }
    const QList<QVariantMap> before = stored(*h.engine);

    MountEngine::UserChange result;
    const qint64 target = operation.section(QLatin1Char(' '), 1).toLongLong();
    if (operation == QLatin1String("add")) {
        VolumeRecord added = share(QStringLiteral("nas"), QStringLiteral("pub"));
        change(added);
        result = h.engine->addUserRecord(added);
    } else {
        VolumeRecord edited = h.record(target);
        change(edited);
        if (operation.startsWith(QLatin1String("password")))
            CredentialStore::setPassword(edited, QStringLiteral("n3w pw"));
        result = h.engine->editUserRecord(edited);
    }
    h.engine->waitForWorkers();
    h.settle();
    const auto secret = h.secrets.peek(h.credentials.serviceName(), QStringLiteral("volume_record_%1").arg(target));

    if (!refusal.isEmpty()) {
        QVERIFY(result.refusal);
        QCOMPARE(result.refusal->message(), refusal);
        QCOMPARE(result.id, 0);
        // Nothing changed, nothing written.
        QCOMPARE(stored(*h.engine), before);
        QVERIFY(!secret);
        return;
    }
    QVERIFY2(!result.refusal, qPrintable(result.refusal ? result.refusal->message() : QString()));
    QVERIFY(result.id > 0);
    QVERIFY(stored(*h.engine) != before || operation.startsWith(QLatin1String("password")));
    if (operation.startsWith(QLatin1String("password")))
        QCOMPARE(secret, std::optional<QString>(QStringLiteral("n3w pw")));
}

QTEST_GUILESS_MAIN(TestRecordRules)
#include "tst_record_rules.moc"
