#pragma once

#include "core/MountEngine.h"
#include "core/VolumeRecord.h"
#include "logging/AuditEventType.h"
#include "logging/LogEvent.h"

#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

class CertificateReader;
class CredentialStore;
class Defaults;
class NetworkProbe;
class MountCancellation;
class MountPointFinder;
class MountService;
struct MountRequest;

// What one mount attempt changes, handed from the worker to the engine, which applies it to the live record
// on the main thread (fields first, then the event, so the event copies the final status and mount point).
struct MountOutcome
{
    int code = -1;         // the platform's response code; -1 when the attempt ended before the platform call
    bool cancelled = false; // the pending mount was cancelled (time-out or cancelMount)
    QString status;        // new runtime_status_String (empty: leave it)
    std::optional<EVENT_TYPE_ENUM> eventType;
    QString eventText;     // the event message without the "<RAW>: " prefix
    std::optional<AuditEventType> auditType;
    QString auditDetails;
    bool auditSuccess = false;
    std::optional<int> auditErrorCode;
    std::optional<bool> mounted;
    std::optional<bool> reachable;
    QString mountPoint;                     // set on success
    std::optional<QUrl> remountUrl;         // set on success
    std::optional<QString> ipAddress;       // the resolved address
    std::optional<QString> cachedPassword;  // the password read from the secret store, for the live record
    // Cancelled, yet the platform call reported success: that mount was unmounted again at once (true), or
    // its unmount failed and it is still there (false).
    std::optional<bool> lateMountUndone;
    QString lateMountPath;
};

// A progress report from the worker: a status text and, when known, the resolved address and reachability.
struct MountProgress
{
    QString status;
    std::optional<QString> ipAddress;
    std::optional<bool> reachable;
};

// One run of the mount pipeline over a COPY of a record: wake, resolve, probe, credentials, mount-folder
// checks, the platform call with the single ghost retry, and the response-code table. Runs on a mount
// worker and blocks it; reports progress through a callback (called on the worker: the engine queues it to
// the main thread) and returns the outcome. Prints the "[MOUNT]" console lines as it goes.
class MountPipeline
{
public:
    // Open options and mount options as the platform call takes them.
    static inline const QString kOptionUI = QStringLiteral("UIOption");
    static inline const QString kOptionGuest = QStringLiteral("Guest");
    static inline const QString kOptionMountAtMountDir = QStringLiteral("MountAtMountDir");
    static inline const QString kAllowUI = QStringLiteral("AllowUI");
    static inline const QString kNoUI = QStringLiteral("NoUI");
    static inline const QString kLoopbackAddress = QStringLiteral("127.0.0.1");
    // A WebDAV authentication failure with a password beyond ASCII: GVfs's WebDAV backend cannot send such
    // a password in basic authentication (the server would accept it), so retrying cannot help.
    static inline const QString kNonAsciiPasswordStatus = QStringLiteral(
        "Authentication failed: the mount service cannot send WebDAV passwords with non-ASCII characters");
    static inline const QString kNonAsciiPasswordLine =
        QStringLiteral("❌ [MOUNT] WebDAV password has non-ASCII characters, which the mount service cannot send");

    struct Context
    {
        MountPointFinder *finder = nullptr;
        MountService *service = nullptr;
        CredentialStore *credentials = nullptr;
        NetworkProbe *network = nullptr;
        const Defaults *defaults = nullptr; // the probe's time-out preference
        // Reads the server's certificate when the mount service asks whether to trust it (secure WebDAV);
        // null: such a certificate is refused as unreadable.
        CertificateReader *certificates = nullptr;
    };

    MountPipeline(Context context, VolumeRecord record, bool allowUI, std::shared_ptr<MountCancellation> cancellation,
                  std::function<void(const MountProgress &)> progress);

    MountOutcome run();

    // The open options ({"UIOption": "AllowUI"|"NoUI", "Guest": bool}) and mount options
    // ({"MountAtMountDir": true} for a custom folder, else empty) of a record, and the request they make.
    static QVariantMap openOptions(bool allowUI, bool guest);
    static QVariantMap mountOptions(const VolumeRecord &record);
    static MountRequest makeRequest(const QUrl &url, const QString &user, const QString &password,
                                    const QVariantMap &openOptions, const QVariantMap &mountOptions,
                                    const QString &mountDirectory);
    // The record's URL text, percent-encoded with the characters allowed in URL queries (and the brackets
    // of an IPv6 literal).
    static QString encodedMountUrl(const VolumeRecord &record);

    // The response-code table for everything but success and 17 (which need the mount table). Fills status,
    // event, audit and prints the log line.
    static void applyFailureCode(const VolumeRecord &record, int code, MountOutcome &outcome);

    static bool isLocalhostName(const QString &host);

private:
    void report(const QString &status, std::optional<QString> ip = std::nullopt, std::optional<bool> reachable = std::nullopt);
    bool cancelled() const;
    MountOutcome stop(MountOutcome outcome) const;
    // Is the share live in the mount table (matched by path or URL, or at the expected path)? Returns its path.
    std::optional<QString> liveMountPath(const QString &expectedPath) const;
    void handleSuccess(MountOutcome &outcome, const QString &liveHint, const QUrl &url);

    Context m_ctx;
    VolumeRecord m_record;
    bool m_allowUI = false;
    std::shared_ptr<MountCancellation> m_cancellation;
    std::function<void(const MountProgress &)> m_progress;
};
