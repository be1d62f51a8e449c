#pragma once
// The plain GIO mount round trip the mount benches compare against: g_file_mount_enclosing_volume and
// g_mount_unmount_with_operation on a private context, as a GIO program would write it, nothing else.
// Header-only: each bench is one source file.
#include <QElapsedTimer>
#include <QUrl>

#include <gio/gio.h>

#include <cerrno>
#include <dirent.h>
#include <optional>

struct BareGioTimes
{
    double mountMs = 0;
    double firstListingMs = 0; // until the new FUSE folder lists; not part of mountMs
    double unmountMs = 0;      // finding the mount and unmounting it
};

namespace bare_gio_detail {

struct Waiter
{
    bool done = false;
    GError *error = nullptr;
};

inline void iterateUntil(GMainContext *context, const Waiter &waiter)
{
    while (!waiter.done)
        g_main_context_iteration(context, TRUE);
}

// Time until a folder lists (gvfsd-fuse's first access to a new mount), polled every millisecond, 5 s at most.
inline double firstListingMs(const char *path)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 5000) {
        if (DIR *dir = ::opendir(path)) {
            errno = 0;
            const bool readable = ::readdir(dir) != nullptr || errno == 0;
            ::closedir(dir);
            if (readable)
                break;
        }
        g_usleep(1000);
    }
    return timer.nsecsElapsed() / 1e6;
}

} // namespace bare_gio_detail

// Guest mount of url, the first listing of its folder (timed apart), unmount. Nullopt when a step failed.
inline std::optional<BareGioTimes> bareGioRoundTrip(const QUrl &url)
{
    using namespace bare_gio_detail;
    BareGioTimes times;
    GMainContext *context = g_main_context_new();
    g_main_context_push_thread_default(context);
    GFile *file = g_file_new_for_uri(url.toString(QUrl::FullyEncoded).toUtf8().constData());
    GMountOperation *operation = g_mount_operation_new();
    g_signal_connect(operation, "ask-password",
                     G_CALLBACK(+[](GMountOperation *op, const char *, const char *, const char *, GAskPasswordFlags, gpointer) {
                         g_mount_operation_set_anonymous(op, TRUE);
                         g_mount_operation_reply(op, G_MOUNT_OPERATION_HANDLED);
                     }),
                     nullptr);
    QElapsedTimer timer;
    timer.start();
    Waiter mounted;
    g_file_mount_enclosing_volume(
        file, G_MOUNT_MOUNT_NONE, operation, nullptr,
        [](GObject *src, GAsyncResult *res, gpointer data) {
            auto *w = static_cast<Waiter *>(data);
            g_file_mount_enclosing_volume_finish(G_FILE(src), res, &w->error);
            w->done = true;
        },
        &mounted);
    iterateUntil(context, mounted);
    times.mountMs = timer.nsecsElapsed() / 1e6;
    bool ok = !mounted.error;
    g_clear_error(&mounted.error);

    if (ok) {
        if (GMount *mount = g_file_find_enclosing_mount(file, nullptr, nullptr)) {
            GFile *root = g_mount_get_root(mount);
            char *path = g_file_get_path(root);
            times.firstListingMs = path ? firstListingMs(path) : 0;
            g_free(path);
            g_object_unref(root);
            g_object_unref(mount);
        }
        timer.restart();
        GMount *mount = g_file_find_enclosing_mount(file, nullptr, nullptr);
        Waiter unmounted;
        if (mount) {
            g_mount_unmount_with_operation(
                mount, G_MOUNT_UNMOUNT_NONE, nullptr, nullptr,
                [](GObject *src, GAsyncResult *res, gpointer data) {
                    auto *w = static_cast<Waiter *>(data);
                    g_mount_unmount_with_operation_finish(G_MOUNT(src), res, &w->error);
                    w->done = true;
                },
                &unmounted);
            iterateUntil(context, unmounted);
            g_object_unref(mount);
        }
        times.unmountMs = timer.nsecsElapsed() / 1e6;
        ok = mount && !unmounted.error;
        g_clear_error(&unmounted.error);
    }
    g_object_unref(operation);
    g_object_unref(file);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    return ok ? std::optional<BareGioTimes>(times) : std::nullopt;
}
