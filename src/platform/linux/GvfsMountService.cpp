#include "GvfsMountService.h"

#include "platform/linux/gvfsnames/GvfsNames.h"

#include "GvfsMountTable.h"
#include "MountResponseCodes.h"
#include "platform/FileSystem.h"
#include "platform/MountResponseCode.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gio/gio.h>

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <netdb.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

// Unmounting is local to the GVfs daemon, but its backend may block on a dead server: bounded anyway.
constexpr guint kUnmountLimitMs = 60000;

QString gstr(char *s)
{
    const QString result = s ? QString::fromUtf8(s) : QString();
    g_free(s);
    return result;
}

// A GMainContext of this call's own, the thread default while it lives: GIO's callbacks and the mount
// operation's questions are dispatched here, on this worker, and nowhere else.
class PrivateContext
{
public:
    PrivateContext()
        : m_context(g_main_context_new())
    {
        g_main_context_push_thread_default(m_context);
    }
    ~PrivateContext()
    {
        // Let finished operations release what they hold; bounded, nothing here can re-arm forever.
        for (int i = 0; i < 100 && g_main_context_pending(m_context); ++i)
            g_main_context_iteration(m_context, FALSE);
        g_main_context_pop_thread_default(m_context);
        g_main_context_unref(m_context);
    }
    PrivateContext(const PrivateContext &) = delete;
    PrivateContext &operator=(const PrivateContext &) = delete;

    GMainContext *get() const { return m_context; }
    void iterateUntil(const bool &done)
    {
        while (!done)
            g_main_context_iteration(m_context, TRUE);
    }
    // Calls cancel on the cancellable after ms, from this context.
    GSource *addLimit(guint ms, bool *fired, GCancellable *cancellable)
    {
        struct Limit
        {
            bool *fired;
            GCancellable *cancellable;
        };
        GSource *source = g_timeout_source_new(ms);
        auto *limit = new Limit{fired, cancellable};
        g_source_set_callback(
            source,
            [](gpointer data) -> gboolean {
                auto *l = static_cast<Limit *>(data);
                *l->fired = true;
                g_cancellable_cancel(l->cancellable);
                return G_SOURCE_REMOVE;
            },
            limit, [](gpointer data) { delete static_cast<Limit *>(data); });
        g_source_attach(source, m_context);
        return source;
    }

private:
    GMainContext *m_context;
};

struct MountAttempt
{
    const MountRequest *request = nullptr;
    const GvfsMountService::PasswordPromptHandler *passwordPrompt = nullptr;
    const GvfsMountService::QuestionHandler *questionPrompt = nullptr;
    int asks = 0;
    bool promptUsed = false;
    MountAttemptFacts facts;
    bool done = false;
    GError *error = nullptr;
};

void answerWith(GMountOperation *op, GAskPasswordFlags flags, const QString &user, const QString &password,
                const QString &domain, const char *defaultDomain, bool anonymous)
{
    g_mount_operation_set_password_save(op, G_PASSWORD_SAVE_NEVER);
    if (anonymous && (flags & G_ASK_PASSWORD_ANONYMOUS_SUPPORTED)) {
        g_mount_operation_set_anonymous(op, TRUE);
        return;
    }
    g_mount_operation_set_anonymous(op, FALSE);
    QString name = user;
    QString realm = domain;
    if (flags & G_ASK_PASSWORD_NEED_DOMAIN) {
        if (realm.isEmpty()) {
            const auto split = GvfsMountService::splitDomainUser(user);
            name = split.first;
            realm = split.second;
        }
        if (!realm.isEmpty())
            g_mount_operation_set_domain(op, realm.toUtf8().constData());
        else if (defaultDomain)
            g_mount_operation_set_domain(op, defaultDomain);
    }
    g_mount_operation_set_username(op, name.toUtf8().constData());
    g_mount_operation_set_password(op, password.toUtf8().constData());
}

