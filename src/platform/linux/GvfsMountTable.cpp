#include "GvfsMountTable.h"

#include <QMutexLocker>
#include <QSet>
#include <QSocketNotifier>

#include <gio/gio.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

// A worker's report stands until the monitor confirms it or this long has passed.
constexpr auto kNoteLifetime = std::chrono::seconds(10);

const QSet<QString> &networkFsTypes()
{
    static const QSet<QString> types{QStringLiteral("cifs"),     QStringLiteral("smb3"),       QStringLiteral("smbfs"),
                                     QStringLiteral("nfs"),      QStringLiteral("nfs4"),       QStringLiteral("davfs"),
                                     QStringLiteral("fuse.davfs"), QStringLiteral("fuse.sshfs"), QStringLiteral("afpfs"),
                                     QStringLiteral("fuse.afpfs")};
    return types;
}

// mountinfo escapes blanks, tabs, newlines and backslashes as \ooo.
QString unescapeMountField(const QByteArray &field)
{
    QByteArray out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            bool ok = false;
            const int value = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                out.append(char(value));
                i += 3;
                continue;
            }
        }
        out.append(field[i]);
    }
    return QString::fromUtf8(out);
}

QString gstr(char *s)
{
    const QString result = s ? QString::fromUtf8(s) : QString();
    g_free(s);
    return result;
}

} // namespace

GvfsMountTable::GvfsMountTable(QObject *parent)
    : MountTable(parent)
{
    m_monitor = g_volume_monitor_get();
    g_signal_connect(m_monitor, "mount-added", G_CALLBACK(&GvfsMountTable::mountAddedThunk), this);
    g_signal_connect(m_monitor, "mount-removed", G_CALLBACK(&GvfsMountTable::mountRemovedThunk), this);
    g_signal_connect(m_monitor, "mount-changed", G_CALLBACK(&GvfsMountTable::mountChangedThunk), this);

    GList *mounts = g_volume_monitor_get_mounts(m_monitor);
    for (GList *l = mounts; l; l = l->next)
        onMountAdded(G_MOUNT(l->data));
    g_list_free_full(mounts, g_object_unref);

    // The kernel flags a change of the mount table as POLLPRI on an open mountinfo file.
    m_mountInfoFd = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    if (m_mountInfoFd >= 0) {
        m_mountInfoNotifier = new QSocketNotifier(m_mountInfoFd, QSocketNotifier::Exception, this);
        connect(m_mountInfoNotifier, &QSocketNotifier::activated, this, &GvfsMountTable::readKernelMounts);
    }
    readKernelMounts();
}

GvfsMountTable::~GvfsMountTable()
{
    g_signal_handlers_disconnect_by_data(m_monitor, this);
    for (auto it = m_gvfs.keyBegin(); it != m_gvfs.keyEnd(); ++it)
        g_object_unref(*it);
    g_object_unref(m_monitor);
    delete m_mountInfoNotifier;
    if (m_mountInfoFd >= 0)
        ::close(m_mountInfoFd);
}

QList<MountedVolume> GvfsMountTable::mountedVolumes() const
{
    QMutexLocker lock(&m_mutex);
    const auto now = std::chrono::steady_clock::now();
    QList<MountedVolume> result;
    for (const MountedVolume &volume : m_snapshot) {
        auto noted = m_noted.constFind(volume.path);
        if (noted != m_noted.cend() && noted->removed && now - noted->at < kNoteLifetime)
            continue;
        result.append(volume);
    }
    for (const Noted &noted : m_noted) {
        if (noted.removed || now - noted.at >= kNoteLifetime)
            continue;
        const bool listed = std::any_of(result.cbegin(), result.cend(),
                                        [&](const MountedVolume &v) { return v.path == noted.volume.path; });
        if (!listed)
            result.append(noted.volume);
    }
    return result;
}

void GvfsMountTable::noteMounted(const MountedVolume &volume)
{
    QMutexLocker lock(&m_mutex);
    m_noted.insert(volume.path, {volume, std::chrono::steady_clock::now(), false});
}

void GvfsMountTable::noteUnmounted(const QString &path)
{
    QMutexLocker lock(&m_mutex);
    MountedVolume volume;
    volume.path = path;
    m_noted.insert(path, {volume, std::chrono::steady_clock::now(), true});
}

void GvfsMountTable::rebuild()
{
    QList<MountedVolume> all;
    for (const MountedVolume &volume : std::as_const(m_gvfs))
        all.append(volume);
    all.append(m_kernel);
    QMutexLocker lock(&m_mutex);
    m_snapshot = all;
}

void GvfsMountTable::onMountAdded(GMount *mount)
{
    if (m_gvfs.contains(mount))
        return;
    GFile *root = g_mount_get_root(mount);
    // Mounts the native monitor reports (file:// roots) are kernel mounts, listed from mountinfo.
    const bool isGvfs = !g_file_has_uri_scheme(root, "file");
    const QString path = isGvfs ? gstr(g_file_get_path(root)) : QString();
    const QString uri = isGvfs ? gstr(g_file_get_uri(root)) : QString();
    g_object_unref(root);
    if (path.isEmpty()) // no FUSE path: nothing the engine could look at
        return;

    MountedVolume volume;
    volume.path = path;
    volume.remountUrl = remountUrlForGvfsUri(uri);
    volume.isLocal = false;
    m_gvfs.insert(G_MOUNT(g_object_ref(mount)), volume);
    {
        QMutexLocker lock(&m_mutex);
        m_noted.remove(path);
    }
    rebuild();
    Q_EMIT volumeMounted(path);
}

