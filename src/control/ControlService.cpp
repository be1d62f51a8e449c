#include "ControlService.h"

#include "ControlNames.h"
#include "SavedReply.h"
#include "RecordJson.h"
#include "control/Control1Adaptor.h"
#include "ShareResolver.h"
#include "UrlCommand.h"

#include "base/Defaults.h"
#include "base/DurableFile.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"
#include "logging/EnterpriseAuditLog.h"
#include "logging/LogEventManager.h"

#include <QDBusConnection>
#include <QDir>
#include <QDBusMessage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace {

constexpr int kCoalesceMs = 100;

ControlService::Error makeError(const QString &name, const QString &message)
{
    return {name, message};
}

// A JSON object from the caller's text; an error naming what is wrong otherwise.
std::optional<QJsonObject> parseObject(const QString &text, ControlService::Error *error)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(text.toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        *error = makeError(ControlNames::kErrorInvalidArgument,
                           QStringLiteral("Bad JSON: %1 at offset %2").arg(parseError.errorString()).arg(parseError.offset));
        return std::nullopt;
    }
    if (!doc.isObject()) {
        *error = makeError(ControlNames::kErrorInvalidArgument, QStringLiteral("Bad JSON: a share must be a JSON object"));
        return std::nullopt;
    }
    return doc.object();
}

std::optional<QDateTime> parseBound(const QString &text, bool *ok)
{
    *ok = true;
    if (text.trimmed().isEmpty())
        return std::nullopt;
    QDateTime dt = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
    if (!dt.isValid())
        dt = QDateTime::fromString(text.trimmed(), Qt::ISODate);
    if (!dt.isValid()) {
        *ok = false;
        return std::nullopt;
    }
    return dt;
}

// The engine's refusal as the error the caller gets.
ControlService::Error refused(const RecordRules::Refusal &refusal)
{
    const QString name = refusal.reason == RecordRules::Refusal::Reason::Locked ? ControlNames::kErrorLocked
                                                                                : ControlNames::kErrorDuplicate;
    return makeError(name, refusal.message());
}

} // namespace

ControlService::ControlService(MountEngine &engine, LogEventManager &eventLog, EnterpriseAuditLog &auditLog,
                               QObject *parent)
    : QObject(parent)
    , m_engine(engine)
    , m_eventLog(eventLog)
    , m_auditLog(auditLog)
    , m_adaptor(new Control1Adaptor(this))
{
    m_recordsChangedDelay.setSingleShot(true);
    m_recordsChangedDelay.setInterval(kCoalesceMs);
    m_eventLogChangedDelay.setSingleShot(true);
    m_eventLogChangedDelay.setInterval(kCoalesceMs);
    connect(&m_recordsChangedDelay, &QTimer::timeout, m_adaptor, &Control1Adaptor::RecordsChanged);
    connect(&m_eventLogChangedDelay, &QTimer::timeout, m_adaptor, &Control1Adaptor::EventLogChanged);

    auto recordsChanged = [this] {
        if (!m_recordsChangedDelay.isActive())
            m_recordsChangedDelay.start();
    };
    connect(&m_engine, &MountEngine::recordsChanged, this, recordsChanged);
    connect(&m_engine, &MountEngine::recordChanged, this, recordsChanged);
    connect(&m_eventLog, &LogEventManager::changed, this, [this] {
        if (!m_eventLogChangedDelay.isActive())
            m_eventLogChangedDelay.start();
    });
    connect(&m_engine, &MountEngine::mountFinished, this,
            [this](qint64 id, int code) { Q_EMIT m_adaptor->MountFinished(id, code, statusOf(id)); });
    connect(&m_engine, &MountEngine::ejectFinished, this,
            [this](qint64 id, bool ok) { Q_EMIT m_adaptor->EjectFinished(id, ok, statusOf(id)); });
    connect(&m_engine, &MountEngine::ejectAllFinished, m_adaptor, &Control1Adaptor::EjectAllFinished);
    connect(&m_engine, &MountEngine::cleanUpFinished, this,
            [this](qint64 id) { Q_EMIT m_adaptor->CleanUpFinished(id, statusOf(id)); });
}

ControlService::~ControlService() = default;

QString ControlService::version() const
{
    return QStringLiteral(TARNWELL_VERSION);
}

bool ControlService::isPaused() const
{
    return m_pause.isPaused ? m_pause.isPaused() : false;
}

const VolumeRecord *ControlService::findRecord(qint64 id, Error *error) const
{
    const VolumeRecord *record = m_engine.record(id);
    if (!record)
        *error = makeError(ControlNames::kErrorUnknownShare, QStringLiteral("Unknown share: no share has the ID %1").arg(id));
    return record;
}

