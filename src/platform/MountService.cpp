#include "MountService.h"

void MountCancellation::cancel()
{
    std::vector<std::function<void()>> callbacks;
    {
        std::lock_guard lock(m_mutex);
        if (m_cancelled)
            return;
        m_cancelled = true;
        callbacks.swap(m_callbacks);
    }
    for (auto &callback : callbacks)
        callback();
}

bool MountCancellation::isCancelled() const
{
    std::lock_guard lock(m_mutex);
    return m_cancelled;
}

void MountCancellation::onCancel(std::function<void()> callback)
{
    {
        std::lock_guard lock(m_mutex);
        if (!m_cancelled) {
            m_callbacks.push_back(std::move(callback));
            return;
        }
    }
    callback();
}
