#pragma once

#include "core/VolumeRecord.h"

#include <QList>
#include <QString>

#include <optional>

// What a user may do to the configured shares, whoever asks (command line, tray, an importer): the same
// share is never configured twice, and a managed (locked) share is neither edited nor removed. The engine
// applies these to user edits (MountEngine::addUserRecord, editUserRecord, removeRecord); the texts are
// the alerts the user sees. Pure; any thread.
namespace RecordRules {

inline const QString kDuplicateTitle = QStringLiteral("Duplicate share");
inline const QString kDuplicateAddText = QStringLiteral("%1 (%2, user %3) already exists with the ID %4");
inline const QString kDuplicateEditText = QStringLiteral("the share with the ID %1 already has these settings");
inline const QString kLockedEditTitle = QStringLiteral("IT-Managed Share");
inline const QString kLockedEditText = QStringLiteral("This share is managed by %1. Settings cannot be modified.");
inline const QString kLockedEditFallbackManager = QStringLiteral("IT Department");
inline const QString kLockedRemoveTitle = QStringLiteral("Cannot Delete");
inline const QString kLockedRemoveText = QStringLiteral("This share is managed by %1 and cannot be deleted.");
inline const QString kLockedRemoveFallbackManager = QStringLiteral("IT");

struct Refusal
{
    enum class Reason { Duplicate, Locked };
    Reason reason = Reason::Duplicate;
    QString title;
    QString text;
    qint64 conflictingId = 0; // Duplicate: the record that already has these settings

    // "Title: text", as one line for a message or an error reply.
    QString message() const { return title + QStringLiteral(": ") + text; }
};

// The same share as far as configuring it goes: protocol, host (ignoring case and surrounding blanks), port
// (an absent port is the protocol's default), share name (ignoring surrounding blanks and slashes) and user
// name (guests all count as one user). Every duplicate test (user edits, configuration and CSV import, the
// legacy importer) goes through shareKey(), so they all agree.
QString shareKey(const VolumeRecord &record);
bool isSameShare(const VolumeRecord &a, const VolumeRecord &b);

// Adding `candidate` to `records`: refused when one of them is the same share.
std::optional<Refusal> checkAdd(const QList<VolumeRecord> &records, const VolumeRecord &candidate);
// Replacing the settings of `live` (one of `records`) by `edited`: refused for a locked record, and when
// another record is the same share as the edited one.
std::optional<Refusal> checkEdit(const QList<VolumeRecord> &records, const VolumeRecord &live, const VolumeRecord &edited);
// Removing `live`: refused for a locked record.
std::optional<Refusal> checkRemove(const VolumeRecord &live);

} // namespace RecordRules
