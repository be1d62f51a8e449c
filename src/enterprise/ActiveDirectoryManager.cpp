#include "ActiveDirectoryManager.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "core/MountEngine.h"
#include "logging/EnterpriseAuditLog.h"
#include "platform/DirectoryService.h"

#include <algorithm>

struct ActiveDirectoryManager::CheckAnswer
{
    DirectoryService::DomainLookup domain;
    DirectoryService::GroupsLookup groups;
    std::optional<DirectoryService::UserRecord> user;
};

ActiveDirectoryManager::ActiveDirectoryManager(const Dependencies &dependencies, QObject *parent)
    : QObject(parent)
    , m_deps(dependencies)
{
    m_pool.setMaxThreadCount(1);
    loadMappings();
}

ActiveDirectoryManager::~ActiveDirectoryManager()
{
    m_pool.waitForDone();
}

void ActiveDirectoryManager::setStatus(const QString &status)
{
    m_statusMessage = status;
    Q_EMIT statusMessageChanged(status);
}

void ActiveDirectoryManager::checkStatus(std::function<void()> done)
{
    ++m_checksRunning;
    DirectoryService *directory = m_deps.directory;
    m_pool.start([this, directory, done = std::move(done)] {
        CheckAnswer answer;
        answer.domain = directory->boundDomain();
        if (!answer.domain.domain.isEmpty()) {
            answer.user = directory->currentUserRecord();
            if (answer.user)
                answer.groups = directory->currentUserGroups();
        }
        QMetaObject::invokeMethod(
            this,
            [this, answer, done] {
                --m_checksRunning;
                applyCheck(answer);
                Q_EMIT statusChecked();
                if (done)
                    done();
            },
            Qt::QueuedConnection);
    });
}

void ActiveDirectoryManager::applyCheck(const CheckAnswer &answer)
{
    if (!answer.domain.ran && !answer.domain.error.isEmpty())
        Console::line(kDomainFailedLine + answer.domain.error);
    m_isConfigured = !answer.domain.domain.isEmpty();
    if (!m_isConfigured) {
        setStatus(kStatusNotBound);
        return;
    }
    if (!answer.user) {
        setStatus(kStatusNoConnection);
        return;
    }
    if (!answer.groups.ran)
        Console::line(kGroupsFailedLine + answer.groups.error);
    ADUserInfo info;
    info.username = answer.user->userName;
    info.domain = answer.domain.domain;
    info.displayName = answer.user->fullName.isEmpty() ? answer.user->userName : answer.user->fullName;
    info.groups = answer.groups.groups;
    info.homeDirectory = answer.user->homeDirectory;
    info.email = answer.user->email;
    m_currentUser = info;
    m_lastSyncDate = QDateTime::currentDateTimeUtc();
    setStatus(kStatusConnected + answer.domain.domain);
}

int ActiveDirectoryManager::protocolRawFromText(const QString &text)
{
    const QString upper = text.toUpper();
    if (upper == QLatin1String("AFP"))
        return int(MountUsingProtocol_Enum::AFP);
    if (upper == QLatin1String("NFS"))
        return int(MountUsingProtocol_Enum::NFS);
    return int(MountUsingProtocol_Enum::SMB);
}

int ActiveDirectoryManager::applyMappings()
{
    if (!m_currentUser) {
        setStatus(kStatusNoUser);
        return 0;
    }
    MountEngine &engine = *m_deps.engine;
    RecordStore &store = engine.store();
    qint64 nextId = store.nextId();
    int added = 0;
    for (const ADShareMapping &mapping : std::as_const(m_mappings)) {
        if (!mapping.isEnabled || !m_currentUser->groups.contains(mapping.groupName, Qt::CaseSensitive))
            continue;
        for (const ADMappedShare &share : mapping.shares) {
            const auto &records = store.records();
            const bool present = std::any_of(records.cbegin(), records.cend(), [&](const VolumeRecord &r) {
                return r.hostname_String == share.hostname && r.volume_String == share.shareName;
            });
            if (present)
                continue;
            VolumeRecord record;
            record.internal_ID_Int = nextId++;
            record.hostname_String = share.hostname;
            record.volume_String = share.shareName;
            record.nickname_String = share.shareName + QStringLiteral(" (AD: ") + mapping.groupName + QLatin1Char(')');
            record.mounting_using_protocol_Enum = MountUsingProtocol_Enum(protocolRawFromText(share.protocolType));
            if (share.mountPoint && !share.mountPoint->isEmpty()) {
                record.unique_mountpoint_fullpath_String = *share.mountPoint;
                record.mount_inside_Volumes = 0;
            }
            store.add(record);
            ++added;
            if (m_deps.center)
                m_deps.center->post(Notifications::RefreshVolumeUI);
        }
    }
    if (added == 0) {
        setStatus(kStatusNothingNew);
        return 0;
    }
    store.save();
    setStatus(kStatusAdded.arg(added).arg(added == 1 ? QString() : QStringLiteral("s")));
    const QString user = m_currentUser->username.isEmpty() ? QStringLiteral("Unknown") : m_currentUser->username;
    Console::line(kAppliedLine.arg(added).arg(user));
    if (m_deps.auditLog) {
        m_deps.auditLog->log(AuditEventType::configImport, std::nullopt, std::nullopt,
                             QStringLiteral("Added %1 shares from directory group mappings for user %2").arg(added).arg(user),
                             true);
    }
    if (m_deps.center)
        m_deps.center->post(Notifications::RefreshVolumeUI);
    return added;
}

void ActiveDirectoryManager::loadMappings()
{
    m_mappings.clear();
    const QVariant stored = m_deps.defaults->value(kUserDefaultsKey);
    if (!stored.isValid())
        return;
    if (stored.metaType().id() != QMetaType::QByteArray) {
        Console::line(kLoadFailedLine + QStringLiteral("the stored value is not JSON data"));
        return;
    }
    QString error;
    if (auto mappings = ADShareMapping::decodeList(stored.toByteArray(), &error))
        m_mappings = std::move(*mappings);
    else
        Console::line(kLoadFailedLine + error);
}

void ActiveDirectoryManager::saveMappings()
{
    if (!m_deps.defaults->setValue(kUserDefaultsKey, ADShareMapping::encodeList(m_mappings)))
        Console::line(kSaveFailedLine + QStringLiteral("the preferences refused the value"));
}

void ActiveDirectoryManager::setMappings(const QList<ADShareMapping> &mappings)
{
    m_mappings = mappings;
    saveMappings();
    Q_EMIT mappingsChanged();
}

void ActiveDirectoryManager::addMapping(const ADShareMapping &mapping)
{
    m_mappings.append(mapping);
    saveMappings();
    Q_EMIT mappingsChanged();
}

bool ActiveDirectoryManager::removeMapping(const QUuid &id)
{
    const auto removed = m_mappings.removeIf([&](const ADShareMapping &m) { return m.id == id; });
    if (removed == 0)
        return false;
    saveMappings();
    Q_EMIT mappingsChanged();
    return true;
}

bool ActiveDirectoryManager::setMappingEnabled(const QUuid &id, bool enabled)
{
    for (ADShareMapping &mapping : m_mappings) {
        if (mapping.id == id) {
            mapping.isEnabled = enabled;
            saveMappings();
            Q_EMIT mappingsChanged();
            return true;
        }
    }
    return false;
}
