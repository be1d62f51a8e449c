// The managed-preferences folder as the engine reads it on Linux: XML and binary profiles merged in file-name
// order, payload selection, files that do not parse or may not be trusted (each ignored with a line while
// the others count), over-deep nesting, and the change signal of the folder watch.
#include "platform/linux/ManagedPreferenceFolder.h"

#include "base/Console.h"
#include "base/PropertyList.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QVariantMap profile(const QVariantMap &keys, const QString &payloadType = QStringLiteral("io.tarnwell.Tarnwell"))
{
    QVariantMap payload = keys;
    payload.insert(QStringLiteral("PayloadType"), payloadType);
    payload.insert(QStringLiteral("PayloadUUID"), QStringLiteral("X"));
    return {{QStringLiteral("PayloadContent"), QVariantList{payload}},
            {QStringLiteral("PayloadType"), QStringLiteral("Configuration")}};
}

struct Folder
{
    QTemporaryDir dir;
    QStringList lines;

    Folder()
    {
        ::chmod(QFile::encodeName(dir.path()).constData(), 0755);
        Console::setSink([this](const QString &line) { lines << line; });
    }
    ~Folder() { Console::setSink({}); }

    QString write(const QString &name, const QByteArray &bytes, mode_t mode = 0644)
    {
        const QString path = dir.path() + QLatin1Char('/') + name;
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return {};
        file.write(bytes);
        file.close();
        ::chmod(QFile::encodeName(path).constData(), mode);
        return path;
    }
    QString write(const QString &name, const QVariantMap &root, PropertyList::Format format = PropertyList::Format::Xml,
                  mode_t mode = 0644)
    {
        return write(name, PropertyList::serialize(root, format), mode);
    }
    QVariantMap values()
    {
        ManagedPreferenceFolder folder(dir.path());
        // Read twice, as the reader does once per key: each file is reported once.
        folder.values();
        return folder.values();
    }
};

const QString kOrg = QStringLiteral("OrganizationName");

} // namespace

