#include "UnitTestHelpers.h"
#include "core/LegacyArchive.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

namespace {

// Spelled out rather than taken from the header: it is the text users see.
const QString kMigrateLine = QStringLiteral("[MIGRATE] Original share archive could not be decoded");
const QDateTime kMountTime(QDate(2023, 5, 8), QTime(7, 30, 0), QTimeZone::utc());
const QString kOverride = QStringLiteral("volume_record_duplicate_6B1D1A6E-9C2F-4E4B-8F1E-0D5C7A3B2E11");

// The required keys and most of the optional ones, as an older build's encoder wrote them: objects by
// reference (strings, numbers, dates, arrays), Booleans inline.
QVariantMap recordValues(ArchiveBuilder &b, qint64 id, const QString &host, bool withPort)
{
    QVariantMap v{
        {QStringLiteral("internal_ID_Int_String"), b.add(QString::number(id))},
        {QStringLiteral("hostname_String"), b.add(host)},
        {QStringLiteral("volume_String"), b.add(QStringLiteral("share"))},
        {QStringLiteral("volume_String_isEmpty"), !withPort}, // the first record has an empty share name
        {QStringLiteral("port_Int"), withPort ? b.add(qint64(1445)) : b.null()},
        {QStringLiteral("nickname_String"), b.object(QStringLiteral("NSMutableString"), [&host](ArchiveBuilder &) {
             return QVariantMap{{QStringLiteral("NS.string"), QString(host + QStringLiteral(" share"))}};
         })},
        {QStringLiteral("no_password_guest_login"), b.add(qint64(0))},
        {QStringLiteral("username_String"), b.add(QStringLiteral("alice"))},
        {QStringLiteral("protocol_Int_String"), b.add(QStringLiteral("1"))},
        {QStringLiteral("mount_inside_Volumes"), b.add(qint64(1))},
        {QStringLiteral("unique_mountpoint_fullpath_String"), b.add(QString())},
        {QStringLiteral("auto_Mount"), qint64(1)}, // an integer encoded inline
        {QStringLiteral("schedule_Mount"), b.add(qint64(1))},
        {QStringLiteral("scheduleMountTime"), b.date(kMountTime)},
        {QStringLiteral("schedule_Weekdays"), b.array({b.add(qint64(1)), b.add(qint64(7))})},
        {QStringLiteral("group_String"), b.add(QStringLiteral("Office"))},
        {QStringLiteral("isLocked"), true},
        {QStringLiteral("password_String"), b.add(QStringLiteral("old-pass"))},
    };
    if (withPort)
        v.insert(QStringLiteral("credentialAccountOverride"), b.add(kOverride));
    return v;
}

QByteArray validArchive(const QString &className, PropertyList::Format format)
{
    ArchiveBuilder b;
    const quint64 rootUid = b.reserve();
    const QVariant first = b.object(className, [](ArchiveBuilder &bb) { return recordValues(bb, 3, QStringLiteral("nas-a"), false); });
    const QVariant second = b.object(className, [](ArchiveBuilder &bb) { return recordValues(bb, 9, QStringLiteral("fe80::1"), true); });
    b.fill(rootUid, QStringLiteral("NSMutableArray"), {{QStringLiteral("NS.objects"), QVariantList{first, second}}});
    return b.finish(uid(rootUid), format);
}

} // namespace

class TestLegacyArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decodesEveryRecordClassName_data()
    {
        QTest::addColumn<QString>("className");
        QTest::addColumn<int>("format");
        for (const char *name : {"Tarnwell.VolumeRecord", "Tarnwell_S.VolumeRecord", "TarnwellPro.VolumeRecord",
                                 "TarnwellProSilicon.VolumeRecord", "VolumeRecord"}) {
            QTest::addRow("%s binary", name) << QString::fromLatin1(name) << int(PropertyList::Format::Binary);
            QTest::addRow("%s xml", name) << QString::fromLatin1(name) << int(PropertyList::Format::Xml);
        }
    }
    void decodesEveryRecordClassName()
    {
        QFETCH(QString, className);
        QFETCH(int, format);
        ConsoleCapture console;
        QString error;
        const auto records = LegacyArchive::decodeVolumeRecords(validArchive(className, PropertyList::Format(format)), &error);
        QVERIFY2(records, qPrintable(error));
        QVERIFY(console.lines.isEmpty());
        QCOMPARE(records->size(), 2);

        // Everything the archive holds, and nothing else: "share" stored beside the empty flag is no share name,
        // "$null" is no port, and auto_Mount (inline) and schedule_Mount (by reference) both count.
        VolumeRecord expected = recordOf("id=3;host=nas-a;share=;nick=nas-a share;user=alice;protocol=AFP;auto=1;"
                                         "group=Office;locked=1;password=old-pass");
        expected.schedule_Mount = 1;
        expected.schedule_MountTime = kMountTime;
        expected.schedule_UnMountTime = records->at(0).schedule_UnMountTime; // not archived: the default
        expected.schedule_Weekdays = {1, 7};
        QCOMPARE(records->at(0).encode(), expected.encode());
        QCOMPARE(records->at(0)._cachedPassword, expected._cachedPassword);
        const VolumeRecord &b = records->at(1);
        setFields(expected, "id=9;host=fe80::1;share=share;nick=fe80::1 share;port=1445");
        expected.credentialAccountOverride = kOverride;
        expected.schedule_UnMountTime = b.schedule_UnMountTime;
        QCOMPARE(b.encode(), expected.encode());
        QCOMPARE(b.mountURLText(), QStringLiteral("afp://[fe80::1]:1445/share"));
    }
    void brokenArchiveImportsNothing_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("why"); // part of the reason, so each row proves its own branch
        const QString record = QStringLiteral("Tarnwell.VolumeRecord");
        // A list of one record whose values `spoil` damages; it also gets the UID of the list itself.
        auto oneRecord = [&record](const std::function<void(ArchiveBuilder &, QVariantMap &, quint64)> &spoil) {
            ArchiveBuilder b;
            const quint64 rootUid = b.reserve();
            const QVariant element = b.object(record, [&](ArchiveBuilder &bb) {
                QVariantMap v = recordValues(bb, 1, QStringLiteral("h"), true);
                spoil(bb, v, rootUid);
                return v;
            });
            b.fill(rootUid, QStringLiteral("NSArray"), {{QStringLiteral("NS.objects"), QVariantList{element}}});
            return b.finish(uid(rootUid));
        };
        auto setValue = [&oneRecord](const char *key, const std::function<QVariant(ArchiveBuilder &)> &value) {
            return oneRecord([&](ArchiveBuilder &bb, QVariantMap &v, quint64) { v.insert(QLatin1String(key), value(bb)); });
        };
        // An archive laid out by `make` on a fresh builder.
        auto built = [](const std::function<QByteArray(ArchiveBuilder &)> &make) {
            ArchiveBuilder b;
            return make(b);
        };
        const auto aRecord = [](ArchiveBuilder &bb) { return recordValues(bb, 1, QStringLiteral("h"), true); };

        QTest::newRow("unknown class") << built([&](ArchiveBuilder &b) {
            return b.finish(b.array({b.object(QStringLiteral("Other.Thing"), aRecord)}));
        }) << "unknown class Other.Thing";
        QTest::newRow("unknown value class") << setValue("group_String", [](ArchiveBuilder &bb) {
            return bb.object(QStringLiteral("NSURL"),
                             [](ArchiveBuilder &) { return QVariantMap{{QStringLiteral("NS.relative"), QStringLiteral("x")}}; });
        }) << "unknown class NSURL";
        QTest::newRow("uid out of range") << setValue("hostname_String", [](ArchiveBuilder &) { return uid(100000); })
                                          << "reference 100000 is out of range";
        QTest::newRow("container inline") << setValue("schedule_Weekdays", [](ArchiveBuilder &) { return QVariantList{1}; })
                                          << "inline";
        QTest::newRow("required key is nil") << setValue("hostname_String", [](ArchiveBuilder &bb) { return bb.null(); })
                                             << "element 0 lacks hostname_String";
        QTest::newRow("date without time") << setValue("scheduleMountTime", [](ArchiveBuilder &bb) {
            return bb.object(QStringLiteral("NSDate"), [](ArchiveBuilder &) { return QVariantMap{}; });
        }) << "holds no time";
        QTest::newRow("class reference out of range") << setValue("group_String", [](ArchiveBuilder &bb) {
            bb.objects.append(QVariantMap{{QStringLiteral("NS.string"), QStringLiteral("x")}, {QStringLiteral("$class"), uid(5000)}});
            return uid(quint64(bb.objects.size() - 1));
        }) << "class reference 5000 is out of range";
        QTest::newRow("nested too deep") << setValue("schedule_Weekdays", [](ArchiveBuilder &bb) {
            QVariant inner = bb.array({bb.add(qint64(1))});
            for (int i = 0; i < 200; ++i)
                inner = bb.array({inner});
            return inner;
        }) << "nested too deeply";
        QTest::newRow("record refers to its list") << oneRecord([](ArchiveBuilder &, QVariantMap &v, quint64 rootUid) {
            v.insert(QStringLiteral("group_String"), uid(rootUid));
        }) << "refers to itself";
        QTest::newRow("root is a record") << built([&](ArchiveBuilder &b) { return b.finish(b.object(record, aRecord)); })
                                          << "root object is not an array";
        QTest::newRow("element is nil") << built([](ArchiveBuilder &b) { return b.finish(b.array({b.null()})); })
                                        << "nil element";
        QTest::newRow("element not a record") << built([](ArchiveBuilder &b) {
            return b.finish(b.array({b.add(QStringLiteral("x"))}));
        }) << "element 0 is not a share record";
        QTest::newRow("root not a reference") << built([](ArchiveBuilder &b) {
            b.top.insert(QStringLiteral("root"), qint64(1)); // not a UID
            b.top.insert(QStringLiteral("other"), uid(0));
            return b.finish(QVariant());
        }) << "without a root object";
        QTest::newRow("not an archive") << PropertyList::serialize(QVariantMap{{QStringLiteral("a"), qint64(1)}}, PropertyList::Format::Binary)
                                        << "not a keyed archive";
        QTest::newRow("not a property list") << QByteArray("bplist00\x01\x02garbage") << "not a property list";
    }
    void brokenArchiveImportsNothing()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, why);
        ConsoleCapture console;
        QString error;
        const auto records = LegacyArchive::decodeVolumeRecords(bytes, &error);
        QVERIFY(!records);
        QVERIFY2(error.contains(why), qPrintable(error));
        QCOMPARE(console.lines, QStringList{kMigrateLine});
    }
    void sharedReferencesResolveOnce()
    {
        // Each level holds two references to the level below: 2^24 paths, but only 25 distinct objects.
        ArchiveBuilder b;
        QVariant level = b.add(qint64(2));
        for (int i = 0; i < 24; ++i)
            level = b.array({level, level});
        QString error;
        const auto root = LegacyArchive::resolveRoot(b.finish(level), &error);
        QVERIFY2(root, qPrintable(error));
        QCOMPARE(root->toList().size(), 2);
    }
    void importFromPreferencesFile()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        // A preferences file with the share list under its key (left out when invalid) beside another setting.
        auto writePlist = [&dir](const QString &name, const QVariant &archive) {
            const QString path = dir.filePath(name);
            QVariantMap content{{QStringLiteral("mount_timeout_Int"), qint64(30)}};
            if (archive.isValid())
                content.insert(LegacyArchive::kPreferencesKey, archive);
            if (!writeFile(path, PropertyList::serialize(content, PropertyList::Format::Binary)))
                qFatal("cannot write the test file");
            return path;
        };
        auto records = LegacyArchive::importFromPreferencesFile(
            writePlist(QStringLiteral("archived.plist"),
                       validArchive(QStringLiteral("TarnwellPro.VolumeRecord"), PropertyList::Format::Binary)));
        QVERIFY(records);
        QCOMPARE(records->size(), 2);

        const QVariantList native{recordOf("id=5;host=n").encode()};
        records = LegacyArchive::importFromPreferencesFile(writePlist(QStringLiteral("native.plist"), native));
        QVERIFY(records);
        QCOMPARE(records->size(), 1);
        QCOMPARE(records->first().internal_ID_Int, 5);

        ConsoleCapture console;
        for (const QString &path : {writePlist(QStringLiteral("nokey.plist"), QVariant()), dir.filePath(QStringLiteral("absent"))}) {
            QString error;
            QVERIFY(!LegacyArchive::importFromPreferencesFile(path, &error));
            QVERIFY2(!error.isEmpty(), qPrintable(path));
        }
        QVERIFY(console.lines.isEmpty()); // nothing was there to decode

        QVERIFY(!LegacyArchive::importFromPreferencesFile(writePlist(QStringLiteral("broken.plist"), QByteArray("not an archive"))));
        QCOMPARE(console.lines, QStringList{kMigrateLine});
    }
};

QTEST_GUILESS_MAIN(TestLegacyArchive)
#include "tst_legacyarchive.moc"
