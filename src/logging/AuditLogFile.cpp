#include "AuditLogFile.h"
#include "base/BoundedFile.h"

#include "base/Console.h"
#include "base/DurableFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace {
const QString kKeptAsideLine = QStringLiteral("⚠️ [AUDIT] Unreadable audit log kept as ");
const QString kEntriesLeftOutLine =
    QStringLiteral("⚠️ [AUDIT] Unreadable audit entries left out of the log; the file as it was is kept as ");
const QString kKeepAsideFailedLine = QStringLiteral("❌ [AUDIT] Could not keep unreadable audit log aside: ");

// Renames a file we are about to replace because it cannot be decoded (whole or in part); its content
// stays for inspection.
bool keepAside(const QString &filePath, const QString &keptLine = kKeptAsideLine)
{
    const QString stem =
        filePath + QStringLiteral(".corrupt-") + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = stem;
    for (int n = 1; QFileInfo::exists(target) && n < 1000; ++n)
        target = stem + QLatin1Char('-') + QString::number(n);
    if (QFile::rename(filePath, target)) {
        Console::line(keptLine + target);
        return true;
    }
    Console::line(kKeepAsideFailedLine + filePath);
    return false;
}
} // namespace

namespace {
// Parses and validates the file content; the array is kept as parsed so an append rewrites old entries
// without converting them back and forth. A file that is no JSON array fails as a whole; an entry that
// cannot be decoded is left out alone, with its index and reason in *skipped.
std::optional<QJsonArray> parseArray(const QByteArray &bytes, QList<AuditLogEntry> *entries, QString *error,
                                     QStringList *skipped)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        if (error)
            *error = parseError.errorString() + QStringLiteral(" at offset ") + QString::number(parseError.offset);
        return std::nullopt;
    }
    if (!document.isArray()) {
        if (error)
            *error = QStringLiteral("the file does not hold a JSON array");
        return std::nullopt;
    }
    const QJsonArray array = document.array();
    QJsonArray good;
    if (entries)
        entries->reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        QString entryError;
        std::optional<AuditLogEntry> entry;
        if (array.at(i).isObject())
            entry = AuditLogEntry::fromJson(array.at(i).toObject(), &entryError);
        else
            entryError = QStringLiteral("not an object");
        if (!entry) {
            if (skipped)
                skipped->append(QStringLiteral("entry %1: %2").arg(i).arg(entryError));
            continue;
        }
        good.append(array.at(i));
        if (entries)
            entries->append(std::move(*entry));
    }
    return good;
}
} // namespace

namespace AuditLogFile {

std::optional<QList<AuditLogEntry>> decode(const QByteArray &bytes, QString *error, QStringList *skipped)
{
    QList<AuditLogEntry> entries;
    if (!parseArray(bytes, &entries, error, skipped))
        return std::nullopt;
    return entries;
}

QByteArray encode(const QList<AuditLogEntry> &entries)
{
    QJsonArray array;
    for (const AuditLogEntry &entry : entries)
        array.append(entry.toJson());
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

std::optional<QList<AuditLogEntry>> read(const QString &filePath, QString *error, QStringList *skipped)
{
    if (!QFile::exists(filePath))
        return QList<AuditLogEntry>();
    const BoundedFile::Content content = BoundedFile::read(filePath, BoundedFile::kLogLimit);
    if (!content.ok) {
        if (error)
            *error = content.error;
        return std::nullopt;
    }
    return decode(content.bytes, error, skipped);
}

bool append(const QString &filePath, const QList<AuditLogEntry> &newestFirst, int maxEntries, QString *error)
{
    QJsonArray array;
    if (QFile::exists(filePath)) {
        const BoundedFile::Content content = BoundedFile::read(filePath, BoundedFile::kLogLimit);
        if (!content.ok && !content.tooLarge) {
            // Replacing a file we could not even read could destroy history; leave it and report.
            if (error)
                *error = content.error;
            return false;
        }
        QStringList skipped;
        const auto parsed = content.ok ? parseArray(content.bytes, nullptr, nullptr, &skipped) : std::nullopt;
        if (parsed)
            array = *parsed;
        // Rewriting drops what could not be read (an oversized file included): the file as it was goes aside first.
        const bool unreadable = parsed ? !skipped.isEmpty() : (content.tooLarge || !content.bytes.trimmed().isEmpty());
        if (unreadable && !keepAside(filePath, parsed ? kEntriesLeftOutLine : kKeptAsideLine)) {
            if (error)
                *error = QStringLiteral("the unreadable file could not be kept aside");
            return false;
        }
    }

    QJsonArray merged;
    for (const AuditLogEntry &entry : newestFirst) {
        if (merged.size() >= maxEntries)
            break;
        merged.append(entry.toJson());
    }
    for (qsizetype i = 0; i < array.size() && merged.size() < maxEntries; ++i)
        merged.append(array.at(i));

    const DurableFile::Result result =
        DurableFile::write(filePath, QJsonDocument(merged).toJson(QJsonDocument::Indented), 0600);
    if (!result.ok && error)
        *error = result.error;
    return result.ok;
}

} // namespace AuditLogFile
