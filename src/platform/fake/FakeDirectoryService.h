#pragma once

#include "platform/DirectoryService.h"

#include <QMutex>

// Directory answers set by the test. Thread-safe.
class FakeDirectoryService : public DirectoryService
{
public:
    void set(DomainLookup domain, GroupsLookup groups, std::optional<UserRecord> user)
    {
        QMutexLocker lock(&m_mutex);
        m_domain = std::move(domain);
        m_groups = std::move(groups);
        m_user = std::move(user);
    }
    DomainLookup boundDomain() override
    {
        QMutexLocker lock(&m_mutex);
        return m_domain;
    }
    GroupsLookup currentUserGroups() override
    {
        QMutexLocker lock(&m_mutex);
        return m_groups;
    }
    std::optional<UserRecord> currentUserRecord() override
    {
        QMutexLocker lock(&m_mutex);
        return m_user;
    }

private:
    QMutex m_mutex;
    DomainLookup m_domain;
    GroupsLookup m_groups;
    std::optional<UserRecord> m_user;
};