void onAskPassword(GMountOperation *op, const char *message, const char *defaultUser, const char *defaultDomain,
                   GAskPasswordFlags flags, gpointer data)
{
    auto *attempt = static_cast<MountAttempt *>(data);
    const MountRequest &request = *attempt->request;
    const bool canPrompt = request.allowUI && *attempt->passwordPrompt;
    ++attempt->asks;

    if (attempt->asks == 1 && (request.guest || !request.password.isEmpty() || !canPrompt)) {
        answerWith(op, flags, request.user, request.password, {}, defaultDomain, request.guest);
        g_mount_operation_reply(op, G_MOUNT_OPERATION_HANDLED);
        return;
    }
    // Asked again: the answer given was refused. GVfs would ask forever, so this is the end of it,
    // unless a prompt may be shown (once).
    if (attempt->asks > 1)
        attempt->facts.credentialsRejected = true;
    if (canPrompt && !attempt->promptUsed) {
        attempt->promptUsed = true;
        GvfsMountService::PasswordPrompt prompt;
        prompt.message = QString::fromUtf8(message);
        prompt.defaultUser = request.user.isEmpty() ? QString::fromUtf8(defaultUser) : request.user;
        prompt.defaultDomain = QString::fromUtf8(defaultDomain);
        prompt.needsDomain = flags & G_ASK_PASSWORD_NEED_DOMAIN;
        prompt.anonymousAllowed = flags & G_ASK_PASSWORD_ANONYMOUS_SUPPORTED;
        if (const auto answer = (*attempt->passwordPrompt)(prompt)) {
            answerWith(op, flags, answer->user, answer->password, answer->domain, defaultDomain, answer->anonymous);
            g_mount_operation_reply(op, G_MOUNT_OPERATION_HANDLED);
            return;
        }
        attempt->facts.promptDeclined = true;
    } else if (attempt->asks == 1) {
        attempt->facts.promptDeclined = true;
    }
    g_mount_operation_reply(op, G_MOUNT_OPERATION_ABORTED);
}

void onAskQuestion(GMountOperation *op, const char *message, const char **choices, gpointer data)
{
    auto *attempt = static_cast<MountAttempt *>(data);
    const MountRequest &request = *attempt->request;
    QStringList choiceList;
    for (const char **c = choices; c && *c; ++c)
        choiceList.append(QString::fromUtf8(*c));
    if (choiceList.isEmpty()) {
        g_mount_operation_reply(op, G_MOUNT_OPERATION_ABORTED);
        return;
    }
    // The only question GVfs asks while mounting is whether to trust a server certificate, with the
    // choices "Yes" and "No" (translated): first is yes, last is no.
    const int no = int(choiceList.size()) - 1;
    int choice = -1;
    if (request.acceptUntrustedCertificate)
        choice = 0;
    else if (request.trustCertificate)
        choice = request.trustCertificate() ? 0 : no;
    else if (request.allowUI && *attempt->questionPrompt)
        choice = (*attempt->questionPrompt)(QString::fromUtf8(message), choiceList);
    if (choice < 0 || choice > no || (choice == no && no > 0)) {
        attempt->facts.certificateRefused = true;
        choice = no;
    }
    g_mount_operation_set_choice(op, choice);
    g_mount_operation_reply(op, G_MOUNT_OPERATION_HANDLED);
}

struct Root
{
    QString path;
    QString uri;
};

// The FUSE path and URI of the root of the mount that holds file.
Root enclosingMountRoot(GFile *file, GCancellable *cancellable)
{
    GMount *mount = g_file_find_enclosing_mount(file, cancellable, nullptr);
    if (!mount)
        return {};
    GFile *root = g_mount_get_root(mount);
    Root result{gstr(g_file_get_path(root)), gstr(g_file_get_uri(root))};
    g_object_unref(root);
    g_object_unref(mount);
    return result;
}

// The folder of `root` that shows `url`'s own content: GVfs mounts an SMB share or a WebDAV collection,
// and a path of the URL below what it mounted is a sub-folder of the root.
QString contentFolder(const Root &root, const QUrl &url)
{
    QString rootPath = QUrl(root.uri).path(QUrl::FullyDecoded);
    while (rootPath.endsWith(QLatin1Char('/')))
        rootPath.chop(1);
    QString urlPath = url.path(QUrl::FullyDecoded);
    while (urlPath.endsWith(QLatin1Char('/')))
        urlPath.chop(1);
    if (root.path.isEmpty() || urlPath.size() <= rootPath.size()
        || !urlPath.startsWith(rootPath + QLatin1Char('/'), Qt::CaseInsensitive))
        return root.path;
    return root.path + urlPath.mid(rootPath.size());
}

