#include "ConfigurationManager.h"
#include "base/BoundedFile.h"

#include "base/DurableFile.h"
#include "base/JsonNumber.h"
#include "core/RecordFields.h"

#include "RulesExchange.h"
#include "ShareCsv.h"
#include "ShareSetManager.h"

#include "base/CertificateFingerprint.h"
#include "base/Console.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"

#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QSet>
#include <QTimeZone>

#include <pwd.h>
#include <unistd.h>

#include <cmath>

using namespace Configuration;

namespace {

const QString kTimeFormat = QStringLiteral("HH:mm");

QString systemUserFullName()
{
    // getpwuid_r: the engine's workers may read the database too.
    struct passwd pw;
    struct passwd *found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &pw, buffer, sizeof buffer, &found) != 0 || !found)
        return QString();
    // The GECOS field's first comma-separated part is the full name.
    const QString gecos = QString::fromLocal8Bit(pw.pw_gecos ? pw.pw_gecos : "").section(QLatin1Char(','), 0, 0).trimmed();
    return gecos.isEmpty() ? QString::fromLocal8Bit(pw.pw_name) : gecos;
}

QString isoDate(const QDateTime &date)
{
    return date.toUTC().toString(Qt::ISODate);
}

std::optional<QDateTime> parseIsoDate(const QJsonValue &value)
{
    if (!value.isString())
        return std::nullopt;
    QDateTime date = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    if (!date.isValid())
        date = QDateTime::fromString(value.toString(), Qt::ISODate);
    if (!date.isValid())
        return std::nullopt;
    return date;
}

std::optional<qint64> integerOf(const QJsonValue &value)
{
    return jsonInteger(value);
}

// "HH:mm" of the file becomes that time today (local), which is all the schedule looks at.
std::optional<QDateTime> timeOfDay(const QJsonValue &value)
{
    if (!value.isString())
        return std::nullopt;
    const QTime time = QTime::fromString(value.toString(), kTimeFormat);
    if (!time.isValid())
        return std::nullopt;
    return QDateTime(QDate::currentDate(), time);
}

QString stringOr(const QJsonObject &o, const char *key, const QString &fallback = QString())
{
    const QJsonValue v = o.value(QLatin1String(key));
    return v.isString() ? v.toString() : fallback;
}

bool boolOr(const QJsonObject &o, const char *key, bool fallback)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isBool())
        return v.toBool();
    if (v.isDouble()) // on/off states travel as 0/1 in older files
        return v.toDouble() != 0;
    return fallback;
}

// The settings an update-mode import takes from the file.
void applySettings(VolumeRecord &target, const VolumeRecord &source)
{
    target.nickname_String = source.nickname_String;
    target.port_Int = source.port_Int;
    target.username_String = source.username_String;
    target.no_password_guest_login = source.no_password_guest_login;
    target.mounting_using_protocol_Enum = source.mounting_using_protocol_Enum;
    target.mount_inside_Volumes = source.mount_inside_Volumes;
    target.unique_mountpoint_fullpath_String = source.unique_mountpoint_fullpath_String;
    target.group_String = source.group_String;
    target.allowedSSIDs_String = source.allowedSSIDs_String;
    target.auto_Mount = source.auto_Mount;
    target.schedule_Mount = source.schedule_Mount;
    target.schedule_MountTime = source.schedule_MountTime;
    target.schedule_UnMountTime = source.schedule_UnMountTime;
    target.schedule_Weekdays = source.schedule_Weekdays;
    target.macAddress_String = source.macAddress_String;
    target.postMountScriptPath_String = source.postMountScriptPath_String;
    target.preUnmountScriptPath_String = source.preUnmountScriptPath_String;
    target.trustedCertificateSHA256 = source.trustedCertificateSHA256;
}

template <typename T>
ConfigurationManager::Result<T> failure(ErrorKind kind, const QString &detail = QString())
{
    ConfigurationManager::Result<T> result;
    result.error = Error{kind, detail};
    return result;
}

} // namespace

QString ConfigurationManager::CsvOutcome::title() const
{
    return warnings.isEmpty() ? QStringLiteral("Import Complete") : QStringLiteral("Import Complete with Warnings");
}

