#pragma once

#include "platform/SleepMonitor.h"

#include <QDBusConnection>

// Sleep and wake from systemd-logind's PrepareForSleep(bool) signal on the system bus: true before the
// machine sleeps, false once it has resumed. No inhibitor is taken: the engine has nothing to finish
// before sleep, it only re-checks afterwards. Without a system bus or logind nothing is ever emitted.
// Thread: main thread.
class LogindSleepMonitor : public SleepMonitor
{
    Q_OBJECT
public:
    explicit LogindSleepMonitor(const QDBusConnection &bus = QDBusConnection::systemBus(), QObject *parent = nullptr);

    // Whether the signal subscription was accepted by the bus.
    bool isWatching() const { return m_watching; }

private Q_SLOTS:
    void onPrepareForSleep(bool sleeping);

private:
    QDBusConnection m_bus;
    bool m_watching = false;
};