QString ControlService::statusOf(qint64 id) const
{
    const VolumeRecord *record = m_engine.record(id);
    return record ? record->runtime_status_String : QString();
}

ControlService::Result<QString> ControlService::listRecords() const
{
    const bool paused = isPaused();
    QJsonArray array;
    for (const VolumeRecord &record : m_engine.store().records()) {
        RecordJson::RuntimeView runtime;
        runtime.mountInProgress = m_engine.isMountInProgress(record.internal_ID_Int);
        runtime.statusLabel = m_labeler ? m_labeler(record, paused) : record.runtime_status_String;
        array.append(RecordJson::toJson(record, runtime));
    }
    return {QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Indented)), {}};
}

ControlService::Result<QString> ControlService::getRecord(qint64 id) const
{
    Error error;
    const VolumeRecord *record = findRecord(id, &error);
    if (!record)
        return {{}, error};
    RecordJson::RuntimeView runtime;
    runtime.mountInProgress = m_engine.isMountInProgress(id);
    runtime.statusLabel = m_labeler ? m_labeler(*record, isPaused()) : record->runtime_status_String;
    return {QString::fromUtf8(QJsonDocument(RecordJson::toJson(*record, runtime)).toJson(QJsonDocument::Indented)), {}};
}

ControlService::Result<qint64> ControlService::resolveShare(const QString &query) const
{
    const ShareResolver::Resolution r = ShareResolver::resolve(m_engine.store().records(), query);
    if (r.id)
        return {*r.id, {}};
    return {0, makeError(r.ambiguous ? ControlNames::kErrorAmbiguousShare : ControlNames::kErrorUnknownShare, r.message)};
}

ControlService::Result<qint64> ControlService::addRecord(const QString &json, const QString &password)
{
    Error error;
    const auto object = parseObject(json, &error);
    if (!object)
        return {0, error};
    if (!object->contains(RecordJson::kHostname))
        return {0, makeError(ControlNames::kErrorInvalidArgument, QStringLiteral("'hostname' is required"))};

    VolumeRecord record;
    QString why;
    if (!RecordJson::apply(*object, record, &why))
        return {0, makeError(ControlNames::kErrorInvalidArgument, why)};
    record.internal_ID_Int = 0; // the engine numbers it
    if (!password.isEmpty())
        CredentialStore::setPassword(record, password); // the engine writes it to the secret store
    const MountEngine::UserChange added = m_engine.addUserRecord(record);
    if (added.refusal)
        return {0, refused(*added.refusal)};
    return {added.id, {}};
}

ControlService::Result<ControlService::Done> ControlService::editRecord(qint64 id, const QString &json)
{
    Error error;
    const VolumeRecord *live = findRecord(id, &error);
    if (!live)
        return {{}, error};
    const auto object = parseObject(json, &error);
    if (!object)
        return {{}, error};
    VolumeRecord edited = *live;
    QString why;
    if (!RecordJson::apply(*object, edited, &why))
        return {{}, makeError(ControlNames::kErrorInvalidArgument, why)};
    if (const MountEngine::UserChange change = m_engine.editUserRecord(edited); change.refusal)
        return {{}, refused(*change.refusal)};
    return {};
}

ControlService::Result<ControlService::Done> ControlService::setPassword(qint64 id, const QString &password)
{
    Error error;
    const VolumeRecord *live = findRecord(id, &error);
    if (!live)
        return {{}, error};
    VolumeRecord edited = *live;
    CredentialStore::setPassword(edited, password);
    // The engine writes the cached password back to the secret store.
    if (const MountEngine::UserChange change = m_engine.editUserRecord(edited); change.refusal)
        return {{}, refused(*change.refusal)};
    return {};
}

ControlService::Result<ControlService::Done> ControlService::removeRecord(qint64 id)
{
    Error error;
    if (!findRecord(id, &error))
        return {{}, error};
    const MountEngine::RemoveResult result = m_engine.removeRecord(id);
    if (!result.removed)
        return {{}, makeError(ControlNames::kErrorLocked, result.alertTitle + QStringLiteral(": ") + result.alertText)};
    return {};
}

ControlService::Result<ControlService::Done> ControlService::mount(qint64 id)
{
    Error error;
    if (!findRecord(id, &error))
        return {{}, error};
    m_engine.mount(id, /*allowUI=*/true);
    return {};
}

ControlService::Result<ControlService::Done> ControlService::eject(qint64 id)
{
    Error error;
    if (!findRecord(id, &error))
        return {{}, error};
    m_engine.eject(id, /*partOfEjectAll=*/false, /*userInitiated=*/true);
    return {};
}

