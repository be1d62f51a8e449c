#pragma once

#include "ShareSet.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUuid>

class Defaults;
class MountEngine;
class VolumeRecord;

// All share sets, in the user's order, kept as JSON data under "ShareSets" in the preferences domain.
// Mounts and ejects a set through the mount engine: members already in the wanted state (or busy) are
// skipped, a repeated member is handled once, at most kParallelMembers members run at a time, and
// operationFinished() reports when every member of the operation has ended.
//
// Deleting a share record removes its ID from every set: the manager watches the engine's recordsChanged()
// and drops IDs of records that existed before and are gone now (IDs that never named a record stay, as the
// set file may name shares that arrive later). Event-log entries of a deleted share are the engine's
// business (MountEngine::removeRecord, under "delete_associated_log_entries").
//
// Thread: main thread. The Defaults and the engine are not owned and must outlive the manager.
class ShareSetManager : public QObject
{
    Q_OBJECT
public:
    static inline const QString kSaveKey = QStringLiteral("ShareSets");
    static inline const QString kSavedLine = QStringLiteral("💾 Saved %1 share sets");
    static inline const QString kSaveFailedLine = QStringLiteral("❌ Failed to save share sets: ");
    static inline const QString kLoadedLine = QStringLiteral("📂 Loaded %1 share sets");
    static inline const QString kLoadFailedLine = QStringLiteral("❌ Failed to load share sets: ");
    static inline const QString kStatusNone = QStringLiteral("Not connected");
    static inline const QString kStatusAll = QStringLiteral("All connected");
    static inline const QString kStatusSome = QStringLiteral("%1/%2 connected");
    static constexpr int kParallelMembers = 4;

    enum class Operation { Mount, Eject };

    ShareSetManager(Defaults &defaults, MountEngine &engine, QObject *parent = nullptr);
    ~ShareSetManager() override;

    const QList<ShareSet> &sets() const { return m_sets; }
    const ShareSet *find(const QUuid &id) const;
    // A UUID text, else a name (exact, else ignoring case); null when none matches.
    const ShareSet *findByIdOrName(const QString &query) const;

    // Persistence. save() is false (with the console line, nothing stored) when the preferences refuse it.
    void load();
    bool save();

    // Editing; each saves. False when the set is unknown or the save failed.
    bool addSet(const ShareSet &set);
    bool updateSet(const ShareSet &set);
    bool deleteSet(const QUuid &id);
    // Removes every occurrence of the ID from every set; saves when anything changed.
    void removeShareFromAllSets(qint64 shareId);
    // Replaces the whole list (configuration import); saves.
    bool setSets(const QList<ShareSet> &sets);

    // The member records in set order, repeated IDs repeated, unknown IDs skipped. The pointers stay valid
    // until the engine's records change.
    QList<const VolumeRecord *> resolve(const ShareSet &set) const;
    QString statusText(const ShareSet &set) const;

    // Start the operation; false when the set is unknown. A set with nothing to do finishes at once
    // (queued). A new operation on the same set replaces the bookkeeping of the old one.
    bool mountSet(const QUuid &id);
    bool ejectSet(const QUuid &id);
    bool isBusy(const QUuid &id) const { return m_operations.contains(id); }

Q_SIGNALS:
    void setsChanged();
    // started: members asked to mount/eject; succeeded: of those, how many ended mounted/ejected;
    // skipped: members already in the wanted state or busy.
    void operationFinished(const QUuid &id, ShareSetManager::Operation operation, int started, int succeeded,
                           int skipped);

private:
    struct Run
    {
        Operation operation = Operation::Mount;
        QList<qint64> queue;
        QSet<qint64> running;
        int started = 0;
        int succeeded = 0;
        int skipped = 0;
    };

    bool startOperation(const QUuid &id, Operation operation);
    void pump(const QUuid &id);
    void memberEnded(qint64 recordId, bool ok, Operation operation);
    void finishIfDone(const QUuid &id);
    void onRecordsChanged();
    QSet<qint64> currentIds() const;

    Defaults &m_defaults;
    MountEngine &m_engine;
    QList<ShareSet> m_sets;
    QSet<qint64> m_knownIds;
    QHash<QUuid, Run> m_operations;
};
