#pragma once

#include "logging/AuditLogEntry.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The audit file format and its per-entry append: one pretty-printed JSON array of entries, newest first.
// Stateless and reentrant; EnterpriseAuditLog serialises the appends on its single writer thread.
namespace AuditLogFile {

inline constexpr int kMaxDiskEntries = 10000;

// Parses the whole file content; nullopt (and *error set) when it is not a JSON array. An entry that cannot
// be decoded is left out alone ("entry N: reason" appended to *skipped); the others load.
std::optional<QList<AuditLogEntry>> decode(const QByteArray &bytes, QString *error = nullptr,
                                           QStringList *skipped = nullptr);
QByteArray encode(const QList<AuditLogEntry> &entries);

// Reads the file (absent -> empty list, no error). On a read or decode error returns nullopt with *error set.
std::optional<QList<AuditLogEntry>> read(const QString &filePath, QString *error = nullptr,
                                         QStringList *skipped = nullptr);

// Read the whole file, insert the entries (newest first) at the front, keep the first maxEntries, write it
// back through DurableFile (mode 0600). A file that cannot be decoded, or holds entries that cannot, is
// first renamed to "<file>.corrupt-<UTC timestamp>" (console line), so nothing is overwritten unseen; the
// readable entries are carried over. Returns whether the
// file was written; on failure *error holds the reason (no console line: the caller reports it once) and
// the file is as it was.
bool append(const QString &filePath, const QList<AuditLogEntry> &newestFirst, int maxEntries = kMaxDiskEntries,
            QString *error = nullptr);

} // namespace AuditLogFile
