#include "FileSystem.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
QString errnoText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}
} // namespace

LocalFileSystem::LocalFileSystem(QString volumesFolder)
    : m_volumesFolder(std::move(volumesFolder))
{
}

QString LocalFileSystem::standardVolumesFolder()
{
    QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (runtime.isEmpty())
        runtime = QStringLiteral("/run/user/") + QString::number(::getuid());
    return runtime + QStringLiteral("/gvfs");
}

std::optional<QStringList> LocalFileSystem::list(const QString &directory, QString *error) const
{
    DIR *dir = ::opendir(QFile::encodeName(directory).constData());
    if (!dir) {
        if (error)
            *error = errnoText(errno);
        return std::nullopt;
    }
    QStringList names;
    while (dirent *entry = ::readdir(dir)) {
        const char *name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
            continue;
        names.append(QFile::decodeName(name));
    }
    ::closedir(dir);
    return names;
}

std::optional<QDateTime> LocalFileSystem::creationDate(const QString &path) const
{
    struct statx sx {};
    const QByteArray p = QFile::encodeName(path);
    if (::statx(AT_FDCWD, p.constData(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_CTIME, &sx) != 0)
        return std::nullopt;
    const statx_timestamp ts = (sx.stx_mask & STATX_BTIME) ? sx.stx_btime : sx.stx_ctime;
    return QDateTime::fromMSecsSinceEpoch(qint64(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000);
}

bool LocalFileSystem::exists(const QString &path, bool *isDirectory) const
{
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) {
        if (isDirectory)
            *isDirectory = false;
        return false;
    }
    if (isDirectory)
        *isDirectory = S_ISDIR(st.st_mode);
    return true;
}

bool LocalFileSystem::isSymbolicLink(const QString &path) const
{
    struct stat st {};
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 && S_ISLNK(st.st_mode);
}

QString LocalFileSystem::symbolicLinkTarget(const QString &path) const
{
    char buffer[4096];
    const ssize_t n = ::readlink(QFile::encodeName(path).constData(), buffer, sizeof buffer - 1);
    if (n < 0)
        return {};
    return QFile::decodeName(QByteArray(buffer, n));
}

bool LocalFileSystem::createSymbolicLink(const QString &target, const QString &linkPath, QString *error)
{
    if (::symlink(QFile::encodeName(target).constData(), QFile::encodeName(linkPath).constData()) == 0)
        return true;
    if (error)
        *error = errnoText(errno);
    return false;
}

bool LocalFileSystem::removeEntry(const QString &path, QString *error)
{
    const QByteArray p = QFile::encodeName(path);
    struct stat st {};
    if (::lstat(p.constData(), &st) != 0) {
        if (error)
            *error = errnoText(errno);
        return false;
    }
    const int rc = S_ISDIR(st.st_mode) ? ::rmdir(p.constData()) : (S_ISLNK(st.st_mode) ? ::unlink(p.constData()) : -1);
    if (rc == 0)
        return true;
    if (error)
        *error = S_ISDIR(st.st_mode) || S_ISLNK(st.st_mode) ? errnoText(errno) : QStringLiteral("Not a directory or link");
    return false;
}
