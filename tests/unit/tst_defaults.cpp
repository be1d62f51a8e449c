#include "app/Console.h"
#include "app/Defaults.h"
#include "app/PropertyList.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QUrl>

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct ConsoleCapture
{
    QStringList lines;
    ConsoleCapture()
    {
        Console::setSink([this](const QString &l) { lines.append(l); });
    }
    ~ConsoleCapture() { Console::setSink({}); }
};

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// A binary property list of the tree with the byte at offset `at` of `marker` replaced by NUL.
QByteArray withNul(const QVariantMap &tree, const QByteArray &marker, qsizetype at)
{
    QByteArray bytes = PropertyList::serialize(tree, PropertyList::Format::Binary);
    const qsizetype i = bytes.indexOf(marker);
    if (i < 0)
        qFatal("marker not in the serialised bytes");
    bytes[i + at] = '\0';
    return bytes;
}

// Which typed readers see the key: exactly one of them should.
QStringList readersThatSee(const Defaults &d, const QString &key)
{
    QStringList out;
    if (d.integer(key))
        out << QStringLiteral("integer");
    if (d.boolean(key))
        out << QStringLiteral("boolean");
    if (d.string(key))
        out << QStringLiteral("string");
    if (d.date(key))
        out << QStringLiteral("date");
    if (d.data(key))
        out << QStringLiteral("data");
    if (d.array(key))
        out << QStringLiteral("array");
    if (d.dictionary(key))
        out << QStringLiteral("dictionary");
    return out;
}

} // namespace

class TestDefaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void kindsSurviveRestart_data();
    void kindsSurviveRestart();
    void absentIsNotAnotherKind();
    void fileIsPrivate();
    void writeReplacesFileAtomically();
    void writeFailureKeepsMemory();
    void corruptFileIsMovedAside_data();
    void corruptFileIsMovedAside();
    void reloadSeesExternalChange();
    void standardPathFollowsXdg();
    void propertyListFormats_data();
    void propertyListFormats();
    void propertyListRejects();

private:
    QString path() const { return m_dir->filePath(QStringLiteral("sub/prefs.plist")); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestDefaults::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestDefaults::kindsSurviveRestart_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("expected");
    QTest::addColumn<QString>("reader"); // the one typed reader that must see it; empty for reals

    const QDateTime date(QDate(2024, 2, 29), QTime(23, 59, 58), QTimeZone::utc());
    const QDateTime local(QDate(2024, 7, 1), QTime(12, 0, 0), QTimeZone(3600 * 2));
    QTest::newRow("int stored as integer") << QVariant(int(42)) << QVariant(qint64(42)) << QStringLiteral("integer");
    QTest::newRow("negative integer") << QVariant(qint64(-7)) << QVariant(qint64(-7)) << QStringLiteral("integer");
    QTest::newRow("64-bit integer") << QVariant(qint64(1) << 40) << QVariant(qint64(1) << 40) << QStringLiteral("integer");
    QTest::newRow("zero") << QVariant(qint64(0)) << QVariant(qint64(0)) << QStringLiteral("integer");
    QTest::newRow("true") << QVariant(true) << QVariant(true) << QStringLiteral("boolean");
    QTest::newRow("false") << QVariant(false) << QVariant(false) << QStringLiteral("boolean");
    QTest::newRow("string") << QVariant(QStringLiteral("Grüße 🎉 <&> \"q\"")) << QVariant(QStringLiteral("Grüße 🎉 <&> \"q\""))
                            << QStringLiteral("string");
    QTest::newRow("empty string") << QVariant(QString()) << QVariant(QString()) << QStringLiteral("string");
    QTest::newRow("numeric text stays text") << QVariant(QStringLiteral("15")) << QVariant(QStringLiteral("15"))
                                             << QStringLiteral("string");
    QTest::newRow("date") << QVariant(date) << QVariant(date) << QStringLiteral("date");
    QTest::newRow("date with offset") << QVariant(local) << QVariant(local.toUTC()) << QStringLiteral("date");
    QTest::newRow("data") << QVariant(QByteArray("\x00\xff\x10plist", 8)) << QVariant(QByteArray("\x00\xff\x10plist", 8))
                          << QStringLiteral("data");
    QTest::newRow("empty data") << QVariant(QByteArray()) << QVariant(QByteArray()) << QStringLiteral("data");
    const QVariantList nested{qint64(1), QStringLiteral("a"), QVariantList{true, date}, QVariantMap{{QStringLiteral("k"), 2.5}}};
    QTest::newRow("nested array") << QVariant(nested) << QVariant(nested) << QStringLiteral("array");
    QTest::newRow("string list as array") << QVariant(QStringList{QStringLiteral("x"), QStringLiteral("y")})
                                          << QVariant(QVariantList{QStringLiteral("x"), QStringLiteral("y")})
                                          << QStringLiteral("array");
    const QVariantMap dict{{QStringLiteral("inner"), QVariantMap{{QStringLiteral("list"), QVariantList{QByteArray("d"), false}}}},
                           {QStringLiteral("n"), qint64(-1)}};
    QTest::newRow("nested dictionary") << QVariant(dict) << QVariant(dict) << QStringLiteral("dictionary");
    QTest::newRow("real") << QVariant(2.5) << QVariant(2.5) << QString();
}

