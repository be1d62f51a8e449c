#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <optional>

class NotificationCenter;

// Protocol of a share; raw values are persisted.
enum class MountUsingProtocol_Enum : int { SMB = 0, AFP = 1, NFS = 2, WebDAV = 3, WebDAVS = 4 };

namespace MountProtocol {
QString scheme(MountUsingProtocol_Enum protocol);     // "smb://", "afp://", "nfs://", "http://", "https://"
int defaultPort(MountUsingProtocol_Enum protocol);    // 445, 548, 2049, 80, 443
MountUsingProtocol_Enum fromRaw(qint64 raw);          // out of range -> SMB
bool isWebDAV(MountUsingProtocol_Enum protocol);
} // namespace MountProtocol

// One configured share with its runtime state. A plain value: the engine's store owns the live records on
// the main thread; a mount worker gets a copy and hands results back by internal_ID_Int.
// Field names keep the product's spelling: they are part of its persisted formats.
class VolumeRecord
{
public:
    VolumeRecord(); // every field at its default; schedule times relative to now

    // Stored fields
    qint64 internal_ID_Int = 0;
    QString hostname_String;
    QString volume_String = QStringLiteral("share");
    std::optional<qint64> port_Int;
    std::optional<QDateTime> runtime_mount_start_time;
    int no_password_guest_login = 0;
    QString username_String = QStringLiteral("guest");
    std::optional<QString> credentialAccountOverride;
    std::optional<QString> _cachedPassword; // in-memory only
    MountUsingProtocol_Enum mounting_using_protocol_Enum = MountUsingProtocol_Enum::SMB;
    int mount_inside_Volumes = 1;
    QString unique_mountpoint_fullpath_String;
    int auto_Mount = 0;
    int schedule_Mount = 0;
    QDateTime schedule_MountTime;
    QDateTime schedule_UnMountTime;
    QList<int> schedule_Weekdays{2, 3, 4, 5, 6};
    QString nickname_String;
    QString macAddress_String;
    QString postMountScriptPath_String;
    QString preUnmountScriptPath_String;
    QString group_String;
    QString allowedSSIDs_String;
    bool isLocked = false;
    QString managedBy;
    // SHA-256 of the one server certificate a secure WebDAV share accepts beyond what the system trusts
    // (CertificateFingerprint spelling); empty: none.
    QString trustedCertificateSHA256;

    // Runtime fields (never persisted)
    QString runtime_status_String;
    QString runtime_computed_mountpoint_String = QStringLiteral("/Volumes/");
    QString mountedVolumeString;
    bool runtime_isReachable_Bool = false;
    bool runtime_isMounted_Bool = false;
    bool runtime_get_mounted_found_Bool = false;
    std::optional<QUrl> runtime_remount_URL;
    QString runtime_ipAddress_String = QStringLiteral("0.0.0.0");
    qint32 runtime_requestID_Int32 = 0;

    // Nickname, else host + "/" + share (what console lines and audit entries name the share by).
    QString displayName() const;

    // The URL text shown to the user and mounted: scheme, host (IPv6 literal bracketed), ":port" when
    // present and >= 1, "/" + share name trimmed of slashes (or "/" alone). "" for a blank host.
    QString mountURLText() const;

    // Keyed archive (a dictionary with the archive keys), and its decoder with the fallbacks; nullopt when
    // a required key is missing or mistyped.
    QVariantMap encode() const;
    static std::optional<VolumeRecord> decode(const QVariantMap &archive);
    // The same; on failure *failedKey (when given) names the first required key that was missing or mistyped.
    static std::optional<VolumeRecord> decode(const QVariantMap &archive, QString *failedKey);

    // The key-chain account of this record's password: the override when present, else "volume_record_" + ID.
    QString credentialAccount() const;

    // The numeric-address test shared with the reachability probe: trims white space, strips one enclosing
    // "[" "]" pair and returns that text when inet_pton accepts it as IPv4 or, failing that, IPv6.
    static std::optional<QString> ipLiteral(const QString &host);

    // A copy with its own credential account ("volume_record_duplicate_<UUID>") and the nickname
    // "<nickname or New Share> Copy". Posts "Tarnwell_VolumeRecordChanged" for each copied field when a
    // centre is given.
    VolumeRecord duplicate(qint64 newId, NotificationCenter *center = nullptr) const;
};
