#include "platform/fake/FakeSecretStore.h"

bool FakeSecretStore::save(const QString &service, const QString &account, const QString &secret)
{
    QMutexLocker lock(&m_mutex);
    ++m_saves;
    if (!m_available)
        return false;
    m_items.insert({service, account}, secret);
    return true;
}

std::optional<QString> FakeSecretStore::load(const QString &service, const QString &account)
{
    QMutexLocker lock(&m_mutex);
    ++m_loads;
    if (!m_available)
        return std::nullopt;
    const auto it = m_items.constFind({service, account});
    if (it == m_items.constEnd())
        return std::nullopt;
    return *it;
}

bool FakeSecretStore::remove(const QString &service, const QString &account)
{
    QMutexLocker lock(&m_mutex);
    ++m_removes;
    if (!m_available)
        return false;
    m_items.remove({service, account});
    return true;
}

void FakeSecretStore::setAvailable(bool available)
{
    QMutexLocker lock(&m_mutex);
    m_available = available;
}

int FakeSecretStore::saveCount() const
{
    QMutexLocker lock(&m_mutex);
    return m_saves;
}

int FakeSecretStore::loadCount() const
{
    QMutexLocker lock(&m_mutex);
    return m_loads;
}

int FakeSecretStore::removeCount() const
{
    QMutexLocker lock(&m_mutex);
    return m_removes;
}

int FakeSecretStore::itemCount() const
{
    QMutexLocker lock(&m_mutex);
    return int(m_items.size());
}

std::optional<QString> FakeSecretStore::peek(const QString &service, const QString &account) const
{
    QMutexLocker lock(&m_mutex);
    const auto it = m_items.constFind({service, account});
    if (it == m_items.constEnd())
        return std::nullopt;
    return *it;
}