ControlService::Result<ControlService::Done> ControlService::ejectAll()
{
    m_engine.ejectAll();
    return {};
}

ControlService::Result<ControlService::Done> ControlService::cleanUp(qint64 id)
{
    Error error;
    if (!findRecord(id, &error))
        return {{}, error};
    m_engine.cleanUp(id);
    return {};
}

void ControlService::verify(qint64 id, std::function<void(Result<bool>)> done)
{
    Error error;
    if (!findRecord(id, &error)) {
        done({false, error});
        return;
    }
    m_engine.verify(id, [done](bool connected) { done({connected, {}}); });
}

ControlService::Result<ControlService::Done> ControlService::pause()
{
    if (!m_pause.pause)
        return {{}, makeError(ControlNames::kErrorNotAvailable, kNotAvailable.arg(QStringLiteral("Pausing auto-mount")))};
    if (!m_pause.pause())
        return {{}, makeError(ControlNames::kErrorFailed, kNothingToPause)};
    return {};
}

ControlService::Result<ControlService::Done> ControlService::resume()
{
    if (!m_pause.resume)
        return {{}, makeError(ControlNames::kErrorNotAvailable, kNotAvailable.arg(QStringLiteral("Resuming auto-mount")))};
    m_pause.resume();
    return {};
}

QJsonArray ControlService::eventArray(int limit) const
{
    QJsonArray array;
    const QList<LogEvent> &events = m_eventLog.events();
    const qsizetype count = limit > 0 ? qMin<qsizetype>(limit, events.size()) : events.size();
    for (qsizetype i = 0; i < count; ++i)
        array.append(RecordJson::eventToJson(events.at(i)));
    return array;
}

ControlService::Result<QString> ControlService::exportAudit(const QString &format, const QString &since,
                                                            const QString &until) const
{
    bool ok = true;
    const auto start = parseBound(since, &ok);
    if (!ok)
        return {{}, makeError(ControlNames::kErrorInvalidArgument, QStringLiteral("Not an ISO 8601 date: '%1'").arg(since))};
    const auto end = parseBound(until, &ok);
    if (!ok)
        return {{}, makeError(ControlNames::kErrorInvalidArgument, QStringLiteral("Not an ISO 8601 date: '%1'").arg(until))};
    const QString f = format.trimmed().toLower();
    if (f == QLatin1String("csv"))
        return {m_auditLog.exportCSV(start, end), {}};
    if (f == QLatin1String("json")) {
        const auto data = m_auditLog.exportJSON(start, end);
        if (!data)
            return {{}, makeError(ControlNames::kErrorFailed, QStringLiteral("The audit log could not be encoded as JSON"))};
        return {QString::fromUtf8(*data), {}};
    }
    return {{}, makeError(ControlNames::kErrorInvalidArgument,
                          QStringLiteral("Unknown audit export format '%1' (use csv or json)").arg(format))};
}

void ControlService::writeExport(const QString &path, const std::function<Result<ExportText>()> &make,
                                 std::function<void(Result<int>)> done)
{
    if (!QDir::isAbsolutePath(path)) {
        done({0, makeError(ControlNames::kErrorInvalidArgument, QStringLiteral("The export path must be absolute: '%1'").arg(path))});
        return;
    }
    const Result<ExportText> made = make();
    if (!made.ok()) {
        done({0, made.error});
        return;
    }
    m_exportPool.start([this, path, bytes = made.value.text.toUtf8(), entries = made.value.entries, done] {
        const DurableFile::Result written = DurableFile::write(path, bytes, 0600, /*createFolder=*/false);
        const Result<int> result = written.ok ? Result<int>{entries, {}}
                                              : Result<int>{0, makeError(ControlNames::kErrorFailed,
                                                                         QStringLiteral("Cannot write %1: %2").arg(path, written.error))};
        QMetaObject::invokeMethod(this, [done, result] { done(result); }, Qt::QueuedConnection);
    });
}

void ControlService::exportAuditToFile(const QString &format, const QString &since, const QString &until,
                                       const QString &path, std::function<void(Result<int>)> done)
{
    writeExport(path, [&]() -> Result<ExportText> {
        const Result<QString> text = exportAudit(format, since, until);
        if (!text.ok())
            return {{}, text.error};
        bool ok = true;
        return {{text.value, int(m_auditLog.filtered(parseBound(since, &ok), parseBound(until, &ok)).size())}, {}};
    }, std::move(done));
}

