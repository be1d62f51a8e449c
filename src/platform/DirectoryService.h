#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The machine's directory binding and the current user's directory data: the bound domain, the user's group
// memberships and the user's record (login name, full name, home folder, e-mail).
//
// Thread: every function BLOCKS (child processes, name-service lookups that may go to a directory server);
// call them on a worker, never on the main thread. Implementations are thread-safe.
class DirectoryService
{
public:
    // The outcome of asking a tool. `ran` false: it could not be asked at all (`error` says why).
    struct DomainLookup
    {
        bool ran = false;
        QString error;
        QString domain; // empty: not bound
    };
    struct GroupsLookup
    {
        bool ran = false;
        QString error;
        QStringList groups; // as the system names them, case kept
    };
    struct UserRecord
    {
        QString userName;
        QString fullName; // empty when the record has none
        std::optional<QString> homeDirectory;
        std::optional<QString> email;
    };

    virtual ~DirectoryService() = default;

    virtual DomainLookup boundDomain() = 0;
    virtual GroupsLookup currentUserGroups() = 0;
    // The current user's record; nullopt when the user database has no record for the user.
    virtual std::optional<UserRecord> currentUserRecord() = 0;
};
