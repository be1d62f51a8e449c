#include "FakeClock.h"

#include <mutex>
#include <vector>

class FakeClockTimer;

struct FakeClock::State
{
    // now() may be read from any thread (the audit log dates entries on workers); the rest is main-thread only.
    mutable std::mutex nowMutex;
    QDateTime now;

    void setNow(const QDateTime &value)
    {
        std::lock_guard lock(nowMutex);
        now = value;
    }
    qint64 elapsedMs = 0; // monotonic position of the fake time line
    quint64 nextSequence = 0;
    std::vector<FakeClockTimer *> timers;
};

class FakeClockTimer : public ClockTimer
{
public:
    explicit FakeClockTimer(std::weak_ptr<FakeClock::State> state)
        : m_state(std::move(state))
    {
        if (auto s = m_state.lock())
            s->timers.push_back(this);
    }
    ~FakeClockTimer() override
    {
        if (auto s = m_state.lock())
            std::erase(s->timers, this);
    }

    void start(std::chrono::milliseconds interval, bool singleShot) override
    {
        auto s = m_state.lock();
        if (!s)
            return;
        m_interval = interval;
        m_singleShot = singleShot;
        m_active = true;
        m_dueMs = s->elapsedMs + std::max<qint64>(interval.count(), 0);
        m_sequence = s->nextSequence++;
    }
    void stop() override { m_active = false; }
    bool isActive() const override { return m_active; }
    std::chrono::milliseconds interval() const override { return m_interval; }

    // Fires once (the caller set the time to the due time); re-arms a repeating timer first so that a
    // slot that stops or deletes the timer has the last word.
    void fire(FakeClock::State &s)
    {
        if (m_singleShot) {
            m_active = false;
        } else {
            // A zero interval would fire forever at the same instant; treat it as one millisecond.
            m_dueMs += std::max<qint64>(m_interval.count(), 1);
            m_sequence = s.nextSequence++;
        }
        Q_EMIT timeout();
    }

    bool m_active = false;
    qint64 m_dueMs = 0;
    quint64 m_sequence = 0;

private:
    std::weak_ptr<FakeClock::State> m_state;
    std::chrono::milliseconds m_interval{0};
    bool m_singleShot = true;
};

FakeClock::FakeClock(QDateTime start)
    : m_state(std::make_shared<State>())
{
    m_state->setNow(start);
}

FakeClock::~FakeClock() = default;

QDateTime FakeClock::now() const
{
    std::lock_guard lock(m_state->nowMutex);
    return m_state->now;
}

std::unique_ptr<ClockTimer> FakeClock::createTimer()
{
    return std::make_unique<FakeClockTimer>(m_state);
}

void FakeClock::setNow(const QDateTime &now)
{
    m_state->setNow(now);
}

int FakeClock::advance(std::chrono::milliseconds by)
{
    const qint64 target = m_state->elapsedMs + std::max<qint64>(by.count(), 0);
    int firings = 0;
    // Bounded: a runaway repeating timer cannot hang a test.
    for (int guard = 0; guard < 10'000'000; ++guard) {
        FakeClockTimer *next = nullptr;
        for (FakeClockTimer *t : m_state->timers) {
            if (!t->m_active || t->m_dueMs > target)
                continue;
            if (!next || t->m_dueMs < next->m_dueMs || (t->m_dueMs == next->m_dueMs && t->m_sequence < next->m_sequence))
                next = t;
        }
        if (!next)
            break;
        m_state->setNow(now().addMSecs(next->m_dueMs - m_state->elapsedMs));
        m_state->elapsedMs = next->m_dueMs;
        next->fire(*m_state);
        ++firings;
    }
    m_state->setNow(now().addMSecs(target - m_state->elapsedMs));
    m_state->elapsedMs = target;
    return firings;
}

int FakeClock::activeTimerCount() const
{
    int n = 0;
    for (const FakeClockTimer *t : m_state->timers)
        n += t->m_active ? 1 : 0;
    return n;
}