QString ConfigurationManager::CsvOutcome::summary() const
{
    if (error.isError())
        return error.text();
    QString text = QString::number(imported) + QStringLiteral(" shares imported");
    if (passwordsStored > 0)
        text += QStringLiteral(", ") + QString::number(passwordsStored) + QStringLiteral(" passwords stored");
    if (passwordsFailed > 0)
        text += QStringLiteral(", ") + QString::number(passwordsFailed) + QStringLiteral(" passwords could not be stored");
    if (skipped > 0)
        text += QStringLiteral(", ") + QString::number(skipped) + QStringLiteral(" lines skipped");
    return text;
}

ConfigurationManager::ConfigurationManager(const Dependencies &dependencies, QObject *parent)
    : QObject(parent)
    , m_deps(dependencies)
    , m_userName(systemUserFullName)
{
    m_secretsPool.setMaxThreadCount(1); // one writer keeps the secret store's items in order
}

ConfigurationManager::~ConfigurationManager()
{
    m_secretsPool.waitForDone();
}

// --- Files ---------------------------------------------------------------------------------------------

QString ConfigurationManager::readFile(const QString &path, QByteArray *bytes)
{
    BoundedFile::Content content = BoundedFile::read(path, BoundedFile::kImportLimit);
    if (!content.ok)
        return QStringLiteral("Cannot read ") + path + QStringLiteral(": ") + content.error;
    *bytes = std::move(content.bytes);
    return QString();
}

QString ConfigurationManager::writeFile(const QString &path, const QByteArray &bytes)
{
    // Exports carry hosts, users and shares: private to the user, and never half written.
    const DurableFile::Result result = DurableFile::write(path, bytes, 0600, /*createFolder=*/false);
    if (!result.ok)
        return QStringLiteral("Cannot write ") + path + QStringLiteral(": ") + result.error;
    return QString();
}

// --- Share form ----------------------------------------------------------------------------------------

QJsonObject ConfigurationManager::shareToJson(const VolumeRecord &r)
{
    QJsonArray weekdays;
    for (int day : r.schedule_Weekdays)
        weekdays.append(day);
    QJsonObject o{
        {QStringLiteral("id"), r.internal_ID_Int},
        {QStringLiteral("nickname"), r.nickname_String},
        {QStringLiteral("hostname"), r.hostname_String},
        {QStringLiteral("shareName"), r.volume_String},
        {QStringLiteral("username"), r.username_String},
        {QStringLiteral("protocolType"), ShareCsv::protocolName(r.mounting_using_protocol_Enum)},
        {QStringLiteral("mountInVolumes"), r.mount_inside_Volumes != 0},
        {QStringLiteral("customMountPoint"), r.unique_mountpoint_fullpath_String},
        {QStringLiteral("group"), r.group_String},
        {QStringLiteral("allowedSSIDs"), r.allowedSSIDs_String},
        {QStringLiteral("scheduleEnabled"), r.schedule_Mount != 0},
        {QStringLiteral("scheduleWeekdays"), weekdays},
        {QStringLiteral("macAddress"), r.macAddress_String},
        {QStringLiteral("postMountScript"), r.postMountScriptPath_String},
        {QStringLiteral("preUnmountScript"), r.preUnmountScriptPath_String},
        {QStringLiteral("isLocked"), r.isLocked},
        // Not among the format's named keys; readers that do not know them ignore them, and without them a
        // guest share would come back asking for a password and auto-mount would be lost.
        {QStringLiteral("guest"), r.no_password_guest_login != 0},
        {QStringLiteral("autoMount"), r.auto_Mount != 0},
    };
    if (r.port_Int && *r.port_Int >= 1)
        o.insert(QStringLiteral("port"), *r.port_Int);
    if (r.schedule_MountTime.isValid())
        o.insert(QStringLiteral("scheduleMountTime"), r.schedule_MountTime.toLocalTime().toString(kTimeFormat));
    if (r.schedule_UnMountTime.isValid())
        o.insert(QStringLiteral("scheduleUnmountTime"), r.schedule_UnMountTime.toLocalTime().toString(kTimeFormat));
    if (!r.managedBy.isEmpty())
        o.insert(QStringLiteral("managedBy"), r.managedBy);
    if (!r.trustedCertificateSHA256.isEmpty())
        o.insert(QStringLiteral("trustedCertificateSHA256"), r.trustedCertificateSHA256);
    return o;
}

