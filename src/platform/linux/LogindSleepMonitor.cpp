#include "LogindSleepMonitor.h"

namespace {
const QString kService = QStringLiteral("org.freedesktop.login1");
const QString kPath = QStringLiteral("/org/freedesktop/login1");
const QString kInterface = QStringLiteral("org.freedesktop.login1.Manager");
} // namespace

LogindSleepMonitor::LogindSleepMonitor(const QDBusConnection &bus, QObject *parent)
    : SleepMonitor(parent)
    , m_bus(bus)
{
    if (m_bus.isConnected())
        m_watching = m_bus.connect(kService, kPath, kInterface, QStringLiteral("PrepareForSleep"), this,
                                   SLOT(onPrepareForSleep(bool)));
}

void LogindSleepMonitor::onPrepareForSleep(bool sleeping)
{
    if (sleeping)
        Q_EMIT aboutToSleep();
    else
        Q_EMIT resumed();
}
