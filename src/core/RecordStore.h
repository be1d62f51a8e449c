#pragma once

#include "VolumeRecord.h"

#include <QList>
#include <QString>

#include <optional>

class Defaults;
class NotificationCenter;

// The ordered list of share records and its persistence in the preferences domain under
// "Tarnwell_VolumeRecordArray", stored natively as an array of keyed dictionaries (VolumeRecord::encode()).
//
// Threads and ownership: lives on the main thread, owned by the mount engine, which owns the records it
// holds. Workers never touch it; they get copies and report back by internal_ID_Int. Pointers returned by
// find() stay valid until the next add(), remove(), setRecords() or load(); changes made through them (and
// through at()) must come before the next save(), which re-encodes only records reached that way since.
//
// Mutators (add, update, remove, setRecords) change memory only; the owner calls save() after a change and
// posts the notifications that fit the change. Only firstLaunchIfNeeded() saves and posts by itself.
//
// Damaged data never stops start-up and is never dropped without a console line:
// - a stored element that cannot be decoded (not a dictionary, or a required key missing or mistyped) is
//   skipped with a console line naming its index and the key; the others load. The element itself is
//   copied, as it stands, to undecodableKey() (added to what is kept there, never twice), so the next
//   save(), which writes only the records that loaded, loses nothing a user could still repair.
// - a stored value that is not an array is copied under backupKey() (replacing an older backup), a console
//   line is printed, and the store starts empty; the next save() replaces the original key. A data value is
//   first tried as a keyed archive of an older build (LegacyArchive); when that decodes, its records load
//   (the original bytes are still kept under backupKey()).
class RecordStore
{
public:
    // Console lines (texts are part of the behaviour).
    static const QString kDecodeFailedLine;  // "⚠️ [Persistence] Failed to decode archived data: " + error
    static const QString kEncodeFailedLine;  // "⚠️ [Persistence] Failed to encode archived data: " + error
    static const QString kFirstLaunchLine;   // "🎉 First launch detected - creating example shares"
    static const QString kExamplesCreatedLine; // "✅ Created 2 example templates for first-time user"

    // Where a stored record value of an unexpected kind is kept aside: "Tarnwell_VolumeRecordArray_backup".
    static QString backupKey();
    // Where stored elements that could not be decoded are kept: "Tarnwell_VolumeRecordArray_undecodable".
    static QString undecodableKey();

    // The centre may be null (then nothing is posted).
    explicit RecordStore(Defaults &defaults, NotificationCenter *center = nullptr);

    // Replaces the in-memory list with what the preferences hold (empty when nothing is stored). Returns the
    // number of stored elements that could not be decoded (0 when everything loaded).
    int load();

    // Hands the whole list to the preferences, which write it through. False (with the console line) when the
    // list has no property-list form; a failed file write is reported by Defaults with its own console line.
    bool save();

    // The preferences domain the records are stored in (callers that must know when a save landed ask it).
    Defaults &defaults() const { return m_defaults; }

    const QList<VolumeRecord> &records() const { return m_records; }
    qsizetype size() const { return m_records.size(); }
    VolumeRecord &at(qsizetype index); // for passes over every record
    bool isEmpty() const { return m_records.isEmpty(); }

    // By internal_ID_Int; null when there is no such record.
    const VolumeRecord *find(qint64 id) const;
    VolumeRecord *find(qint64 id);
    std::optional<VolumeRecord> recordCopy(qint64 id) const;
    qsizetype indexOf(qint64 id) const; // -1 when absent

    // The largest internal_ID_Int plus one, or 1 when the store is empty.
    qint64 nextId() const;

    // Appends the record as given (the caller assigns nextId() first).
    void add(const VolumeRecord &record);
    // Replaces the record with the same internal_ID_Int; false when there is none.
    bool update(const VolumeRecord &record);
    // Removes the record with this ID; false when there is none.
    bool remove(qint64 id);
    // Replaces the whole list (configuration import, reordering).
    void setRecords(const QList<VolumeRecord> &records);

    // When the Boolean "Tarnwell_HasLaunchedBefore" is not set: sets it and, when the store is empty, appends
    // the two example records (IDs from nextId()), saves, posts "Tarnwell_VolumeRecordChanged" and prints the
    // two first-launch lines. A store that already holds records (an upgrade) only gets the flag.
    // Returns true when the examples were created.
    bool firstLaunchIfNeeded();

private:
    Defaults &m_defaults;
    NotificationCenter *m_center;
    QList<VolumeRecord> m_records;
    // Each record's encoded form as last saved, index for index; invalid where the record may have changed.
    QVariantList m_encoded;
};
