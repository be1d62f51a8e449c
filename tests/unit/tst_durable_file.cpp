// DurableFile: the one write path of every store. A failed write leaves the previous file byte for byte and
// no temporary behind; a successful one is private and replaces the file in one step.
#include "UnitTestHelpers.h"
#include "base/DurableFile.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {
mode_t modeOf(const QString &path)
{
    struct stat st = {};
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode & 07777 : mode_t(-1);
}
} // namespace

class TestDurableFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.emplace().isValid()); }

    void writesPrivateFileInPrivateFolders()
    {
        ::umask(022);
        const QString path = m_dir->filePath(QStringLiteral("a/b/store.json"));
        const QByteArray bytes(300000, 'x'); // larger than one write may take
        const DurableFile::Result result = DurableFile::write(path, bytes, 0600);
        QVERIFY2(result.ok, qPrintable(result.error));
        QCOMPARE(readFile(path), bytes);
        QCOMPARE(modeOf(path), mode_t(0600));
        QCOMPARE(modeOf(m_dir->filePath(QStringLiteral("a"))), mode_t(0700));
        QCOMPARE(modeOf(m_dir->filePath(QStringLiteral("a/b"))), mode_t(0700));

        // A replacement is a new file: a hard link to the old one keeps the old content.
        const QString link = m_dir->filePath(QStringLiteral("a/b/old"));
        QCOMPARE(::link(QFile::encodeName(path).constData(), QFile::encodeName(link).constData()), 0);
        QVERIFY(DurableFile::write(path, "new", 0600).ok);
        QCOMPARE(readFile(path), QByteArray("new"));
        QCOMPARE(readFile(link), bytes);
        QCOMPARE(QDir(m_dir->filePath(QStringLiteral("a/b"))).entryList(QDir::Files | QDir::Hidden),
                 (QStringList{QStringLiteral("old"), QStringLiteral("store.json")}));
    }

    void failureLeavesPreviousFile_data()
    {
        // (A disk full in mid-write: tests/integration/tst_durability.sh, on a tmpfs that fills up.)
        QTest::addColumn<QString>("fault");
        QTest::newRow("path is a folder") << QStringLiteral("folder");
        QTest::newRow("folder cannot be created") << QStringLiteral("parent-is-file");
        QTest::newRow("export into a missing folder") << QStringLiteral("no-folder");
    }

    void failureLeavesPreviousFile()
    {
        QFETCH(QString, fault);
        QString path = m_dir->filePath(QStringLiteral("store.json"));
        const QByteArray previous("previous content");
        QVERIFY(writeFile(path, previous));
        bool createFolder = true;
        if (fault == QLatin1String("folder")) {
            path = m_dir->filePath(QStringLiteral("dir.json"));
            QVERIFY(QDir().mkpath(path + QStringLiteral("/inner")));
        } else if (fault == QLatin1String("parent-is-file")) {
            path += QStringLiteral("/below/file.json");
        } else {
            path = m_dir->filePath(QStringLiteral("missing/file.json"));
            createFolder = false;
        }
        const DurableFile::Result result = DurableFile::write(path, QByteArray(100000, 'n'), 0600, createFolder);
        QVERIFY(!result.ok);
        QVERIFY(!result.error.isEmpty());
        QCOMPARE(readFile(m_dir->filePath(QStringLiteral("store.json"))), previous);
        // Nothing else was left in the folder: no temporary, no new folder.
        QStringList expected{QStringLiteral("store.json")};
        if (fault == QLatin1String("folder"))
            expected.prepend(QStringLiteral("dir.json"));
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), expected);
    }

    void leftoversOfAKilledWriterAreRemoved()
    {
        const QString path = m_dir->filePath(QStringLiteral("store.json"));
        QVERIFY(writeFile(path, "kept"));
        QVERIFY(writeFile(m_dir->filePath(QStringLiteral(".store.json.Ab12Cd")), "half"));
        QVERIFY(writeFile(m_dir->filePath(QStringLiteral(".other.json.Ab12Cd")), "not ours"));
        DurableFile::removeLeftovers(path);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden),
                 (QStringList{QStringLiteral(".other.json.Ab12Cd"), QStringLiteral("store.json")}));
    }

private:
    std::optional<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TestDurableFile)
#include "tst_durable_file.moc"
