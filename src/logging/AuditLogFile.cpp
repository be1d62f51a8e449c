#include "AuditLogFile.h"

#include "base/Console.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QSaveFile>

namespace {
const QString kSaveFailedLine = QStringLiteral("❌ [AUDIT] Failed to save audit log: ");
const QString kKeptAsideLine = QStringLiteral("⚠️ [AUDIT] Unreadable audit log kept as ");
const QString kKeepAsideFailedLine = QStringLiteral("❌ [AUDIT] Could not keep unreadable audit log aside: ");

// Renames a file we are about to replace because it cannot be decoded; its content stays for inspection.
bool keepAside(const QString &filePath)
{
    const QString stem =
        filePath + QStringLiteral(".corrupt-") + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = stem;
    for (int n = 1; QFileInfo::exists(target) && n < 1000; ++n)
        target = stem + QLatin1Char('-') + QString::number(n);
    if (QFile::rename(filePath, target)) {
        Console::line(kKeptAsideLine + target);
        return true;
    }
    Console::line(kKeepAsideFailedLine + filePath);
    return false;
}
} // namespace

namespace {
// Parses and validates the file content; the array is kept as parsed so an append rewrites old entries
// without converting them back and forth.
std::optional<QJsonArray> parseArray(const QByteArray &bytes, QList<AuditLogEntry> *entries, QString *error)
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
    QJsonArray array = document.array();
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
            if (error)
                *error = QStringLiteral("entry %1: %2").arg(i).arg(entryError);
            return std::nullopt;
        }
        if (entries)
            entries->append(std::move(*entry));
    }
    return array;
}
} // namespace

namespace AuditLogFile {

std::optional<QList<AuditLogEntry>> decode(const QByteArray &bytes, QString *error)
{
    QList<AuditLogEntry> entries;
    if (!parseArray(bytes, &entries, error))
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

std::optional<QList<AuditLogEntry>> read(const QString &filePath, QString *error)
{
    QFile file(filePath);
    if (!file.exists())
        return QList<AuditLogEntry>();
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = file.errorString();
        return std::nullopt;
    }
    return decode(file.readAll(), error);
}

bool append(const QString &filePath, const AuditLogEntry &entry, int maxEntries)
{
    QJsonArray array;
    QFile existing(filePath);
    if (existing.exists()) {
        if (!existing.open(QIODevice::ReadOnly)) {
            // Replacing a file we could not even read could destroy history; leave it and report.
            Console::line(kSaveFailedLine + existing.errorString());
            return false;
        }
        const QByteArray bytes = existing.readAll();
        existing.close();
        if (auto parsed = parseArray(bytes, nullptr, nullptr))
            array = std::move(*parsed);
        else if (!bytes.trimmed().isEmpty())
            keepAside(filePath);
    }

    array.prepend(entry.toJson());
    while (array.size() > maxEntries)
        array.removeLast();

    QDir().mkpath(QFileInfo(filePath).absolutePath());
    QSaveFile out(filePath);
    if (!out.open(QIODevice::WriteOnly)) {
        Console::line(kSaveFailedLine + out.errorString());
        return false;
    }
    out.write(QJsonDocument(array).toJson(QJsonDocument::Indented));
    if (!out.commit()) {
        Console::line(kSaveFailedLine + out.errorString());
        return false;
    }
    return true;
}

} // namespace AuditLogFile