bool ConfigurationManager::isValidShare(const QJsonObject &o, QString *error)
{
    const std::optional<qint64> id = integerOf(o.value(QStringLiteral("id")));
    if (!id) {
        if (error)
            *error = QStringLiteral("a share without an integer id");
        return false;
    }
    if (!o.value(QStringLiteral("hostname")).isString() || !o.value(QStringLiteral("shareName")).isString()) {
        if (error)
            *error = QStringLiteral("share ") + QString::number(*id) + QStringLiteral(" without hostname or shareName");
        return false;
    }
    return true;
}

std::optional<VolumeRecord> ConfigurationManager::shareFromJson(const QJsonObject &o, QString *error)
{
    if (!isValidShare(o, error))
        return std::nullopt;
    const std::optional<qint64> id = integerOf(o.value(QStringLiteral("id")));
    VolumeRecord r;
    r.internal_ID_Int = *id;
    r.hostname_String = o.value(QStringLiteral("hostname")).toString();
    r.volume_String = o.value(QStringLiteral("shareName")).toString();
    r.nickname_String = stringOr(o, "nickname");
    r.username_String = stringOr(o, "username", r.username_String);
    r.mounting_using_protocol_Enum = ShareCsv::parseProtocol(stringOr(o, "protocolType"));
    if (const auto port = integerOf(o.value(QStringLiteral("port"))); port && *port >= 1 && *port <= 65535)
        r.port_Int = *port;
    r.mount_inside_Volumes = boolOr(o, "mountInVolumes", true) ? 1 : 0;
    r.unique_mountpoint_fullpath_String = stringOr(o, "customMountPoint");
    r.group_String = stringOr(o, "group");
    r.allowedSSIDs_String = stringOr(o, "allowedSSIDs");
    r.schedule_Mount = boolOr(o, "scheduleEnabled", false) ? 1 : 0;
    if (const auto t = timeOfDay(o.value(QStringLiteral("scheduleMountTime"))))
        r.schedule_MountTime = *t;
    if (const auto t = timeOfDay(o.value(QStringLiteral("scheduleUnmountTime"))))
        r.schedule_UnMountTime = *t;
    if (o.value(QStringLiteral("scheduleWeekdays")).isArray()) {
        r.schedule_Weekdays.clear();
        for (const QJsonValue &v : o.value(QStringLiteral("scheduleWeekdays")).toArray()) {
            const auto day = integerOf(v);
            if (day && *day >= 1 && *day <= 7 && !r.schedule_Weekdays.contains(int(*day)))
                r.schedule_Weekdays.append(int(*day));
        }
    }
    r.macAddress_String = stringOr(o, "macAddress");
    r.postMountScriptPath_String = stringOr(o, "postMountScript");
    r.preUnmountScriptPath_String = stringOr(o, "preUnmountScript");
    r.isLocked = boolOr(o, "isLocked", false);
    r.managedBy = stringOr(o, "managedBy");
    r.no_password_guest_login = boolOr(o, "guest", false) ? 1 : 0;
    r.auto_Mount = boolOr(o, "autoMount", false) ? 1 : 0;
    if (const QString trusted = stringOr(o, "trustedCertificateSHA256"); !trusted.isEmpty()) {
        const std::optional<QString> fingerprint = CertificateFingerprint::normalise(trusted);
        if (!fingerprint)
            Console::line(QStringLiteral("⚠️ [CONFIG] Share %1: %2; no certificate is trusted")
                              .arg(QString::number(r.internal_ID_Int),
                                   CertificateFingerprint::invalidText(QStringLiteral("trustedCertificateSHA256"))));
        r.trustedCertificateSHA256 = fingerprint.value_or(QString());
    }
    return r;
}

// --- Export --------------------------------------------------------------------------------------------

