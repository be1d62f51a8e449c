#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <QWaitCondition>

#include "PropertyList.h"

#include <atomic>
#include <functional>
#include <optional>
#include <thread>

// The user's preferences domain: one typed property list per application, at
// $XDG_CONFIG_HOME/tarnwell/<bundle-id>.plist. Values keep their kind, so a reader can tell "absent" from
// "present but of another kind" (the engine's fallbacks depend on that).
//
// Every change is handed to a writer thread at once; it serialises the newest state and replaces the file
// through DurableFile (checked writes, fsync, atomic rename, mode 0600). Changes that arrive while a write
// is running are coalesced into the next one, so the main thread never pays for serialising a large event
// log. flush() waits until everything set so far was attempted; the destructor flushes, and opening a
// second instance on the same file first flushes the live one, so a reader never sees an older state than
// a writer left.
//
// A failed write (full disk, read-only folder) leaves the previous file as it was, prints one console line
// (again only when the reason changes) and is retried every retryInterval() and with the next change, so
// the newest state lands once space returns; "saved again" is printed then. Whoever must know whether a
// change reached the disk takes generation() after making it and asks whenSaved().
//
// Thread-safe: the engine writes from the main thread, workers read (the probe reads its time-out).
// A file that cannot be parsed at start is moved aside with a console line, never silently overwritten.
class Defaults
{
public:
    explicit Defaults(QString filePath);
    ~Defaults();
    Q_DISABLE_COPY_MOVE(Defaults)

    // $XDG_CONFIG_HOME/tarnwell/<bundle-id>.plist
    static QString standardFilePath();

    QString filePath() const { return m_filePath; }

    bool contains(const QString &key) const;
    QVariant value(const QString &key) const; // invalid when absent

    // Present and of the named kind; nullopt otherwise.
    std::optional<qint64> integer(const QString &key) const;
    std::optional<bool> boolean(const QString &key) const;
    std::optional<QString> string(const QString &key) const;
    std::optional<QDateTime> date(const QString &key) const;
    std::optional<QByteArray> data(const QString &key) const;
    std::optional<QVariantList> array(const QString &key) const;
    std::optional<QVariantMap> dictionary(const QString &key) const;

    // Stores the value and schedules the write. Integral values are stored as integers, whatever their
    // C++ type. Returns false (with a console line, nothing stored) when the value has no property-list
    // form. A failed file write prints a console line; the in-memory value is kept so the running
    // application stays consistent.
    bool setValue(const QString &key, const QVariant &value);
    bool remove(const QString &key);

    // Blocks until every change made before the call is written (or its write has failed).
    void flush();

    // Counts the changes made so far; a change is on disk once a write carrying its generation succeeded.
    quint64 generation() const;
    // Calls `done` on `context`'s thread (queued, never inline) once the first write carrying `generation`
    // was attempted: with an empty text when it is on disk, else with the reason it is not (it stays in
    // memory and is retried). Nothing is called when the context is gone by then.
    using SavedCallback = std::function<void(const QString &error)>;
    void whenSaved(quint64 generation, QObject *context, SavedCallback done);
    // The reason the last write failed; empty while the file holds everything attempted.
    QString lastSaveError() const;

    static constexpr int kDefaultRetryIntervalMs = 2000;
    void setRetryInterval(int milliseconds);

    // Re-reads the file (used after an external change, and by tests).
    void reload();

private:
    void scheduleWriteLocked();
    void writerLoop();
    QString writeSnapshot(const QVariantMap &values) const; // the error, empty on success
    void loadLocked();
    void notifyWaitersLocked();

    struct Waiter
    {
        quint64 generation;
        QPointer<QObject> context;
        SavedCallback done;
    };

    const QString m_filePath;
    mutable QMutex m_mutex;
    QWaitCondition m_changed;
    QVariantMap m_values;
    quint64 m_generation = 0; // bumped by every change
    quint64 m_attempted = 0;  // the generation the last finished write carried, whatever its outcome
    quint64 m_saved = 0;      // the generation the last successful write carried
    QString m_lastError;
    QList<Waiter> m_waiters;
    int m_retryMs = kDefaultRetryIntervalMs;
    bool m_stopping = false;
    // Set when a damaged file could not be moved aside: writing would destroy it.
    std::atomic<bool> m_readOnly = false;
    std::thread m_writer;
    // The writer thread's own: the text of records unchanged since the last write is reused.
    mutable PropertyList::XmlCache m_xmlCache;
};
