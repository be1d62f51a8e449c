#include "LegacyImporter.h"

#include "ConfigurationManager.h"
#include "ShareSetManager.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "base/PropertyList.h"
#include "core/LegacyArchive.h"
#include "core/MountEngine.h"
#include "core/RecordFields.h"
#include "logging/LogEventManager.h"

#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace {

// A list stored either natively or as a keyed archive in a data value.
std::optional<QVariantList> listValue(const QVariant &value)
{
    if (value.typeId() == QMetaType::QVariantList)
        return value.toList();
    if (value.typeId() == QMetaType::QByteArray) {
        const std::optional<QVariant> root = LegacyArchive::resolveRoot(value.toByteArray());
        if (root && root->typeId() == QMetaType::QVariantList)
            return root->toList();
    }
    return std::nullopt;
}

QString plural(int n, const char *one, const char *many)
{
    return QString::number(n) + QLatin1Char(' ') + QLatin1String(n == 1 ? one : many);
}

} // namespace

QString LegacyImporter::Summary::text() const
{
    if (!error.isEmpty())
        return error;
    QStringList lines;
    if (sharesUnreadable)
        lines << QStringLiteral("Shares not imported: the share list could not be decoded");
    else
        lines << plural(sharesImported, "share imported", "shares imported")
                     + (sharesSkipped ? QStringLiteral(", ") + QString::number(sharesSkipped)
                                            + QStringLiteral(" already configured here and skipped")
                                      : QString());
    if (passwordsMoved || passwordsFailed)
        lines << plural(passwordsMoved, "password moved to the Secret Service", "passwords moved to the Secret Service")
                     + (passwordsFailed ? QStringLiteral(", ") + QString::number(passwordsFailed)
                                              + QStringLiteral(" could not be stored")
                                        : QString());
    lines << plural(eventsImported, "event-log entry imported", "event-log entries imported")
                 + (eventsUnreadable ? QStringLiteral(", ") + QString::number(eventsUnreadable)
                                           + QStringLiteral(" unreadable")
                                     : QString());
    if (setsUnreadable)
        lines << QStringLiteral("Share sets not imported: the set list could not be decoded");
    else
        lines << plural(setsImported, "share set imported", "share sets imported")
                     + (setsSkipped ? QStringLiteral(", ") + QString::number(setsSkipped)
                                          + QStringLiteral(" with a name already used here skipped")
                                    : QString());
    if (mappingsImported)
        lines << QStringLiteral("Directory mappings imported");
    else if (mappingsKeptLocal)
        lines << QStringLiteral("Directory mappings not imported: this machine already has its own");
    lines << (settingsImported.isEmpty() ? QStringLiteral("No settings imported")
                                         : QStringLiteral("Settings imported: ") + settingsImported.join(QStringLiteral(", ")));
    if (!notTaken.isEmpty())
        lines << QStringLiteral("Not imported: ") + notTaken.join(QStringLiteral(", "));
    return lines.join(QLatin1Char('\n'));
}

LegacyImporter::LegacyImporter(ConfigurationManager &configuration, LogEventManager &eventLog)
    : m_configuration(configuration)
    , m_eventLog(eventLog)
{
}