QJsonObject ConfigurationManager::exportPreferences() const
{
    const Defaults &d = *m_deps.defaults;
    QJsonObject prefs;
    prefs.insert(QStringLiteral("showDashboardAtStartup"),
                 d.boolean(Preferences::Keys::ShowConfigurationOnStart).value_or(true));
    prefs.insert(QStringLiteral("mountTimeoutSeconds"), Preferences::mountTimeoutSeconds(d));
    return prefs;
}

QByteArray ConfigurationManager::encode(const QList<VolumeRecord> &records, const QJsonArray &sets,
                                        const QJsonArray &rules, bool withPreferences) const
{
    QJsonArray shares;
    for (const VolumeRecord &r : records)
        shares.append(shareToJson(r));
    QJsonObject root{{QStringLiteral("version"), kVersion},
                     {QStringLiteral("exportDate"), isoDate(QDateTime::currentDateTimeUtc())},
                     {QStringLiteral("exportedBy"), m_userName ? m_userName() : QString()},
                     {QStringLiteral("shares"), shares},
                     {QStringLiteral("shareSets"), sets},
                     {QStringLiteral("rules"), rules}};
    if (!m_organizationName.isEmpty())
        root.insert(QStringLiteral("organizationName"), m_organizationName);
    if (withPreferences)
        root.insert(QStringLiteral("preferences"), exportPreferences());
    // QJsonObject keeps its keys sorted, so the document is written with sorted keys.
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

ConfigurationManager::Result<QByteArray> ConfigurationManager::exportConfiguration() const
{
    if (!exportAllowed())
        return failure<QByteArray>(ErrorKind::ExportDisabledByIT);
    QJsonArray sets;
    for (const ShareSet &set : m_deps.sets->sets())
        sets.append(set.toJson());
    const QJsonArray rules = m_rules ? m_rules->exportRules() : QJsonArray();
    return {encode(m_deps.engine->store().records(), sets, rules, true), {}};
}

ConfigurationManager::Result<bool> ConfigurationManager::exportConfigurationFile(const QString &path) const
{
    const Result<QByteArray> bytes = exportConfiguration();
    if (!bytes.ok())
        return failure<bool>(bytes.error.kind, bytes.error.detail);
    if (const QString error = writeFile(path, bytes.value); !error.isEmpty())
        return failure<bool>(ErrorKind::FileError, error);
    Console::line(kExportedLine + path);
    return {true, {}};
}

ConfigurationManager::Result<QByteArray> ConfigurationManager::exportSet(const QUuid &setId) const
{
    if (!exportAllowed())
        return failure<QByteArray>(ErrorKind::ExportDisabledByIT);
    const ShareSet *set = m_deps.sets->find(setId);
    if (!set)
        return failure<QByteArray>(ErrorKind::UnknownSet, setId.toString(QUuid::WithoutBraces));
    QList<VolumeRecord> records;
    QSet<qint64> seen;
    for (const VolumeRecord *r : m_deps.sets->resolve(*set)) {
        if (!seen.contains(r->internal_ID_Int)) {
            seen.insert(r->internal_ID_Int);
            records.append(*r);
        }
    }
    if (records.isEmpty())
        return failure<QByteArray>(ErrorKind::SetHasNoShares);
    return {encode(records, QJsonArray{set->toJson()}, QJsonArray(), false), {}};
}

ConfigurationManager::Result<bool> ConfigurationManager::exportSetFile(const QUuid &setId, const QString &path) const
{
    const Result<QByteArray> bytes = exportSet(setId);
    if (!bytes.ok())
        return failure<bool>(bytes.error.kind, bytes.error.detail);
    if (const QString error = writeFile(path, bytes.value); !error.isEmpty())
        return failure<bool>(ErrorKind::FileError, error);
    Console::line(kExportedLine + path);
    return {true, {}};
}

// --- Decode and preview --------------------------------------------------------------------------------

ConfigurationManager::Result<QJsonObject> ConfigurationManager::decode(const QByteArray &bytes) const
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return failure<QJsonObject>(ErrorKind::InvalidFormat);
    const QJsonObject root = document.object();
    const QJsonValue version = root.value(QStringLiteral("version"));
    if (version.isUndefined() || version.isNull())
        return failure<QJsonObject>(ErrorKind::MissingData, QStringLiteral("version"));
    if (!version.isString())
        return failure<QJsonObject>(ErrorKind::InvalidFormat);
    if (!isSupportedVersion(version.toString()))
        return failure<QJsonObject>(ErrorKind::VersionMismatch, version.toString());
    for (const char *key : {"shares", "shareSets"}) {
        const QJsonValue v = root.value(QLatin1String(key));
        if (v.isUndefined() || v.isNull())
            return failure<QJsonObject>(ErrorKind::MissingData, QLatin1String(key));
        if (!v.isArray())
            return failure<QJsonObject>(ErrorKind::InvalidFormat);
    }
    const QJsonValue rules = root.value(QStringLiteral("rules"));
    if (!rules.isUndefined() && !rules.isNull() && !rules.isArray())
        return failure<QJsonObject>(ErrorKind::InvalidFormat);
    // Every element must decode, as the whole document would with a strict decoder.
    for (const QJsonValue &v : root.value(QStringLiteral("shares")).toArray()) {
        QString why;
        if (!v.isObject() || !isValidShare(v.toObject(), &why)) {
            Console::line(kImportFailedLine + (why.isEmpty() ? QStringLiteral("a share that is not an object") : why));
            return failure<QJsonObject>(ErrorKind::InvalidFormat);
        }
    }
    for (const QJsonValue &v : root.value(QStringLiteral("shareSets")).toArray()) {
        QString why;
        if (!v.isObject() || !ShareSet::fromJson(v.toObject(), &why)) {
            Console::line(kImportFailedLine + (why.isEmpty() ? QStringLiteral("a set that is not an object") : why));
            return failure<QJsonObject>(ErrorKind::InvalidFormat);
        }
    }
    for (const char *key : {"preferences", "metadata"}) {
        const QJsonValue v = root.value(QLatin1String(key));
        if (!v.isUndefined() && !v.isNull() && !v.isObject())
            return failure<QJsonObject>(ErrorKind::InvalidFormat);
    }
    return {root, {}};
}

