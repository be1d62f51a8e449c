// The fast save path: the XML writer against libplist's own output, and the record store's reuse of
// encoded records against every way a record can change between two saves.
#include "UnitTestHelpers.h"
#include "base/Defaults.h"
#include "base/PropertyList.h"
#include "core/RecordStore.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <plist/plist.h>

#include <limits>

namespace {

// libplist's XML for the tree, reached through the binary form so that none of the writer under test is used.
QByteArray libplistXml(const QVariant &tree)
{
    const QByteArray binary = PropertyList::serialize(tree, PropertyList::Format::Binary);
    plist_t node = nullptr;
    plist_from_bin(binary.constData(), uint32_t(binary.size()), &node);
    char *xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(node, &xml, &length);
    const QByteArray out(xml, qsizetype(length));
    free(xml);
    plist_free(node);
    return out;
}

QDateTime utc(qint64 msSinceEpoch)
{
    return QDateTime::fromMSecsSinceEpoch(msSinceEpoch, QTimeZone::utc());
}

} // namespace

class TestStoreWrites : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void xmlIsLibplists_data()
    {
        QByteArray bytes(300, '\0');
        for (int i = 0; i < bytes.size(); ++i)
            bytes[i] = char(i * 7);
        QTest::addColumn<QVariant>("tree");
        QTest::newRow("scalars") << QVariant(QVariantMap{
            {QStringLiteral("int"), qint64(-5)},
            {QStringLiteral("max"), std::numeric_limits<qint64>::max()},
            {QStringLiteral("bools"), QVariantList{true, false}},
            {QStringLiteral("reals"), QVariantList{0.1, 2.0, -3e300, 0.0, 1e20}},
            {QStringLiteral("a&<k>"), QStringLiteral("a&b<c>d\"e'f\x01g\r\th\nü€😀")},
            {QStringLiteral("empty"), QVariantList{QString(), QVariantList(), QVariantMap(), QByteArray()}},
        });
        QTest::newRow("dates before and after the reference date")
            << QVariant(QVariantList{utc(978307200000 - 9300), utc(978307200000 + 10700), utc(0), utc(1700000000123)});
        QTest::newRow("data and uids at several depths") << QVariant(QVariantList{
            bytes, QVariantList{QVariantList{bytes.left(100), uid(7)}}, QVariantMap{{QStringLiteral("u"), uid(0)}}});
    }
    void xmlIsLibplists()
    {
        QFETCH(QVariant, tree);
        const QByteArray written = PropertyList::serialize(tree);
        QCOMPARE(written, libplistXml(tree));
    }
    void reusedXmlFollowsChanges()
    {
        QVariantList records;
        for (int i = 0; i < 4; ++i)
            records.append(QVariantMap{{QStringLiteral("id"), qint64(i)}, {QStringLiteral("nested"), QVariantMap{{QStringLiteral("n"), i}}}});
        QVariantMap domain{{QStringLiteral("records"), records}, {QStringLiteral("flag"), true}};
        PropertyList::XmlCache cache;
        QCOMPARE(PropertyList::serializeXml(domain, cache), PropertyList::serialize(domain));
        QVariantMap changed = records[2].toMap();
        changed.insert(QStringLiteral("id"), qint64(20));
        records[2] = changed;
        records.removeAt(0);
        records.append(records.at(0)); // the same dictionary twice
        domain.insert(QStringLiteral("records"), records);
        QCOMPARE(PropertyList::serializeXml(domain, cache), PropertyList::serialize(domain));
        QCOMPARE(PropertyList::serializeXml(domain, cache), PropertyList::serialize(domain));
    }
    // Each way a record can change between two saves, one after the other; the file must follow every one.
    void changedRecordsReachTheFile()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("prefs.plist"));
        Defaults defaults(path);
        RecordStore store(defaults);
        const auto stored = [&] {
            defaults.flush();
            Defaults reread(path);
            RecordStore again(reread);
            again.load();
            QStringList hosts;
            for (const VolumeRecord &r : again.records())
                hosts.append(r.hostname_String);
            return hosts.join(QLatin1Char(' '));
        };
        for (const QString &host : {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}) {
            VolumeRecord r;
            r.internal_ID_Int = store.nextId();
            r.hostname_String = host;
            store.add(r);
        }
        QVERIFY(store.save());
        VolumeRecord updated = *store.recordCopy(1);
        updated.hostname_String = QStringLiteral("u");
        store.update(updated);
        QVERIFY(store.save());
        QCOMPARE(stored(), QStringLiteral("u b c"));
        store.find(2)->hostname_String = QStringLiteral("f");
        store.at(2).hostname_String = QStringLiteral("t");
        QVERIFY(store.save());
        QCOMPARE(stored(), QStringLiteral("u f t"));
        store.remove(1);
        QList<VolumeRecord> reversed = store.records();
        std::reverse(reversed.begin(), reversed.end());
        store.setRecords(reversed);
        QVERIFY(store.save());
        QCOMPARE(stored(), QStringLiteral("t f"));
    }
};

QTEST_GUILESS_MAIN(TestStoreWrites)
#include "tst_store_writes.moc"
