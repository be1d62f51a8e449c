#pragma once

#include "platform/DesktopNotifier.h"

#include <QDBusConnection>

// Desktop notifications through org.freedesktop.Notifications on the session bus (asynchronous call; no
// answer is awaited). Without a notification daemon the call fails quietly.
class FreedesktopNotifier : public DesktopNotifier
{
public:
    explicit FreedesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus());
    void notify(const QString &title, const QString &body) override;

    static inline const QString kService = QStringLiteral("org.freedesktop.Notifications");
    static inline const QString kPath = QStringLiteral("/org/freedesktop/Notifications");

private:
    QDBusConnection m_bus;
};
