#pragma once

#include "platform/MountTable.h"

#include <QMutex>

// In-process mount table for unit tests. The list is settable; addVolume/removeVolume change it and emit
// volumeMounted/volumeUnmounted like the real table. Mutators may be called from any thread (the fake
// mount service calls them on a mount worker); the signals are then delivered through the receivers'
// event loops (queued), as in the real table where they come from the main loop.
class FakeMountTable : public MountTable
{
    Q_OBJECT
public:
    using MountTable::MountTable;

    QList<MountedVolume> mountedVolumes() const override;
    int snapshotCount() const; // how often mountedVolumes() was asked

    // Replaces the list without emitting anything (test set-up).
    void setVolumes(const QList<MountedVolume> &volumes);
    // Adds (or replaces the volume with the same path) and emits volumeMounted(path).
    void addVolume(const MountedVolume &volume);
    // Removes the volume at path; emits volumeUnmounted(path) and returns true when one was there.
    bool removeVolume(const QString &path);
    bool contains(const QString &path) const;

private:
    mutable QMutex m_mutex;
    QList<MountedVolume> m_volumes;
    mutable int m_snapshots = 0;
};