void TestDefaults::kindsSurviveRestart()
{
    QFETCH(QVariant, value);
    QFETCH(QVariant, expected);
    QFETCH(QString, reader);
    const QString key = QStringLiteral("k");
    {
        Defaults d(path());
        QVERIFY(d.setValue(key, value));
        QCOMPARE(readersThatSee(d, key), reader.isEmpty() ? QStringList{} : QStringList{reader});
    } // the destructor writes what is pending
    Defaults d(path());
    const QVariant read = d.value(key);
    QCOMPARE(read.metaType(), expected.metaType());
    QCOMPARE(read, expected);
    QCOMPARE(readersThatSee(d, key), reader.isEmpty() ? QStringList{} : QStringList{reader});
}

void TestDefaults::absentIsNotAnotherKind()
{
    Defaults d(path());
    QVERIFY(!d.contains(QStringLiteral("missing")));
    QVERIFY(!d.value(QStringLiteral("missing")).isValid());
    QVERIFY(readersThatSee(d, QStringLiteral("missing")).isEmpty());

    QVERIFY(d.setValue(QStringLiteral("flag"), false));
    QVERIFY(d.contains(QStringLiteral("flag")));
    QCOMPARE(d.boolean(QStringLiteral("flag")), std::optional<bool>(false)); // false, not absent
    QVERIFY(!d.integer(QStringLiteral("flag")));                              // a Boolean is no integer

    QVERIFY(d.remove(QStringLiteral("flag")));
    QVERIFY(d.remove(QStringLiteral("flag"))); // removing an absent key is fine
    Defaults reread(path());
    QVERIFY(!reread.contains(QStringLiteral("flag")));
}

void TestDefaults::fileIsPrivate()
{
    ::umask(022);
    Defaults d(path());
    QVERIFY(d.setValue(QStringLiteral("a"), qint64(1)));
    d.flush();
    struct stat st = {};
    QCOMPARE(::stat(QFile::encodeName(path()).constData(), &st), 0);
    QCOMPARE(st.st_mode & 0777, mode_t(0600));
    QVERIFY(d.setValue(QStringLiteral("a"), qint64(2)));
    d.flush();
    QCOMPARE(::stat(QFile::encodeName(path()).constData(), &st), 0);
    QCOMPARE(st.st_mode & 0777, mode_t(0600));
}

