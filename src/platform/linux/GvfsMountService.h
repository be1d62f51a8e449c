#pragma once

#include "platform/MountService.h"

#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>

class GvfsMountTable;

// The mount call on Linux: GVfs through GIO (g_file_mount_enclosing_volume on the share URI; http and
// https become dav and davs). Every call blocks the calling worker thread: it runs on a private
// GMainContext pushed as that thread's default and iterated until GIO answers, so any number of workers
// may mount at once and the main loop is never involved. Never call it on the main thread.
//
// Answers to GVfs's questions:
// - Password: the request's user name and password, once. A user name "DOMAIN\user" is split into domain
//   and user when the server asks for a domain (SMB); "user@realm" is passed whole (a principal name the
//   server resolves itself), and the domain is left to the server's default. Guest requests answer
//   "anonymous". GVfs asking again means the answer was refused: the attempt is aborted (code 80)
//   instead of looping. Nothing is saved to a keyring.
// - With allowUI and a password prompt installed, the prompt is asked (once) when the request has no
//   password or its password was refused; without a prompt (headless) allowUI behaves as NoUI.
// - Server certificate the system does not trust (davs): accepted when the request says
//   acceptUntrustedCertificate, else decided by the request's trustCertificate, else asked through the
//   question prompt when allowUI, else refused (80).
//   A refusal is always the explicit "no" choice: GVfs's WebDAV backend takes an aborted question as a yes.
//
// Custom mount folder (MountRequest::mountDirectory): GVfs always mounts under its FUSE root, so after a
// successful mount the empty folder at mountDirectory is replaced by a symbolic link to the mount's FUSE
// path, and MountResult::mountPath is the folder. unmount() of that folder unmounts the link's target,
// removes the link and puts the empty folder back. A non-empty folder is not replaced: the fresh mount is
// unmounted again and the result is 17 (folder in the way).
//
// MountResult::mountPath is otherwise the FUSE path of the mount root ($XDG_RUNTIME_DIR/gvfs/<name>);
// detail carries GIO's message. Codes come from MountResponseCodes (one table, documented there).
// unmount() handles GVfs mounts (by FUSE path or link) and kernel network mounts (umount2). A plain GVfs
// unmount is refused (EBUSY) only when GVfs refuses it: files held open through the FUSE folder are not
// seen by GVfs and do not count.
class GvfsMountService : public MountService
{
public:
    struct PasswordPrompt
    {
        QString message;     // GVfs's text ("Enter user and password for share ...")
        QString defaultUser;
        QString defaultDomain;
        bool needsDomain = false;
        bool anonymousAllowed = false;
    };
    struct PasswordAnswer
    {
        QString user;
        QString password;
        QString domain;
        bool anonymous = false;
    };
    // Both run on the mounting worker and may block until the user answers; nullopt / -1 declines.
    using PasswordPromptHandler = std::function<std::optional<PasswordAnswer>(const PasswordPrompt &)>;
    using QuestionHandler = std::function<int(const QString &message, const QStringList &choices)>;

    // table: optional; told about every mount and unmount made here (see GvfsMountTable::noteMounted).
    explicit GvfsMountService(GvfsMountTable *table = nullptr);

    // Set before the first mount; read by workers without locking.
    void setPasswordPromptHandler(PasswordPromptHandler handler) { m_passwordPrompt = std::move(handler); }
    void setQuestionHandler(QuestionHandler handler) { m_questionPrompt = std::move(handler); }
    // A backstop for mounts nobody cancels: after this the attempt is cancelled and reads 60 (timed out).
    // Zero (the default) leaves it to the caller's cancellation.
    void setTimeLimit(std::chrono::milliseconds limit) { m_timeLimit = limit; }

    MountResult mount(const MountRequest &request, const std::shared_ptr<MountCancellation> &cancellation) override;
    UnmountResult unmount(const QString &path, bool force) override;
    QString volumeFolderName(const QUrl &url) const override;
    std::optional<VolumeFolderName> parseVolumeFolderName(const QString &name) const override;

    // The URI handed to GIO for a share URL (http -> dav, https -> davs; no password ever in it).
    static QUrl gvfsUri(const QUrl &shareUrl);
    // "DOMAIN\user" -> ("user", "DOMAIN"); anything else -> (whole, "").
    static std::pair<QString, QString> splitDomainUser(const QString &user);

private:
    UnmountResult unmountGvfs(const QString &path, bool force);

    GvfsMountTable *m_table = nullptr;
    PasswordPromptHandler m_passwordPrompt;
    QuestionHandler m_questionPrompt;
    std::chrono::milliseconds m_timeLimit{0};
};
