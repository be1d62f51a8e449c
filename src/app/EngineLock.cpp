#include "EngineLock.h"

#include "base/DurableFile.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

std::unique_ptr<EngineLock> EngineLock::acquire(const QString &path, QString *why)
{
    DurableFile::makeFolder(QFileInfo(path).absolutePath());
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        *why = QStringLiteral("cannot open %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        return nullptr;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        char buffer[32] = {};
        const ssize_t n = ::pread(fd, buffer, sizeof buffer - 1, 0);
        ::close(fd);
        const QString holder = n > 0 ? QString::fromLatin1(buffer, int(n)).trimmed() : QString();
        if (error == EWOULDBLOCK) {
            *why = QStringLiteral("another Tarnwell engine%1 already uses the files in %2")
                       .arg(holder.isEmpty() ? QString() : QStringLiteral(" (PID ") + holder + QLatin1Char(')'),
                            QFileInfo(path).absolutePath());
        } else {
            *why = QStringLiteral("cannot lock %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error)));
        }
        return nullptr;
    }
    const QByteArray pid = QByteArray::number(qint64(::getpid())) + '\n';
    if (::ftruncate(fd, 0) == 0)
        (void)!::pwrite(fd, pid.constData(), size_t(pid.size()), 0);
    return std::unique_ptr<EngineLock>(new EngineLock(fd));
}

EngineLock::~EngineLock()
{
    ::close(m_fd); // releases the lock
}
