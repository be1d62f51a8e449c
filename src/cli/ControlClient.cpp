#include "ControlClient.h"

#include "Command.h"

#include "control/ControlNames.h"

#include <QDBusConnectionInterface>
#include <QJsonDocument>

namespace {
const QString kConnectionName = QStringLiteral("tarnwellctl");
}

int ControlClient::Failure::report() const
{
    Cli::err(message);
    return exitCode;
}

ControlClient::ControlClient()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnectionName))
    , m_control(ControlNames::kServiceName, ControlNames::kObjectPath, m_bus)
{
    m_control.setTimeout(kCallTimeoutMs);
}

ControlClient::~ControlClient()
{
    m_bus = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(kConnectionName);
}

ControlClient::Failure ControlClient::noBus() const
{
    return {ControlNames::kNoEngineMessage + QStringLiteral("\n(no session bus: ") + m_bus.lastError().message()
                + QLatin1Char(')'),
            Command::kExitFailure};
}

ControlClient::Failure ControlClient::failureFor(const QDBusError &error)
{
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownObject:
    case QDBusError::Disconnected:
        return {ControlNames::kNoEngineMessage, Command::kExitFailure};
    case QDBusError::NoReply:
    case QDBusError::Timeout:
        return {QStringLiteral("The Tarnwell engine did not answer in time"), Command::kExitFailure};
    case QDBusError::UnknownMethod:
        return {QStringLiteral("The running Tarnwell engine does not offer this operation (is it an older version?)"),
                Command::kExitFailure};
    default:
        break;
    }
    if (error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return {ControlNames::kNoEngineMessage, Command::kExitFailure};
    return {error.message(), Command::kExitFailure};
}

bool ControlClient::finished(QDBusPendingCall &call, Failure *failure)
{
    if (!m_bus.isConnected()) {
        *failure = noBus();
        return false;
    }
    call.waitForFinished();
    if (call.isError()) {
        *failure = failureFor(call.error());
        return false;
    }
    return true;
}

bool ControlClient::engineRunning(Failure *failure)
{
    if (!m_bus.isConnected()) {
        *failure = noBus();
        return false;
    }
    if (!m_bus.interface()->isServiceRegistered(ControlNames::kServiceName).value()) {
        *failure = {ControlNames::kNoEngineMessage, Command::kExitFailure};
        return false;
    }
    return true;
}

std::optional<qint64> ControlClient::resolve(const QString &share, Failure *failure)
{
    return wait(m_control.ResolveShare(share), failure);
}

std::optional<QJsonObject> ControlClient::record(qint64 id, Failure *failure)
{
    const auto text = wait(m_control.GetRecord(id), failure);
    if (!text)
        return std::nullopt;
    return QJsonDocument::fromJson(text->toUtf8()).object();
}

std::optional<QJsonArray> ControlClient::records(Failure *failure)
{
    const auto text = wait(m_control.ListRecords(), failure);
    if (!text)
        return std::nullopt;
    return QJsonDocument::fromJson(text->toUtf8()).array();
}
