#pragma once

#include <QObject>

// Tells when the machine goes to sleep and when it has woken up, so the engine can re-check its shares at
// once after a resume instead of waiting for the next tick. Signals arrive on the main thread; an
// implementation that cannot watch the system simply never emits.
class SleepMonitor : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

Q_SIGNALS:
    void aboutToSleep();
    void resumed();
};
