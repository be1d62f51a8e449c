#include "core/CredentialStore.h"

#include "core/VolumeRecord.h"
#include "platform/SecretStore.h"

CredentialStore::CredentialStore(SecretStore *store, QString serviceName)
    : m_store(store)
    , m_serviceName(std::move(serviceName))
{
}

bool CredentialStore::save(const QString &password, const QString &account) const
{
    // Text with lone surrogates has no faithful UTF-8 form: refuse rather than store a mangled password.
    if (!m_store || !password.isValidUtf16())
        return false;
    // Delete first so that exactly one item remains, whatever the store does with duplicates.
    m_store->remove(m_serviceName, account);
    return m_store->save(m_serviceName, account, password);
}

std::optional<QString> CredentialStore::load(const QString &account) const
{
    if (!m_store)
        return std::nullopt;
    return m_store->load(m_serviceName, account);
}

QString CredentialStore::password(VolumeRecord &record) const
{
    if (record._cachedPassword)
        return *record._cachedPassword;
    // An absent item is cached as "" too: later reads do not ask the store again.
    record._cachedPassword = load(record.credentialAccount()).value_or(QString());
    return *record._cachedPassword;
}

void CredentialStore::setPassword(VolumeRecord &record, const QString &password)
{
    record._cachedPassword = password;
}

bool CredentialStore::writeBack(const VolumeRecord &record) const
{
    if (!record._cachedPassword)
        return false;
    return save(*record._cachedPassword, record.credentialAccount());
}
