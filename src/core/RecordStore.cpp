#include "RecordStore.h"

#include <QSet>

#include <limits>

#include "base/Console.h"
#include "base/Defaults.h"
#include "LegacyArchive.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"

const QString RecordStore::kDecodeFailedLine = QStringLiteral("⚠️ [Persistence] Failed to decode archived data: ");
const QString RecordStore::kEncodeFailedLine = QStringLiteral("⚠️ [Persistence] Failed to encode archived data: ");
const QString RecordStore::kFirstLaunchLine = QStringLiteral("🎉 First launch detected - creating example shares");
const QString RecordStore::kExamplesCreatedLine = QStringLiteral("✅ Created 2 example templates for first-time user");

namespace {
const QString kExampleNasStatus = QStringLiteral("Edit with your server details");
const QString kExampleCloudStatus = QStringLiteral("For Nextcloud, Box, etc.");
} // namespace

QString RecordStore::backupKey()
{
    return Preferences::Keys::VolumeRecordArray + QStringLiteral("_backup");
}

QString RecordStore::undecodableKey()
{
    return Preferences::Keys::VolumeRecordArray + QStringLiteral("_undecodable");
}

RecordStore::RecordStore(Defaults &defaults, NotificationCenter *center)
    : m_defaults(defaults)
    , m_center(center)
{
}

int RecordStore::load()
{
    m_records.clear();
    m_encoded.clear();
    const QString key = Preferences::Keys::VolumeRecordArray;
    const QVariant stored = m_defaults.value(key);
    if (!stored.isValid())
        return 0;

    if (const auto list = m_defaults.array(key)) {
        int failures = 0;
        QVariantList keptAside = m_defaults.array(undecodableKey()).value_or(QVariantList());
        const qsizetype keptBefore = keptAside.size();
        for (qsizetype i = 0; i < list->size(); ++i) {
            const QVariant &element = list->at(i);
            QString failedKey;
            std::optional<VolumeRecord> record;
            if (element.metaType().id() == QMetaType::QVariantMap)
                record = VolumeRecord::decode(element.toMap(), &failedKey);
            else
                failedKey = QStringLiteral("(not a dictionary)");
            if (!record) {
                // Kept aside before the next save drops it from the list.
                Console::line(kDecodeFailedLine + QStringLiteral("record at index ") + QString::number(i)
                              + QStringLiteral(" skipped, missing or mistyped ") + failedKey
                              + QStringLiteral("; kept under ") + undecodableKey());
                if (!keptAside.contains(element))
                    keptAside.append(element);
                ++failures;
                continue;
            }
            m_records.append(*record);
            m_encoded.append(QVariant()); // encoded afresh: a stored element may carry keys no longer written
        }
        if (keptAside.size() != keptBefore)
            m_defaults.setValue(undecodableKey(), keptAside);
        return failures;
    }

    // Not an array: keep the original aside first, so that the next save cannot lose it.
    m_defaults.setValue(backupKey(), stored);
    if (const auto bytes = m_defaults.data(key)) {
        QString error;
        if (const auto records = LegacyArchive::decodeVolumeRecords(*bytes, &error)) {
            m_records = *records;
            m_encoded = QVariantList(m_records.size());
            Console::line(QStringLiteral("📦 [MIGRATE] Read ") + QString::number(m_records.size())
                          + QStringLiteral(" shares from a keyed archive; original kept under ") + backupKey());
            return 0;
        }
        Console::line(kDecodeFailedLine + error + QStringLiteral(" (original kept under ") + backupKey()
                      + QStringLiteral(")"));
        return 1;
    }
    Console::line(kDecodeFailedLine + QStringLiteral("stored value is not an array (original kept under ")
                  + backupKey() + QStringLiteral(")"));
    return 1;
}

bool RecordStore::save()
{
    // Only records that may have changed since the last save are encoded again: with thousands of shares
    // the encoding, not the write, was what an acknowledged change waited for.
    for (qsizetype i = 0; i < m_records.size(); ++i) {
        if (!m_encoded.at(i).isValid())
            m_encoded[i] = m_records.at(i).encode();
    }
    const QVariantList &list = m_encoded;
    if (!m_defaults.setValue(Preferences::Keys::VolumeRecordArray, list)) {
        Console::line(kEncodeFailedLine + QStringLiteral("a record holds a value with no property-list form"));
        return false;
    }
    return true;
}

