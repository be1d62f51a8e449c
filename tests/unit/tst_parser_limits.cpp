// Every reader of outside files against hostile input: containers nested 50,000 deep and files beyond the
// size bound. None may crash; each refuses, and the stores keep the offending file aside (never overwrite it).
#include "UnitTestHelpers.h"
#include "base/BoundedFile.h"
#include "base/Defaults.h"
#include "core/LegacyArchive.h"
#include "exchange/ConfigurationManager.h"
#include "logging/AuditLogEntry.h"
#include "logging/AuditLogFile.h"
#include "rules/Rule.h"

#include <QTemporaryDir>
#include <QTest>

#include <functional>

namespace {

constexpr int kDepth = 50000;

QByteArray deepXmlPlist()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + QByteArray("<array>").repeated(kDepth)
           + QByteArray("</array>").repeated(kDepth) + "</plist>\n";
}

// Object i is an array holding object i + 1 (2-byte references, 4-byte offsets); the last one is empty.
QByteArray deepBinaryPlist()
{
    const auto bigEndian = [](quint64 v, int bytes) {
        QByteArray out;
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            out += char(v >> shift);
        return out;
    };
    QByteArray out("bplist00");
    QByteArray table;
    for (int i = 0; i < kDepth; ++i) {
        table += bigEndian(quint64(out.size()), 4);
        out += i + 1 < kDepth ? char(0xA1) + bigEndian(quint64(i + 1), 2) : QByteArray(1, char(0xA0));
    }
    const quint64 tableOffset = quint64(out.size());
    return out + table + QByteArray(6, '\0') + char(4) + char(2) + bigEndian(kDepth, 8) + bigEndian(0, 8)
           + bigEndian(tableOffset, 8);
}

QByteArray deepJson()
{
    return QByteArray("[").repeated(kDepth) + QByteArray("]").repeated(kDepth);
}

// A sparse file one byte beyond the bound: nothing needs to be read to refuse it.
QByteArray oversized(qint64 limit)
{
    return "sparse:" + QByteArray::number(limit + 1);
}

bool place(const QString &path, const QByteArray &content)
{
    if (!content.startsWith("sparse:"))
        return writeFile(path, content);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(content.mid(7).toLongLong());
}

bool keptAside(const QString &path)
{
    const QFileInfo info(path);
    return !info.exists()
           && !QDir(info.absolutePath()).entryList({info.fileName() + QStringLiteral(".corrupt-*")}).isEmpty();
}

using Reader = std::function<bool(const QString &path)>; // true when the file was refused as it should be

const Reader preferences = [](const QString &path) {
    Defaults defaults(path);
    return defaults.value(QStringLiteral("any")).isNull() && keptAside(path);
};
const Reader auditLog = [](const QString &path) {
    QString error;
    if (AuditLogFile::read(path, &error) || error.isEmpty())
        return false;
    // The next entry does not overwrite it: the file goes aside first.
    AuditLogEntry entry;
    entry.details = QStringLiteral("after");
    const qint64 before = QFileInfo(path).size();
    if (!AuditLogFile::append(path, {entry}, 10, &error) || QFileInfo(path).size() == before)
        return false;
    const QStringList aside = QDir(QFileInfo(path).absolutePath()).entryList({QStringLiteral("file.corrupt-*")});
    return aside.size() == 1 && QFileInfo(QFileInfo(path).absolutePath() + QLatin1Char('/') + aside.first()).size() == before;
};
const Reader rules = [](const QString &path) {
    QString error;
    return !Rule::decodeList(readFile(path), &error) && !error.isEmpty();
};
const Reader imported = [](const QString &path) { // configuration and set files, share CSV, the macOS build
    QByteArray bytes;
    return ConfigurationManager::readFile(path, &bytes).contains(BoundedFile::tooLargeText(BoundedFile::kImportLimit));
};
const Reader legacyArchive = [](const QString &path) {
    QString error;
    return !LegacyArchive::importFromPreferencesFile(path, &error) && !error.isEmpty();
};

} // namespace

class TestParserLimits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refused_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<Reader>("reader");
        QTest::newRow("preferences, deep XML") << deepXmlPlist() << preferences;
        QTest::newRow("preferences, deep binary") << deepBinaryPlist() << preferences;
        QTest::newRow("preferences, oversized") << oversized(BoundedFile::kStoreLimit) << preferences;
        QTest::newRow("audit log, deep") << deepJson() << auditLog;
        QTest::newRow("audit log, oversized") << oversized(BoundedFile::kLogLimit) << auditLog;
        QTest::newRow("rules, deep") << deepJson() << rules;
        QTest::newRow("imports, oversized") << oversized(BoundedFile::kImportLimit) << imported;
        QTest::newRow("legacy archive, deep") << deepBinaryPlist() << legacyArchive;
        QTest::newRow("legacy archive, oversized") << oversized(BoundedFile::kStoreLimit) << legacyArchive;
    }
    void refused()
    {
        QFETCH(QByteArray, content);
        QFETCH(Reader, reader);
        ConsoleCapture console;
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("file"));
        QVERIFY(place(path, content));
        QVERIFY(reader(path));
    }
};

QTEST_GUILESS_MAIN(TestParserLimits)
#include "tst_parser_limits.moc"
