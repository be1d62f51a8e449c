#include "FakeFuseBridge.h"

FakeFuseBridge::FakeFuseBridge(QString folder)
    : m_folder(std::move(folder))
{
}

FakeFuseBridge::~FakeFuseBridge()
{
    setHanging(false);
}

void FakeFuseBridge::setHealth(Health health)
{
    std::lock_guard lock(m_mutex);
    m_health = health;
}

void FakeFuseBridge::setRestartRefusal(const QString &refusal)
{
    std::lock_guard lock(m_mutex);
    m_refusal = refusal;
}

void FakeFuseBridge::setRestartFailure(const QString &failure)
{
    std::lock_guard lock(m_mutex);
    m_failure = failure;
}

void FakeFuseBridge::setHanging(bool hanging)
{
    {
        std::lock_guard lock(m_mutex);
        m_hanging = hanging;
    }
    m_wake.notify_all();
}

int FakeFuseBridge::restartCount() const
{
    std::lock_guard lock(m_mutex);
    return m_restarts;
}

bool FakeFuseBridge::lastRestartDetached() const
{
    std::lock_guard lock(m_mutex);
    return m_lastDetached;
}

QString FakeFuseBridge::restartRefusal() const
{
    std::lock_guard lock(m_mutex);
    return m_refusal;
}

FuseBridge::Health FakeFuseBridge::health()
{
    std::unique_lock lock(m_mutex);
    m_wake.wait(lock, [this] { return !m_hanging; });
    return m_health;
}

FuseBridge::RestartResult FakeFuseBridge::restart(bool detachDeadMount)
{
    std::lock_guard lock(m_mutex);
    ++m_restarts;
    m_lastDetached = detachDeadMount;
    RestartResult result;
    result.pid = 1000 + m_restarts;
    if (!m_failure.isEmpty()) {
        result.failure = m_failure;
        return result;
    }
    result.restarted = true;
    m_health = Health::Healthy;
    return result;
}
