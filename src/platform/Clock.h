#pragma once

#include <QDateTime>
#include <QObject>

#include <chrono>
#include <memory>

// A timer made by a Clock. Single-shot or repeating; emits timeout() on the thread that created it.
// The caller of Clock::createTimer owns it (a unique_ptr, never a QObject parent).
class ClockTimer : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // (Re)starts the timer; a running timer is restarted from now with the new interval.
    virtual void start(std::chrono::milliseconds interval, bool singleShot) = 0;
    virtual void stop() = 0;
    virtual bool isActive() const = 0;
    virtual std::chrono::milliseconds interval() const = 0;

Q_SIGNALS:
    void timeout();
};

// The wall clock and the timers of the engine's schedules, countdowns and status clearing. Production uses
// SystemClock; tests use FakeClock, which moves time by hand and fires due timers at once, so a 10-second
// status clear or a 60-second mount time-out is tested without sleeping.
// Thread: the main thread (timers live and fire there); now() may be called from any thread.
class Clock
{
public:
    virtual ~Clock() = default;

    // Local date and time (schedules are in the user's calendar).
    virtual QDateTime now() const = 0;
    virtual std::unique_ptr<ClockTimer> createTimer() = 0;
};
