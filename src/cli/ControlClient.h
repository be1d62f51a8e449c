#pragma once

#include "control/Control1Proxy.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusPendingReply>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

// tarnwellctl's side of the control interface: a session-bus connection of its own, the proxy generated
// from the interface description, and waiting for replies with a time limit (the client has nothing else
// to do meanwhile), with bus errors turned into a message and an exit status.
class ControlClient
{
public:
    static constexpr int kCallTimeoutMs = 30000;

    struct Failure
    {
        QString message;
        int exitCode = 1;

        // Prints the message and returns the exit status.
        int report() const;
    };

    ControlClient();
    // Closes the connection again.
    ~ControlClient();
    Q_DISABLE_COPY_MOVE(ControlClient)

    QDBusConnection &bus() { return m_bus; }
    Control1Proxy &control() { return m_control; }

    // Whether an engine owns the bus name (asked before prompting for a password that nobody would take).
    bool engineRunning(Failure *failure);

    // The reply's value, or nullopt with *failure filled.
    template <typename T>
    std::optional<T> wait(QDBusPendingReply<T> reply, Failure *failure)
    {
        if (!finished(reply, failure))
            return std::nullopt;
        return reply.value();
    }
    bool wait(QDBusPendingReply<> reply, Failure *failure) { return finished(reply, failure); }

    // The share's ID for an ID or nickname (the engine resolves it).
    std::optional<qint64> resolve(const QString &share, Failure *failure);
    std::optional<QJsonObject> record(qint64 id, Failure *failure);
    std::optional<QJsonArray> records(Failure *failure);

    static Failure failureFor(const QDBusError &error);

private:
    bool finished(QDBusPendingCall &call, Failure *failure);
    Failure noBus() const;

    QDBusConnection m_bus;
    Control1Proxy m_control;
};