// The FUSE path of the root of the GVfs mount that holds `path` (empty when none).
QString enclosingRootPath(const QString &path)
{
    GFile *file = g_file_new_for_path(QFile::encodeName(QDir::cleanPath(path)).constData());
    const Root root = enclosingMountRoot(file, nullptr);
    g_object_unref(file);
    return root.path;
}

// gvfsd-fuse keeps the D-Bus address of a share's previous backend and answers I/O errors for the folder of
// a share mounted again until that address fails it enough to be looked up afresh: a few quick accesses once
// the old backend has exited, up to about a second while it lingers after a quick unmount. Discovery lists the
// folder right after the call, so the call returns once the root lists. The retries start at 1 ms because
// each failed access is what moves gvfsd-fuse on; bounded (5 s), and stops early when cancelled.
void waitUntilUsable(const QString &path, const std::shared_ptr<MountCancellation> &cancellation)
{
    constexpr gint64 kLimitUs = 5 * G_USEC_PER_SEC;
    constexpr gulong kLongestPauseUs = 50 * 1000;
    const QByteArray native = QFile::encodeName(path);
    const gint64 deadline = g_get_monotonic_time() + kLimitUs;
    for (gulong pauseUs = 1000;; pauseUs = std::min(pauseUs * 2, kLongestPauseUs)) {
        // Opening alone can succeed on the stale handle; reading the listing tells.
        if (DIR *dir = ::opendir(native.constData())) {
            errno = 0;
            const bool readable = ::readdir(dir) != nullptr || errno == 0;
            ::closedir(dir);
            if (readable)
                return;
        }
        if ((cancellation && cancellation->isCancelled()) || g_get_monotonic_time() >= deadline)
            return;
        g_usleep(pauseUs);
    }
}

bool hostResolves(const QString &host)
{
    if (host.isEmpty())
        return false;
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *result = nullptr;
    const int rc = ::getaddrinfo(host.toUtf8().constData(), nullptr, &hints, &result);
    if (result)
        ::freeaddrinfo(result);
    return rc == 0;
}

// Replaces the empty folder (or a stale link) at dir with a link to target. 0 or an errno.
int linkMountDirectory(const QString &dir, const QString &target)
{
    const QFileInfo info(dir);
    if (info.isSymLink()) {
        if (info.symLinkTarget() == target)
            return 0;
        if (!QFile::remove(dir))
            return EEXIST;
    } else if (info.isDir()) {
        if (::rmdir(QFile::encodeName(dir).constData()) != 0)
            return errno == ENOTEMPTY ? EEXIST : errno;
    } else if (info.exists()) {
        return EEXIST;
    }
    if (::symlink(QFile::encodeName(target).constData(), QFile::encodeName(dir).constData()) != 0) {
        const int error = errno;
        QDir().mkdir(dir); // leave the folder as it was
        return error;
    }
    return 0;
}

UnmountResult unmountFailure(int errnoValue, const QString &text = {})
{
    UnmountResult result;
    result.errnoValue = errnoValue;
    if (!text.isEmpty())
        result.errorText = text;
    else if (errnoValue == MountResponseCode::TimedOut)
        result.errorText = QString::fromUtf8(g_strerror(ETIMEDOUT)); // 60 in the pipeline's numbering
    else
        result.errorText = QString::fromUtf8(g_strerror(errnoValue));
    return result;
}

} // namespace

GvfsMountService::GvfsMountService(GvfsMountTable *table)
    : m_table(table)
{
}

QUrl GvfsMountService::gvfsUri(const QUrl &shareUrl)
{
    QUrl uri = shareUrl;
    uri.setPassword(QString());
    const QString scheme = uri.scheme().toLower();
    if (scheme == QLatin1String("http"))
        uri.setScheme(QStringLiteral("dav"));
    else if (scheme == QLatin1String("https"))
        uri.setScheme(QStringLiteral("davs"));
    return uri;
}