ConfigurationManager::Result<Preview> ConfigurationManager::preview(const QByteArray &bytes) const
{
    const Result<QJsonObject> decoded = decode(bytes);
    if (!decoded.ok())
        return failure<Preview>(decoded.error.kind, decoded.error.detail);
    const QJsonObject &root = decoded.value;
    Preview p;
    p.version = root.value(QStringLiteral("version")).toString();
    p.exportDate = parseIsoDate(root.value(QStringLiteral("exportDate")));
    p.exportedBy = stringOr(root, "exportedBy");
    p.organizationName = stringOr(root, "organizationName");
    for (const QJsonValue &v : root.value(QStringLiteral("shares")).toArray()) {
        const QJsonObject o = v.toObject();
        const QString nickname = stringOr(o, "nickname");
        p.shareNames.append(nickname.isEmpty() ? stringOr(o, "hostname") + QLatin1Char('/') + stringOr(o, "shareName")
                                               : nickname);
    }
    for (const QJsonValue &v : root.value(QStringLiteral("shareSets")).toArray())
        p.setNames.append(stringOr(v.toObject(), "name"));
    for (const QJsonValue &v : root.value(QStringLiteral("rules")).toArray())
        p.ruleNames.append(stringOr(v.toObject(), "name"));
    p.shareCount = int(p.shareNames.size());
    p.setCount = int(p.setNames.size());
    p.ruleCount = int(p.ruleNames.size());
    p.hasPreferences = root.value(QStringLiteral("preferences")).isObject();
    return {p, {}};
}

ConfigurationManager::Result<Preview> ConfigurationManager::previewFile(const QString &path) const
{
    QByteArray bytes;
    if (const QString error = readFile(path, &bytes); !error.isEmpty())
        return failure<Preview>(ErrorKind::FileError, error);
    return preview(bytes);
}

// --- Import --------------------------------------------------------------------------------------------

