#include "FuseBridgeWatchdog.h"

#include "base/Console.h"
#include "logging/LogEvent.h"
#include "logging/LogEventManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <thread>

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

bool isBridgeMounted(const QString &mountInfoPath, const QString &folder)
{
    return FuseBridgeWatchdog::mountTypeAt(readMountInfo(mountInfoPath), folder) == FuseBridgeWatchdog::kFuseType;
}

// Lazily detaches a dead FUSE mount so a new bridge can mount the folder again. Worker thread only.
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

FuseBridgeWatchdog::FuseBridgeWatchdog(Options options, LogEventManager *eventLog, QObject *parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_eventLog(eventLog)
{
    m_options.volumesFolder = QDir::cleanPath(m_options.volumesFolder);
    m_checkTimer.setSingleShot(true);
    connect(&m_checkTimer, &QTimer::timeout, this, &FuseBridgeWatchdog::onCheckTimeout);
}

std::optional<QString> FuseBridgeWatchdog::mountTypeAt(const QByteArray &mountInfo, const QString &folder)
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

FuseBridgeWatchdog::State FuseBridgeWatchdog::classify(const QByteArray &mountInfo, const QString &folder,
                                                       int statErrno)
{
    const std::optional<QString> type = mountTypeAt(mountInfo, folder);
    if (!type || *type != kFuseType)
        return State::Missing;
    // The daemon behind the mount is gone: the kernel answers ENOTCONN (or EIO / ECONNABORTED).
    if (statErrno == ENOTCONN || statErrno == EIO || statErrno == ECONNABORTED)
        return State::Dead;
    return State::Healthy;
}

QString FuseBridgeWatchdog::describe(State state)
{
    switch (state) {
    case State::Missing:
        return QStringLiteral("not mounted");
    case State::Dead:
        return QStringLiteral("daemon gone");
    case State::Unresponsive:
        return QStringLiteral("not answering");
    case State::Healthy:
        return QStringLiteral("healthy");
    case State::Unknown:
        break;
    }
    return QStringLiteral("unknown");
}

QString FuseBridgeWatchdog::restartRefusal() const
{
    if (!m_options.restartAllowed)
        return QStringLiteral("restarting is switched off");
    if (!QFileInfo(m_options.bridgeProgram).isExecutable())
        return m_options.bridgeProgram + QStringLiteral(" is not available");
    if (!QFileInfo::exists(m_options.fuseDevice))
        return m_options.fuseDevice + QStringLiteral(" is not available");
    if (m_options.requireSessionBus && qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return QStringLiteral("no session bus");
    return {};
}

void FuseBridgeWatchdog::check()
{
    if (m_checkRunning)
        return;
    m_checkRunning = true;
    m_checkTimer.start(m_options.checkTimeout);

    const auto now = std::chrono::steady_clock::now();
    const bool backoffOver = !m_lastRestartAttempt || now - *m_lastRestartAttempt >= m_options.restartBackoff;
    const QString refusal = restartRefusal();
    const bool mayRestart = backoffOver && refusal.isEmpty();
    const Options options = m_options;
    QPointer<FuseBridgeWatchdog> self(this);

    // A detached thread, not a pool: stat() on a hung FUSE folder may never return.
    std::thread([self, options, mayRestart, refusal] {
        CheckResult result;
        result.state = classify(readMountInfo(options.mountInfoPath), options.volumesFolder,
                                statErrno(options.volumesFolder));
        if (result.state == State::Missing || result.state == State::Dead) {
            if (!mayRestart) {
                result.failure = refusal;
            } else {
                result.restartAttempted = true;
                if (result.state == State::Dead)
                    detachDeadMount(options.volumesFolder);
                QDir().mkpath(options.volumesFolder);
                qint64 pid = 0;
                // The bridge outlives us: it must not hold our standard streams (a pipe held open keeps
                // whoever reads our output waiting for its end).
                QProcess bridge;
                bridge.setProgram(options.bridgeProgram);
                bridge.setArguments({options.volumesFolder, QStringLiteral("-f")});
                bridge.setStandardInputFile(QProcess::nullDevice());
                bridge.setStandardOutputFile(QProcess::nullDevice());
                bridge.setStandardErrorFile(QProcess::nullDevice());
                if (!bridge.startDetached(&pid)) {
                    result.failure = QStringLiteral("could not start ") + options.bridgeProgram;
                } else {
                    result.pid = pid;
                    const qint64 polls = std::max<qint64>(1, options.restartWait.count() / 100);
                    for (qint64 i = 0; i < polls && !result.restarted; ++i) {
                        result.restarted = isBridgeMounted(options.mountInfoPath, options.volumesFolder);
                        if (!result.restarted)
                            QThread::msleep(100);
                    }
                    if (!result.restarted)
                        result.failure = QStringLiteral("the bridge did not mount ") + options.volumesFolder;
                }
            }
        }
        if (QCoreApplication *app = QCoreApplication::instance()) {
            QMetaObject::invokeMethod(
                app, [self, result] {
                    if (self)
                        self->onCheckDone(result);
                },
                Qt::QueuedConnection);
        }
    }).detach();
}

void FuseBridgeWatchdog::reportLoss(State state)
{
    if (m_lossReported)
        return;
    m_lossReported = true;
    Console::line(kLostLine.arg(m_options.volumesFolder, describe(state)));
    if (m_eventLog) {
        const QString text = kLostEventText.arg(m_options.volumesFolder, describe(state));
        m_eventLog->addEvent(LogEvent::general(EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                      LogEvent::message(EVENT_TYPE_ENUM::CONNECTION_FAILED, text)));
    }
    Q_EMIT bridgeLost(state);
}

void FuseBridgeWatchdog::onCheckTimeout()
{
    if (!m_checkRunning)
        return;
    m_state = State::Unresponsive;
    reportLoss(State::Unresponsive);
    Q_EMIT checked(m_state);
}

void FuseBridgeWatchdog::onCheckDone(const CheckResult &result)
{
    m_checkRunning = false;
    m_checkTimer.stop();
    m_state = result.state;
    if (result.restartAttempted)
        m_lastRestartAttempt = std::chrono::steady_clock::now();

    if (result.state == State::Healthy) {
        m_lossReported = false;
    } else if (result.state == State::Missing || result.state == State::Dead) {
        const bool firstReport = !m_lossReported;
        reportLoss(result.state);
        if (result.restarted) {
            m_lastPid = result.pid;
            m_state = State::Healthy;
            m_lossReported = false;
            Console::line(kRestartedLine.arg(m_options.volumesFolder).arg(result.pid));
            if (m_eventLog) {
                const QString text = kRestartedEventText.arg(m_options.volumesFolder);
                m_eventLog->addEvent(LogEvent::general(EVENT_TYPE_ENUM::CONNECTION_SUCCESS,
                                              LogEvent::message(EVENT_TYPE_ENUM::CONNECTION_SUCCESS, text)));
            }
            Q_EMIT bridgeRestarted(result.pid);
        } else if (!result.failure.isEmpty() && (result.restartAttempted || firstReport)) {
            if (result.pid > 0)
                m_lastPid = result.pid;
            Console::line(kRestartFailedLine.arg(result.failure));
            if (m_eventLog) {
                const QString text = kRestartFailedEventText.arg(result.failure);
                m_eventLog->addEvent(LogEvent::general(EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                              LogEvent::message(EVENT_TYPE_ENUM::CONNECTION_FAILED, text)));
            }
        }
    }
    Q_EMIT checked(m_state);
}
