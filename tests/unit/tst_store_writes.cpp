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

#include <functional>
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
    void xmlIsLibplists_data();
    void xmlIsLibplists();
    void reusedXmlFollowsChanges();
    void changedRecordsReachTheFile_data();
    void changedRecordsReachTheFile();
};

void TestStoreWrites::xmlIsLibplists_data()
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

void TestStoreWrites::xmlIsLibplists()
{
    QFETCH(QVariant, tree);
    const QByteArray written = PropertyList::serialize(tree);
    QCOMPARE(written, libplistXml(tree));
}

void TestStoreWrites::reusedXmlFollowsChanges()
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

void TestStoreWrites::changedRecordsReachTheFile_data()
{
    QTest::addColumn<std::function<void(RecordStore &)>>("change");
    QTest::addColumn<QStringList>("hosts");
    const auto rename = [](VolumeRecord &r) { r.hostname_String = QStringLiteral("changed"); };
    QTest::newRow("update") << std::function<void(RecordStore &)>([&](RecordStore &s) {
        VolumeRecord r = *s.find(2);
        rename(r);
        s.update(r);
    }) << QStringList{QStringLiteral("one"), QStringLiteral("changed"), QStringLiteral("three")};
    QTest::newRow("through find") << std::function<void(RecordStore &)>([&](RecordStore &s) { rename(*s.find(3)); })
                                  << QStringList{QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("changed")};
    QTest::newRow("through at") << std::function<void(RecordStore &)>([&](RecordStore &s) { rename(s.at(0)); })
                                << QStringList{QStringLiteral("changed"), QStringLiteral("two"), QStringLiteral("three")};
    QTest::newRow("remove, then add") << std::function<void(RecordStore &)>([&](RecordStore &s) {
        s.remove(1);
        VolumeRecord r;
        r.internal_ID_Int = 9;
        rename(r);
        s.add(r);
    }) << QStringList{QStringLiteral("two"), QStringLiteral("three"), QStringLiteral("changed")};
    QTest::newRow("replace all") << std::function<void(RecordStore &)>([&](RecordStore &s) {
        QList<VolumeRecord> records = s.records();
        std::reverse(records.begin(), records.end());
        rename(records[1]);
        s.setRecords(records);
    }) << QStringList{QStringLiteral("three"), QStringLiteral("changed"), QStringLiteral("one")};
}

void TestStoreWrites::changedRecordsReachTheFile()
{
    QFETCH(std::function<void(RecordStore &)>, change);
    QFETCH(QStringList, hosts);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("prefs.plist"));
    {
        Defaults defaults(path);
        RecordStore store(defaults);
        for (const QString &host : {QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")}) {
            VolumeRecord r;
            r.internal_ID_Int = store.nextId();
            r.hostname_String = host;
            store.add(r);
        }
        QVERIFY(store.save());
        change(store);
        QVERIFY(store.save());
    }
    Defaults reread(path);
    RecordStore store(reread);
    QCOMPARE(store.load(), 0);
    QStringList stored;
    for (const VolumeRecord &r : store.records())
        stored.append(r.hostname_String);
    QCOMPARE(stored, hosts);
}

QTEST_GUILESS_MAIN(TestStoreWrites)
#include "tst_store_writes.moc"
