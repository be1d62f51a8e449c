#pragma once

#include <QDBusContext>
#include <QJsonArray>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QTimer>

#include <functional>

class Control1Adaptor;
class EnterpriseAuditLog;
class LogEventManager;
class MountEngine;
class VolumeRecord;

// The engine's control interface io.tarnwell.Tarnwell.Control1, described in io.tarnwell.Tarnwell.Control1.xml
// beside this file. That description is the only source of the D-Bus side: the adaptor generated from it (a
// child of this object, created here; AppDelegate exports it at /io/tarnwell/Tarnwell) calls the functions
// below that carry the D-Bus names, and this object emits the interface's signals on the adaptor, so a
// method or signal that drifts from the description fails the build.
//
// Every operation exists twice: a C++ function returning a Result (what tests and a second in-process user
// call), and the function with the D-Bus name that turns an error into a D-Bus error reply (QDBusContext
// reaches the call through the adaptor). The rules about the records themselves (duplicates, managed
// shares) are the engine's; this only translates its refusals into error names. Operations that take time
// in the engine (mount, eject, clean-up) return at once; the signals announce their outcome. Passwords
// pass through to the credential store and nowhere else.
//
// Thread: main thread (D-Bus calls are delivered there). The engine, the logs and the optional hooks are
// not owned and must outlive this object.
class ControlService : public QObject, protected QDBusContext
{
    Q_OBJECT
    // Read by the adaptor under the interface's property names.
    Q_PROPERTY(QString Version READ version)
    Q_PROPERTY(bool Paused READ isPaused)

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

    static inline const QString kNothingToPause =
        QStringLiteral("Auto-mount can be paused only while at least one share is mounted");
    static inline const QString kNotAvailable = QStringLiteral("%1 is not available in this build");

    ControlService(MountEngine &engine, LogEventManager &eventLog, EnterpriseAuditLog &auditLog,
                   QObject *parent = nullptr);
    ~ControlService() override;

    // The D-Bus face: export this object with QDBusConnection::ExportAdaptors. Its signals are the
    // interface's signals.
    Control1Adaptor *adaptor() const { return m_adaptor; }

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
    // The engine's bounded check; `done` follows on the main thread (an unknown share: at once).
    void verify(qint64 id, std::function<void(Result<bool>)> done);
    // The certificate the share's server presents (JSON as in the interface description); `done` follows
    // on the main thread (errors at once).
    void serverCertificate(qint64 id, std::function<void(Result<QString>)> done);
    Result<Done> trustCertificate(qint64 id, const QString &sha256);
    Result<Done> pause();
    Result<Done> resume();
    // The event log as the export writes it: newest first; limit 0 = everything.
    QJsonArray eventArray(int limit) const;
    Result<QString> exportAudit(const QString &format, const QString &since, const QString &until) const;
    // Exports written by the engine to `path` (absolute) through DurableFile, mode 0600, on a worker (the
    // folder may be a slow or network one); `done` follows on the main thread with the number of entries
    // written (errors of the arguments at once).
    void exportAuditToFile(const QString &format, const QString &since, const QString &until, const QString &path,
                           std::function<void(Result<int>)> done);
    void exportEventLogToFile(int limit, const QString &path, std::function<void(Result<int>)> done);
    Result<Done> handleUrl(const QString &url);

    // --- Called by the adaptor (the interface's method names) ---
    QString ListRecords();
    QString GetRecord(qlonglong id);
    qlonglong ResolveShare(const QString &query);
    qlonglong AddRecord(const QString &record, const QString &password);
    void EditRecord(qlonglong id, const QString &record);
    void SetPassword(qlonglong id, const QString &password);
    void RemoveRecord(qlonglong id);
    void Mount(qlonglong id);
    void Eject(qlonglong id);
    void EjectAll();
    void CleanUp(qlonglong id);
    bool Verify(qlonglong id);
    QString ServerCertificate(qlonglong id);
    void TrustCertificate(qlonglong id, const QString &sha256);
    void Pause();
    void Resume();
    QString ExportAudit(const QString &format, const QString &since, const QString &until);
    int ExportAuditToFile(const QString &format, const QString &since, const QString &until, const QString &path);
    int ExportEventLogToFile(int limit, const QString &path);
    void HandleUrl(const QString &url);

private:
    struct ExportText
    {
        QString text;
        int entries = 0;
    };
    // The one path of every export to a file: the path checked, `make` run on the main thread (the logs are
    // its), the file written on m_exportPool.
    void writeExport(const QString &path, const std::function<Result<ExportText>()> &make,
                     std::function<void(Result<int>)> done);
    const VolumeRecord *findRecord(qint64 id, Error *error) const;
    QString statusOf(qint64 id) const;
    // Sends the error as the D-Bus reply when the call came over the bus.
    void reply(const Error &error);
    // For a settings change made over the bus: the reply (`value`, or none when invalid) is held back until
    // the preferences writer reports the change on disk, or becomes NotSaved with the reason. The main
    // thread does not wait meanwhile.
    void replyWhenSaved(const QVariant &value = QVariant());
    // For a call answered later: over the bus the reply is held, and the function returned sends the result
    // (its value or its error) once known; for an in-process call it does nothing.
    template <typename T>
    std::function<void(const Result<T> &)> replyLater();

    MountEngine &m_engine;
    LogEventManager &m_eventLog;
    EnterpriseAuditLog &m_auditLog;
    Control1Adaptor *m_adaptor; // child of this object
    PauseHooks m_pause;
    std::function<QString(const VolumeRecord &, bool)> m_labeler;
    std::function<void()> m_show;
    // Runtime changes come in bursts (a countdown ticks every second, a sync touches every record): one
    // signal per burst is enough for clients that re-read the list.
    QTimer m_recordsChangedDelay;
    QTimer m_eventLogChangedDelay;
    // Declared last: destroyed first, it waits for the exports being written, whose results come back
    // queued to this object.
    QThreadPool m_exportPool;
};
