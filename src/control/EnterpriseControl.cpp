#include "EnterpriseControl.h"
#include "SavedReply.h"

#include "enterprise1adaptor.h" // generated from io.tarnwell.Tarnwell.Enterprise1.xml

#include "control/ControlNames.h"
#include "core/MountEngine.h"
#include "enterprise/ActiveDirectoryManager.h"
#include "enterprise/ManagedPreferencesMonitor.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

QJsonValue optionalText(const std::optional<QString> &text)
{
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

} // namespace

EnterpriseControl::EnterpriseControl(MountEngine &engine, ManagedPreferencesMonitor *managed,
                                     ActiveDirectoryManager *directory, QObject *parent)
    : QObject(parent)
    , m_engine(engine)
    , m_managed(managed)
    , m_directory(directory)
{
    new Enterprise1Adaptor(this); // owned by this object; exported with QDBusConnection::ExportAdaptors
    if (m_managed)
        connect(m_managed, &ManagedPreferencesMonitor::sharesApplied, this, &EnterpriseControl::ManagedSharesApplied);
    if (m_directory) {
        connect(m_directory, &ActiveDirectoryManager::statusChecked, this,
                [this] { Q_EMIT DirectoryStatusChanged(DirectoryStatus()); });
    }
}

bool EnterpriseControl::refuse(const QString &name, const QString &message)
{
    if (calledFromDBus())
        sendErrorReply(name, message);
    return true;
}

void EnterpriseControl::replyWhenSaved(const QVariant &value)
{
    if (!calledFromDBus())
        return;
    setDelayedReply(true);
    SavedReply::send(m_engine.store().defaults(), this, message(), connection(), value);
}

bool EnterpriseControl::directoryMissing()
{
    return !m_directory
        && refuse(ControlNames::kErrorNotAvailable, QStringLiteral("Directory mappings are not available in this build"));
}

QString EnterpriseControl::ManagedStatus()
{
    QJsonObject o;
    int locked = 0;
    for (const VolumeRecord &r : m_engine.store().records())
        locked += r.isLocked ? 1 : 0;
    o[QStringLiteral("lockedRecords")] = locked;
    if (!m_managed) {
        o[QStringLiteral("organizationName")] = QJsonValue::Null;
        o[QStringLiteral("managedShares")] = QJsonArray();
        o[QStringLiteral("allowShareImport")] = true;
        o[QStringLiteral("allowShareExport")] = true;
        return compact(o);
    }
    const ManagedPreferencesReader &reader = m_managed->reader();
    o[QStringLiteral("organizationName")] = optionalText(reader.string(ManagedPreferencesReader::kOrganizationNameKey));
    QJsonArray shares;
    for (const ManagedShare &s : reader.readManagedShares()) {
        shares.append(QJsonObject{{QStringLiteral("hostname"), s.hostname},
                                  {QStringLiteral("share"), s.shareName},
                                  {QStringLiteral("nickname"), optionalText(s.nickname)},
                                  {QStringLiteral("protocol"), s.protocolType},
                                  {QStringLiteral("locked"), s.isLocked}});
    }
    o[QStringLiteral("managedShares")] = shares;
    o[QStringLiteral("allowShareImport")] = reader.isShareImportAllowed();
    o[QStringLiteral("allowShareExport")] = reader.isShareExportAllowed();
    return compact(o);
}

int EnterpriseControl::ApplyManagedShares()
{
    if (!m_managed) {
        refuse(ControlNames::kErrorNotAvailable, QStringLiteral("Managed preferences are not available in this build"));
        return 0;
    }
    return m_managed->check();
}

QString EnterpriseControl::DirectoryStatus()
{
    if (directoryMissing())
        return {};
    QJsonObject o;
    o[QStringLiteral("configured")] = m_directory->isConfigured();
    o[QStringLiteral("status")] = m_directory->statusMessage();
    o[QStringLiteral("checking")] = m_directory->isChecking();
    const auto sync = m_directory->lastSyncDate();
    o[QStringLiteral("lastSync")] = sync ? QJsonValue(sync->toString(Qt::ISODate)) : QJsonValue(QJsonValue::Null);
    if (const auto &user = m_directory->currentUser()) {
        o[QStringLiteral("user")] = QJsonObject{{QStringLiteral("username"), user->username},
                                                {QStringLiteral("domain"), user->domain},
                                                {QStringLiteral("displayName"), user->displayName},
                                                {QStringLiteral("groups"), QJsonArray::fromStringList(user->groups)},
                                                {QStringLiteral("homeDirectory"), optionalText(user->homeDirectory)},
                                                {QStringLiteral("email"), optionalText(user->email)}};
    } else {
        o[QStringLiteral("user")] = QJsonValue::Null;
    }
    return compact(o);
}

void EnterpriseControl::DirectoryRefresh()
{
    if (!directoryMissing())
        m_directory->checkStatus();
}

void EnterpriseControl::DirectoryApply()
{
    if (directoryMissing())
        return;
    m_directory->checkStatus([this] {
        const int added = m_directory->applyMappings();
        Q_EMIT DirectoryApplied(m_directory->statusMessage(), added);
    });
}

QString EnterpriseControl::DirectoryMappings()
{
    if (directoryMissing())
        return {};
    return QString::fromUtf8(ADShareMapping::encodeList(m_directory->shareMappings()));
}

QString EnterpriseControl::DirectoryMap(const QString &groupName, const QString &shareJson)
{
    if (directoryMissing())
        return {};
    QJsonObject o = QJsonDocument::fromJson(shareJson.toUtf8()).object();
    if (!o.contains(QStringLiteral("id")))
        o[QStringLiteral("id")] = QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (!o.contains(QStringLiteral("protocolType")))
        o[QStringLiteral("protocolType")] = QStringLiteral("SMB");
    const auto share = ADMappedShare::fromJson(o);
    if (groupName.isEmpty() || !share || share->hostname.isEmpty() || share->shareName.isEmpty()) {
        refuse(ControlNames::kErrorInvalidArgument,
               QStringLiteral("A mapping needs a group name and a share with a host name and a share name"));
        return {};
    }
    QList<ADShareMapping> mappings = m_directory->shareMappings();
    for (ADShareMapping &mapping : mappings) {
        if (mapping.groupName == groupName) {
            mapping.shares.append(*share);
            m_directory->setMappings(mappings);
            replyWhenSaved(mapping.id.toString(QUuid::WithoutBraces).toUpper());
            return mapping.id.toString(QUuid::WithoutBraces).toUpper();
        }
    }
    ADShareMapping mapping;
    mapping.groupName = groupName;
    mapping.shares = {*share};
    m_directory->addMapping(mapping);
    replyWhenSaved(mapping.id.toString(QUuid::WithoutBraces).toUpper());
    return mapping.id.toString(QUuid::WithoutBraces).toUpper();
}

void EnterpriseControl::DirectoryUnmap(const QString &id)
{
    if (directoryMissing())
        return;
    if (!m_directory->removeMapping(QUuid::fromString(id)))
        refuse(ControlNames::kErrorInvalidArgument, QStringLiteral("No mapping has the id ") + id);
    else
        replyWhenSaved();
}

void EnterpriseControl::DirectorySetEnabled(const QString &id, bool enabled)
{
    if (directoryMissing())
        return;
    if (!m_directory->setMappingEnabled(QUuid::fromString(id), enabled))
        refuse(ControlNames::kErrorInvalidArgument, QStringLiteral("No mapping has the id ") + id);
    else
        replyWhenSaved();
}