bool ConfigurationManager::importPreferences(const QJsonObject &prefs)
{
    Defaults &d = *m_deps.defaults;
    bool applied = false;
    // launchAtLogin (the autostart entry belongs to the desktop session), defaultProtocol and
    // enforceSSIDRestriction have no local preference: they are left out.
    if (const QJsonValue v = prefs.value(QStringLiteral("showDashboardAtStartup")); v.isBool())
        applied |= d.setValue(Preferences::Keys::ShowConfigurationOnStart, v.toBool());
    if (const auto v = integerOf(prefs.value(QStringLiteral("mountTimeoutSeconds"))))
        applied |= d.setValue(Preferences::Keys::MountTimeout, Preferences::clamp(Preferences::Keys::MountTimeout, *v));
    if (applied && m_deps.center)
        m_deps.center->post(Notifications::PreferencesChanged);
    return applied;
}

void ConfigurationManager::notifyRecordsChanged()
{
    if (m_deps.center) {
        m_deps.center->post(Notifications::VolumeRecordChanged);
        m_deps.center->post(Notifications::RefreshVolumeUI);
    }
    // The engine announces its own edits; a bulk insertion through its store is announced the same way.
    Q_EMIT m_deps.engine->recordsChanged();
}

bool ConfigurationManager::addRecords(QList<VolumeRecord> &records)
{
    if (records.isEmpty())
        return true;
    RecordStore &store = m_deps.engine->store();
    qint64 next = store.nextId();
    for (VolumeRecord &r : records) {
        r.internal_ID_Int = next++;
        store.add(r);
    }
    const bool saved = store.save();
    notifyRecordsChanged();
    return saved;
}

