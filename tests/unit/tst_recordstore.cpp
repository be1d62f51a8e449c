#include "UnitTestHelpers.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/PropertyList.h"
#include "core/RecordStore.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

namespace {

const QString kKey = QStringLiteral("Tarnwell_VolumeRecordArray");
const QString kDecodePrefix = QStringLiteral("⚠️ [Persistence] Failed to decode archived data: ");

VolumeRecord makeRecord(qint64 id, const QString &host)
{
    VolumeRecord r;
    r.internal_ID_Int = id;
    r.hostname_String = host;
    r.nickname_String = host.toUpper();
    return r;
}

QList<qint64> ids(const RecordStore &store)
{
    QList<qint64> out;
    for (const VolumeRecord &r : store.records())
        out.append(r.internal_ID_Int);
    return out;
}

} // namespace

class TestRecordStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void saveAndLoadKeepOrderAndFields()
    {
        {
            Defaults defaults(path());
            RecordStore store(defaults);
            VolumeRecord c = makeRecord(30, QStringLiteral("c"));
            c.volume_String.clear();
            c.port_Int = 8445;
            c.mounting_using_protocol_Enum = MountUsingProtocol_Enum::NFS;
            c._cachedPassword = QStringLiteral("hunter2-secret");
            store.add(c);
            store.add(makeRecord(4, QStringLiteral("a")));
            store.add(makeRecord(17, QStringLiteral("b")));
            QVERIFY(store.save());
        }
        QVERIFY(!fileBytes().isEmpty());
        QVERIFY(!fileBytes().contains("hunter2-secret"));

        // A fresh Defaults reads the file, as the next launch would.
        Defaults defaults(path());
        const auto stored = defaults.array(kKey);
        QVERIFY(stored);
        QCOMPARE(stored->size(), 3);
        QCOMPARE(stored->at(0).metaType().id(), QMetaType::QVariantMap); // native dictionaries, not opaque data

        RecordStore store(defaults);
        QCOMPARE(store.load(), 0);
        QCOMPARE(ids(store), (QList<qint64>{30, 4, 17}));
        const VolumeRecord *c = store.find(30);
        QVERIFY(c);
        QVERIFY(!c->_cachedPassword);
        QCOMPARE(c->mountURLText(), QStringLiteral("nfs://c:8445/")); // protocol, port and empty share name
        QCOMPARE(store.nextId(), 31);
    }

    void nextId_data()
    {
        QTest::addColumn<QList<qint64>>("existing");
        QTest::addColumn<qint64>("expected");
        QTest::newRow("empty") << QList<qint64>{} << qint64(1);
        QTest::newRow("max not last") << QList<qint64>{5, 12, 3} << qint64(13);
        QTest::newRow("gaps are not reused") << QList<qint64>{1, 9} << qint64(10);
        QTest::newRow("zero id") << QList<qint64>{0} << qint64(1);
        QTest::newRow("negative only") << QList<qint64>{-4, -9} << qint64(1);
        QTest::newRow("top of the range") << QList<qint64>{1, std::numeric_limits<qint64>::max()} << qint64(2);
    }
    void nextId()
    {
        QFETCH(QList<qint64>, existing);
        Defaults defaults(path());
        RecordStore store(defaults);
        ConsoleCapture console;
        QCOMPARE(store.load(), 0); // nothing stored: nothing to report, and nothing written
        QVERIFY(console.lines.isEmpty());
        QVERIFY(!QFile::exists(path()));
        for (qint64 id : existing)
            store.add(makeRecord(id, QStringLiteral("h")));
        QTEST(store.nextId(), "expected");
    }

    void findUpdateRemove()
    {
        Defaults defaults(path());
        RecordStore store(defaults);
        for (qint64 id : {1, 2, 3})
            store.add(makeRecord(id, QStringLiteral("h")));

        store.find(2)->runtime_status_String = QStringLiteral("Mounted");
        QCOMPARE(store.records().at(1).runtime_status_String, QStringLiteral("Mounted"));

        VolumeRecord changed = *store.recordCopy(3);
        changed.hostname_String = QStringLiteral("three");
        QVERIFY(store.update(changed));
        QCOMPARE(store.find(3)->hostname_String, QStringLiteral("three"));
        QCOMPARE(store.indexOf(3), 2); // replaced in place, order kept

        QVERIFY(!store.update(makeRecord(99, QStringLiteral("x"))));
        QCOMPARE(store.size(), 3);

        QVERIFY(store.remove(1));
        QVERIFY(!store.remove(1));
        QCOMPARE(ids(store), (QList<qint64>{2, 3}));
        QVERIFY(!store.recordCopy(1));
        QCOMPARE(store.nextId(), 4);
    }

    void undecodableElementsAreSkipped()
    {
        QVariantMap missingHost = makeRecord(2, QStringLiteral("x")).encode();
        missingHost.remove(QStringLiteral("hostname_String"));
        const QVariantList stored{makeRecord(1, QStringLiteral("a")).encode(), missingHost, QStringLiteral("junk"),
                                  makeRecord(4, QStringLiteral("d")).encode()};
        storeRaw(stored);

        Defaults defaults(path());
        RecordStore store(defaults);
        ConsoleCapture console;
        QCOMPARE(store.load(), 2);
        QCOMPARE(ids(store), (QList<qint64>{1, 4}));
        const QStringList lines = console.startingWith(kDecodePrefix);
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines.at(0).contains(QStringLiteral("index 1")));
        QVERIFY(lines.at(0).contains(QStringLiteral("hostname_String")));
        QVERIFY(lines.at(1).contains(QStringLiteral("index 2")));
        QVERIFY(lines.at(0).contains(RecordStore::undecodableKey()));

        // The bad elements are kept aside as they stood; the list itself is left alone until the next save,
        // and what was kept survives that save and later loads (never twice).
        const QVariantList asStored = *defaults.array(kKey);
        const QVariantList aside{asStored.at(1), asStored.at(2)};
        QCOMPARE(defaults.array(RecordStore::undecodableKey()), std::optional<QVariantList>(aside));
        QCOMPARE(defaults.array(kKey)->size(), 4);
        QVERIFY(store.save());
        QCOMPARE(defaults.array(kKey)->size(), 2);
        QCOMPARE(store.load(), 0);
        defaults.flush();
        Defaults reread(path());
        QCOMPARE(reread.array(RecordStore::undecodableKey()), std::optional<QVariantList>(aside));
    }

    void wrongKindIsKeptAside_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("string") << QVariant(QStringLiteral("not records"));
        QTest::newRow("dictionary") << QVariant(QVariantMap{{QStringLiteral("a"), qint64(1)}});
        QTest::newRow("data that is no archive") << QVariant(QByteArray("\x00\x01garbage", 9));
    }
    void wrongKindIsKeptAside()
    {
        QFETCH(QVariant, stored);
        storeRaw(stored);
        Defaults defaults(path());
        RecordStore store(defaults);
        ConsoleCapture console;
        QCOMPARE(store.load(), 1);
        QVERIFY(store.isEmpty());
        const QStringList lines = console.startingWith(kDecodePrefix);
        QCOMPARE(lines.size(), 1);
        QVERIFY(lines.first().contains(RecordStore::backupKey()));
        QCOMPARE(defaults.value(RecordStore::backupKey()), stored);

        // Start-up goes on: a new record can be saved, and the original stays in the backup.
        store.add(makeRecord(store.nextId(), QStringLiteral("new")));
        QVERIFY(store.save());
        Defaults reread(path());
        QCOMPARE(reread.array(kKey)->size(), 1);
        QCOMPARE(reread.value(RecordStore::backupKey()), stored);
    }

    void keyedArchiveDataIsImported()
    {
        // The same list as an older build kept it: opaque data holding a keyed archive of one record.
        ArchiveBuilder b;
        const QVariant record = b.object(QStringLiteral("Tarnwell.VolumeRecord"), [](ArchiveBuilder &bb) {
            return QVariantMap{{QStringLiteral("internal_ID_Int_String"), bb.add(QStringLiteral("12"))},
                               {QStringLiteral("hostname_String"), bb.add(QStringLiteral("old-nas"))},
                               {QStringLiteral("no_password_guest_login"), qint64(0)},
                               {QStringLiteral("username_String"), bb.add(QStringLiteral("bob"))},
                               {QStringLiteral("mount_inside_Volumes"), qint64(1)},
                               {QStringLiteral("unique_mountpoint_fullpath_String"), bb.add(QString())},
                               {QStringLiteral("auto_Mount"), qint64(0)}};
        });
        const QByteArray bytes = b.finish(b.array({record}, QStringLiteral("NSMutableArray")));
        storeRaw(bytes);
        Defaults defaults(path());
        RecordStore store(defaults);
        ConsoleCapture console;
        QCOMPARE(store.load(), 0);
        QCOMPARE(ids(store), QList<qint64>{12});
        QCOMPARE(store.find(12)->hostname_String, QStringLiteral("old-nas"));
        QCOMPARE(defaults.value(RecordStore::backupKey()).toByteArray(), bytes);
        QVERIFY(console.startingWith(kDecodePrefix).isEmpty());
        QVERIFY(store.save());
        QVERIFY(defaults.array(kKey)); // converted to the native form by the save
    }

    void firstLaunch()
    {
        Defaults defaults(path());
        NotificationCenter center;
        QSignalSpy spy(&center, &NotificationCenter::posted);
        RecordStore store(defaults, &center);
        ConsoleCapture console;
        store.load();
        QVERIFY(store.firstLaunchIfNeeded());

        QCOMPARE(console.lines.first(), QStringLiteral("🎉 First launch detected - creating example shares"));
        QCOMPARE(console.lines.last(), QStringLiteral("✅ Created 2 example templates for first-time user"));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.first().at(0).toString(), QStringLiteral("Tarnwell_VolumeRecordChanged"));
        QCOMPARE(defaults.boolean(QStringLiteral("Tarnwell_HasLaunchedBefore")), std::optional<bool>(true));

        QCOMPARE(ids(store), (QList<qint64>{1, 2}));
        // The examples' own texts are a table in the code; what matters is that they are usable templates.
        for (const VolumeRecord &r : store.records())
            QVERIFY(!r.mountURLText().isEmpty() && !r.no_password_guest_login && !r.runtime_status_String.isEmpty());

        // Saved: the next launch loads them and creates nothing more.
        Defaults next(path());
        RecordStore nextStore(next, &center);
        QCOMPARE(nextStore.load(), 0);
        QCOMPARE(nextStore.size(), 2);
        QVERIFY(!nextStore.firstLaunchIfNeeded());
        QCOMPARE(nextStore.size(), 2);
        QCOMPARE(spy.count(), 1);
    }

    void firstLaunchOnUpgradeOnlySetsFlag()
    {
        Defaults defaults(path());
        defaults.setValue(kKey, QVariantList{makeRecord(8, QStringLiteral("kept")).encode()});
        RecordStore store(defaults);
        store.load();
        ConsoleCapture console;
        QVERIFY(!store.firstLaunchIfNeeded());
        QCOMPARE(ids(store), QList<qint64>{8});
        QCOMPARE(defaults.boolean(QStringLiteral("Tarnwell_HasLaunchedBefore")), std::optional<bool>(true));
        QVERIFY(console.lines.isEmpty());
    }

private:
    QString path() const { return m_dir->filePath(QStringLiteral("prefs.plist")); }
    // Leaves `value` as the stored record list, the way an earlier run would have.
    void storeRaw(const QVariant &value) const { Defaults(path()).setValue(kKey, value); }
    QByteArray fileBytes() const { return readFile(path()); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TestRecordStore)
#include "tst_recordstore.moc"
