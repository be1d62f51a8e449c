#include "ManagedPreferencesReader.h"

#include "base/Console.h"
#include "base/NotificationCenter.h"
#include "base/PropertyList.h"
#include "core/MountEngine.h"
#include "platform/ManagedPreferenceSource.h"

#include <QSet>

#include <algorithm>

namespace {

bool isString(const QVariant &v)
{
    return v.metaType().id() == QMetaType::QString;
}

bool isBool(const QVariant &v)
{
    return v.metaType().id() == QMetaType::Bool;
}

std::optional<QString> optionalString(const QVariantMap &map, const QString &key)
{
    const QVariant v = map.value(key);
    return isString(v) ? std::optional<QString>(v.toString()) : std::nullopt;
}

} // namespace

std::optional<ManagedShare> ManagedShare::fromDictionary(const QVariantMap &dictionary)
{
    const auto hostname = optionalString(dictionary, QStringLiteral("hostname"));
    if (!hostname)
        return std::nullopt;
    const auto share = optionalString(dictionary, QStringLiteral("share"));
    if (!share)
        return std::nullopt;
    ManagedShare result;
    result.hostname = *hostname;
    result.shareName = *share;
    result.nickname = optionalString(dictionary, QStringLiteral("nickname"));
    if (const QVariant port = dictionary.value(QStringLiteral("port")); PropertyList::isInteger(port))
        result.port = port.toLongLong();
    result.username = optionalString(dictionary, QStringLiteral("username"));
    result.protocolType = optionalString(dictionary, QStringLiteral("protocol")).value_or(QStringLiteral("SMB"));
    if (const QVariant v = dictionary.value(QStringLiteral("mountInVolumes")); isBool(v))
        result.mountInVolumes = v.toBool();
    result.allowedSSIDs = optionalString(dictionary, QStringLiteral("allowedSSIDs"));
    if (const QVariant v = dictionary.value(QStringLiteral("locked")); isBool(v))
        result.isLocked = v.toBool();
    result.group = optionalString(dictionary, QStringLiteral("group"));
    return result;
}

ManagedPreferencesReader::ManagedPreferencesReader(ManagedPreferenceSource &source)
    : m_source(&source)
{
}

ManagedPreferencesReader::ManagedPreferencesReader(QVariantMap values)
    : m_values(std::move(values))
{
}

QVariantMap ManagedPreferencesReader::values() const
{
    return m_source ? m_source->values() : m_values;
}

bool ManagedPreferencesReader::hasManagedShareList() const
{
    return values().value(kManagedSharesKey).metaType().id() == QMetaType::QVariantList;
}

QList<ManagedShare> ManagedPreferencesReader::readManagedShares() const
{
    const QVariant value = values().value(kManagedSharesKey);
    if (value.metaType().id() != QMetaType::QVariantList)
        return {};
    const QVariantList list = value.toList();
    // The list counts only as a whole: one element that is not a dictionary makes it unusable.
    for (const QVariant &entry : list) {
        if (entry.metaType().id() != QMetaType::QVariantMap)
            return {};
    }
    QList<ManagedShare> shares;
    for (const QVariant &entry : list) {
        if (auto share = ManagedShare::fromDictionary(entry.toMap()))
            shares.append(std::move(*share));
    }
    return shares;
}

std::optional<QString> ManagedPreferencesReader::string(const QString &key) const
{
    const QVariant v = values().value(key);
    return isString(v) ? std::optional<QString>(v.toString()) : std::nullopt;
}

std::optional<bool> ManagedPreferencesReader::boolean(const QString &key) const
{
    const QVariant v = values().value(key);
    return isBool(v) ? std::optional<bool>(v.toBool()) : std::nullopt;
}

bool ManagedPreferencesReader::isShareImportAllowed() const
{
    return boolean(kAllowShareImportKey).value_or(true);
}

bool ManagedPreferencesReader::isShareExportAllowed() const
{
    return boolean(kAllowShareExportKey).value_or(true);
}

MountUsingProtocol_Enum ManagedPreferencesReader::protocolFromText(const QString &text)
{
    const QString upper = text.toUpper();
    if (upper == QLatin1String("AFP"))
        return MountUsingProtocol_Enum::AFP;
    if (upper == QLatin1String("NFS"))
        return MountUsingProtocol_Enum::NFS;
    if (upper == QLatin1String("WEBDAV"))
        return MountUsingProtocol_Enum::WebDAV;
    if (upper == QLatin1String("WEBDAVS"))
        return MountUsingProtocol_Enum::WebDAVS;
    return MountUsingProtocol_Enum::SMB;
}

VolumeRecord ManagedPreferencesReader::recordFor(const ManagedShare &share, qint64 id)
{
    VolumeRecord record;
    record.internal_ID_Int = id;
    record.nickname_String = share.nickname.value_or(QString());
    record.hostname_String = share.hostname;
    record.volume_String = share.shareName;
    record.port_Int = share.port;
    record.username_String = share.username.value_or(QString());
    record.mounting_using_protocol_Enum = protocolFromText(share.protocolType);
    record.mount_inside_Volumes = share.mountInVolumes ? 1 : 0;
    record.allowedSSIDs_String = share.allowedSSIDs.value_or(QString());
    record.group_String = share.group.value_or(QString());
    record.isLocked = share.isLocked;
    record.managedBy = kManagedBy;
    return record;
}

int ManagedPreferencesReader::applyManagedShares(MountEngine &engine, NotificationCenter *center) const
{
    const QList<ManagedShare> shares = readManagedShares();
    if (shares.isEmpty())
        return 0;
    RecordStore &store = engine.store();
    // Only a locked record stands for a managed share; a user's own record for the same share does not.
    const auto identity = [](const QString &host, const QString &share) -> QString { return host + QChar(0) + share; };
    QSet<QString> locked;
    for (const VolumeRecord &r : store.records()) {
        if (r.isLocked)
            locked.insert(identity(r.hostname_String, r.volume_String));
    }
    qint64 nextId = store.nextId();
    QList<VolumeRecord> added;
    QStringList names; // what the console line names each by: the nickname when given, else the host
    for (const ManagedShare &share : shares) {
        const QString key = identity(share.hostname, share.shareName);
        if (locked.contains(key))
            continue;
        const VolumeRecord record = recordFor(share, nextId++);
        if (record.isLocked)
            locked.insert(key);
        added.append(record);
        names.append(share.nickname.value_or(share.hostname));
    }
    if (added.isEmpty())
        return 0;
    // Each new record goes to the front, so several end up in reverse profile order; the list is replaced
    // once rather than per record.
    QList<VolumeRecord> list;
    list.reserve(store.size() + added.size());
    for (auto it = added.crbegin(); it != added.crend(); ++it)
        list.append(*it);
    list.append(store.records());
    store.setRecords(list);
    for (const QString &name : std::as_const(names)) {
        if (center)
            center->post(Notifications::RefreshVolumeUI);
        Console::line(kAddedLine + name);
    }
    store.save();
    return int(added.size());
}
