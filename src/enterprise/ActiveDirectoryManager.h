#pragma once

#include "enterprise/ADShareMapping.h"

#include <QDateTime>
#include <QObject>
#include <QThreadPool>

#include <functional>
#include <optional>

class Defaults;
class DirectoryService;
class EnterpriseAuditLog;
class MountEngine;
class NotificationCenter;

// Shares by directory-group membership: detects the machine's directory binding, reads the current user's
// record and groups, keeps the group-to-shares mappings (preferences key "ADShareMappings", one JSON array)
// and adds the mapped shares of the user's groups to the engine's records. Records made here are ordinary
// (not locked) and stay when a mapping goes.
//
// Thread: main thread. checkStatus() asks the directory on a worker of its own (the tools and the user
// database may block on a directory server) and applies the answer on the main thread; the destructor waits
// for it. Dependencies are not owned; `auditLog` and `center` may be null.
class ActiveDirectoryManager : public QObject
{
    Q_OBJECT
public:
    static inline const QString kUserDefaultsKey = QStringLiteral("ADShareMappings");

    // Status texts.
    static inline const QString kStatusNotBound = QStringLiteral("Not bound to Active Directory");
    static inline const QString kStatusConnected = QStringLiteral("Connected to ");
    static inline const QString kStatusNoConnection = QStringLiteral("No Active Directory connection");
    static inline const QString kStatusNoUser = QStringLiteral("No user info available");
    static inline const QString kStatusNothingNew = QStringLiteral("No new shares to add");
    static inline const QString kStatusAdded = QStringLiteral("Added %1 share%2 based on AD groups");

    // Console lines.
    static inline const QString kDomainFailedLine = QStringLiteral("Failed to get AD domain: ");
    static inline const QString kGroupsFailedLine = QStringLiteral("Failed to get user groups: ");
    static inline const QString kLoadFailedLine = QStringLiteral("Failed to load AD mappings: ");
    static inline const QString kSaveFailedLine = QStringLiteral("Failed to save AD mappings: ");
    static inline const QString kAppliedLine = QStringLiteral("AD shares applied: Added %1 shares for user %2");

    struct Dependencies
    {
        DirectoryService *directory = nullptr;
        Defaults *defaults = nullptr;
        MountEngine *engine = nullptr;
        EnterpriseAuditLog *auditLog = nullptr;
        NotificationCenter *center = nullptr;
    };

    // Loads the mappings.
    explicit ActiveDirectoryManager(const Dependencies &dependencies, QObject *parent = nullptr);
    ~ActiveDirectoryManager() override;

    bool isConfigured() const { return m_isConfigured; }
    const std::optional<ADUserInfo> &currentUser() const { return m_currentUser; }
    const QList<ADShareMapping> &shareMappings() const { return m_mappings; }
    std::optional<QDateTime> lastSyncDate() const { return m_lastSyncDate; }
    QString statusMessage() const { return m_statusMessage; }

    // Detects the binding and loads the user on a worker; statusChecked() (and `done`, when given) follow on
    // the main thread.
    void checkStatus(std::function<void()> done = {});
    bool isChecking() const { return m_checksRunning > 0; }

    // Adds the mapped shares for the current user (see the class comment); returns the number added.
    int applyMappings();

    // Editing: each change is saved at once.
    void setMappings(const QList<ADShareMapping> &mappings);
    void addMapping(const ADShareMapping &mapping);
    // False when no mapping has that ID.
    bool removeMapping(const QUuid &id);
    bool setMappingEnabled(const QUuid &id, bool enabled);

    void loadMappings();
    void saveMappings();

    // The record protocol for a mapped share's protocol text (WebDAV is not mapped: it becomes SMB).
    static int protocolRawFromText(const QString &text);

Q_SIGNALS:
    void statusChecked();
    void statusMessageChanged(const QString &status);
    void mappingsChanged();

private:
    struct CheckAnswer;
    void applyCheck(const CheckAnswer &answer);
    void setStatus(const QString &status);

    Dependencies m_deps;
    bool m_isConfigured = false;
    std::optional<ADUserInfo> m_currentUser;
    QList<ADShareMapping> m_mappings;
    std::optional<QDateTime> m_lastSyncDate;
    QString m_statusMessage;
    int m_checksRunning = 0;
    QThreadPool m_pool;
};
