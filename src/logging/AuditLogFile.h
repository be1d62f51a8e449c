#pragma once

#include "logging/AuditLogEntry.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// The audit file format and its per-entry append: one pretty-printed JSON array of entries, newest first.
// Stateless and reentrant; EnterpriseAuditLog serialises the appends on its single writer thread.
namespace AuditLogFile {

inline constexpr int kMaxDiskEntries = 10000;

// Parses the whole file content; nullopt (and *error set) when it is not a JSON array of valid entries.
std::optional<QList<AuditLogEntry>> decode(const QByteArray &bytes, QString *error = nullptr);
QByteArray encode(const QList<AuditLogEntry> &entries);

// Reads the file (absent -> empty list, no error). On a read or decode error returns nullopt with *error set.
std::optional<QList<AuditLogEntry>> read(const QString &filePath, QString *error = nullptr);

// Read the whole file, insert entry at the front, keep the first maxEntries, write it back atomically.
// A file that cannot be decoded is first renamed to "<file>.corrupt-<UTC timestamp>" (console line), so
// it is never overwritten unseen. Failures print "❌ [AUDIT] Failed to save audit log: " + error.
// Returns whether the file was written.
bool append(const QString &filePath, const AuditLogEntry &entry, int maxEntries = kMaxDiskEntries);

} // namespace AuditLogFile
