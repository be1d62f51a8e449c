// Credential accounts, the record's password cache and save semantics, over an in-memory secret store.
#include "core/CredentialStore.h"
#include "core/VolumeRecord.h"
#include "platform/fake/FakeSecretStore.h"

#include <QTest>

class TestCredentials : public QObject
{
    Q_OBJECT

private:
    static QString service() { return CredentialStore::kServiceName; }

private Q_SLOTS:
    void serviceName()
    {
        FakeSecretStore fake;
        CredentialStore store(&fake);
        QCOMPARE(store.serviceName(), QStringLiteral("io.tarnwell.Tarnwell.Keychain"));
        QCOMPARE(store.serviceName().size(), 29);
    }

    void accountOfRecord_data()
    {
        QTest::addColumn<qint64>("id");
        QTest::addColumn<QString>("override"); // empty: none
        QTest::addColumn<QString>("account");

        QTest::newRow("record 12") << qint64(12) << QString() << "volume_record_12";
        QTest::newRow("record 7") << qint64(7) << QString() << "volume_record_7";
        QTest::newRow("record 0") << qint64(0) << QString() << "volume_record_0";
        QTest::newRow("override wins") << qint64(12) << "volume_record_duplicate_abc" << "volume_record_duplicate_abc";
    }
    void accountOfRecord()
    {
        QFETCH(qint64, id);
        QFETCH(QString, override);
        QFETCH(QString, account);

        FakeSecretStore fake;
        fake.save(service(), account, QStringLiteral("s3cret"));
        CredentialStore store(&fake);
        VolumeRecord record;
        record.internal_ID_Int = id;
        if (!override.isEmpty())
            record.credentialAccountOverride = override;

        // Reads from the account...
        QCOMPARE(store.password(record), QStringLiteral("s3cret"));
        // ...and writes back to the same one.
        CredentialStore::setPassword(record, QStringLiteral("changed"));
        QVERIFY(store.writeBack(record));
        QCOMPARE(fake.peek(service(), account), std::optional<QString>(QStringLiteral("changed")));
        QCOMPARE(fake.itemCount(), 1);
    }

    void cacheWhenNothingStored()
    {
        FakeSecretStore fake;
        CredentialStore store(&fake);
        VolumeRecord record;
        record.internal_ID_Int = 3;
        QVERIFY(!record._cachedPassword);

        QCOMPARE(store.password(record), QString());
        QCOMPARE(store.password(record), QString());
        QCOMPARE(fake.loadCount(), 1);
        QCOMPARE(record._cachedPassword, std::optional<QString>(QString()));

        // Added later by someone else: still not seen through the cache.
        fake.save(service(), QStringLiteral("volume_record_3"), QStringLiteral("late"));
        QCOMPARE(store.password(record), QString());
        QCOMPARE(fake.loadCount(), 1);
    }

    void cacheAnswersWithoutStore()
    {
        FakeSecretStore fake;
        CredentialStore store(&fake);
        VolumeRecord record;
        record._cachedPassword = QStringLiteral("typed");
        QCOMPARE(store.password(record), QStringLiteral("typed"));
        QCOMPARE(fake.loadCount(), 0);
    }

    void duplicateKeepsPasswordApart()
    {
        FakeSecretStore fake;
        CredentialStore store(&fake);
        VolumeRecord source;
        source.internal_ID_Int = 5;
        QVERIFY(store.save(QStringLiteral("pw-source"), source.credentialAccount()));
        QCOMPARE(store.password(source), QStringLiteral("pw-source"));

        const VolumeRecord copyConst = source.duplicate(6);
        VolumeRecord copy = copyConst;
        QVERIFY(copy.credentialAccount().startsWith(QStringLiteral("volume_record_duplicate_")));
        QVERIFY(copy.credentialAccount() != source.credentialAccount());
        const int loads = fake.loadCount();
        QCOMPARE(store.password(copy), QStringLiteral("pw-source")); // starts with the source's cache
        QCOMPARE(fake.loadCount(), loads);

        CredentialStore::setPassword(copy, QStringLiteral("pw-copy"));
        QVERIFY(store.writeBack(copy));
        QCOMPARE(fake.peek(service(), source.credentialAccount()), std::optional<QString>(QStringLiteral("pw-source")));
        QCOMPARE(fake.peek(service(), copy.credentialAccount()), std::optional<QString>(QStringLiteral("pw-copy")));
    }

    void saveTwiceLeavesOneItem()
    {
        FakeSecretStore fake;
        CredentialStore store(&fake);
        QVERIFY(store.save(QStringLiteral("one"), QStringLiteral("volume_record_1")));
        QVERIFY(store.save(QStringLiteral("two"), QStringLiteral("volume_record_1")));
        QCOMPARE(fake.itemCount(), 1);
        QCOMPARE(store.load(QStringLiteral("volume_record_1")), std::optional<QString>(QStringLiteral("two")));
        QCOMPARE(fake.removeCount(), 2); // delete, then add
    }

    void unavailableStore()
    {
        FakeSecretStore fake;
        fake.setAvailable(false);
        CredentialStore store(&fake);
        QVERIFY(!store.save(QStringLiteral("pw"), QStringLiteral("volume_record_1")));
        QCOMPARE(store.load(QStringLiteral("volume_record_1")), std::nullopt);
        VolumeRecord record;
        QCOMPARE(store.password(record), QString());
        QCOMPARE(record._cachedPassword, std::optional<QString>(QString()));
    }

    void writeBackNeedsCache()
    {
        FakeSecretStore fake;
        CredentialStore store(&fake);
        VolumeRecord record;
        QVERIFY(!store.writeBack(record));
        QCOMPARE(fake.saveCount(), 0);
    }

    void invalidTextIsRefused()
    {
        FakeSecretStore fake;
        fake.save(service(), QStringLiteral("volume_record_1"), QStringLiteral("old"));
        CredentialStore store(&fake);
        const QString loneSurrogate = QStringLiteral("ab") + QChar(0xD800);
        QVERIFY(!store.save(loneSurrogate, QStringLiteral("volume_record_1")));
        QCOMPARE(fake.saveCount(), 1); // only the setup's
        QCOMPARE(fake.removeCount(), 0);
        QCOMPARE(fake.peek(service(), QStringLiteral("volume_record_1")), std::optional<QString>(QStringLiteral("old")));
    }

    void unicodePasswordRoundTrip()
    {
        FakeSecretStore fake;
        CredentialStore store(&fake, QStringLiteral("other.service"));
        const QString pw = QStringLiteral("pä$$ wörd 🔑");
        QVERIFY(store.save(pw, QStringLiteral("a")));
        QCOMPARE(fake.peek(QStringLiteral("other.service"), QStringLiteral("a")), std::optional<QString>(pw));
        QCOMPARE(fake.peek(service(), QStringLiteral("a")), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestCredentials)
#include "tst_credentials.moc"
