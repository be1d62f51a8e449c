#include "ControlClient.h"

#include "control/ControlNames.h"

#include <QDBusError>

namespace {
const QString kConnectionName = QStringLiteral("tarnwellctl");
}

ControlClient::ControlClient()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnectionName))
{
}

ControlClient::~ControlClient()
{
    m_bus = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(kConnectionName);
}

ControlClient::Failure ControlClient::failureFor(const QDBusMessage &reply)
{
    const QString name = reply.errorName();
    if (name == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")
        || name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")
        || name == QLatin1String("org.freedesktop.DBus.Error.UnknownObject")
        || name == QLatin1String("org.freedesktop.DBus.Error.Disconnected")) {
        return {ControlNames::kNoEngineMessage, 1};
    }
    if (name == QLatin1String("org.freedesktop.DBus.Error.NoReply")
        || name == QLatin1String("org.freedesktop.DBus.Error.Timeout")) {
        return {QStringLiteral("The Tarnwell engine did not answer in time"), 1};
    }
    if (name == QLatin1String("org.freedesktop.DBus.Error.UnknownMethod")) {
        return {QStringLiteral("The running Tarnwell engine does not offer this operation (is it an older version?)"), 1};
    }
    return {reply.errorMessage(), 1};
}

std::optional<QVariantList> ControlClient::call(const QString &method, const QVariantList &arguments, Failure *failure,
                                                int timeoutMs)
{
    if (!m_bus.isConnected()) {
        *failure = {ControlNames::kNoEngineMessage + QStringLiteral("\n(no session bus: ") + m_bus.lastError().message()
                        + QLatin1Char(')'),
                    1};
        return std::nullopt;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(ControlNames::kServiceName, ControlNames::kObjectPath,
                                                          ControlNames::kInterface, method);
    message.setArguments(arguments);
    const QDBusMessage reply = m_bus.call(message, QDBus::Block, timeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        *failure = failureFor(reply);
        return std::nullopt;
    }
    return reply.arguments();
}

std::optional<QString> ControlClient::callText(const QString &method, const QVariantList &arguments, Failure *failure)
{
    const auto reply = call(method, arguments, failure);
    if (!reply)
        return std::nullopt;
    return reply->isEmpty() ? QString() : reply->first().toString();
}

std::optional<qint64> ControlClient::resolve(const QString &share, Failure *failure)
{
    const auto reply = call(QStringLiteral("ResolveShare"), {share}, failure);
    if (!reply)
        return std::nullopt;
    return reply->isEmpty() ? 0 : reply->first().toLongLong();
}