void TestDefaults::writeReplacesFileAtomically()
{
    Defaults d(path());
    QVERIFY(d.setValue(QStringLiteral("a"), QStringLiteral("first")));
    d.flush();
    const QByteArray firstBytes = readFile(path());
    // A hard link keeps the old inode: a writer that rewrote the file in place would change it too.
    const QString link = m_dir->filePath(QStringLiteral("old-link.plist"));
    QCOMPARE(::link(QFile::encodeName(path()).constData(), QFile::encodeName(link).constData()), 0);

    QVERIFY(d.setValue(QStringLiteral("a"), QStringLiteral("second")));
    d.flush();
    QCOMPARE(readFile(link), firstBytes);
    QVERIFY(readFile(path()).contains("second"));
    // Nothing but the file itself is left in its folder.
    QCOMPARE(QDir(QFileInfo(path()).absolutePath()).entryList(QDir::Files | QDir::Hidden | QDir::System),
             QStringList{QStringLiteral("prefs.plist")});
}

void TestDefaults::writeFailureKeepsMemory()
{
    // A directory standing where the file should be: reading and writing fail, nothing is moved or lost.
    const QString occupied = m_dir->filePath(QStringLiteral("occupied.plist"));
    QVERIFY(QDir().mkpath(occupied + QStringLiteral("/inner")));
    ConsoleCapture console;
    Defaults d(occupied);
    QVERIFY(d.setValue(QStringLiteral("k"), qint64(3)));
    d.flush();
    QCOMPARE(d.integer(QStringLiteral("k")), std::optional<qint64>(3));
    QVERIFY(!console.lines.isEmpty());
    for (const QString &l : std::as_const(console.lines))
        QVERIFY2(l.startsWith(QStringLiteral("⚠️ [Persistence] ")), qPrintable(l));
    QVERIFY(QFileInfo(occupied + QStringLiteral("/inner")).isDir());

    // A value with no property-list form is refused before it is stored, with a line of its own.
    console.lines.clear();
    Defaults ok(path());
    QVERIFY(!ok.setValue(QStringLiteral("url"), QUrl(QStringLiteral("smb://h/s"))));
    QVERIFY(!ok.setValue(QStringLiteral("list"), QVariantList{qint64(1), QVariant()}));
    QVERIFY(!ok.contains(QStringLiteral("url")));
    QVERIFY(!ok.contains(QStringLiteral("list")));
    QCOMPARE(console.lines.size(), 2);
}

void TestDefaults::corruptFileIsMovedAside_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("text") << QByteArray("this is not a property list\n");
    QTest::newRow("truncated xml") << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key>");
    QTest::newRow("truncated binary") << PropertyList::serialize(QVariantMap{{QStringLiteral("a"), qint64(1)}},
                                                                 PropertyList::Format::Binary)
                                             .left(20);
    QTest::newRow("root is an array") << PropertyList::serialize(QVariantList{qint64(1)});
    // Damage that libplist itself would answer with an abort: a NUL inside a key or a string.
    QTest::newRow("NUL in a binary key") << withNul(QVariantMap{{QStringLiteral("keyQk"), qint64(1)}}, "keyQk", 3);
    QTest::newRow("NUL in a binary string") << withNul(QVariantMap{{QStringLiteral("a"), QStringLiteral("valQv")}}, "valQv", 3);
    QTest::newRow("NUL in a UTF-16 string")
        << withNul(QVariantMap{{QStringLiteral("a"), QStringLiteral("☃Q")}}, QByteArray("\x26\x03\x00Q", 4), 3);
    QTest::newRow("empty file") << QByteArray();
}

void TestDefaults::corruptFileIsMovedAside()
{
    QFETCH(QByteArray, content);
    QVERIFY(QDir().mkpath(QFileInfo(path()).absolutePath()));
    QVERIFY(writeFile(path(), content));

    ConsoleCapture console;
    Defaults d(path()); // start-up goes on
    QVERIFY(!d.contains(QStringLiteral("a")));
    QCOMPARE(console.lines.size(), 1);
    QVERIFY(console.lines.first().startsWith(QStringLiteral("⚠️ [Persistence] ")));

    const QStringList aside = QDir(QFileInfo(path()).absolutePath())
                                  .entryList({QStringLiteral("prefs.plist.corrupt-*")}, QDir::Files);
    QCOMPARE(aside.size(), 1);
    QVERIFY(console.lines.first().contains(aside.first()));
    const QString asidePath = QFileInfo(path()).absolutePath() + QLatin1Char('/') + aside.first();
    QCOMPARE(readFile(asidePath), content);
    QVERIFY(!QFile::exists(path()));

    // The next write makes a fresh file and leaves the damaged copy alone.
    QVERIFY(d.setValue(QStringLiteral("b"), true));
    d.flush();
    QCOMPARE(readFile(asidePath), content);
    QCOMPARE(Defaults(path()).boolean(QStringLiteral("b")), std::optional<bool>(true));
}

