#pragma once

#include "platform/Clock.h"

// The real clock: QDateTime::currentDateTime() and QTimer-backed timers on the creating thread's event loop.
class SystemClock : public Clock
{
public:
    QDateTime now() const override;
    std::unique_ptr<ClockTimer> createTimer() override;
};