std::pair<QString, QString> GvfsMountService::splitDomainUser(const QString &user)
{
    const qsizetype slash = user.indexOf(QLatin1Char('\\'));
    if (slash > 0 && slash < user.size() - 1)
        return {user.mid(slash + 1), user.left(slash)};
    return {user, QString()};
}

MountResult GvfsMountService::mount(const MountRequest &request, const std::shared_ptr<MountCancellation> &cancellation)
{
    MountResult result;
    const QUrl uri = gvfsUri(request.url);
    PrivateContext context;

    // Held by the cancellation's callback too, which may outlive this call.
    std::shared_ptr<GCancellable> cancellable(g_cancellable_new(), g_object_unref);
    if (cancellation) {
        cancellation->onCancel([cancellable] { g_cancellable_cancel(cancellable.get()); });
    }

    MountAttempt attempt;
    attempt.request = &request;
    attempt.passwordPrompt = &m_passwordPrompt;
    attempt.questionPrompt = &m_questionPrompt;

    GFile *file = g_file_new_for_uri(uri.toString(QUrl::FullyEncoded).toUtf8().constData());
    GMountOperation *operation = g_mount_operation_new();
    g_signal_connect(operation, "ask-password", G_CALLBACK(onAskPassword), &attempt);
    g_signal_connect(operation, "ask-question", G_CALLBACK(onAskQuestion), &attempt);

    GSource *limit = nullptr;
    if (m_timeLimit.count() > 0)
        limit = context.addLimit(guint(m_timeLimit.count()), &attempt.facts.timeLimitReached, cancellable.get());

    g_file_mount_enclosing_volume(
        file, G_MOUNT_MOUNT_NONE, operation, cancellable.get(),
        [](GObject *source, GAsyncResult *res, gpointer data) {
            auto *a = static_cast<MountAttempt *>(data);
            g_file_mount_enclosing_volume_finish(G_FILE(source), res, &a->error);
            a->done = true;
        },
        &attempt);
    context.iterateUntil(attempt.done);

    if (limit) {
        g_source_destroy(limit);
        g_source_unref(limit);
    }
    g_signal_handlers_disconnect_by_data(operation, &attempt);

    if (attempt.error) {
        const QString host = request.url.host();
        attempt.facts.hostResolves = [host] { return hostResolves(host); };
        result.code = MountResponseCodes::mountCode(attempt.error, attempt.facts);
        result.detail = QString::fromUtf8(attempt.error->message);
        g_clear_error(&attempt.error);
    } else {
        result.code = MountResponseCode::Success;
    }

    if (result.code == MountResponseCode::Success || result.code == MountResponseCode::AlreadyExists) {
        const Root root = enclosingMountRoot(file, nullptr);
        result.mountPath = contentFolder(root, request.url);
        if (!root.path.isEmpty())
            waitUntilUsable(root.path, cancellation);
        if (result.code == MountResponseCode::Success && m_table && !root.path.isEmpty()) {
            MountedVolume volume;
            volume.path = root.path;
            volume.remountUrl = GvfsMountTable::remountUrlForGvfsUri(root.uri);
            volume.isLocal = false;
            m_table->noteMounted(volume);
        }
        if (!request.mountDirectory.isEmpty() && !root.path.isEmpty()) {
            // The link leads to the share's own content, also for a path below what GVfs mounted.
            const int linkError = linkMountDirectory(request.mountDirectory, contentFolder(root, request.url));
            if (linkError == 0) {
                result.mountPath = request.mountDirectory;
            } else {
                result.detail = QStringLiteral("Cannot put a link to the mount at %1: %2")
                                    .arg(request.mountDirectory, QString::fromUtf8(g_strerror(linkError)));
                if (result.code == MountResponseCode::Success)
                    unmountGvfs(root.path, false); // ours, and unusable where it was asked for
                result.code = MountResponseCode::AlreadyExists;
            }
        }
    }

    g_object_unref(operation);
    g_object_unref(file);
    return result;
}

