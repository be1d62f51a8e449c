#pragma once

#include "platform/SleepMonitor.h"

// Sleep and wake on demand, for tests.
class FakeSleepMonitor : public SleepMonitor
{
    Q_OBJECT
public:
    using SleepMonitor::SleepMonitor;

    void simulateSleep() { Q_EMIT aboutToSleep(); }
    void simulateResume() { Q_EMIT resumed(); }
};
