#include "UnitTestHelpers.h"
#include "base/Defaults.h"
#include "base/PropertyList.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QUrl>

#include <sys/stat.h>
#include <unistd.h>

namespace {

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
    const std::pair<const char *, bool> seen[] = {
        {"integer", d.integer(key).has_value()}, {"boolean", d.boolean(key).has_value()},
        {"string", d.string(key).has_value()},   {"date", d.date(key).has_value()},
        {"data", d.data(key).has_value()},       {"array", d.array(key).has_value()},
        {"dictionary", d.dictionary(key).has_value()},
    };
    QStringList out;
    for (const auto &[reader, sees] : seen)
        if (sees)
            out << QLatin1String(reader);
    return out;
}

} // namespace

class TestDefaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void kindsSurviveRestart_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("expected");
        QTest::addColumn<QString>("reader"); // the one typed reader that must see it; empty for reals
        auto row = [](const char *name, const QVariant &value, const char *reader, const QVariant &expected = {}) {
            QTest::newRow(name) << value << (expected.isValid() ? expected : value) << QString::fromLatin1(reader);
        };
        const QDateTime date(QDate(2024, 2, 29), QTime(23, 59, 58), QTimeZone::utc());
        const QDateTime local(QDate(2024, 7, 1), QTime(12, 0, 0), QTimeZone(3600 * 2));
        const QVariantList nested{qint64(1), QStringLiteral("a"), QVariantList{true, date}, QVariantMap{{QStringLiteral("k"), 2.5}}};
        const QVariantMap dict{{QStringLiteral("inner"), QVariantMap{{QStringLiteral("list"), QVariantList{QByteArray("d"), false}}}},
                               {QStringLiteral("n"), qint64(-1)}};

        row("any integral type stored as integer", quint16(42), "integer", qint64(42));
        row("negative 64-bit integer", -(qint64(1) << 40), "integer");
        row("string", QStringLiteral("Grüße 🎉 <&> \"q\""), "string");
        row("empty string", QString(), "string");
        row("numeric text stays text", QStringLiteral("15"), "string");
        row("date with offset", local, "date", local.toUTC());
        row("data", QByteArray("\x00\xff\x10plist", 8), "data");
        row("empty data", QByteArray(), "data");
        row("nested array", nested, "array");
        row("string list as array", QStringList{QStringLiteral("x"), QStringLiteral("y")}, "array",
            QVariantList{QStringLiteral("x"), QStringLiteral("y")});
        row("nested dictionary", dict, "dictionary");
        row("real", 2.5, "");
    }
    void kindsSurviveRestart()
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

    void absentIsNotAnotherKindAndReload()
    {
        Defaults d(path());
        Defaults other(path()); // a second reader of the same file, as another process would be
        QVERIFY(!d.contains(QStringLiteral("missing")));
        QVERIFY(!d.value(QStringLiteral("missing")).isValid());
        QVERIFY(readersThatSee(d, QStringLiteral("missing")).isEmpty());

        QVERIFY(d.setValue(QStringLiteral("flag"), false));
        QVERIFY(d.contains(QStringLiteral("flag")));
        QCOMPARE(d.boolean(QStringLiteral("flag")), std::optional<bool>(false)); // false, not absent
        QVERIFY(!d.integer(QStringLiteral("flag")));                              // a Boolean is no integer
        QVERIFY(!other.contains(QStringLiteral("flag")));                         // until it reloads
        other.reload();
        QCOMPARE(other.boolean(QStringLiteral("flag")), std::optional<bool>(false));

        QVERIFY(d.remove(QStringLiteral("flag")));
        QVERIFY(d.remove(QStringLiteral("flag"))); // removing an absent key is fine
        other.reload();
        QVERIFY(!other.contains(QStringLiteral("flag")));
    }

    void writeReplacesFileAtomicallyAndPrivately()
    {
        ::umask(022);
        auto mode = [this] {
            struct stat st = {};
            return ::stat(QFile::encodeName(path()).constData(), &st) == 0 ? st.st_mode & 0777 : mode_t(-1);
        };
        Defaults d(path());
        QVERIFY(d.setValue(QStringLiteral("a"), QStringLiteral("first")));
        d.flush();
        QCOMPARE(mode(), mode_t(0600));
        const QByteArray firstBytes = readFile(path());
        // A hard link keeps the old inode: a writer that rewrote the file in place would change it too.
        const QString link = m_dir->filePath(QStringLiteral("old-link.plist"));
        QCOMPARE(::link(QFile::encodeName(path()).constData(), QFile::encodeName(link).constData()), 0);

        QVERIFY(d.setValue(QStringLiteral("a"), QStringLiteral("second")));
        d.flush();
        QCOMPARE(mode(), mode_t(0600)); // the replacement too
        QCOMPARE(readFile(link), firstBytes);
        QVERIFY(readFile(path()).contains("second"));
        // Nothing but the file itself is left in its folder.
        QCOMPARE(QDir(QFileInfo(path()).absolutePath()).entryList(QDir::Files | QDir::Hidden | QDir::System),
                 QStringList{QStringLiteral("prefs.plist")});
    }

    void writeFailureKeepsMemory()
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
            QVERIFY2(l.contains(QStringLiteral(" [Persistence] ")), qPrintable(l));
        QVERIFY(QFileInfo(occupied + QStringLiteral("/inner")).isDir());

        // A value with no property-list form is refused before it is stored, with a line of its own.
        console.lines.clear();
        Defaults ok(path());
        for (const QVariant &v : {QVariant(QUrl(QStringLiteral("smb://h/s"))), QVariant(QVariantList{qint64(1), QVariant()})})
            QVERIFY(!ok.setValue(QStringLiteral("v"), v));
        QVERIFY(!ok.contains(QStringLiteral("v")));
        QCOMPARE(console.lines.size(), 2);
    }

    void failedWriteIsReportedAndRetried()
    {
        Defaults d(path());
        d.setRetryInterval(50);
        QVERIFY(d.setValue(QStringLiteral("a"), QStringLiteral("old")));
        d.flush();
        const QByteArray before = readFile(path());
        ConsoleCapture console;

        // Whoever asks learns the outcome of the write that carries the change, on its own thread.
        QObject context;
        std::optional<QString> outcome;
        auto ask = [&] {
            outcome.reset();
            d.whenSaved(d.generation(), &context, [&](const QString &error) { outcome = error; });
        };
        {
            FileSizeLimit full(before.size() + 16); // the disk fills up
            QVERIFY(d.setValue(QStringLiteral("big"), QByteArray(64 * 1024, 'b')));
            ask();
            QTRY_VERIFY(outcome.has_value());
            QVERIFY(!outcome->isEmpty());
            QCOMPARE(d.lastSaveError(), *outcome);
            QTest::qWait(300); // several retries fail meanwhile
            QCOMPARE(readFile(path()), before);
            QCOMPARE(QDir(QFileInfo(path()).absolutePath()).entryList(QDir::Files | QDir::Hidden),
                     QStringList{QStringLiteral("prefs.plist")});
            QCOMPARE(console.startingWith(QStringLiteral("❌ [Persistence] Preferences not saved")).size(), 1);
            // A change made while the disk is full is refused the same way; the value stays in memory.
            QVERIFY(d.setValue(QStringLiteral("c"), qint64(3)));
            ask();
            QTRY_VERIFY(outcome.has_value());
            QVERIFY(!outcome->isEmpty());
            QCOMPARE(d.integer(QStringLiteral("c")), std::optional<qint64>(3));
        }
        // Space returns: the retry lands without another change.
        QTRY_VERIFY(readFile(path()).contains("<key>big</key>"));
        QTRY_VERIFY(d.lastSaveError().isEmpty());
        QCOMPARE(console.startingWith(QStringLiteral("✅ [Persistence] Preferences saved again")).size(), 1);
        ask();
        QTRY_VERIFY(outcome.has_value());
        QCOMPARE(*outcome, QString());
        Defaults reread(m_dir->filePath(QStringLiteral("sub/prefs.plist")));
        QCOMPARE(reread.integer(QStringLiteral("c")), std::optional<qint64>(3));
    }

    void corruptFileIsMovedAside_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("text") << QByteArray("this is not a property list\n");
        QTest::newRow("truncated xml") << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key>");
        const QVariantMap tree{{QStringLiteral("a"), qint64(1)}};
        QTest::newRow("truncated binary") << PropertyList::serialize(tree, PropertyList::Format::Binary).left(20);
        QTest::newRow("root is an array") << PropertyList::serialize(QVariantList{qint64(1)});
        // Damage that libplist itself would answer with an abort: a NUL inside a key or a string.
        QTest::newRow("NUL in a binary key") << withNul(QVariantMap{{QStringLiteral("keyQk"), qint64(1)}}, "keyQk", 3);
        QTest::newRow("NUL in a binary string") << withNul(QVariantMap{{QStringLiteral("a"), QStringLiteral("valQv")}}, "valQv", 3);
        QTest::newRow("NUL in a UTF-16 string")
            << withNul(QVariantMap{{QStringLiteral("a"), QStringLiteral("☃Q")}}, QByteArray("\x26\x03\x00Q", 4), 3);
        QTest::newRow("empty file") << QByteArray();
    }
    void corruptFileIsMovedAside()
    {
        QFETCH(QByteArray, content);
        const QString folder = QFileInfo(path()).absolutePath();
        QVERIFY(writeFile(path(), content));

        ConsoleCapture console;
        Defaults d(path()); // start-up goes on
        QVERIFY(!d.contains(QStringLiteral("a")));
        QCOMPARE(console.lines.size(), 1);
        QVERIFY(console.lines.first().startsWith(QStringLiteral("⚠️ [Persistence] ")));

        const QStringList aside = QDir(folder).entryList({QStringLiteral("prefs.plist.corrupt-*")}, QDir::Files);
        QCOMPARE(aside.size(), 1);
        QVERIFY(console.lines.first().contains(aside.first()));
        const QString asidePath = folder + QLatin1Char('/') + aside.first();
        QCOMPARE(readFile(asidePath), content);
        QVERIFY(!QFile::exists(path()));

        // The next write makes a fresh file and leaves the damaged copy alone.
        QVERIFY(d.setValue(QStringLiteral("b"), true));
        d.flush();
        QCOMPARE(readFile(asidePath), content);
        QCOMPARE(Defaults(path()).boolean(QStringLiteral("b")), std::optional<bool>(true));
    }

    void propertyListFormats()
    {
        // Values the preferences file never holds but archives of older builds do (UIDs, dates before 2001).
        const QVariantMap tree{
            {QStringLiteral("uid"), QVariant::fromValue(PlistUid{7})},
            {QStringLiteral("uids"), QVariantList{QVariant::fromValue(PlistUid{0}), QVariant::fromValue(PlistUid{300})}},
            {QStringLiteral("neg"), qint64(-123456789012)},
            {QStringLiteral("real"), -0.25},
            {QStringLiteral("date"), QDateTime(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc())},
            {QStringLiteral("before2001"), QDateTime(QDate(1999, 12, 31), QTime(23, 0), QTimeZone::utc())},
        };
        for (const auto format : {PropertyList::Format::Xml, PropertyList::Format::Binary}) {
            const QByteArray bytes = PropertyList::serialize(tree, format);
            QCOMPARE(bytes.startsWith("bplist00"), format == PropertyList::Format::Binary);
            const QVariantMap back = PropertyList::parse(bytes).value_or(QVariant()).toMap();
            QCOMPARE(back.value(QStringLiteral("uid")).metaType(), QMetaType::fromType<PlistUid>());
            QCOMPARE(back.value(QStringLiteral("uid")).value<PlistUid>().value, quint64(7));
            QCOMPARE(back.value(QStringLiteral("uids")).toList().at(1).value<PlistUid>().value, quint64(300));
            for (const char *key : {"neg", "real", "date", "before2001"})
                QCOMPARE(back.value(QLatin1String(key)), tree.value(QLatin1String(key)));
        }
    }

private:
    QString path() const { return m_dir->filePath(QStringLiteral("sub/prefs.plist")); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TestDefaults)
#include "tst_defaults.moc"
