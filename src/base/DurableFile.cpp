#include "DurableFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString errnoText(const char *what, int error)
{
    return QLatin1String(what) + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(error));
}

// Closes the descriptor and removes the temporary file when the attempt did not reach the rename.
struct Temporary
{
    QByteArray path;
    int fd = -1;
    bool keep = false;
    ~Temporary()
    {
        if (fd >= 0)
            ::close(fd);
        if (!keep && !path.isEmpty())
            ::unlink(path.constData());
    }
};

} // namespace

namespace DurableFile {

bool makeFolder(const QString &path, QString *error)
{
    const QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (QFileInfo(clean).isDir())
        return true;
    const QString parent = QFileInfo(clean).path();
    if (parent != clean && !makeFolder(parent, error))
        return false;
    if (::mkdir(QFile::encodeName(clean).constData(), 0700) != 0 && errno != EEXIST) {
        if (error)
            *error = errnoText("cannot create folder", errno) + QStringLiteral(" (") + clean + QLatin1Char(')');
        return false;
    }
    return true;
}

void makePrivate(const QString &filePath)
{
    const auto tighten = [](const QString &path, mode_t mode) {
        const QByteArray name = QFile::encodeName(path);
        struct stat st = {};
        if (::lstat(name.constData(), &st) == 0 && st.st_uid == ::getuid() && (st.st_mode & 07777) != mode)
            ::chmod(name.constData(), mode);
    };
    const QFileInfo info(filePath);
    tighten(info.absolutePath(), 0700);
    tighten(info.absoluteFilePath(), 0600);
}

void removeLeftovers(const QString &path)
{
    const QFileInfo info(path);
    QDir folder(info.absolutePath());
    const QString prefix = QLatin1Char('.') + info.fileName() + QLatin1Char('.');
    const QStringList names = folder.entryList({prefix + QStringLiteral("??????")}, QDir::Files | QDir::Hidden);
    for (const QString &name : names)
        folder.remove(name);
}

Result write(const QString &path, const QByteArray &bytes, mode_t mode, bool createFolder)
{
    const QFileInfo info(path);
    const QString folder = info.absolutePath();
    QString error;
    if (createFolder && !makeFolder(folder, &error))
        return {false, error};
    if (info.isDir())
        return {false, QStringLiteral("the path is a folder: ") + path};

    Temporary temp;
    temp.path = QFile::encodeName(folder + QStringLiteral("/.") + info.fileName() + QStringLiteral(".XXXXXX"));
    temp.fd = ::mkostemp(temp.path.data(), O_CLOEXEC);
    if (temp.fd < 0) {
        const int e = errno;
        temp.path.clear(); // nothing was created
        return {false, errnoText("cannot create a temporary file", e)};
    }
    if (::fchmod(temp.fd, mode) != 0)
        return {false, errnoText("cannot set the file mode", errno)};

    const char *data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(temp.fd, data, static_cast<size_t>(left));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return {false, errnoText("write failed", errno)};
        }
        if (n == 0)
            return {false, QStringLiteral("write failed: no progress")};
        data += n;
        left -= n;
    }
    // Space is often only claimed at writeback: fsync is where a full disk shows up for many file systems.
    if (::fsync(temp.fd) != 0)
        return {false, errnoText("fsync failed", errno)};
    const int fd = temp.fd;
    temp.fd = -1;
    if (::close(fd) != 0)
        return {false, errnoText("close failed", errno)};

    if (::rename(temp.path.constData(), QFile::encodeName(path).constData()) != 0)
        return {false, errnoText("rename failed", errno)};
    temp.keep = true;

    // The rename is durable only once the folder is; a failure here leaves the new file in place, so it
    // is reported but the write counts (the content is complete either way).
    const int dir = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return {true, {}};
}

} // namespace DurableFile
