#pragma once

#include "CommandLine.h"
#include "ControlClient.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QObject>

#include <optional>

// Runs one parsed tarnwellctl command against the engine and returns the exit status. Results go to
// standard output, messages to standard error. Waiting (--wait, --follow, cleanup) listens to the
// engine's signals and re-reads the state periodically, always bounded by a time limit (or by Ctrl-C
// for --follow).
class Commands : public QObject
{
    Q_OBJECT
public:
    Commands();

    int run(const CommandLine::Parsed &parsed);

private Q_SLOTS:
    void onMountFinished(qlonglong id, int code, const QString &status);
    void onEjectFinished(qlonglong id, bool ok, const QString &status);
    void onEjectAllFinished();
    void onCleanUpFinished(qlonglong id, const QString &status);
    void onEventLogChanged();
    void onEngineGone();

private:
    int list(const CommandLine::Parsed &p);
    int status(const CommandLine::Parsed &p);
    int add(const CommandLine::Parsed &p);
    int edit(const CommandLine::Parsed &p);
    int remove(const CommandLine::Parsed &p);
    int mount(const CommandLine::Parsed &p);
    int eject(const CommandLine::Parsed &p);
    int cleanUp(const CommandLine::Parsed &p);
    int verify(const CommandLine::Parsed &p);
    int simple(const QString &method, const QString &done);
    int log(const CommandLine::Parsed &p);
    int audit(const CommandLine::Parsed &p);
    int exchange(const CommandLine::Parsed &p, bool import);

    int fail(const ControlClient::Failure &failure);
    int usage(const QString &message);
    std::optional<QJsonObject> fetchRecord(qint64 id, ControlClient::Failure *failure);
    std::optional<int> waitSeconds(const CommandLine::Parsed &p, int fallback, QString *error);
    bool connectSignal(const QString &name, const char *slot);
    // Runs the event loop until finish() or the time limit; re-checks `poll` every half second.
    bool waitUntil(int seconds, const std::function<bool()> &poll);
    void finish();
    std::optional<QString> readPassword(const CommandLine::Parsed &p, const QString &prompt, bool required);

    ControlClient m_client;
    QEventLoop m_loop;
    bool m_finished = false;
    qint64 m_waitId = 0;
    QString m_finishedStatus;
    int m_finishedCode = 0;
    bool m_finishedOk = false;
    QJsonArray m_lastEvents;
    bool m_followJson = false;
};