UnmountResult GvfsMountService::unmount(const QString &path, bool force)
{
    // Inside the FUSE root nothing is our link, and an lstat there is a round trip to the share's server,
    // which hangs when the server is gone (the stale-share eject).
    const QString fuseRoot = LocalFileSystem::standardVolumesFolder() + QLatin1Char('/');
    const QFileInfo info(path);
    if (!QDir::cleanPath(path).startsWith(fuseRoot) && info.isSymLink()) {
        // A custom mount folder: unmount what it points at, then give the folder back.
        QString target = info.symLinkTarget();
        // The link may lead to a folder below the mount's root.
        if (const QString root = enclosingRootPath(target); !root.isEmpty())
            target = root;
        UnmountResult result = unmountGvfs(target, force);
        if (!result.ok && result.errnoValue != EINVAL && result.errnoValue != ENOENT)
            return result;
        QFile::remove(path);
        QDir().mkdir(path);
        return {true, 0, {}};
    }

    QFile mountInfo(QStringLiteral("/proc/self/mountinfo"));
    if (mountInfo.open(QIODevice::ReadOnly)) {
        const QString clean = QDir::cleanPath(path);
        const QList<MountedVolume> kernel = GvfsMountTable::parseMountInfo(mountInfo.readAll());
        for (const MountedVolume &volume : kernel) {
            if (volume.isLocal || volume.path != clean)
                continue;
            if (::umount2(QFile::encodeName(clean).constData(), force ? MNT_FORCE : 0) != 0)
                return unmountFailure(errno);
            return {true, 0, {}};
        }
    }
    return unmountGvfs(path, force);
}

UnmountResult GvfsMountService::unmountGvfs(const QString &path, bool force)
{
    const QString clean = QDir::cleanPath(path);
    PrivateContext context;
    GFile *file = g_file_new_for_path(QFile::encodeName(clean).constData());
    GMount *mount = g_file_find_enclosing_mount(file, nullptr, nullptr);
    g_object_unref(file);
    QString rootPath;
    if (mount) {
        GFile *root = g_mount_get_root(mount);
        rootPath = gstr(g_file_get_path(root));
        g_object_unref(root);
    }
    if (rootPath != clean) { // inside a mount, a local folder, or nothing at all: not a mount point
        if (mount)
            g_object_unref(mount);
        return unmountFailure(QFileInfo::exists(clean) ? EINVAL : ENOENT);
    }

    struct State
    {
        bool done = false;
        bool timedOut = false;
        GError *error = nullptr;
    } state;
    std::shared_ptr<GCancellable> cancellable(g_cancellable_new(), g_object_unref);
    GSource *limit = context.addLimit(kUnmountLimitMs, &state.timedOut, cancellable.get());
    g_mount_unmount_with_operation(
        mount, force ? G_MOUNT_UNMOUNT_FORCE : G_MOUNT_UNMOUNT_NONE, nullptr, cancellable.get(),
        [](GObject *source, GAsyncResult *res, gpointer data) {
            auto *s = static_cast<State *>(data);
            g_mount_unmount_with_operation_finish(G_MOUNT(source), res, &s->error);
            s->done = true;
        },
        &state);
    context.iterateUntil(state.done);
    g_source_destroy(limit);
    g_source_unref(limit);
    g_object_unref(mount);

    if (state.error) {
        const int errnoValue = state.timedOut ? MountResponseCode::TimedOut
                                              : MountResponseCodes::unmountErrno(state.error->domain, state.error->code);
        const QString text = errnoValue == EIO ? QString::fromUtf8(state.error->message) : QString();
        g_clear_error(&state.error);
        return unmountFailure(errnoValue, text);
    }
    if (m_table)
        m_table->noteUnmounted(clean);
    return {true, 0, {}};
}

QString GvfsMountService::volumeFolderName(const QUrl &url) const
{
    return GvfsNames::folderName(url);
}

std::optional<VolumeFolderName> GvfsMountService::parseVolumeFolderName(const QString &name) const
{
    const std::optional<GvfsNames::ShareAndHost> parsed = GvfsNames::shareAndHost(name);
    if (!parsed)
        return std::nullopt;
    return VolumeFolderName{parsed->share, parsed->host, parsed->type, parsed->port, parsed->ssl};
}