const VolumeRecord *RecordStore::find(qint64 id) const
{
    const qsizetype i = indexOf(id);
    return i < 0 ? nullptr : &m_records.at(i);
}

VolumeRecord *RecordStore::find(qint64 id)
{
    const qsizetype i = indexOf(id);
    return i < 0 ? nullptr : &at(i);
}

VolumeRecord &RecordStore::at(qsizetype index)
{
    m_encoded[index] = QVariant(); // the caller may change it
    return m_records[index];
}

std::optional<VolumeRecord> RecordStore::recordCopy(qint64 id) const
{
    if (const VolumeRecord *r = find(id))
        return *r;
    return std::nullopt;
}

qsizetype RecordStore::indexOf(qint64 id) const
{
    for (qsizetype i = 0; i < m_records.size(); ++i) {
        if (m_records.at(i).internal_ID_Int == id)
            return i;
    }
    return -1;
}

qint64 RecordStore::nextId() const
{
    if (m_records.isEmpty())
        return 1;
    qint64 maxId = 0;
    for (const VolumeRecord &r : m_records)
        maxId = std::max(maxId, r.internal_ID_Int);
    // IDs start at 1: 0 stands for "no share" in event-log entries, so a store holding only damaged
    // negative IDs must not hand it out. At the very top of the range the next ID would overflow; take the
    // smallest free positive one instead.
    if (maxId < std::numeric_limits<qint64>::max())
        return maxId + 1;
    QSet<qint64> used;
    for (const VolumeRecord &r : m_records)
        used.insert(r.internal_ID_Int);
    qint64 id = 1;
    while (used.contains(id))
        ++id;
    return id;
}

void RecordStore::add(const VolumeRecord &record)
{
    m_records.append(record);
    m_encoded.append(QVariant());
}

bool RecordStore::update(const VolumeRecord &record)
{
    VolumeRecord *existing = find(record.internal_ID_Int);
    if (!existing)
        return false;
    *existing = record;
    return true;
}

bool RecordStore::remove(qint64 id)
{
    const qsizetype i = indexOf(id);
    if (i < 0)
        return false;
    m_records.removeAt(i);
    m_encoded.removeAt(i);
    return true;
}

void RecordStore::setRecords(const QList<VolumeRecord> &records)
{
    m_records = records;
    m_encoded = QVariantList(m_records.size());
}

bool RecordStore::firstLaunchIfNeeded()
{
    const QString flagKey = Preferences::Keys::HasLaunchedBefore;
    if (m_defaults.value(flagKey).toBool())
        return false;
    m_defaults.setValue(flagKey, true);
    // Records already stored means an upgrade from a build that had no flag: no examples then.
    if (!m_records.isEmpty())
        return false;

    Console::line(kFirstLaunchLine);

    VolumeRecord nas;
    nas.internal_ID_Int = nextId();
    nas.nickname_String = QStringLiteral("Example: NAS or Server");
    nas.hostname_String = QStringLiteral("192.168.1.100");
    nas.volume_String = QStringLiteral("SharedFolder");
    nas.mounting_using_protocol_Enum = MountUsingProtocol_Enum::SMB;
    nas.no_password_guest_login = 0;
    nas.username_String = QStringLiteral("your-username");
    nas.mount_inside_Volumes = 1;
    nas.runtime_status_String = kExampleNasStatus;
    add(nas);

    VolumeRecord cloud;
    cloud.internal_ID_Int = nextId();
    cloud.nickname_String = QStringLiteral("Example: Cloud Storage");
    cloud.hostname_String = QStringLiteral("cloud.example.com");
    cloud.volume_String = QStringLiteral("remote.php/dav/files/username");
    cloud.mounting_using_protocol_Enum = MountUsingProtocol_Enum::WebDAVS;
    cloud.no_password_guest_login = 0;
    cloud.username_String = QStringLiteral("your-email@example.com");
    cloud.mount_inside_Volumes = 1;
    cloud.runtime_status_String = kExampleCloudStatus;
    add(cloud);

    save();
    if (m_center)
        m_center->post(Notifications::VolumeRecordChanged);
    Console::line(kExamplesCreatedLine);
    return true;
}
