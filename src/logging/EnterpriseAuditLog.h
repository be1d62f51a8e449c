#pragma once

#include "logging/AuditLogEntry.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QDeadlineTimer>
#include <QMutex>
#include <QWaitCondition>

#include <atomic>
#include <optional>
#include <thread>

class Clock;

// The administrator's audit record of what happened to shares on this machine: a JSON file of up to
// 10,000 entries (newest first) plus the newest 500 in memory for views and exports.
//
// One long-lived instance, created at start-up on the main thread and passed to its users; it must
// outlive every thread that calls log().
// Threads: log() may be called from any thread. The in-memory list is changed only on the object's own
// (main) thread, through a queued invocation; entries(), exports and the signal belong to that thread.
// File appends run on one private writer thread: entries logged while a write runs are coalesced into the
// next one (a burst costs a few rewrites, not one per entry), each write reads the file and replaces it
// through DurableFile, so simultaneous events never lose an entry and a crash never leaves half a file.
// A failed write keeps its entries queued, prints "❌ [AUDIT] Failed to save audit log: " + reason once per
// reason, and is retried every retry interval and with the next entry.
class EnterpriseAuditLog : public QObject
{
    Q_OBJECT
public:
    static constexpr int kMaxMemoryEntries = 500;
    static constexpr int kMaxDiskEntries = 10000;
    static inline const QString kCsvHeader =
        QStringLiteral("Timestamp,Event Type,Share Name,Hostname,Username,Machine,Success,Error Code,Details\n");

    // Loads the file (creating its folder when missing; failure ignored). Console lines:
    // "📋 [AUDIT] Loaded N audit log entries", or "❌ [AUDIT] Failed to load audit log: " + error.
    explicit EnterpriseAuditLog(const QString &filePath, QObject *parent = nullptr);
    // Waits for the pending file writes.
    ~EnterpriseAuditLog() override;

    // $XDG_DATA_HOME/Tarnwell/audit_log.json
    static QString standardFilePath();

    QString filePath() const { return m_filePath; }

    // The clock that dates entries (not owned, must outlive the log; its now() is called on the caller's
    // thread). Null: the system time.
    void setClock(const Clock *clock) { m_clock = clock; }

    // Any thread. Prints "📋 [AUDIT] <RAW>: <details>" at once, queues the in-memory insertion (newest
    // first, capped at 500) and the file append.
    void log(AuditEventType type, const std::optional<QString> &shareName, const std::optional<QString> &hostname,
             const QString &details, bool success, std::optional<int> errorCode = std::nullopt);

    // Main thread. Newest first, at most 500.
    QList<AuditLogEntry> entries() const { return m_entries; }

    // Main thread. In-memory entries with start <= timestamp <= end (either bound optional), newest first.
    QList<AuditLogEntry> filtered(std::optional<QDateTime> start, std::optional<QDateTime> end) const;
    // The header line, then one line per entry; only the details field is quoted (quotes doubled), the
    // other fields are written as they are, even with commas.
    QString exportCSV(std::optional<QDateTime> start, std::optional<QDateTime> end) const;
    // Pretty-printed JSON array, sorted keys, ISO 8601 dates; nullopt when encoding fails.
    std::optional<QByteArray> exportJSON(std::optional<QDateTime> start, std::optional<QDateTime> end) const;

    // Blocks until every entry logged so far was written or its write failed (tests, benches, shutdown).
    // Not for the main thread during normal operation.
    void waitForPendingWrites();
    // Entries logged but not yet on disk (their last write failed, or it is still running).
    int pendingEntryCount() const;

    static constexpr int kDefaultRetryIntervalMs = 2000;
    void setRetryInterval(int milliseconds);

    // Login name of the user (getpwuid), and the machine's pretty host name (else the host name, else
    // "Unknown"), as recorded in every entry.
    static QString currentUserName();
    static QString currentMachineName();

Q_SIGNALS:
    // Main thread: the in-memory list changed.
    void entriesChanged();

private:
    void insertInMemory(const AuditLogEntry &entry);
    void writerLoop();

    const QString m_filePath;
    const QString m_userName;
    const QString m_machineName;
    QList<AuditLogEntry> m_entries;
    std::atomic<const Clock *> m_clock = nullptr;

    mutable QMutex m_writeMutex; // guards the members below
    QWaitCondition m_writeChanged;
    QList<AuditLogEntry> m_unwritten; // oldest first
    quint64 m_loggedCount = 0;        // entries handed to the writer so far
    quint64 m_attemptedCount = 0;     // of those, how many a finished write carried (whatever its outcome)
    QString m_lastWriteError;
    int m_retryMs = kDefaultRetryIntervalMs;
    bool m_stopping = false;
    std::thread m_writer;
};
