#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QMutex>
#include <QString>
#include <QVariant>

#include <optional>

// The user's preferences domain: one typed property list per application, at
// $XDG_CONFIG_HOME/tarnwell/<bundle-id>.plist. Values keep their kind, so a reader can tell "absent" from
// "present but of another kind" (the engine's fallbacks depend on that). Every change is written through at
// once, atomically (temporary file + rename), with mode 0600.
//
// Thread-safe: the engine writes from the main thread, workers read (the probe reads its time-out).
// A file that cannot be parsed at start is moved aside with a console line, never silently overwritten.
class Defaults
{
public:
    explicit Defaults(QString filePath);
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

    // Stores and writes through. Integral values are stored as integers, whatever their C++ type.
    // Returns false (and prints a console line) when the file could not be written; the in-memory value
    // is kept so the running application stays consistent.
    bool setValue(const QString &key, const QVariant &value);
    bool remove(const QString &key);

    // Re-reads the file (used after an external change, and by tests).
    void reload();

private:
    bool writeLocked();
    void loadLocked();

    const QString m_filePath;
    mutable QMutex m_mutex;
    QVariantMap m_values;
};
