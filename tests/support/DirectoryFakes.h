#pragma once

// The directory mappings manager over a scripted directory and an engine harness; bind() sets what the
// directory answers. Shared by the mapping unit tests, the directory view tests and the screenshots.
#include "EngineHarnessBase.h"

#include "enterprise/ActiveDirectoryManager.h"
#include "platform/fake/FakeDirectoryService.h"

#include <QSignalSpy>

#include <memory>

// A mapped share and a group mapping, for tables.
inline ADMappedShare adShare(const QString &host, const QString &name, const QString &protocol = QStringLiteral("SMB"),
                           const std::optional<QString> &mountPoint = std::nullopt)
{
    ADMappedShare s;
    s.hostname = host;
    s.shareName = name;
    s.protocolType = protocol;
    s.mountPoint = mountPoint;
    return s;
}

inline ADShareMapping adMapping(const QString &group, const QList<ADMappedShare> &shares, bool enabled = true)
{
    ADShareMapping m;
    m.groupName = group;
    m.shares = shares;
    m.isEnabled = enabled;
    return m;
}

struct DirectoryFakes
{
    explicit DirectoryFakes(EngineHarnessBase &harness)
        : m_harness(harness)
    {
        rebuild();
    }
    // A second manager over the same directory and preferences (what a restart would load).
    std::unique_ptr<ActiveDirectoryManager> create()
    {
        ActiveDirectoryManager::Dependencies deps;
        deps.directory = &directory;
        deps.defaults = &m_harness.defaults;
        deps.engine = m_harness.engine;
        deps.auditLog = &m_harness.auditLog;
        deps.center = &m_harness.center;
        return std::make_unique<ActiveDirectoryManager>(deps);
    }
    void rebuild()
    {
        manager.reset();
        manager = create();
    }
    static DirectoryService::UserRecord user(const QString &name = QStringLiteral("dana"),
                                             const QString &fullName = QStringLiteral("Dana Scully"))
    {
        DirectoryService::UserRecord u;
        u.userName = name;
        u.fullName = fullName;
        u.email = name + QStringLiteral("@corp.example");
        return u;
    }
    // The user in `groups` of `domain` (empty: not bound).
    void bind(const QString &domain, const QStringList &groups, std::optional<DirectoryService::UserRecord> u = user())
    {
        directory.set({true, {}, domain}, {true, {}, groups}, std::move(u));
    }
    // Runs a status check; false when it did not finish in time.
    bool check()
    {
        QSignalSpy spy(manager.get(), &ActiveDirectoryManager::statusChecked);
        manager->checkStatus();
        return spy.wait(5000);
    }
    FakeDirectoryService directory;
    std::unique_ptr<ActiveDirectoryManager> manager;

private:
    EngineHarnessBase &m_harness;
};
