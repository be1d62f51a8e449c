#include "ExchangeControl.h"
#include "SavedReply.h"

#include "ExchangeAdaptor.h" // generated from io.tarnwell.Tarnwell.Exchange1.xml

#include "ControlNames.h"
#include "ExchangeNames.h"

#include "core/MountEngine.h"
#include "exchange/ConfigurationManager.h"
#include "exchange/LegacyImporter.h"
#include "exchange/ShareSetManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Configuration;

namespace {

QString json(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString errorName(ErrorKind kind)
{
    switch (kind) {
    case ErrorKind::ImportDisabledByIT:
        return ExchangeNames::kErrorImportDisabled;
    case ErrorKind::ExportDisabledByIT:
        return ExchangeNames::kErrorExportDisabled;
    case ErrorKind::VersionMismatch:
        return ExchangeNames::kErrorUnsupportedVersion;
    case ErrorKind::InvalidFormat:
    case ErrorKind::MissingData:
    case ErrorKind::FileError:
        return ExchangeNames::kErrorInvalidFile;
    case ErrorKind::UnknownSet:
        return ExchangeNames::kErrorUnknownSet;
    case ErrorKind::SetHasNoShares:
        return ControlNames::kErrorInvalidArgument;
    default:
        return ControlNames::kErrorFailed;
    }
}

QJsonObject resultJson(const ImportResult &r)
{
    return QJsonObject{{QStringLiteral("sharesImported"), r.sharesImported},
                       {QStringLiteral("sharesSkipped"), r.sharesSkipped},
                       {QStringLiteral("sharesUpdated"), r.sharesUpdated},
                       {QStringLiteral("setsImported"), r.setsImported},
                       {QStringLiteral("setsSkipped"), r.setsSkipped},
                       {QStringLiteral("rulesImported"), r.rulesImported},
                       {QStringLiteral("rulesSkipped"), r.rulesSkipped},
                       {QStringLiteral("preferencesImported"), r.preferencesImported},
                       {QStringLiteral("summary"), summaryText(r)}};
}

QString operationName(ShareSetManager::Operation operation)
{
    return operation == ShareSetManager::Operation::Mount ? QStringLiteral("mount") : QStringLiteral("eject");
}

} // namespace

ExchangeControl::ExchangeControl(ConfigurationManager &configuration, ShareSetManager &sets, LegacyImporter &legacy,
                                 QObject *parent)
    : QObject(parent)
    , m_configuration(configuration)
    , m_sets(sets)
    , m_legacy(legacy)
{
    new ExchangeAdaptor(this); // owned by this object; exported with QDBusConnection::ExportAdaptors
    connect(&m_sets, &ShareSetManager::operationFinished, this,
            [this](const QUuid &id, ShareSetManager::Operation operation, int started, int succeeded, int skipped) {
                Q_EMIT SetOperationFinished(ShareSet::uuidText(id), operationName(operation), started, succeeded, skipped);
            });
    connect(&m_sets, &ShareSetManager::setsChanged, this, &ExchangeControl::SetsChanged);
}

void ExchangeControl::fail(const QString &name, const QString &message)
{
    if (calledFromDBus())
        sendErrorReply(name, message);
}

void ExchangeControl::failWith(int errorKind, const QString &text)
{
    fail(errorName(ErrorKind(errorKind)), text);
}

bool ExchangeControl::requireAbsolutePath(const QString &path)
{
    // The engine runs elsewhere than the caller: a relative path would name some other file.
    if (QDir::isAbsolutePath(path))
        return true;
    fail(ControlNames::kErrorInvalidArgument, QStringLiteral("Not an absolute path: ") + path);
    return false;
}

const ShareSet *ExchangeControl::resolveSet(const QString &query)
{
    const ShareSet *set = m_sets.findByIdOrName(query);
    if (!set)
        fail(ExchangeNames::kErrorUnknownSet, Error{ErrorKind::UnknownSet, query}.text());
    return set;
}

// --- Configuration file ---

void ExchangeControl::ExportConfiguration(const QString &path)
{
    if (!requireAbsolutePath(path))
        return;
    const auto result = m_configuration.exportConfigurationFile(path);
    if (!result.ok())
        failWith(int(result.error.kind), result.error.text());
}

QString ExchangeControl::PreviewConfiguration(const QString &path)
{
    if (!requireAbsolutePath(path))
        return {};
    const auto result = m_configuration.previewFile(path);
    if (!result.ok()) {
        failWith(int(result.error.kind), result.error.text());
        return {};
    }
    const Preview &p = result.value;
    return json(QJsonObject{
        {QStringLiteral("version"), p.version},
        {QStringLiteral("exportDate"), p.exportDate ? p.exportDate->toUTC().toString(Qt::ISODate) : QString()},
        {QStringLiteral("exportedBy"), p.exportedBy},
        {QStringLiteral("organizationName"), p.organizationName},
        {QStringLiteral("shareCount"), p.shareCount},
        {QStringLiteral("setCount"), p.setCount},
        {QStringLiteral("ruleCount"), p.ruleCount},
        {QStringLiteral("hasPreferences"), p.hasPreferences},
        {QStringLiteral("shareNames"), QJsonArray::fromStringList(p.shareNames)},
        {QStringLiteral("setNames"), QJsonArray::fromStringList(p.setNames)},
        {QStringLiteral("ruleNames"), QJsonArray::fromStringList(p.ruleNames)},
    });
}

QString ExchangeControl::importConfigurationFile(const QString &path, const QString &modeName, bool)
{
    if (!requireAbsolutePath(path))
        return {};
    const std::optional<ImportMode> mode = modeFromName(modeName.isEmpty() ? QStringLiteral("merge") : modeName);
    if (!mode) {
        fail(ControlNames::kErrorInvalidArgument,
             QStringLiteral("Unknown import mode \"") + modeName + QStringLiteral("\" (replace, merge or update)"));
        return {};
    }
    const auto result = m_configuration.importConfigurationFile(path, *mode);
    // A store that failed to save holds the import in memory all the same: the reply says so.
    const bool unsaved = result.error.kind == ErrorKind::SaveFailed;
    if (!result.ok() && !unsaved) {
        failWith(int(result.error.kind), result.error.text());
        return {};
    }
    const QString text = json(resultJson(result.value));
    replyWhenSaved(text, unsaved ? result.error.text() : QString());
    return text;
}

QString ExchangeControl::ImportConfiguration(const QString &path, const QString &mode)
{
    return importConfigurationFile(path, mode, false);
}

// --- CSV ---

void ExchangeControl::ExportCsv(const QString &path)
{
    if (!requireAbsolutePath(path))
        return;
    const auto result = m_configuration.exportCsvFile(path);
    if (!result.ok())
        failWith(int(result.error.kind), result.error.text());
}

void ExchangeControl::replyWhenSaved(const QVariant &value, const QString &alsoNotSaved)
{
    if (!calledFromDBus())
        return;
    setDelayedReply(true);
    SavedReply::send(m_configuration.engine().store().defaults(), this, message(), connection(), value, alsoNotSaved);
}

ExchangeControl::LaterReply ExchangeControl::replyLater()
{
    LaterReply later;
    later.viaBus = calledFromDBus();
    if (later.viaBus) {
        setDelayedReply(true);
        later.call = message();
        later.bus = connection();
        later.context = this;
    }
    return later;
}

void ExchangeControl::LaterReply::replyWhenSaved(const QString &text, const QString &alsoNotSaved) const
{
    if (viaBus && context)
        SavedReply::send(context->m_configuration.engine().store().defaults(), context, call, bus, text, alsoNotSaved);
}

void ExchangeControl::LaterReply::error(const QString &name, const QString &text) const
{
    if (viaBus)
        QDBusConnection(bus).send(call.createErrorReply(name, text));
}

QString ExchangeControl::ImportCsv(const QString &path)
{
    if (!requireAbsolutePath(path))
        return {};
    const LaterReply later = replyLater();
    m_configuration.importCsvFile(path, [later](const ConfigurationManager::CsvOutcome &o) {
        const bool unsaved = o.error.kind == ErrorKind::SaveFailed;
        if (o.error.isError() && !unsaved) {
            later.error(errorName(o.error.kind), o.error.text());
            return;
        }
        const QJsonObject reply{{QStringLiteral("imported"), o.imported},
                                {QStringLiteral("skipped"), o.skipped},
                                {QStringLiteral("passwordsStored"), o.passwordsStored},
                                {QStringLiteral("passwordsFailed"), o.passwordsFailed},
                                {QStringLiteral("warnings"), QJsonArray::fromStringList(o.warnings)},
                                {QStringLiteral("title"), o.title()},
                                {QStringLiteral("summary"), o.summary()},
                                {QStringLiteral("error"), o.error.text()}};
        later.replyWhenSaved(json(reply), unsaved ? o.error.text() : QString());
    });
    return {};
}

// --- macOS build ---

QString ExchangeControl::ImportLegacy(const QString &path)
{
    if (!requireAbsolutePath(path))
        return {};
    const LaterReply later = replyLater();
    m_legacy.importFile(path, [later](const LegacyImporter::Summary &s) {
        if (!s.error.isEmpty()) {
            const bool policy = s.error == Error{ErrorKind::ImportDisabledByIT, {}}.text();
            later.error(policy ? ExchangeNames::kErrorImportDisabled : ExchangeNames::kErrorInvalidFile, s.error);
            return;
        }
        const QJsonObject reply{{QStringLiteral("sharesImported"), s.sharesImported},
                                {QStringLiteral("sharesSkipped"), s.sharesSkipped},
                                {QStringLiteral("eventsImported"), s.eventsImported},
                                {QStringLiteral("setsImported"), s.setsImported},
                                {QStringLiteral("setsSkipped"), s.setsSkipped},
                                {QStringLiteral("mappingsImported"), s.mappingsImported},
                                {QStringLiteral("settingsImported"), QJsonArray::fromStringList(s.settingsImported)},
                                {QStringLiteral("notTaken"), QJsonArray::fromStringList(s.notTaken)},
                                {QStringLiteral("passwordsMoved"), s.passwordsMoved},
                                {QStringLiteral("passwordsFailed"), s.passwordsFailed},
                                {QStringLiteral("summary"), s.text()}};
        later.replyWhenSaved(json(reply));
    });
    return {};
}

// --- Sets ---

QString ExchangeControl::ListSets()
{
    QJsonArray array;
    for (const ShareSet &set : m_sets.sets()) {
        QJsonObject o = set.toJson();
        o.insert(QStringLiteral("status"), m_sets.statusText(set));
        o.insert(QStringLiteral("busy"), m_sets.isBusy(set.id));
        array.append(o);
    }
    return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
}

QString ExchangeControl::GetSet(const QString &query)
{
    const ShareSet *set = resolveSet(query);
    if (!set)
        return {};
    QJsonObject o = set->toJson();
    o.insert(QStringLiteral("status"), m_sets.statusText(*set));
    o.insert(QStringLiteral("busy"), m_sets.isBusy(set->id));
    QJsonArray members;
    for (const VolumeRecord *r : m_sets.resolve(*set)) {
        members.append(QJsonObject{{QStringLiteral("id"), r->internal_ID_Int},
                                   {QStringLiteral("nickname"), r->nickname_String},
                                   {QStringLiteral("hostname"), r->hostname_String},
                                   {QStringLiteral("shareName"), r->volume_String},
                                   {QStringLiteral("mounted"), r->runtime_isMounted_Bool},
                                   {QStringLiteral("status"), r->runtime_status_String}});
    }
    o.insert(QStringLiteral("members"), members);
    return json(o);
}

QString ExchangeControl::CreateSet(const QString &name, const QString &icon)
{
    if (name.trimmed().isEmpty()) {
        fail(ControlNames::kErrorInvalidArgument, QStringLiteral("A set needs a name"));
        return {};
    }
    for (const ShareSet &existing : m_sets.sets()) {
        if (existing.name.compare(name.trimmed(), Qt::CaseInsensitive) == 0) {
            fail(ControlNames::kErrorDuplicate, QStringLiteral("A set named \"") + existing.name + QStringLiteral("\" exists"));
            return {};
        }
    }
    ShareSet set;
    set.name = name.trimmed();
    if (!icon.isEmpty())
        set.icon = icon;
    if (!m_sets.addSet(set)) {
        fail(ControlNames::kErrorFailed, QStringLiteral("The share sets could not be saved"));
        return {};
    }
    replyWhenSaved(ShareSet::uuidText(set.id));
    return ShareSet::uuidText(set.id);
}

void ExchangeControl::AddToSet(const QString &query, qlonglong share)
{
    const ShareSet *found = resolveSet(query);
    if (!found)
        return;
    if (!m_configuration.engine().record(share)) {
        fail(ControlNames::kErrorUnknownShare, QStringLiteral("No share with ID ") + QString::number(share));
        return;
    }
    ShareSet set = *found;
    set.shareIDs.append(share);
    if (!m_sets.updateSet(set))
        fail(ControlNames::kErrorFailed, QStringLiteral("The share sets could not be saved"));
    else
        replyWhenSaved();
}

void ExchangeControl::RemoveFromSet(const QString &query, qlonglong share)
{
    const ShareSet *found = resolveSet(query);
    if (!found)
        return;
    ShareSet set = *found;
    if (set.shareIDs.removeAll(share) == 0) {
        fail(ControlNames::kErrorUnknownShare,
             QStringLiteral("Share ") + QString::number(share) + QStringLiteral(" is not in the set ") + set.name);
        return;
    }
    if (!m_sets.updateSet(set))
        fail(ControlNames::kErrorFailed, QStringLiteral("The share sets could not be saved"));
    else
        replyWhenSaved();
}

void ExchangeControl::DeleteSet(const QString &query)
{
    const ShareSet *set = resolveSet(query);
    if (!set)
        return;
    if (set->isLocked) {
        fail(ControlNames::kErrorLocked, QStringLiteral("This set is managed by ")
                                             + (set->managedBy.isEmpty() ? QStringLiteral("IT") : set->managedBy)
                                             + QStringLiteral(" and cannot be deleted."));
        return;
    }
    if (!m_sets.deleteSet(set->id))
        fail(ControlNames::kErrorFailed, QStringLiteral("The share sets could not be saved"));
    else
        replyWhenSaved();
}

QString ExchangeControl::MountSet(const QString &query)
{
    const ShareSet *set = resolveSet(query);
    if (!set)
        return {};
    const QUuid id = set->id;
    m_sets.mountSet(id);
    return ShareSet::uuidText(id);
}

QString ExchangeControl::EjectSet(const QString &query)
{
    const ShareSet *set = resolveSet(query);
    if (!set)
        return {};
    const QUuid id = set->id;
    m_sets.ejectSet(id);
    return ShareSet::uuidText(id);
}

void ExchangeControl::ExportSet(const QString &query, const QString &path)
{
    if (!m_configuration.exportAllowed()) { // the policy goes before anything else, even an unknown set
        failWith(int(ErrorKind::ExportDisabledByIT), Error{ErrorKind::ExportDisabledByIT, {}}.text());
        return;
    }
    if (!requireAbsolutePath(path))
        return;
    const ShareSet *set = resolveSet(query);
    if (!set)
        return;
    const auto result = m_configuration.exportSetFile(set->id, path);
    if (!result.ok())
        failWith(int(result.error.kind), result.error.text());
}

QString ExchangeControl::ImportSet(const QString &path, const QString &mode)
{
    return importConfigurationFile(path, mode, true);
}
