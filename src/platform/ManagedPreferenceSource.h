#pragma once

#include <QObject>
#include <QVariantMap>

// The read-only source of the managed (policy) preference keys that an organisation pushes to the machine:
// "ManagedShares", "OrganizationName", "AllowShareImport", "AllowShareExport" and whatever else a profile
// carries. Nothing here ever writes; a key that nothing manages is simply absent.
//
// values() reads the source afresh on every call (the reader keeps no state); damaged or unsafe input is
// left out with a console line, never an error. changed() is emitted when the source may hold different
// values than at the last read (a profile added, replaced or removed); receivers debounce as they see fit.
//
// Thread: main thread. values() does small reads of local files only (no FUSE, no network).
class ManagedPreferenceSource : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~ManagedPreferenceSource() override = default;

    virtual QVariantMap values() = 0;

Q_SIGNALS:
    void changed();
};
