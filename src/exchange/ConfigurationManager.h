#pragma once

#include "Configuration.h"
#include "ExchangePolicy.h"
#include "core/RecordRules.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>
#include <QUuid>

#include <functional>
#include <optional>

class CredentialStore;
class Defaults;
class MountEngine;
class NotificationCenter;
class RulesExchange;
class ShareSetManager;
class VolumeRecord;

// The configuration exchange: the .twconfig file (whole setup, or one share set), the share CSV, and the
// bulk insertion of records that the import from the macOS build shares.
//
// Import modes and what they do (shares are matched by exactly equal host and share name, sets by name
// ignoring case, rules by id through RulesExchange):
//   replace - every local share that is not locked is removed (with its event-log entries when
//             "delete_associated_log_entries" is on), every local set that is not locked is removed, the
//             rules are replaced; then the file's items are added. Locked shares and sets are never removed;
//             a file share that duplicates a kept locked share is skipped.
//   merge   - shares and sets that are not duplicates are added; duplicates are left alone (skipped).
//   update  - like merge, but a duplicate share that is not locked takes the file's settings (nickname,
//             port, user, guest, protocol, mount place, group, SSIDs, auto-mount, schedule, Wake-on-LAN
//             address, scripts); it keeps its ID, password, credential account and runtime state and counts
//             as updated. Sets that are duplicates are skipped as in merge.
// The file's preferences, when present, are applied in every mode. Set members are remapped to the local IDs
// (a new record's ID, or the ID of the local duplicate); members that name no share of the file are dropped.
//
// Every refusal (policy, unreadable file, invalid format, unsupported version) happens before anything local
// changes. Saves are checked: a store that could not be saved is reported as an error.
//
// Thread: main thread. File reads and writes are synchronous (files are local and small); passwords are
// written to the secret store on a worker, and the operations that store passwords report through a
// callback once that is done. Dependencies are not owned and must outlive the manager.
class ConfigurationManager : public QObject
{
    Q_OBJECT
public:
    static inline const QString kExportedLine = QStringLiteral("✅ [CONFIG] Exported configuration to: ");
    static inline const QString kImportCompleteLine = QStringLiteral("✅ [CONFIG] Import complete: ");
    static inline const QString kImportFailedLine = QStringLiteral("❌ [CONFIG] Import failed: ");

    struct Dependencies
    {
        MountEngine *engine = nullptr;
        ShareSetManager *sets = nullptr;
        Defaults *defaults = nullptr;
        NotificationCenter *center = nullptr;      // may be null
        CredentialStore *credentials = nullptr;    // may be null: then no password can be stored
    };

    template <typename T>
    struct Result
    {
        T value{};
        Configuration::Error error;
        bool ok() const { return !error.isError(); }
    };

    struct CsvOutcome
    {
        Configuration::Error error;
        int imported = 0;
        int skipped = 0; // rows with a warning
        int passwordsStored = 0;
        int passwordsFailed = 0;
        QStringList warnings;
        QString title() const; // "Import Complete" or "Import Complete with Warnings"
        QString summary() const;
    };

    explicit ConfigurationManager(const Dependencies &dependencies, QObject *parent = nullptr);
    ~ConfigurationManager() override;

    void setPolicyReader(ExchangePolicy::Reader reader) { m_policy = std::move(reader); }
    void setRulesExchange(RulesExchange *rules) { m_rules = rules; }
    // The exporting user's full name ("exportedBy"); the default reads the password database.
    void setUserNameProvider(std::function<QString()> provider) { m_userName = std::move(provider); }
    void setOrganizationName(const QString &name) { m_organizationName = name; }

    // --- The configuration file ---
    Result<QByteArray> exportConfiguration() const;
    Result<bool> exportConfigurationFile(const QString &path) const;
    Result<QByteArray> exportSet(const QUuid &setId) const;
    Result<bool> exportSetFile(const QUuid &setId, const QString &path) const;
    Result<Configuration::Preview> preview(const QByteArray &bytes) const;
    Result<Configuration::Preview> previewFile(const QString &path) const;
    Result<Configuration::ImportResult> importConfiguration(const QByteArray &bytes, Configuration::ImportMode mode);
    Result<Configuration::ImportResult> importConfigurationFile(const QString &path, Configuration::ImportMode mode);

    // --- The share CSV ---
    Result<QString> exportCsv() const;
    Result<bool> exportCsvFile(const QString &path) const;
    // `done` runs on the main thread after the passwords are stored (at once when there are none, or on a
    // refusal).
    void importCsv(const QString &text, std::function<void(const CsvOutcome &)> done);
    void importCsvFile(const QString &path, std::function<void(const CsvOutcome &)> done);

    // --- Shared with the import from the macOS build ---
    bool importAllowed() const { return ExchangePolicy::importAllowed(m_policy); }
    bool exportAllowed() const { return ExchangePolicy::exportAllowed(m_policy); }
    // Appends the records with fresh IDs (written back into the list), saves the store once, posts the
    // change notifications and announces the change through the engine. False when the save failed.
    bool addRecords(QList<VolumeRecord> &records);
    // Stores (account, password) pairs on a worker; `done(stored, failed)` on the main thread.
    struct Secret
    {
        QString account;
        QString password;
    };
    void storePasswords(QList<Secret> secrets, std::function<void(int stored, int failed)> done);
    static QString duplicateKey(const VolumeRecord &record) { return RecordRules::shareKey(record); }

    MountEngine &engine() const { return *m_deps.engine; }
    ShareSetManager &sets() const { return *m_deps.sets; }
    Defaults &defaults() const { return *m_deps.defaults; }
    NotificationCenter *center() const { return m_deps.center; }

    // The ExportableShare form of a record, and back (nullopt when a required key is missing or mistyped).
    static QJsonObject shareToJson(const VolumeRecord &record);
    static std::optional<VolumeRecord> shareFromJson(const QJsonObject &object, QString *error = nullptr);
    static bool isValidShare(const QJsonObject &object, QString *error = nullptr);

    static QString readFile(const QString &path, QByteArray *bytes); // error text, empty on success
    static QString writeFile(const QString &path, const QByteArray &bytes);

private:
    Result<QJsonObject> decode(const QByteArray &bytes) const;
    QByteArray encode(const QList<VolumeRecord> &records, const QJsonArray &sets, const QJsonArray &rules,
                      bool withPreferences) const;
    QJsonObject exportPreferences() const;
    bool importPreferences(const QJsonObject &preferences);
    void notifyRecordsChanged();

    Dependencies m_deps;
    ExchangePolicy::Reader m_policy;
    RulesExchange *m_rules = nullptr;
    std::function<QString()> m_userName;
    QString m_organizationName;
    QThreadPool m_secretsPool;
};
