// The rules every user edit of the records obeys (RecordRules), applied by the engine: no share configured
// twice, no edit of a managed share. Checked once here, on the real engine over the in-process fakes; the
// control interface and tarnwellctl only pass the refusals on. (Removal of a managed share: the engine's
// own tests.)
#include "support/EngineHarness.h"
#include "UnitTestHelpers.h"

#include "core/RecordRules.h"

#include <QTest>

namespace {

QList<QVariantMap> stored(const MountEngine &engine)
{
    QList<QVariantMap> all;
    for (const VolumeRecord &r : engine.store().records())
        all.append(r.encode());
    return all;
}

} // namespace

class TestRecordRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sameShare_data()
    {
        QTest::addColumn<QString>("edit"); // turns a copy of A (alice on smb://NAS/data) into B (setFields)
        QTest::addColumn<bool>("same");

        QTest::newRow("host case and blanks") << "host= nas " << true;
        QTest::newRow("share slashes") << "share=/data/" << true;
        QTest::newRow("share case differs") << "share=Data" << false;
        QTest::newRow("other protocol") << "protocol=AFP" << false;
        QTest::newRow("other user") << "user=bob" << false;
        QTest::newRow("other port") << "port=1445" << false;
        QTest::newRow("default port spelled out") << "port=445" << true;
        QTest::newRow("guest vs user") << "guest=1" << false;
    }
    void sameShare()
    {
        QFETCH(QString, edit);
        QFETCH(bool, same);
        const VolumeRecord a = recordOf("host=NAS;share=data;user=alice");
        VolumeRecord b = a;
        setFields(b, edit);
        QCOMPARE(RecordRules::isSameShare(a, b), same);
        QCOMPARE(RecordRules::isSameShare(b, a), same);
    }
    void userChanges_data()
    {
        // On an engine holding 1: guest smb://nas/pub, 2: alice on smb://nas/team, 3: managed by MDM,
        // 4: managed without a name. "add" adds guest smb://nas/pub changed by `change` (setFields); "edit N"
        // changes record N; "password N" stores a password for record N.
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("refusal"); // the whole message; empty: accepted

        QTest::newRow("add the same share spelt differently")
            << "add" << "host= NAS ;share=/pub/" << "Duplicate share: smb://nas/pub (SMB, user guest) already exists with the ID 1";
        QTest::newRow("add the same share for another user") << "add" << "share=team;guest=0;user=bob" << "";
        QTest::newRow("edit into another share")
            << "edit 2" << "share=pub;guest=1" << "Duplicate share: the share with the ID 1 already has these settings";
        QTest::newRow("edit keeping its own settings") << "edit 2" << "nick=Team" << "";
        QTest::newRow("edit a managed share")
            << "edit 3" << "nick=Mine" << "IT-Managed Share: This share is managed by MDM. Settings cannot be modified.";
        // The fallbacks of the edit and remove texts differ on purpose.
        QTest::newRow("edit a managed share without a manager")
            << "edit 4" << "" << "IT-Managed Share: This share is managed by IT Department. Settings cannot be modified.";
        QTest::newRow("password of a managed share")
            << "password 3" << "" << "IT-Managed Share: This share is managed by MDM. Settings cannot be modified.";
        QTest::newRow("password of a share") << "password 2" << "" << "";
    }
    void userChanges()
    {
        QFETCH(QString, operation);
        QFETCH(QString, change);
        QFETCH(QString, refusal);
        EngineHarness h;
        QCOMPARE(h.engine->addRecord(recordOf("host=nas;share=pub;guest=1")), 1);
        QCOMPARE(h.engine->addRecord(recordOf("host=nas;share=team;user=alice")), 2);
        h.engine->addRecord(recordOf("host=corp;share=policies;guest=1;locked=1;by=MDM"));
        h.engine->addRecord(recordOf("host=corp;share=policies;guest=1;locked=1"));
        const QList<QVariantMap> before = stored(*h.engine);

        MountEngine::UserChange result;
        const qint64 target = operation.section(QLatin1Char(' '), 1).toLongLong();
        if (operation == QLatin1String("add")) {
            VolumeRecord added = recordOf("host=nas;share=pub;guest=1");
            setFields(added, change);
            result = h.engine->addUserRecord(added);
        } else {
            VolumeRecord edited = h.record(target);
            setFields(edited, change);
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
};

QTEST_GUILESS_MAIN(TestRecordRules)
#include "tst_record_rules.moc"
