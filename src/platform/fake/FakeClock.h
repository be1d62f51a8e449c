#pragma once

#include "platform/Clock.h"

#include <chrono>
#include <memory>

// A clock for tests: time stands still until advance() or setNow() moves it. advance() fires every timer
// that falls due on the way, in due order, with now() set to each one's due time, so a repeating
// one-second countdown fires exactly N times in N seconds. Timers may be created and destroyed from
// inside a timeout. Main thread only, except now(). Timers may outlive the clock (they then never fire).
class FakeClock : public Clock
{
public:
    explicit FakeClock(QDateTime start = QDateTime(QDate(2024, 1, 1), QTime(12, 0)));
    ~FakeClock() override;

    QDateTime now() const override;
    std::unique_ptr<ClockTimer> createTimer() override;

    void setNow(const QDateTime &now); // fires nothing; timers keep their remaining time
    // Moves time forward, firing due timers. Returns the number of firings.
    int advance(std::chrono::milliseconds by);

    int activeTimerCount() const;

    struct State;

private:
    std::shared_ptr<State> m_state;
};
