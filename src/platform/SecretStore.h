#pragma once

#include <QString>

#include <optional>

// Port: a secure store of secrets keyed by (service, account), one secret per key.
//
// Threads: every call BLOCKS until the store answers and may be made from any thread, including mount
// workers; implementations bound their own time (an unlock prompt nobody answers must not hang a caller)
// and never log or write the secret. Never call it on the main thread.
class SecretStore
{
public:
    virtual ~SecretStore() = default;

    // Stores `secret` under (service, account), replacing a secret stored there. False when the store
    // refused or could not be reached.
    virtual bool save(const QString &service, const QString &account, const QString &secret) = 0;

    // The secret under (service, account); nullopt when there is none or the store cannot be reached.
    virtual std::optional<QString> load(const QString &service, const QString &account) = 0;

    // Removes every secret under (service, account). True when the store answered (also when there was
    // nothing to remove).
    virtual bool remove(const QString &service, const QString &account) = 0;
};
