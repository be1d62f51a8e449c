#include "SystemClock.h"

#include <QTimer>

namespace {

class QtClockTimer : public ClockTimer
{
public:
    QtClockTimer()
    {
        // Precise: the countdown shows whole seconds and a coarse timer would skip some.
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, &ClockTimer::timeout);
    }

    void start(std::chrono::milliseconds interval, bool singleShot) override
    {
        m_timer.setSingleShot(singleShot);
        m_timer.start(interval);
    }
    void stop() override { m_timer.stop(); }
    bool isActive() const override { return m_timer.isActive(); }
    std::chrono::milliseconds interval() const override { return m_timer.intervalAsDuration(); }

private:
    QTimer m_timer;
};

} // namespace

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime();
}

std::unique_ptr<ClockTimer> SystemClock::createTimer()
{
    return std::make_unique<QtClockTimer>();
}
