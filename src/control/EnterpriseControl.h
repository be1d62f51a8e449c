#pragma once

#include <QDBusContext>
#include <QObject>
#include <QString>

class ActiveDirectoryManager;
class ManagedPreferencesMonitor;
class MountEngine;

// The engine's enterprise interface io.tarnwell.Tarnwell.Enterprise1 (described in
// io.tarnwell.Tarnwell.Enterprise1.xml beside this file; its adaptor is generated from that description),
// exported at /io/tarnwell/Tarnwell/Enterprise by AppDelegate next to the main control interface.
//
// The public functions with D-Bus names are what the adaptor calls; refusals become D-Bus errors with the
// control interface's error names. Directory checks run tools that may block, so DirectoryRefresh and
// DirectoryApply return at once and announce their outcome by signal.
//
// Thread: main thread. Nothing is owned; the monitor and the directory manager may be null (their members
// then answer NotAvailable) and must otherwise outlive this object.
class EnterpriseControl : public QObject, protected QDBusContext
{
    Q_OBJECT
public:
    EnterpriseControl(MountEngine &engine, ManagedPreferencesMonitor *managed, ActiveDirectoryManager *directory,
                      QObject *parent = nullptr);

    QString ManagedStatus();
    int ApplyManagedShares();
    QString DirectoryStatus();
    void DirectoryRefresh();
    void DirectoryApply();
    QString DirectoryMappings();
    QString DirectoryMap(const QString &groupName, const QString &shareJson);
    void DirectoryUnmap(const QString &id);
    void DirectorySetEnabled(const QString &id, bool enabled);

Q_SIGNALS:
    void DirectoryStatusChanged(const QString &json);
    void DirectoryApplied(const QString &status, int added);
    void ManagedSharesApplied(int added);

private:
    bool refuse(const QString &name, const QString &message);
    bool directoryMissing();
    // A mapping change over the bus is answered once it is on disk (or with NotSaved).
    void replyWhenSaved(const QVariant &value = QVariant());

    MountEngine &m_engine;
    ManagedPreferencesMonitor *m_managed;
    ActiveDirectoryManager *m_directory;
};
