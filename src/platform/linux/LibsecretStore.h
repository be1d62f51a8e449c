#pragma once

#include "platform/SecretStore.h"

#include <QString>

#include <chrono>

// SecretStore on the freedesktop Secret Service (libsecret), items in the default collection with the
// attributes "service" and "account".
//
// Each call runs libsecret's asynchronous API on a private GMainContext of the calling thread, so it works
// on any thread and never touches the main loop; a call that has no answer after the time limit (a locked
// collection waiting for an unlock prompt, a stuck daemon) is cancelled. A missing or locked keyring
// gives nullopt / false and one console line without the secret.
class LibsecretStore final : public SecretStore
{
public:
    static constexpr std::chrono::milliseconds kDefaultTimeLimit{10000};

    explicit LibsecretStore(std::chrono::milliseconds timeLimit = kDefaultTimeLimit);

    bool save(const QString &service, const QString &account, const QString &secret) override;
    std::optional<QString> load(const QString &service, const QString &account) override;
    bool remove(const QString &service, const QString &account) override;

    // Number of items under (service, account) across all collections; -1 when the store cannot
    // be searched. For diagnostics and tests.
    int itemCount(const QString &service, const QString &account);

private:
    std::chrono::milliseconds m_timeLimit;
};