class TestManagedFolder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void payloadSelection_data()
    {
        QTest::addColumn<QVariantMap>("root");
        QTest::addColumn<QVariantMap>("expected");
        const QVariantMap keys{{kOrg, QStringLiteral("Acme")}, {QStringLiteral("AllowShareImport"), false}};
        QTest::newRow("profile payload of the bundle id") << profile(keys) << keys;
        QTest::newRow("payload of another domain")
            << profile(keys, QStringLiteral("com.example.other")) << QVariantMap{};
        QVariantMap two = profile(keys);
        QVariantList content = two.value(QStringLiteral("PayloadContent")).toList();
        content.prepend(QVariantMap{{QStringLiteral("PayloadType"), QStringLiteral("com.example.wifi")}, {kOrg, QStringLiteral("Wrong")}});
        two.insert(QStringLiteral("PayloadContent"), content);
        QTest::newRow("only the matching payload of several") << two << keys;
        QTest::newRow("a plain dictionary of keys") << keys << keys;
        QVariantMap single = keys;
        single.insert(QStringLiteral("PayloadType"), QStringLiteral("io.tarnwell.Tarnwell"));
        QTest::newRow("a bare payload") << single << keys;
        QTest::newRow("PayloadContent that is not an array")
            << QVariantMap{{QStringLiteral("PayloadContent"), keys}} << QVariantMap{};
    }

    void payloadSelection()
    {
        QFETCH(QVariantMap, root);
        QTEST(ManagedPreferenceFolder::keysFromPropertyList(root), "expected");
    }

    void mergedInNameOrder()
    {
        Folder f;
        f.write(QStringLiteral("10-base.mobileconfig"), profile({{kOrg, QStringLiteral("Base")}, {QStringLiteral("AllowShareExport"), false}}));
        f.write(QStringLiteral("20-site.plist"), QVariantMap{{kOrg, QStringLiteral("Site")}},
                PropertyList::Format::Binary);
        f.write(QStringLiteral("30-notes.txt"), QVariantMap{{kOrg, QStringLiteral("Ignored")}});
        const auto shares = [](const QString &host) {
            return QVariantList{QVariantMap{{QStringLiteral("hostname"), host}, {QStringLiteral("share"), QStringLiteral("s")}}};
        };
        const QString managedShares = QStringLiteral("ManagedShares");
        f.write(QStringLiteral("40-b.plist"), QVariantMap{{managedShares, shares(QStringLiteral("b"))}});
        f.write(QStringLiteral("35-a.plist"), QVariantMap{{managedShares, shares(QStringLiteral("a"))}});
        const QVariantMap values = f.values();
        QCOMPARE(values.value(QStringLiteral("ManagedShares")).toList(), shares(QStringLiteral("a")) + shares(QStringLiteral("b")));
        QCOMPARE(values.value(kOrg).toString(), QStringLiteral("Site"));
        QCOMPARE(values.value(QStringLiteral("AllowShareExport")), QVariant(false));
        QVERIFY(f.lines.isEmpty());
    }

    void damagedFilesAreReportedAndSkipped()
    {
        Folder f;
        f.write(QStringLiteral("a.mobileconfig"), profile({{kOrg, QStringLiteral("Good")}}));
        // What the generator writes for an organisation with an ampersand.
        const QString bad = f.write(QStringLiteral("b.mobileconfig"),
                                    QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                                               "<key>OrganizationName</key><string>R&D</string></dict></plist>"));
        QByteArray deep;
        for (int i = 0; i < 200; ++i)
            deep += "<array>";
        for (int i = 0; i < 200; ++i)
            deep += "</array>";
        const QString tooDeep
            = f.write(QStringLiteral("c.plist"), "<?xml version=\"1.0\"?><plist version=\"1.0\">" + deep + "</plist>");
        const QString empty = f.write(QStringLiteral("d.plist"), QByteArray());
        QCOMPARE(f.values().value(kOrg).toString(), QStringLiteral("Good"));
        for (const QString &path : {bad, tooDeep, empty})
            QVERIFY2(f.lines.contains(ManagedPreferenceFolder::kUnparsableLine.arg(path)),
                     qPrintable(f.lines.join(QLatin1Char('\n'))));
    }

    void untrustedFiles_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("owner"); // -1: the test's own user
        QTest::addColumn<QString>("reason");
        QTest::newRow("group writable") << 0664 << -1 << QStringLiteral("writable by group or others");
        QTest::newRow("world writable") << 0646 << -1 << QStringLiteral("writable by group or others");
        QTest::newRow("owned by another user") << 0644 << 65534 << QStringLiteral("owned by another user (uid 65534)");
        QTest::newRow("unreadable") << 0000 << -1 << QString();
    }

    void untrustedFiles()
    {
        QFETCH(int, mode);
        QFETCH(int, owner);
        QFETCH(QString, reason);
        if (owner >= 0 && ::geteuid() != 0)
            QSKIP("giving a file away needs root");
        if (mode == 0 && ::geteuid() == 0)
            QSKIP("root reads any file");
        Folder f;
        f.write(QStringLiteral("a.plist"), QVariantMap{{kOrg, QStringLiteral("Trusted")}});
        const QString path = f.write(QStringLiteral("b.plist"), QVariantMap{{kOrg, QStringLiteral("Untrusted")}},
                                     PropertyList::Format::Xml, mode_t(mode));
        if (owner >= 0)
            QCOMPARE(::chown(QFile::encodeName(path).constData(), uid_t(owner), gid_t(-1)), 0);
        QCOMPARE(f.values().value(kOrg).toString(), QStringLiteral("Trusted"));
        QCOMPARE(f.lines.size(), 1);
        QVERIFY2(f.lines.first().startsWith(QStringLiteral("⚠️ [MDM] Ignoring managed preferences file ") + path + QStringLiteral(": ")
                                            + reason),
                 qPrintable(f.lines.first()));
    }

    void untrustedFolder()
    {
        Folder f;
        f.write(QStringLiteral("a.plist"), QVariantMap{{kOrg, QStringLiteral("Acme")}});
        ::chmod(QFile::encodeName(f.dir.path()).constData(), 0777);
        QVERIFY(f.values().isEmpty());
        QCOMPARE(f.lines, QStringList{ManagedPreferenceFolder::kUnsafeFolderLine.arg(f.dir.path(), QStringLiteral("writable by group or others"))});
    }

    void missingFolderIsQuiet()
    {
        Folder f;
        ManagedPreferenceFolder folder(f.dir.path() + QStringLiteral("/absent"));
        QVERIFY(folder.values().isEmpty());
        QVERIFY(f.lines.isEmpty());
    }

    void watchAnnouncesChanges()
    {
        Folder f;
        const QString path = f.dir.path() + QStringLiteral("/managed");
        ManagedPreferenceFolder folder(path);
        QSignalSpy changed(&folder, &ManagedPreferenceSource::changed);

        // The folder appears, then a profile in it, then the profile is replaced.
        QVERIFY(QDir().mkdir(path));
        QVERIFY(changed.wait(3000));
        changed.clear();
        f.write(QStringLiteral("managed/a.plist"), QVariantMap{{kOrg, QStringLiteral("One")}});
        QVERIFY(changed.wait(3000));
        QCOMPARE(folder.values().value(kOrg).toString(), QStringLiteral("One"));
        changed.clear();
        QTest::qWait(20);
        f.write(QStringLiteral("managed/a.plist"), QVariantMap{{kOrg, QStringLiteral("Two, longer")}});
        QVERIFY(changed.wait(3000));
        QCOMPARE(folder.values().value(kOrg).toString(), QStringLiteral("Two, longer"));
    }
};

QTEST_GUILESS_MAIN(TestManagedFolder)
#include "tst_managed_folder.moc"