ConfigurationManager::Result<ImportResult> ConfigurationManager::importConfiguration(const QByteArray &bytes,
                                                                                     ImportMode mode)
{
    if (!importAllowed())
        return failure<ImportResult>(ErrorKind::ImportDisabledByIT);
    const Result<QJsonObject> decoded = decode(bytes);
    if (!decoded.ok()) {
        Console::line(kImportFailedLine + decoded.error.text());
        return failure<ImportResult>(decoded.error.kind, decoded.error.detail);
    }
    const QJsonObject &root = decoded.value;
    MountEngine &engine = *m_deps.engine;
    RecordStore &store = engine.store();
    ImportResult result;
    QStringList saveErrors;  // the stores
    QStringList saveReasons; // why, where the store says

    if (mode == ImportMode::Replace) {
        QList<qint64> removable;
        for (const VolumeRecord &r : store.records()) {
            if (!r.isLocked)
                removable.append(r.internal_ID_Int);
        }
        for (qint64 id : std::as_const(removable))
            engine.removeRecord(id); // refuses locked records; saves, audits, drops the log entries
    }
    // Taken after the removals, which already dropped the removed records from every set.
    QList<ShareSet> sets = m_deps.sets->sets();
    const qsizetype setsBefore = sets.size();
    if (mode == ImportMode::Replace)
        sets.removeIf([](const ShareSet &s) { return !s.isLocked; });

    // Shares.
    QHash<QString, qint64> local;
    for (const VolumeRecord &r : store.records())
        local.insert(duplicateKey(r), r.internal_ID_Int);
    QHash<qint64, qint64> idMap; // file id -> local id
    QList<VolumeRecord> added;
    QList<qint64> addedFileIds;
    bool updated = false;
    for (const QJsonValue &v : root.value(QStringLiteral("shares")).toArray()) {
        VolumeRecord incoming = *shareFromJson(v.toObject());
        if (RecordFields::check(incoming)) {
            ++result.sharesSkipped; // a share no other way in would accept
            continue;
        }
        const qint64 fileId = incoming.internal_ID_Int;
        const QString key = duplicateKey(incoming);
        const auto dup = local.constFind(key);
        if (dup != local.cend()) {
            if (!idMap.contains(fileId))
                idMap.insert(fileId, *dup);
            VolumeRecord *target = store.find(*dup);
            if (mode == ImportMode::Update && target && !target->isLocked) {
                applySettings(*target, incoming);
                updated = true;
                ++result.sharesUpdated;
            } else {
                ++result.sharesSkipped;
            }
            continue;
        }
        // The new record's ID is known only once it is added; meanwhile the key maps to a marker.
        local.insert(key, -1 - qint64(added.size()));
        added.append(incoming);
        addedFileIds.append(fileId);
        ++result.sharesImported;
    }
    if (updated && added.isEmpty()) {
        if (!store.save())
            saveErrors.append(QStringLiteral("share records"));
        notifyRecordsChanged();
    }
    if (!added.isEmpty() && !addRecords(added))
        saveErrors.append(QStringLiteral("share records"));
    for (qsizetype i = 0; i < added.size(); ++i) {
        if (!idMap.contains(addedFileIds.at(i)))
            idMap.insert(addedFileIds.at(i), added.at(i).internal_ID_Int);
    }
    // Duplicates inside the file itself point at the marker of the first copy.
    for (auto it = idMap.begin(); it != idMap.end(); ++it) {
        if (*it < 0)
            *it = added.at(-1 - *it).internal_ID_Int;
    }

    // Sets.
    QSet<QString> names;
    QSet<QUuid> ids;
    for (const ShareSet &s : std::as_const(sets)) {
        names.insert(s.name.toCaseFolded());
        ids.insert(s.id);
    }
    bool setsChanged = sets.size() != setsBefore;
    for (const QJsonValue &v : root.value(QStringLiteral("shareSets")).toArray()) {
        ShareSet set = *ShareSet::fromJson(v.toObject());
        if (names.contains(set.name.toCaseFolded())) {
            ++result.setsSkipped;
            continue;
        }
        if (ids.contains(set.id))
            set.id = QUuid::createUuid();
        QList<qint64> members;
        for (qint64 fileId : std::as_const(set.shareIDs)) {
            if (const auto it = idMap.constFind(fileId); it != idMap.cend())
                members.append(*it);
        }
        set.shareIDs = members;
        names.insert(set.name.toCaseFolded());
        ids.insert(set.id);
        sets.append(set);
        setsChanged = true;
        ++result.setsImported;
    }
    if (setsChanged && !m_deps.sets->setSets(sets))
        saveErrors.append(QStringLiteral("share sets"));

    // Rules.
    const QJsonArray rules = root.value(QStringLiteral("rules")).toArray();
    if (m_rules) {
        const RulesExchange::ImportCount count = m_rules->importRules(rules, mode);
        result.rulesImported = count.imported;
        result.rulesSkipped = count.skipped;
        if (!count.saveError.isEmpty()) {
            saveErrors.append(QStringLiteral("rules"));
            saveReasons.append(count.saveError);
        }
    } else {
        result.rulesSkipped = int(rules.size());
    }

    // Preferences.
    if (const QJsonValue prefs = root.value(QStringLiteral("preferences")); prefs.isObject())
        result.preferencesImported = importPreferences(prefs.toObject());

    if (m_deps.center)
        m_deps.center->post(Notifications::RefreshVolumeUI);
    if (!saveErrors.isEmpty()) {
        const QString reasons = saveReasons.isEmpty() ? QString()
                                                      : QStringLiteral(" (") + saveReasons.join(QStringLiteral("; ")) + QLatin1Char(')');
        const QString text = QStringLiteral("Imported, but the ") + saveErrors.join(QStringLiteral(" and "))
                           + QStringLiteral(" could not be saved") + reasons + QStringLiteral(": ") + summaryText(result);
        Console::line(kImportFailedLine + text);
        Result<ImportResult> r{result, Error{ErrorKind::SaveFailed, text}};
        return r;
    }
    Console::line(kImportCompleteLine + summaryText(result));
    return {result, {}};
}

ConfigurationManager::Result<ImportResult> ConfigurationManager::importConfigurationFile(const QString &path,
                                                                                         ImportMode mode)
{
    if (!importAllowed())
        return failure<ImportResult>(ErrorKind::ImportDisabledByIT);
    QByteArray bytes;
    if (const QString error = readFile(path, &bytes); !error.isEmpty())
        return failure<ImportResult>(ErrorKind::FileError, error);
    return importConfiguration(bytes, mode);
}

// --- CSV -----------------------------------------------------------------------------------------------

ConfigurationManager::Result<QString> ConfigurationManager::exportCsv() const
{
    if (!exportAllowed())
        return failure<QString>(ErrorKind::ExportDisabledByIT);
    return {ShareCsv::write(m_deps.engine->store().records()), {}};
}

