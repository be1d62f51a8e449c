#pragma once

#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

// A cancellation the engine can trigger from the main thread (mount time-out) while a worker blocks in
// the mount call. Thread-safe; callbacks registered after cancel() run at once.
class MountCancellation
{
public:
    void cancel();
    bool isCancelled() const;
    // Registers a callback run (on the cancelling thread) when cancel() is called.
    void onCancel(std::function<void()> callback);

private:
    mutable std::mutex m_mutex;
    bool m_cancelled = false;
    std::vector<std::function<void()>> m_callbacks;
};

struct MountRequest
{
    QUrl url;               // the share URL as the record builds it (smb://, afp://, nfs://, http://, https://)
    QString user;           // empty for guest
    QString password;       // empty for guest; never logged
    bool guest = false;     // open option "Guest"
    bool allowUI = false;   // open option "UIOption": "AllowUI" or "NoUI"
    QString mountDirectory; // empty: the volumes folder; else the custom folder ("MountAtMountDir")
    // TLS: accept a server certificate the system does not trust (self-signed, wrong host). Off by
    // default: such a certificate then fails the mount.
    bool acceptUntrustedCertificate = false;
    // Asked (on the calling worker, while the mount waits) when the server's certificate is not trusted by
    // the system and acceptUntrustedCertificate is off: true accepts it. Unset: refused, or put to the
    // question prompt when allowUI.
    std::function<bool()> trustCertificate;
};

// The mount pipeline's response code (BSD errno numbering: 0 success, 2, 5, 8, 13, 17, 19, 60, 64, 65, 80,
// -6600, or another code) plus what the platform said, for logs.
struct MountResult
{
    int code = 0;
    QString detail;    // platform error text, for console lines only
    QString mountPath; // where the platform put it, when it says (diagnostic; discovery decides)
};

struct UnmountResult
{
    bool ok = false;
    int errnoValue = 0; // errno numbering (16 EBUSY)
    QString errorText;  // the system's error text
};

// What a volumes-folder entry named after a mount stands for.
struct VolumeFolderName
{
    QString share; // the share (SMB) or path prefix (WebDAV) without slashes
    QString host;
    // What tells two mounts of one server apart; empty where the name does not say.
    QString type; // the kind of mount ("smb-share", "dav")
    QString port;
    QString ssl;
};

// The platform's network file-system mount call. Blocking: called on a mount worker thread, never on the
// main thread. Implementations must be callable from several workers at once.
class MountService
{
public:
    virtual ~MountService() = default;

    virtual MountResult mount(const MountRequest &request, const std::shared_ptr<MountCancellation> &cancellation) = 0;

    // Unmounts what is mounted at path (a volumes-folder path or a custom mount folder). force: the
    // forced variant (MNT_FORCE semantics).
    virtual UnmountResult unmount(const QString &path, bool force) = 0;

    // The name of the folder the mount of `url` gets inside the volumes folder. Pure; any thread.
    virtual QString volumeFolderName(const QUrl &url) const = 0;
    // The share and host a volumes-folder entry stands for when the name follows the platform's naming
    // of its mount folders; nullopt for any other name. Pure; any thread.
    virtual std::optional<VolumeFolderName> parseVolumeFolderName(const QString &name) const = 0;
};
