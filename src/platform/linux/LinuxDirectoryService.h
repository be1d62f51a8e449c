#pragma once

#include "platform/DirectoryService.h"

class ProcessLauncher;

// The directory binding on Linux: the domain from `realm list` (realmd), else the first entry of
// "domains =" in the [sssd] section of the sssd configuration; the groups from `id -Gnz` (NUL-separated, so
// directory groups with spaces such as "domain users" stay whole); the user's record from the password
// database (getpwuid_r, which goes through NSS and therefore sssd): full name from the GECOS field, home
// folder. There is no e-mail attribute in the password database.
//
// Blocking, thread-safe (see DirectoryService). The launcher is not owned and must outlive this object.
class LinuxDirectoryService : public DirectoryService
{
public:
    static inline const QString kSssdConfig = QStringLiteral("/etc/sssd/sssd.conf");

    explicit LinuxDirectoryService(ProcessLauncher &launcher, QString sssdConfig = kSssdConfig);

    DomainLookup boundDomain() override;
    GroupsLookup currentUserGroups() override;
    std::optional<UserRecord> currentUserRecord() override;

    // The domain of the first configured realm in `realm list` output ("domain-name:", else the realm's
    // heading line); empty when none is configured.
    static QString domainFromRealmList(const QString &output);
    // The first domain of "domains =" in the [sssd] section; empty when there is none.
    static QString domainFromSssdConfig(const QString &text);
    // Group names from `id -Gnz` output (NUL-separated), or from `id -Gn` output (space-separated).
    static QStringList groupsFromIdOutput(const QByteArray &output);
    // The full name from a GECOS field: the part before the first comma.
    static QString fullNameFromGecos(const QString &gecos);

private:
    ProcessLauncher &m_launcher;
    QString m_sssdConfig;
};
