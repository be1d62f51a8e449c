// Credential accounts, the record's password cache and save semantics, over an in-memory secret store.
#include "core/CredentialStore.h"
#include "core/VolumeRecord.h"
#include "platform/fake/FakeSecretStore.h"

#include <QTest>

namespace {
struct Fixture
{
    FakeSecretStore fake;
    CredentialStore store{&fake};
    std::optional<QString> peek(const QString &a) const { return fake.peek(CredentialStore::kServiceName, a); }
};

std::optional<QString> some(const char *text)
{
    return QString::fromUtf8(text);
}
} // namespace

class TestCredentials : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void passwordCache()
    {
        Fixture f;
        VolumeRecord record;
        record.internal_ID_Int = 3;
        QVERIFY(!f.store.writeBack(record)); // nothing cached: nothing to write
        QCOMPARE(f.fake.saveCount(), 0);

        // Nothing stored is cached too: one look-up only, and a later addition is not seen through the cache.
        QCOMPARE(f.store.password(record), QString());
        f.fake.save(CredentialStore::kServiceName, QStringLiteral("volume_record_3"), QStringLiteral("late"));
        QCOMPARE(f.store.password(record), QString());
        QCOMPARE(f.fake.loadCount(), 1);
        QCOMPARE(record._cachedPassword, std::optional<QString>(QString()));

        VolumeRecord typed;
        typed._cachedPassword = QStringLiteral("typed");
        QCOMPARE(f.store.password(typed), QStringLiteral("typed"));
        QCOMPARE(f.fake.loadCount(), 1);
    }

    void duplicateKeepsPasswordApart()
    {
        Fixture f;
        VolumeRecord source;
        source.internal_ID_Int = 5;
        QVERIFY(f.store.save(QStringLiteral("pw-source"), source.credentialAccount()));
        QCOMPARE(f.store.password(source), QStringLiteral("pw-source"));

        VolumeRecord copy = source.duplicate(6);
        QVERIFY(copy.credentialAccount().startsWith(QStringLiteral("volume_record_duplicate_")));
        const int loads = f.fake.loadCount();
        QCOMPARE(f.store.password(copy), QStringLiteral("pw-source")); // starts with the source's cache
        QCOMPARE(f.fake.loadCount(), loads);

        CredentialStore::setPassword(copy, QStringLiteral("pw-copy"));
        QVERIFY(f.store.writeBack(copy));
        QCOMPARE(f.peek(source.credentialAccount()), some("pw-source"));
        QCOMPARE(f.peek(copy.credentialAccount()), some("pw-copy"));
        // Without a cache the copy reads its own account (the override), not the ID's.
        copy._cachedPassword.reset();
        QCOMPARE(f.store.password(copy), QStringLiteral("pw-copy"));
    }

    void save()
    {
        Fixture f;
        QCOMPARE(f.store.serviceName(), QStringLiteral("io.tarnwell.Tarnwell.Keychain"));
        const QString account = QStringLiteral("volume_record_1");
        QVERIFY(f.store.save(QStringLiteral("one"), account));
        QVERIFY(f.store.save(QStringLiteral("two"), account));
        QCOMPARE(f.fake.itemCount(), 1);
        QCOMPARE(f.store.load(account), some("two"));
        QCOMPARE(f.fake.removeCount(), 2); // delete, then add

        // Text the keyring cannot hold is refused before the stored item is touched.
        QVERIFY(!f.store.save(QStringLiteral("ab") + QChar(0xD800), account)); // a lone surrogate
        QCOMPARE(f.fake.saveCount(), 2);
        QCOMPARE(f.fake.removeCount(), 2);
        QCOMPARE(f.peek(account), some("two"));

        // Another service name keeps its own items.
        CredentialStore other(&f.fake, QStringLiteral("other.service"));
        const QString pw = QStringLiteral("pä$$ wörd 🔑");
        QVERIFY(other.save(pw, account));
        QCOMPARE(f.fake.peek(QStringLiteral("other.service"), account), std::optional<QString>(pw));
        QCOMPARE(f.peek(account), some("two"));

        // A locked or missing keyring: refusals, and the record remembers that there is nothing to use.
        f.fake.setAvailable(false);
        QVERIFY(!f.store.save(QStringLiteral("pw"), account));
        QCOMPARE(f.store.load(account), std::nullopt);
        VolumeRecord record;
        QCOMPARE(f.store.password(record), QString());
        QCOMPARE(record._cachedPassword, std::optional<QString>(QString()));
    }
};

QTEST_GUILESS_MAIN(TestCredentials)
#include "tst_credentials.moc"
