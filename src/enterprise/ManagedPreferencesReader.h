#pragma once

#include "core/VolumeRecord.h"

#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

class ManagedPreferenceSource;
class MountEngine;
class NotificationCenter;

// One entry of the managed "ManagedShares" list.
struct ManagedShare
{
    std::optional<QString> nickname;
    QString hostname;
    QString shareName;
    std::optional<qint64> port;
    std::optional<QString> username;
    QString protocolType = QStringLiteral("SMB");
    bool mountInVolumes = true;
    std::optional<QString> allowedSSIDs;
    bool isLocked = true;
    std::optional<QString> group;

    // nullopt when "hostname" or "share" is missing or not a string; every other key falls back on its own
    // when missing or of another kind.
    static std::optional<ManagedShare> fromDictionary(const QVariantMap &dictionary);
};

// Read-only access to the managed keys, and the managed shares turned into locked records. Stateless over a
// source: every call reads it afresh, so a replaced profile counts at the next call.
//
// Thread: main thread (the source reads small local files; applyManagedShares changes the engine's list).
// The source is not owned.
class ManagedPreferencesReader
{
public:
    static inline const QString kManagedSharesKey = QStringLiteral("ManagedShares");
    static inline const QString kOrganizationNameKey = QStringLiteral("OrganizationName");
    static inline const QString kAllowShareImportKey = QStringLiteral("AllowShareImport");
    static inline const QString kAllowShareExportKey = QStringLiteral("AllowShareExport");
    static inline const QString kManagedBy = QStringLiteral("MDM");
    static inline const QString kAddedLine = QStringLiteral("✅ [MDM] Added managed share: ");

    explicit ManagedPreferencesReader(ManagedPreferenceSource &source);
    // A reader over values read once (one consistent view for a sequence of reads, as the start-up check
    // makes).
    explicit ManagedPreferencesReader(QVariantMap values);

    // "ManagedShares" as parsed entries in profile order; empty when absent or not an array of dictionaries.
    // Entries without a string "hostname" and "share" are skipped.
    QList<ManagedShare> readManagedShares() const;
    // Whether "ManagedShares" is present as an array (the start-up check's condition).
    bool hasManagedShareList() const;

    // Present and of the kind; nullopt otherwise.
    std::optional<QString> string(const QString &key) const;
    std::optional<bool> boolean(const QString &key) const;

    // The policy gates of import and export: only an explicit false blocks.
    bool isShareImportAllowed() const;
    bool isShareExportAllowed() const;

    // Adds a locked record (managedBy "MDM") at the front of the engine's list for every managed share that
    // has no locked record with the same host and share name yet, saves once when anything was added, posts
    // "RefreshVolumeUI" per record on `center` (may be null). Returns the number added.
    int applyManagedShares(MountEngine &engine, NotificationCenter *center) const;

    // The record protocol for a profile's protocol text (upper-cased first; anything unknown is SMB).
    static MountUsingProtocol_Enum protocolFromText(const QString &text);
    // The record a managed share becomes (internal ID given).
    static VolumeRecord recordFor(const ManagedShare &share, qint64 id);

private:
    QVariantMap values() const;

    ManagedPreferenceSource *m_source = nullptr;
    QVariantMap m_values; // when there is no source
};
