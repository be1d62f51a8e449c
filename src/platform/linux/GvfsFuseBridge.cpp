#include "GvfsFuseBridge.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace {

// mountinfo escapes blanks, tabs, newlines and backslashes in paths as \ooo.
QString unescapeMountPath(const QByteArray &field)
{
    QByteArray out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field.at(i) == '\\' && i + 3 < field.size()) {
            bool ok = false;
            const int value = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                out.append(char(value));
                i += 3;
                continue;
            }
        }
        out.append(field.at(i));
    }
    return QString::fromUtf8(out);
}

QByteArray readMountInfo(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

int statErrno(const QString &folder)
{
    struct stat st {};
    return ::stat(QFile::encodeName(folder).constData(), &st) == 0 ? 0 : errno;
}

// Lazily detaches a dead FUSE mount so a new bridge can mount the folder again.
void detachDeadMount(const QString &folder)
{
    for (const char *tool : {"fusermount3", "fusermount"}) {
        const QString program = QStandardPaths::findExecutable(QLatin1String(tool));
        if (program.isEmpty())
            continue;
        QProcess process;
        process.start(program, {QStringLiteral("-u"), QStringLiteral("-z"), folder});
        if (process.waitForFinished(5000) && process.exitCode() == 0)
            return;
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(1000);
        }
    }
}

} // namespace

GvfsFuseBridge::GvfsFuseBridge(Options options)
    : m_options(std::move(options))
{
    m_options.volumesFolder = QDir::cleanPath(m_options.volumesFolder);
}

std::optional<QString> GvfsFuseBridge::mountTypeAt(const QByteArray &mountInfo, const QString &folder)
{
    const QString wanted = QDir::cleanPath(folder);
    std::optional<QString> type;
    for (const QByteArray &line : mountInfo.split('\n')) {
        // "36 35 98:0 /mnt1 /mnt/point rw,noatime master:1 - fuse.gvfsd-fuse gvfsd-fuse rw,user_id=0"
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf(QByteArrayLiteral("-"));
        if (fields.size() < 5 || separator < 6 || separator + 1 >= fields.size())
            continue;
        if (unescapeMountPath(fields.at(4)) == wanted)
            type = QString::fromUtf8(fields.at(separator + 1)); // a later mount on the same point hides earlier ones
    }
    return type;
}

FuseBridge::Health GvfsFuseBridge::classify(const QByteArray &mountInfo, const QString &folder, int statErrno)
{
    const std::optional<QString> type = mountTypeAt(mountInfo, folder);
    if (!type || *type != kFuseType)
        return Health::Missing;
    // The daemon behind the mount is gone: the kernel answers ENOTCONN (or EIO / ECONNABORTED).
    if (statErrno == ENOTCONN || statErrno == EIO || statErrno == ECONNABORTED)
        return Health::Dead;
    return Health::Healthy;
}

QString GvfsFuseBridge::restartRefusal() const
{
    if (!QFileInfo(m_options.bridgeProgram).isExecutable())
        return m_options.bridgeProgram + QStringLiteral(" is not available");
    if (!QFileInfo::exists(m_options.fuseDevice))
        return m_options.fuseDevice + QStringLiteral(" is not available");
    if (m_options.requireSessionBus && qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return QStringLiteral("no session bus");
    return {};
}

FuseBridge::Health GvfsFuseBridge::health()
{
    return classify(readMountInfo(m_options.mountInfoPath), m_options.volumesFolder, statErrno(m_options.volumesFolder));
}

FuseBridge::RestartResult GvfsFuseBridge::restart(bool detachDead)
{
    RestartResult result;
    if (detachDead)
        detachDeadMount(m_options.volumesFolder);
    QDir().mkpath(m_options.volumesFolder);
    // The bridge outlives us: it must not hold our standard streams (a pipe held open keeps whoever reads
    // our output waiting for its end).
    QProcess bridge;
    bridge.setProgram(m_options.bridgeProgram);
    bridge.setArguments({m_options.volumesFolder, QStringLiteral("-f")});
    bridge.setStandardInputFile(QProcess::nullDevice());
    bridge.setStandardOutputFile(QProcess::nullDevice());
    bridge.setStandardErrorFile(QProcess::nullDevice());
    qint64 pid = 0;
    if (!bridge.startDetached(&pid)) {
        result.failure = QStringLiteral("could not start ") + m_options.bridgeProgram;
        return result;
    }
    result.pid = pid;
    const qint64 polls = std::max<qint64>(1, m_options.restartWait.count() / 100);
    // Healthy, not merely listed: when the lazy detach failed, the dead entry is still in the table.
    for (qint64 i = 0; i < polls && !result.restarted; ++i) {
        result.restarted = health() == Health::Healthy;
        if (!result.restarted)
            QThread::msleep(100);
    }
    if (!result.restarted)
        result.failure = QStringLiteral("the bridge did not mount ") + m_options.volumesFolder;
    return result;
}
