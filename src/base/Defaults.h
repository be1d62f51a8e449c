#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QMutex>
#include <QString>
#include <QVariant>
#include <QWaitCondition>

#include <atomic>
#include <optional>
#include <thread>

// The user's preferences domain: one typed property list per application, at
// $XDG_CONFIG_HOME/tarnwell/<bundle-id>.plist. Values keep their kind, so a reader can tell "absent" from
// "present but of another kind" (the engine's fallbacks depend on that).
//
// Every change is handed to a writer thread at once; it serialises the newest state and replaces the file
// atomically (temporary file + rename, mode 0600). Changes that arrive while a write is running are
// coalesced into the next one, so the main thread never pays for serialising a large event log. flush()
// waits until everything set so far is on disk; the destructor flushes, and opening a second instance on
// the same file first flushes the live one, so a reader never sees an older state than a writer left.
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

    // Re-reads the file (used after an external change, and by tests).
    void reload();

private:
    void scheduleWriteLocked();
    void writerLoop();
    bool writeSnapshot(const QVariantMap &values) const;
    void loadLocked();

    const QString m_filePath;
    mutable QMutex m_mutex;
    QWaitCondition m_changed;
    QVariantMap m_values;
    quint64 m_generation = 0; // bumped by every change
    quint64 m_written = 0;    // the generation the last finished write carried
    bool m_stopping = false;
    // Set when a damaged file could not be moved aside: writing would destroy it.
    std::atomic<bool> m_readOnly = false;
    std::thread m_writer;
};