void TestDefaults::reloadSeesExternalChange()
{
    Defaults a(path());
    Defaults b(path());
    QVERIFY(a.setValue(QStringLiteral("x"), qint64(5)));
    QVERIFY(!b.contains(QStringLiteral("x")));
    b.reload();
    QCOMPARE(b.integer(QStringLiteral("x")), std::optional<qint64>(5));
}

void TestDefaults::standardPathFollowsXdg()
{
    const QByteArray saved = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_dir->path()));
    const QString p = Defaults::standardFilePath();
    qputenv("XDG_CONFIG_HOME", saved);
    QCOMPARE(p, m_dir->path() + QStringLiteral("/tarnwell/io.tarnwell.Tarnwell.plist"));
}

void TestDefaults::propertyListFormats_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("xml") << int(PropertyList::Format::Xml);
    QTest::newRow("binary") << int(PropertyList::Format::Binary);
}

void TestDefaults::propertyListFormats()
{
    QFETCH(int, format);
    const QVariantMap tree{
        {QStringLiteral("uid"), QVariant::fromValue(PlistUid{7})},
        {QStringLiteral("uids"), QVariantList{QVariant::fromValue(PlistUid{0}), QVariant::fromValue(PlistUid{300})}},
        {QStringLiteral("neg"), qint64(-123456789012)},
        {QStringLiteral("real"), -0.25},
        {QStringLiteral("date"), QDateTime(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc())},
        {QStringLiteral("before2001"), QDateTime(QDate(1999, 12, 31), QTime(23, 0), QTimeZone::utc())},
    };
    const QByteArray bytes = PropertyList::serialize(tree, PropertyList::Format(format));
    QVERIFY(!bytes.isEmpty());
    QCOMPARE(bytes.startsWith("bplist00"), format == int(PropertyList::Format::Binary));
    const auto parsed = PropertyList::parse(bytes);
    QVERIFY(parsed);
    const QVariantMap back = parsed->toMap();
    QCOMPARE(back.value(QStringLiteral("uid")).metaType(), QMetaType::fromType<PlistUid>());
    QCOMPARE(back.value(QStringLiteral("uid")).value<PlistUid>().value, quint64(7));
    QCOMPARE(back.value(QStringLiteral("uids")).toList().at(1).value<PlistUid>().value, quint64(300));
    for (const char *key : {"neg", "real", "date", "before2001"})
        QCOMPARE(back.value(QLatin1String(key)), tree.value(QLatin1String(key)));
}

void TestDefaults::propertyListRejects()
{
    QVERIFY(!PropertyList::parse(QByteArray()));
    QVERIFY(!PropertyList::parse(QByteArray("bplist00")));
    QVERIFY(!PropertyList::parse(QByteArray("<plist><dict><key>a</key>")));
    QVERIFY(PropertyList::serialize(QVariantMap{{QStringLiteral("u"), QUrl(QStringLiteral("x:y"))}}).isEmpty());
    QVERIFY(PropertyList::serialize(QVariantList{QVariant()}).isEmpty());
    QVERIFY(!PropertyList::isInteger(QVariant(true)));
    QVERIFY(!PropertyList::isInteger(QVariant(1.0)));
    QVERIFY(PropertyList::isInteger(QVariant(quint16(1))));
}

QTEST_GUILESS_MAIN(TestDefaults)
#include "tst_defaults.moc"
