#pragma once

#include <QString>

#include <optional>

class SecretStore;
class VolumeRecord;

// Share passwords in the user's secret store: one item per credential account, under one fixed service
// name. Passwords never go anywhere else (no file, log or command line).
//
// Threads: every call may block on the secret store (bounded by the store's own time limit) and may be
// made from any thread; the mount worker calls password() on its copy of a record. One instance for the
// whole application; the SecretStore is not owned and must outlive it.
class CredentialStore
{
public:
    static inline const QString kServiceName = QStringLiteral("io.tarnwell.Tarnwell.Keychain");

    explicit CredentialStore(SecretStore *store, QString serviceName = kServiceName);

    QString serviceName() const { return m_serviceName; }

    // Replaces the item of `account` (delete, then add): true when the new item was written. A password
    // that is not valid text (lone surrogates) is refused and nothing is touched.
    bool save(const QString &password, const QString &account) const;

    // The stored password of `account`; nullopt when there is none or the store cannot be reached.
    std::optional<QString> load(const QString &account) const;

    // The record's password property: `_cachedPassword` when present; otherwise loads it under
    // record.credentialAccount(), caches the result ("" when nothing is stored) and returns it.
    // Touches only `record`. A worker calling this on its COPY of a record must hand the cached value
    // back to the main thread itself if the live record should keep it.
    QString password(VolumeRecord &record) const;

    // Editing a share's password: changes only the cache; writeBack() stores it.
    static void setPassword(VolumeRecord &record, const QString &password);

    // Saves `_cachedPassword` under the record's credential account when it is present. False when it is
    // absent or the save failed.
    bool writeBack(const VolumeRecord &record) const;

private:
    SecretStore *m_store;
    QString m_serviceName;
};