void GvfsMountTable::onMountRemoved(GMount *mount)
{
    auto it = m_gvfs.find(mount);
    if (it == m_gvfs.end())
        return;
    const QString path = it->path;
    m_gvfs.erase(it);
    g_object_unref(mount);
    {
        QMutexLocker lock(&m_mutex);
        auto noted = m_noted.find(path);
        if (noted != m_noted.end() && noted->removed)
            m_noted.erase(noted);
    }
    rebuild();
    Q_EMIT volumeUnmounted(path);
}

void GvfsMountTable::mountAddedThunk(GVolumeMonitor *, GMount *mount, void *self)
{
    static_cast<GvfsMountTable *>(self)->onMountAdded(mount);
}

void GvfsMountTable::mountRemovedThunk(GVolumeMonitor *, GMount *mount, void *self)
{
    static_cast<GvfsMountTable *>(self)->onMountRemoved(mount);
}

void GvfsMountTable::mountChangedThunk(GVolumeMonitor *, GMount *mount, void *self)
{
    // A changed mount may have a new root path (FUSE started late): read it again, silently.
    auto *table = static_cast<GvfsMountTable *>(self);
    auto it = table->m_gvfs.find(mount);
    if (it == table->m_gvfs.end()) {
        table->onMountAdded(mount);
        return;
    }
    GFile *root = g_mount_get_root(mount);
    const QString path = gstr(g_file_get_path(root));
    g_object_unref(root);
    if (!path.isEmpty() && path != it->path) {
        it->path = path;
        table->rebuild();
    }
}

void GvfsMountTable::readKernelMounts()
{
    QByteArray text;
    if (m_mountInfoFd >= 0) {
        ::lseek(m_mountInfoFd, 0, SEEK_SET);
        char buffer[16384];
        for (int rounds = 0; rounds < 4096; ++rounds) { // bounded: 64 MiB of mount table at most
            const ssize_t n = ::read(m_mountInfoFd, buffer, sizeof buffer);
            if (n <= 0)
                break;
            text.append(buffer, n);
        }
    }
    const QList<MountedVolume> now = parseMountInfo(text);
    QSet<QString> before;
    for (const MountedVolume &v : std::as_const(m_kernel))
        before.insert(v.path);
    QSet<QString> after;
    for (const MountedVolume &v : now)
        after.insert(v.path);
    m_kernel = now;
    rebuild();
    if (m_mountInfoFd < 0 || !m_mountInfoNotifier)
        return; // first read in the constructor: nothing to report
    for (const QString &path : std::as_const(before)) {
        if (!after.contains(path))
            Q_EMIT volumeUnmounted(path);
    }
    for (const MountedVolume &v : now) {
        if (!before.contains(v.path))
            Q_EMIT volumeMounted(v.path);
    }
}

QList<MountedVolume> GvfsMountTable::parseMountInfo(const QByteArray &text)
{
    QList<MountedVolume> result;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        // id parent major:minor root mount-point options [optional...] - fstype source super-options
        const qsizetype dash = fields.indexOf(QByteArrayLiteral("-"));
        if (dash < 6 || dash + 2 >= fields.size())
            continue;
        const QString mountPoint = unescapeMountField(fields[4]);
        const QString fsType = QString::fromUtf8(fields[dash + 1]);
        const QString source = unescapeMountField(fields[dash + 2]);
        MountedVolume volume;
        volume.path = mountPoint;
        if (networkFsTypes().contains(fsType)
            || (fsType.startsWith(QLatin1String("fuse")) && source.startsWith(QLatin1String("http")))) {
            volume.isLocal = false;
            const QUrl url = kernelRemountUrl(fsType, source);
            if (url.isValid() && !url.isEmpty())
                volume.remountUrl = url;
        } else if (source.startsWith(QLatin1String("/dev/"))) {
            volume.isLocal = true;
        } else {
            continue; // proc, sysfs, tmpfs, the GVfs FUSE root itself ...
        }
        result.append(volume);
    }
    return result;
}

QUrl GvfsMountTable::kernelRemountUrl(const QString &fsType, const QString &source)
{
    if (source.startsWith(QLatin1String("http://")) || source.startsWith(QLatin1String("https://")))
        return QUrl(source);
    if (fsType == QLatin1String("cifs") || fsType == QLatin1String("smb3") || fsType == QLatin1String("smbfs")) {
        QString rest = source; // //host/share[/path]
        while (rest.startsWith(QLatin1Char('/')) || rest.startsWith(QLatin1Char('\\')))
            rest.remove(0, 1);
        rest.replace(QLatin1Char('\\'), QLatin1Char('/'));
        return QUrl(QStringLiteral("smb://") + rest);
    }
    if (fsType.startsWith(QLatin1String("nfs"))) {
        // host:/export, [v6addr]:/export
        const qsizetype colon = source.lastIndexOf(QStringLiteral(":/"));
        if (colon <= 0)
            return {};
        QUrl url;
        url.setScheme(QStringLiteral("nfs"));
        QString host = source.left(colon);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
            host = host.mid(1, host.size() - 2);
        url.setHost(host);
        url.setPath(source.mid(colon + 1));
        return url;
    }
    if (fsType == QLatin1String("fuse.sshfs")) {
        // [user@]host:path
        const qsizetype colon = source.indexOf(QLatin1Char(':'));
        if (colon <= 0)
            return {};
        QString path = source.mid(colon + 1);
        if (!path.startsWith(QLatin1Char('/')))
            path.prepend(QLatin1Char('/'));
        return QUrl(QStringLiteral("sftp://") + source.left(colon) + path);
    }
    return {};
}

QUrl GvfsMountTable::remountUrlForGvfsUri(const QString &uri)
{
    QUrl url(uri);
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("dav"))
        url.setScheme(QStringLiteral("http"));
    else if (scheme == QLatin1String("davs"))
        url.setScheme(QStringLiteral("https"));
    return url;
}
