#pragma once

#include "platform/ManagedPreferenceSource.h"

#include <QByteArray>
#include <QFileSystemWatcher>
#include <QSet>
#include <QString>
#include <QStringList>

// Managed preferences from a folder of profiles: every "*.mobileconfig" and "*.plist" in
// /etc/tarnwell/managed (or the folder named by TARNWELL_MANAGED_DIR), XML or binary property lists,
// merged in file-name order: the "ManagedShares" lists of all files add up in that order; any other key of a
// later file replaces an earlier one's.
//
// A file contributes the keys of every payload in its "PayloadContent" whose "PayloadType" is the bundle
// identifier (the generator's format), of the root dictionary itself when its "PayloadType" is the bundle
// identifier, or, for a dictionary without payload keys, all of its keys.
//
// Only files that nobody but root (or the user the engine runs as) can change count: a file or folder
// writable by group or others, or owned by another user, is ignored with a console line, as is a file that
// cannot be read or does not parse (once per version of the file); the other files still count.
//
// The folder is watched: changed() follows a change of the set of files, their sizes or times (the folder's
// parent is watched while the folder does not exist). Main thread.
class ManagedPreferenceFolder : public ManagedPreferenceSource
{
    Q_OBJECT
public:
    static inline const QString kDefaultFolder = QStringLiteral("/etc/tarnwell/managed");
    static inline const char kFolderVariable[] = "TARNWELL_MANAGED_DIR";
    static constexpr qint64 kMaxFileBytes = 4 * 1024 * 1024;

    // Console lines.
    static inline const QString kUnparsableLine =
        QStringLiteral("⚠️ [MDM] Ignoring managed preferences file %1: not a property list");
    static inline const QString kUnreadableLine = QStringLiteral("⚠️ [MDM] Ignoring managed preferences file %1: %2");
    static inline const QString kUnsafeFolderLine = QStringLiteral("⚠️ [MDM] Ignoring managed preferences folder %1: %2");

    // The folder from TARNWELL_MANAGED_DIR, else kDefaultFolder.
    static QString standardFolder();

    explicit ManagedPreferenceFolder(QString folder = standardFolder(), QObject *parent = nullptr);

    QString folder() const { return m_folder; }
    QVariantMap values() override;

    // The managed keys one parsed property list contributes (see above); empty when none.
    static QVariantMap keysFromPropertyList(const QVariant &root);
    // Why a file or folder at `path` may not be trusted; empty when it may. `uid` is the user the engine runs
    // as, whose own files are trusted besides root's.
    static QString unsafeReason(const QString &path, uint uid);

private:
    void report(const QString &path, const QString &line);
    void rewatch();
    QByteArray fingerprint() const;

    QString m_folder;
    QFileSystemWatcher m_watcher;
    QByteArray m_fingerprint;
    QSet<QString> m_reported;
};
