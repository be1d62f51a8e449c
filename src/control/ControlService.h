#pragma once

#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

class CredentialStore;
class EnterpriseAuditLog;
class LogEventManager;
class MountEngine;
class VolumeRecord;

// The engine's control interface io.tarnwell.Tarnwell.Control1 (described in
// io.tarnwell.Tarnwell.Control1.xml beside this file), exported at /io/tarnwell/Tarnwell by AppDelegate.
//
// Every operation exists twice: a C++ function returning a ControlResult (what tests and a second in-process
// user call), and the scriptable slot with the D-Bus name that turns an error into a D-Bus error reply.
// Operations that take time in the engine (mount, eject, clean-up) return at once; their outcome is
// announced by the signals. Passwords pass through to the credential store and nowhere else.
//
// Thread: main thread (D-Bus calls are delivered there). The engine, the logs and the optional hooks are
// not owned and must outlive this object.
class ControlService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "io.tarnwell.Tarnwell.Control1")
    Q_PROPERTY(QString Version READ version SCRIPTABLE true)
    Q_PROPERTY(bool Paused READ isPaused SCRIPTABLE true)

public:
    struct Error
    {
        QString name;    // one of ControlNames::kError*; empty when there is none
        QString message; // for the user, as it stands
    };
    template <typename T>
    struct Result
    {
        T value{};
        Error error;
        bool ok() const { return error.name.isEmpty(); }
    };
    struct Done
    {
    };

    // The auto-mount pause switch lives in the scheduler; without these hooks Pause/Resume report
    // NotAvailable. pause() returns false when there was nothing to pause (no share mounted).
    struct PauseHooks
    {
        std::function<bool()> isPaused;
        std::function<bool()> pause;
        std::function<void()> resume;
    };

    // Texts of the refusal to edit a managed record (the record view's banner).
    static inline const QString kLockedTitle = QStringLiteral("IT-Managed Share");
    static inline const QString kLockedText = QStringLiteral("This share is managed by %1. Settings cannot be modified.");
    static inline const QString kLockedFallbackManager = QStringLiteral("IT Department");
    static inline const QString kNothingToPause =
        QStringLiteral("Auto-mount can be paused only while at least one share is mounted");
    static inline const QString kNotAvailable = QStringLiteral("%1 is not available in this build");

    ControlService(MountEngine &engine, LogEventManager &eventLog, EnterpriseAuditLog &auditLog,
                   QObject *parent = nullptr);

    void setPauseHooks(PauseHooks hooks) { m_pause = std::move(hooks); }
    // Derives a record's short status label; when unset the label is the status text itself.
    void setStatusLabeler(std::function<QString(const VolumeRecord &, bool paused)> labeler)
    {
        m_labeler = std::move(labeler);
    }
    // Called for tarnwell://show (the user interface shows its main window).
    void setShowHandler(std::function<void()> handler) { m_show = std::move(handler); }

    QString version() const;
    bool isPaused() const;

    Result<QString> listRecords() const;
    Result<QString> getRecord(qint64 id) const;
    Result<qint64> resolveShare(const QString &query) const;
    Result<qint64> addRecord(const QString &json, const QString &password);
    Result<Done> editRecord(qint64 id, const QString &json);
    Result<Done> setPassword(qint64 id, const QString &password);
    Result<Done> removeRecord(qint64 id);
    Result<Done> mount(qint64 id);
    Result<Done> eject(qint64 id);
    Result<Done> ejectAll();
    Result<Done> cleanUp(qint64 id);
    Result<bool> verify(qint64 id);
    Result<Done> pause();
    Result<Done> resume();
    Result<QString> eventLog(int limit) const;
    Result<QString> exportAudit(const QString &format, const QString &since, const QString &until) const;
    Result<Done> handleUrl(const QString &url);

public Q_SLOTS:
    Q_SCRIPTABLE QString ListRecords();
    Q_SCRIPTABLE QString GetRecord(qlonglong id);
    Q_SCRIPTABLE qlonglong ResolveShare(const QString &query);
    Q_SCRIPTABLE qlonglong AddRecord(const QString &record, const QString &password);
    Q_SCRIPTABLE void EditRecord(qlonglong id, const QString &record);
    Q_SCRIPTABLE void SetPassword(qlonglong id, const QString &password);
    Q_SCRIPTABLE void RemoveRecord(qlonglong id);
    Q_SCRIPTABLE void Mount(qlonglong id);
    Q_SCRIPTABLE void Eject(qlonglong id);
    Q_SCRIPTABLE void EjectAll();
    Q_SCRIPTABLE void CleanUp(qlonglong id);
    Q_SCRIPTABLE bool Verify(qlonglong id);
    Q_SCRIPTABLE void Pause();
    Q_SCRIPTABLE void Resume();
    Q_SCRIPTABLE QString EventLog(int limit);
    Q_SCRIPTABLE QString ExportAudit(const QString &format, const QString &since, const QString &until);
    Q_SCRIPTABLE QString ImportConfiguration(const QString &path);
    Q_SCRIPTABLE void ExportConfiguration(const QString &path);
    Q_SCRIPTABLE QString ImportCsv(const QString &path);
    Q_SCRIPTABLE void ExportCsv(const QString &path);
    Q_SCRIPTABLE void HandleUrl(const QString &url);

Q_SIGNALS:
    Q_SCRIPTABLE void RecordsChanged();
    Q_SCRIPTABLE void EventLogChanged();
    Q_SCRIPTABLE void MountFinished(qlonglong id, int code, const QString &status);
    Q_SCRIPTABLE void EjectFinished(qlonglong id, bool ok, const QString &status);
    Q_SCRIPTABLE void EjectAllFinished();
    Q_SCRIPTABLE void CleanUpFinished(qlonglong id, const QString &status);

private:
    const VolumeRecord *findRecord(qint64 id, Error *error) const;
    QString statusOf(qint64 id) const;
    // Sends the error as the D-Bus reply when the call came over the bus.
    void reply(const Error &error);

    MountEngine &m_engine;
    LogEventManager &m_eventLog;
    EnterpriseAuditLog &m_auditLog;
    PauseHooks m_pause;
    std::function<QString(const VolumeRecord &, bool)> m_labeler;
    std::function<void()> m_show;
    // Runtime changes come in bursts (a countdown ticks every second, a sync touches every record): one
    // signal per burst is enough for clients that re-read the list.
    QTimer m_recordsChangedDelay;
    QTimer m_eventLogChangedDelay;
};