void ControlService::exportEventLogToFile(int limit, const QString &path, std::function<void(Result<int>)> done)
{
    writeExport(path, [&]() -> Result<ExportText> {
        const QJsonArray events = eventArray(limit);
        return {{QString::fromUtf8(QJsonDocument(events).toJson(QJsonDocument::Indented)), int(events.size())}, {}};
    }, std::move(done));
}

ControlService::Result<ControlService::Done> ControlService::handleUrl(const QString &url)
{
    QString why;
    const auto command = UrlCommand::parse(url, &why);
    if (!command)
        return {{}, makeError(ControlNames::kErrorInvalidArgument, why)};
    qint64 id = 0;
    if (!command->share.isEmpty()) {
        const auto resolved = resolveShare(command->share);
        if (!resolved.ok())
            return {{}, resolved.error};
        id = resolved.value;
    }
    switch (command->action) {
    case UrlCommand::Action::Mount:
        return mount(id);
    case UrlCommand::Action::Eject:
        return eject(id);
    case UrlCommand::Action::EjectAll:
        return ejectAll();
    case UrlCommand::Action::Pause:
        return pause();
    case UrlCommand::Action::Resume:
        return resume();
    case UrlCommand::Action::Show:
        if (m_show)
            m_show();
        return {};
    }
    return {};
}

// --- D-Bus ---

void ControlService::reply(const Error &error)
{
    if (!error.name.isEmpty() && calledFromDBus())
        sendErrorReply(error.name, error.message);
}

void ControlService::replyWhenSaved(const QVariant &value)
{
    if (!calledFromDBus())
        return;
    setDelayedReply(true);
    SavedReply::send(m_engine.store().defaults(), this, message(), connection(), value);
}

template <typename T>
std::function<void(const ControlService::Result<T> &)> ControlService::replyLater()
{
    if (!calledFromDBus())
        return [](const Result<T> &) {};
    setDelayedReply(true);
    return [call = message(), bus = connection()](const Result<T> &r) {
        QDBusConnection(bus).send(r.ok() ? call.createReply(QVariant::fromValue(r.value))
                                         : call.createErrorReply(r.error.name, r.error.message));
    };
}
template std::function<void(const ControlService::Result<QString> &)> ControlService::replyLater<QString>();

QString ControlService::ListRecords()
{
    const auto r = listRecords();
    reply(r.error);
    return r.value;
}

QString ControlService::GetRecord(qlonglong id)
{
    const auto r = getRecord(id);
    reply(r.error);
    return r.value;
}

qlonglong ControlService::ResolveShare(const QString &query)
{
    const auto r = resolveShare(query);
    reply(r.error);
    return r.value;
}

qlonglong ControlService::AddRecord(const QString &record, const QString &password)
{
    const auto r = addRecord(record, password);
    if (r.ok())
        replyWhenSaved(QVariant::fromValue<qlonglong>(r.value));
    reply(r.error);
    return r.value;
}

void ControlService::EditRecord(qlonglong id, const QString &record)
{
    const auto r = editRecord(id, record);
    if (r.ok())
        replyWhenSaved();
    reply(r.error);
}

void ControlService::SetPassword(qlonglong id, const QString &password)
{
    const auto r = setPassword(id, password);
    if (r.ok())
        replyWhenSaved();
    reply(r.error);
}

void ControlService::RemoveRecord(qlonglong id)
{
    const auto r = removeRecord(id);
    if (r.ok())
        replyWhenSaved();
    reply(r.error);
}

void ControlService::Mount(qlonglong id)
{
    reply(mount(id).error);
}

void ControlService::Eject(qlonglong id)
{
    reply(eject(id).error);
}

void ControlService::EjectAll()
{
    reply(ejectAll().error);
}

void ControlService::CleanUp(qlonglong id)
{
    reply(cleanUp(id).error);
}

bool ControlService::Verify(qlonglong id)
{
    // Answered when the bounded check ends; the bus call waits for it.
    verify(id, replyLater<bool>());
    return false;
}

void ControlService::Pause()
{
    reply(pause().error);
}

void ControlService::Resume()
{
    reply(resume().error);
}

QString ControlService::ExportAudit(const QString &format, const QString &since, const QString &until)
{
    const auto r = exportAudit(format, since, until);
    reply(r.error);
    return r.value;
}

int ControlService::ExportAuditToFile(const QString &format, const QString &since, const QString &until,
                                      const QString &path)
{
    // Answered once the file is written; the bus call waits for it.
    exportAuditToFile(format, since, until, path, replyLater<int>());
    return 0;
}

int ControlService::ExportEventLogToFile(int limit, const QString &path)
{
    exportEventLogToFile(limit, path, replyLater<int>());
    return 0;
}

void ControlService::HandleUrl(const QString &url)
{
    reply(handleUrl(url).error);
}
