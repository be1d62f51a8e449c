#include "FreedesktopNotifier.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QStringList>
#include <QVariantMap>

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection bus)
    : m_bus(std::move(bus))
{
}

void FreedesktopNotifier::notify(const QString &title, const QString &body)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
    // app_name, replaces_id, app_icon, summary, body, actions, hints, expire_timeout (-1: the server's)
    call << QStringLiteral("Tarnwell") << uint(0) << QStringLiteral("tarnwell") << title << body << QStringList()
         << QVariantMap() << int(-1);
    m_bus.asyncCall(call);
}
