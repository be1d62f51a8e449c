#pragma once

#include "platform/RunningApplications.h"

#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QTimer>

// Running applications from a scan of /proc: for each process its name (comm), the base name of its
// executable and, when an XDG desktop entry's Exec names that executable, the entry's Name ("Firefox" for
// /usr/lib/firefox-esr/firefox-esr), so a user's "Firefox" matches as typed. A launch is a display name
// (entry Name, else executable, else comm) that was absent at the previous scan; scans run every 2 s
// between start() and stop().
//
// Thread: main thread. A scan reads /proc only (a few milliseconds for hundreds of processes); names()
// reuses a scan younger than one scan interval.
class ProcRunningApplications : public RunningApplications
{
    Q_OBJECT
public:
    static constexpr int kScanIntervalMs = 2000;

    // procDir and the desktop-entry folders are parameters for tests; empty folders: the XDG data dirs.
    explicit ProcRunningApplications(QString procDir = QStringLiteral("/proc"), QStringList applicationDirs = {},
                                     QObject *parent = nullptr);

    QStringList names() override;
    void start() override;
    void stop() override;

    struct Process
    {
        QString comm;
        QString executable; // base name; empty when the link cannot be read
    };
    // The executable base name -> entry Name table of the desktop entries in these folders (earlier
    // folders win).
    static QHash<QString, QString> readDesktopEntries(const QStringList &applicationDirs);
    // The program base name an Exec line starts (quotes removed, "env VAR=x" skipped).
    static QString execProgram(const QString &exec);

private:
    QList<Process> scan() const;
    // The last scan when it is younger than one scan interval, else a new one.
    const QList<Process> &recentScan();
    void remember(QList<Process> processes);
    QString displayName(const Process &process) const;
    void scanForLaunches();

    QString m_procDir;
    QStringList m_applicationDirs;
    QHash<QString, QString> m_entryNames;
    bool m_entriesRead = false;
    QSet<QString> m_previous;
    QList<Process> m_lastScan;
    QElapsedTimer m_lastScanAge; // invalid until the first scan
    QTimer m_timer;
};
