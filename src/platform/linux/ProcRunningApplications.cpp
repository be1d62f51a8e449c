#include "ProcRunningApplications.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString readComm(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).trimmed();
}

// The words of an Exec line, double quotes grouping (enough to find the program).
QStringList execWords(const QString &exec)
{
    QStringList words;
    QString word;
    bool quoted = false;
    bool inWord = false;
    for (const QChar c : exec) {
        if (c == u'"') {
            quoted = !quoted;
            inWord = true;
        } else if (c.isSpace() && !quoted) {
            if (inWord)
                words << word;
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord)
        words << word;
    return words;
}

} // namespace

ProcRunningApplications::ProcRunningApplications(QString procDir, QStringList applicationDirs, QObject *parent)
    : RunningApplications(parent)
    , m_procDir(std::move(procDir))
    , m_applicationDirs(std::move(applicationDirs))
{
    if (m_applicationDirs.isEmpty())
        m_applicationDirs = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    m_timer.setInterval(kScanIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &ProcRunningApplications::scanForLaunches);
}

QString ProcRunningApplications::execProgram(const QString &exec)
{
    QStringList words = execWords(exec);
    // "env A=1 B=2 program ..." starts program.
    if (!words.isEmpty() && QFileInfo(words.first()).fileName() == QLatin1String("env")) {
        words.removeFirst();
        while (!words.isEmpty()
               && (words.first().contains(QLatin1Char('=')) || words.first().startsWith(QLatin1Char('-'))))
            words.removeFirst();
    }
    return words.isEmpty() ? QString() : QFileInfo(words.first()).fileName();
}

QHash<QString, QString> ProcRunningApplications::readDesktopEntries(const QStringList &applicationDirs)
{
    QHash<QString, QString> names;
    for (const QString &dir : applicationDirs) {
        QDirIterator it(dir, { QStringLiteral("*.desktop") }, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            if (file.size() > 256 * 1024 || !file.open(QIODevice::ReadOnly | QIODevice::Text))
                continue;
            QString name, exec;
            bool inMain = false;
            bool hidden = false;
            while (!file.atEnd()) {
                const QString line = QString::fromUtf8(file.readLine()).trimmed();
                if (line.startsWith(QLatin1Char('['))) {
                    inMain = line == QLatin1String("[Desktop Entry]");
                    continue;
                }
                if (!inMain)
                    continue;
                if (line.startsWith(QLatin1String("Name=")))
                    name = line.mid(5).trimmed();
                else if (line.startsWith(QLatin1String("Exec=")))
                    exec = line.mid(5).trimmed();
                else if (line == QLatin1String("NoDisplay=true") || line == QLatin1String("Hidden=true"))
                    hidden = true;
            }
            const QString program = execProgram(exec);
            // Hidden entries name helpers, not applications a user would type.
            if (hidden || name.isEmpty() || program.isEmpty() || names.contains(program))
                continue;
            names.insert(program, name);
        }
    }
    return names;
}

QList<ProcRunningApplications::Process> ProcRunningApplications::scan() const
{
    QList<Process> processes;
    const QDir proc(m_procDir);
    for (const QString &entry : proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (entry.isEmpty() || !entry.at(0).isDigit())
            continue;
        const QString base = m_procDir + QLatin1Char('/') + entry;
        Process process;
        process.comm = readComm(base + QStringLiteral("/comm"));
        if (process.comm.isEmpty())
            continue; // gone meanwhile
        const QString target = QFileInfo(base + QStringLiteral("/exe")).symLinkTarget();
        if (!target.isEmpty()) {
            QString name = QFileInfo(target).fileName();
            name.remove(QStringLiteral(" (deleted)"));
            process.executable = name;
        }
        processes.append(process);
    }
    return processes;
}

QString ProcRunningApplications::displayName(const Process &process) const
{
    if (const auto it = m_entryNames.constFind(process.executable);
        !process.executable.isEmpty() && it != m_entryNames.cend())
        return *it;
    if (const auto it = m_entryNames.constFind(process.comm); it != m_entryNames.cend())
        return *it;
    return process.executable.isEmpty() ? process.comm : process.executable;
}

QStringList ProcRunningApplications::names()
{
    if (!m_entriesRead) {
        m_entryNames = readDesktopEntries(m_applicationDirs);
        m_entriesRead = true;
    }
    QSet<QString> seen;
    QStringList result;
    auto add = [&](const QString &name) {
        if (!name.isEmpty() && !seen.contains(name)) {
            seen.insert(name);
            result.append(name);
        }
    };
    for (const Process &process : recentScan()) {
        add(displayName(process));
        add(process.executable);
        add(process.comm);
    }
    return result;
}

const QList<ProcRunningApplications::Process> &ProcRunningApplications::recentScan()
{
    // The launch watch scans every kScanIntervalMs anyway: an evaluation in between reuses that scan
    // instead of reading /proc again on the main thread.
    if (!m_lastScanAge.isValid() || m_lastScanAge.elapsed() >= kScanIntervalMs)
        remember(scan());
    return m_lastScan;
}

void ProcRunningApplications::remember(QList<Process> processes)
{
    m_lastScan = std::move(processes);
    m_lastScanAge.start();
}

void ProcRunningApplications::start()
{
    // Installed applications may have changed since the last run.
    m_entryNames = readDesktopEntries(m_applicationDirs);
    m_entriesRead = true;
    m_previous.clear();
    remember(scan());
    for (const Process &process : std::as_const(m_lastScan))
        m_previous.insert(displayName(process));
    m_timer.start();
}

void ProcRunningApplications::stop()
{
    m_timer.stop();
    m_previous.clear();
}

void ProcRunningApplications::scanForLaunches()
{
    QSet<QString> current;
    QStringList launched;
    remember(scan());
    for (const Process &process : std::as_const(m_lastScan)) {
        const QString name = displayName(process);
        if (!current.contains(name) && !m_previous.contains(name))
            launched.append(name);
        current.insert(name);
    }
    m_previous = current;
    for (const QString &name : std::as_const(launched))
        Q_EMIT applicationLaunched(name);
}