ConfigurationManager::Result<bool> ConfigurationManager::exportCsvFile(const QString &path) const
{
    const Result<QString> text = exportCsv();
    if (!text.ok())
        return failure<bool>(text.error.kind, text.error.detail);
    if (const QString error = writeFile(path, text.value.toUtf8()); !error.isEmpty())
        return failure<bool>(ErrorKind::FileError, error);
    return {true, {}};
}

void ConfigurationManager::importCsv(const QString &text, std::function<void(const CsvOutcome &)> done)
{
    CsvOutcome outcome;
    if (!importAllowed()) {
        outcome.error = Error{ErrorKind::ImportDisabledByIT, {}};
        done(outcome);
        return;
    }
    const ShareCsv::Parsed parsed = ShareCsv::parse(text);
    if (!parsed.error.isEmpty()) {
        outcome.error = Error{ErrorKind::FileError, parsed.error}; // the header message is the text shown
        done(outcome);
        return;
    }
    QList<std::pair<int, QString>> warnings; // by line, whichever check found them
    for (qsizetype i = 0; i < parsed.warnings.size(); ++i)
        warnings.append({parsed.warningLines.at(i), parsed.warnings.at(i)});
    QSet<QString> existing;
    for (const VolumeRecord &r : m_deps.engine->store().records())
        existing.insert(duplicateKey(r));
    QList<VolumeRecord> records;
    QList<std::optional<QString>> passwords;
    for (const ShareCsv::Row &row : parsed.rows) {
        const QString key = duplicateKey(row.record);
        if (existing.contains(key)) {
            warnings.append({row.line, ShareCsv::kDuplicateShare.arg(row.line).arg(row.record.hostname_String,
                                                                                   row.record.volume_String)});
            continue;
        }
        existing.insert(key);
        VolumeRecord record = row.record;
        if (row.password)
            record._cachedPassword = *row.password; // mounts in this run even if the secret store fails
        records.append(record);
        passwords.append(row.password);
    }
    std::stable_sort(warnings.begin(), warnings.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    for (const auto &warning : std::as_const(warnings))
        outcome.warnings.append(warning.second);
    outcome.skipped = int(warnings.size());
    if (!addRecords(records)) {
        outcome.error = Error{ErrorKind::SaveFailed, QStringLiteral("The imported shares could not be saved")};
    }
    outcome.imported = int(records.size());
    QList<Secret> secrets;
    for (qsizetype i = 0; i < records.size(); ++i) {
        if (passwords.at(i))
            secrets.append({records.at(i).credentialAccount(), *passwords.at(i)});
    }
    storePasswords(secrets, [outcome, done](int stored, int failed) mutable {
        outcome.passwordsStored = stored;
        outcome.passwordsFailed = failed;
        done(outcome);
    });
}

void ConfigurationManager::importCsvFile(const QString &path, std::function<void(const CsvOutcome &)> done)
{
    if (!importAllowed()) {
        CsvOutcome outcome;
        outcome.error = Error{ErrorKind::ImportDisabledByIT, {}};
        done(outcome);
        return;
    }
    QByteArray bytes;
    if (const QString error = readFile(path, &bytes); !error.isEmpty()) {
        CsvOutcome outcome;
        outcome.error = Error{ErrorKind::FileError, error};
        done(outcome);
        return;
    }
    importCsv(QString::fromUtf8(bytes), std::move(done));
}

void ConfigurationManager::storePasswords(QList<Secret> secrets, std::function<void(int, int)> done)
{
    if (secrets.isEmpty()) {
        done(0, 0);
        return;
    }
    CredentialStore *credentials = m_deps.credentials;
    QPointer<ConfigurationManager> self(this);
    m_secretsPool.start([self, credentials, secrets = std::move(secrets), done = std::move(done)]() mutable {
        int stored = 0;
        int failed = 0;
        for (Secret &secret : secrets) {
            if (credentials && credentials->save(secret.password, secret.account))
                ++stored;
            else
                ++failed;
            secret.password.fill(QChar(0)); // no copy lingers longer than needed
        }
        if (self)
            QMetaObject::invokeMethod(self, [done, stored, failed] { done(stored, failed); }, Qt::QueuedConnection);
    });
}