void LegacyImporter::importFile(const QString &path, std::function<void(const Summary &)> done)
{
    Summary summary;
    if (!m_configuration.importAllowed()) {
        summary.error = Configuration::Error{Configuration::ErrorKind::ImportDisabledByIT, {}}.text();
        done(summary);
        return;
    }
    QByteArray bytes;
    if (const QString error = ConfigurationManager::readFile(path, &bytes); !error.isEmpty()) {
        summary.error = error;
        done(summary);
        return;
    }
    const std::optional<QVariant> parsed = PropertyList::parse(bytes);
    if (!parsed || parsed->typeId() != QMetaType::QVariantMap) {
        summary.error = QStringLiteral("Not a preferences file: ") + QFileInfo(path).fileName();
        done(summary);
        return;
    }
    const QVariantMap file = parsed->toMap();
    MountEngine &engine = m_configuration.engine();
    Defaults &defaults = m_configuration.defaults();

    // Shares.
    QList<VolumeRecord> decoded;
    if (file.contains(kRecordsKey)) {
        const QVariant value = file.value(kRecordsKey);
        if (value.typeId() == QMetaType::QByteArray) {
            if (auto records = LegacyArchive::decodeVolumeRecords(value.toByteArray()))
                decoded = *records;
            else
                summary.sharesUnreadable = true;
        } else if (value.typeId() == QMetaType::QVariantList) {
            for (const QVariant &element : value.toList()) {
                if (auto record = VolumeRecord::decode(element.toMap()))
                    decoded.append(*record);
            }
        } else {
            summary.sharesUnreadable = true;
        }
    }
    QHash<QString, qint64> local;
    for (const VolumeRecord &r : engine.store().records())
        local.insert(ConfigurationManager::duplicateKey(r), r.internal_ID_Int);
    QHash<qint64, qint64> idMap; // id in the file -> id here
    QList<VolumeRecord> added;
    QList<qint64> addedOldIds;
    QList<std::optional<QString>> addedPasswords;
    for (VolumeRecord &record : decoded) {
        // The same validation as every other way in: an archive is outside input like any import.
        if (const auto problem = RecordFields::check(record)) {
            Console::line(QStringLiteral("⚠️ [MIGRATE] Share ") + QString::number(record.internal_ID_Int)
                          + QStringLiteral(" from the macOS build skipped: ") + *problem);
            ++summary.sharesSkipped;
            continue;
        }
        const QString key = ConfigurationManager::duplicateKey(record);
        if (const auto it = local.constFind(key); it != local.cend()) {
            if (*it >= 0)
                idMap.insert(record.internal_ID_Int, *it);
            ++summary.sharesSkipped;
            continue;
        }
        local.insert(key, -1);
        addedOldIds.append(record.internal_ID_Int);
        addedPasswords.append(record._cachedPassword && !record._cachedPassword->isEmpty() ? record._cachedPassword
                                                                                           : std::nullopt);
        added.append(record);
    }
    m_configuration.addRecords(added);
    QList<ConfigurationManager::Secret> secrets;
    for (qsizetype i = 0; i < added.size(); ++i) {
        idMap.insert(addedOldIds.at(i), added.at(i).internal_ID_Int);
        if (addedPasswords.at(i))
            secrets.append({added.at(i).credentialAccount(), *addedPasswords.at(i)});
    }
    summary.sharesImported = int(added.size());

    // Event log: appended after the local entries (the log is newest first and these are older).
    if (file.contains(kEventsKey)) {
        const std::optional<QVariantList> list = listValue(file.value(kEventsKey));
        if (!list) {
            summary.notTaken << kEventsKey;
        } else {
            QVariantList merged;
            for (const LogEvent &event : m_eventLog.events())
                merged.append(event.encode());
            for (const QVariant &element : *list) {
                std::optional<LogEvent> event = LogEvent::decode(element.toMap());
                if (!event) {
                    ++summary.eventsUnreadable;
                    continue;
                }
                event->internal_VolumeRecord_ID_Int = idMap.value(event->internal_VolumeRecord_ID_Int, 0);
                merged.append(event->encode());
                ++summary.eventsImported;
            }
            if (summary.eventsImported > 0) {
                defaults.setValue(Preferences::Keys::LogEventArray, merged);
                m_eventLog.reload();
            }
        }
    }

    // Share sets.
    if (file.contains(kSetsKey)) {
        const QVariant value = file.value(kSetsKey);
        QJsonArray array;
        bool readable = false;
        if (value.typeId() == QMetaType::QByteArray) {
            const QJsonDocument document = QJsonDocument::fromJson(value.toByteArray());
            readable = document.isArray();
            array = document.array();
        } else if (value.typeId() == QMetaType::QVariantList) {
            readable = true;
            array = QJsonArray::fromVariantList(value.toList());
        }
        QList<ShareSet> sets = m_configuration.sets().sets();
        QSet<QString> names;
        for (const ShareSet &s : std::as_const(sets))
            names.insert(s.name.toCaseFolded());
        QList<ShareSet> incoming;
        for (const QJsonValue &v : std::as_const(array)) {
            const std::optional<ShareSet> set = ShareSet::fromJson(v.toObject());
            if (!set) {
                readable = false;
                break;
            }
            incoming.append(*set);
        }
        summary.setsUnreadable = !readable;
        if (readable) {
            for (ShareSet set : std::as_const(incoming)) {
                if (names.contains(set.name.toCaseFolded())) {
                    ++summary.setsSkipped;
                    continue;
                }
                QList<qint64> members;
                for (qint64 id : std::as_const(set.shareIDs)) {
                    if (const auto it = idMap.constFind(id); it != idMap.cend())
                        members.append(*it);
                }
                set.shareIDs = members;
                set.id = QUuid::createUuid();
                names.insert(set.name.toCaseFolded());
                sets.append(set);
                ++summary.setsImported;
            }
            if (summary.setsImported > 0)
                m_configuration.sets().setSets(sets);
        }
    }

    // Directory mappings: kept as the data they are.
    if (file.contains(kMappingsKey)) {
        if (defaults.contains(kMappingsKey))
            summary.mappingsKeptLocal = true;
        else
            summary.mappingsImported = defaults.setValue(kMappingsKey, file.value(kMappingsKey));
    }

    // Settings of the preference table.
    QSet<QString> handled{kRecordsKey, kEventsKey, kSetsKey, kMappingsKey};
    bool settingsChanged = false;
    for (const Preferences::Spec &spec : Preferences::table()) {
        if (!file.contains(spec.key))
            continue;
        handled.insert(spec.key);
        const QVariant value = file.value(spec.key);
        bool ok = false;
        if (spec.kind == Preferences::Kind::Integer && PropertyList::isInteger(value))
            ok = defaults.setValue(spec.key, Preferences::clamp(spec.key, value.toLongLong()));
        else if (spec.kind == Preferences::Kind::Boolean && value.typeId() == QMetaType::Bool)
            ok = defaults.setValue(spec.key, value.toBool());
        if (ok) {
            summary.settingsImported << spec.key;
            settingsChanged = true;
        } else {
            summary.notTaken << spec.key;
        }
    }
    for (auto it = file.cbegin(); it != file.cend(); ++it) {
        if (!handled.contains(it.key()))
            summary.notTaken << it.key();
    }
    if (settingsChanged && m_configuration.center())
        m_configuration.center()->post(Notifications::PreferencesChanged);

    m_configuration.storePasswords(secrets, [summary, done](int moved, int failed) mutable {
        summary.passwordsMoved = moved;
        summary.passwordsFailed = failed;
        Console::line(kImportedLine + summary.text().replace(QLatin1Char('\n'), QStringLiteral("; ")));
        done(summary);
    });
}
