#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantList>

#include <optional>

// tarnwellctl's side of the control interface: blocking calls with a time limit (the client has nothing
// else to do meanwhile) and the translation of bus errors into a message and an exit status.
class ControlClient
{
public:
    struct Failure
    {
        QString message;
        int exitCode = 1;
    };

    ControlClient();
    // Uses a connection of its own, closed again by the destructor.
    ~ControlClient();
    Q_DISABLE_COPY_MOVE(ControlClient)

    QDBusConnection &bus() { return m_bus; }
    bool isConnected() const { return m_bus.isConnected(); }

    // The reply's arguments, or nullopt with *failure filled.
    std::optional<QVariantList> call(const QString &method, const QVariantList &arguments, Failure *failure,
                                     int timeoutMs = 30000);

    // Convenience: the first reply argument as text / integer.
    std::optional<QString> callText(const QString &method, const QVariantList &arguments, Failure *failure);

    // The share's ID for an ID or nickname (the engine resolves it).
    std::optional<qint64> resolve(const QString &share, Failure *failure);

    static Failure failureFor(const QDBusMessage &errorReply);

private:
    QDBusConnection m_bus;
};
