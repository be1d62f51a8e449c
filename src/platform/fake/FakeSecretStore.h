#pragma once

#include "platform/SecretStore.h"

#include <QHash>
#include <QMutex>
#include <QPair>

// In-memory SecretStore for unit tests: counts calls and can play an unreachable store. Thread-safe.
class FakeSecretStore final : public SecretStore
{
public:
    bool save(const QString &service, const QString &account, const QString &secret) override;
    std::optional<QString> load(const QString &service, const QString &account) override;
    bool remove(const QString &service, const QString &account) override;

    // false: every call fails as a locked or missing keyring would (nothing changes).
    void setAvailable(bool available);

    int saveCount() const;
    int loadCount() const;
    int removeCount() const;
    int itemCount() const;
    // Stored secret without counting a load (for assertions).
    std::optional<QString> peek(const QString &service, const QString &account) const;

private:
    mutable QMutex m_mutex;
    QHash<QPair<QString, QString>, QString> m_items;
    bool m_available = true;
    int m_saves = 0;
    int m_loads = 0;
    int m_removes = 0;
};
