#pragma once

#include "logging/LogEvent.h"

#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class Defaults;
class Clock;
class NotificationCenter;

// The user-visible event log: the list of LogEvent, newest first, persisted whole under
// "Tarnwell_LogEventArray" in the preferences domain (natively, as an array of dictionaries) after every
// change.
//
// Thread: main thread only (views observe the list; checked by TW_ASSERT_MAIN_THREAD in debug builds).
// Workers hand events over with a queued invocation.
// Ownership: holds references to the Defaults and the NotificationCenter, which must outlive it.
//
// Loading never fails: a stored value that is not an array is ignored (empty log, one console line); an
// element that is not a dictionary or lacks a required key is skipped with one console line naming its
// index, and the remaining entries are kept. The skipped entries disappear from the store at the next write.
//
// Every change posts "Tarnwell_RefreshLogEventTableView" (no user info) and emits changed().
class LogEventManager : public QObject
{
    Q_OBJECT
public:
    // Texts of the clear-all confirmation (the dialog itself belongs to the user interface).
    static inline const QString kClearAllMessage = QStringLiteral("Clear All Logs?");
    static inline const QString kClearAllInformativeText =
        QStringLiteral("This will permanently delete all log entries. This action cannot be undone.");
    static inline const QString kClearAllConfirmButton = QStringLiteral("Clear Logs");
    static inline const QString kClearAllCancelButton = QStringLiteral("Cancel");

    static constexpr int kDefaultMaxNumberOfLogLines = 2000;

    LogEventManager(Defaults &defaults, NotificationCenter *center, QObject *parent = nullptr);

    // The clock that dates added events and ages entries at a trim (not owned; null: the system time).
    void setClock(const Clock *clock) { m_clock = clock; }

    // Inserts at index (clamped into 0..count; callers pass 0 so the newest is first), dated now by the
    // clock when one is set, trims to the limit, persists and notifies.
    void addEvent(const LogEvent &event, int index = 0);

    const QList<LogEvent> &events() const { return m_events; }

    // Set by the log table when the user sorts it by a column: the trim then removes the entry with the
    // oldest date (the first of equal oldest dates) instead of the last one.
    void setSorted(bool sorted) { m_isSorted = sorted; }
    bool isSorted() const { return m_isSorted; }

    // The delegate's copy of "max_number_of_log_lines_Int". When set it wins over the stored preference;
    // when unset the preference is read at each trim (2000 when it was never written).
    void setMaxNumberOfLogLines(std::optional<int> limit) { m_maxLinesOverride = limit; }
    int maxNumberOfLogLines() const;

    // Asks confirm() (true = "Clear Logs"); on true empties the list, persists the empty list and notifies.
    // Returns whether the log was cleared.
    bool clearAll(const std::function<bool()> &confirm);

    // Removes every entry about the record (for "delete_associated_log_entries"); persists and notifies
    // when anything was removed. Returns the number removed.
    int removeEventsForRecord(qint64 recordId);

    // Re-reads the stored list (start-up does this in the constructor).
    void reload();

Q_SIGNALS:
    void changed();

private:
    // Removes entries above the limit; true when anything was removed.
    bool trim();
    QDateTime now() const;
    void persistAndNotify();

    Defaults &m_defaults;
    NotificationCenter *m_center;
    const Clock *m_clock = nullptr;
    QList<LogEvent> m_events;
    bool m_isSorted = false;
    std::optional<int> m_maxLinesOverride;
};
