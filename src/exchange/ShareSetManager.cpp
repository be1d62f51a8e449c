#include "ShareSetManager.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "core/MountEngine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

ShareSetManager::ShareSetManager(Defaults &defaults, MountEngine &engine, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_engine(engine)
{
    load();
    m_knownIds = currentIds();
    connect(&m_engine, &MountEngine::recordsChanged, this, &ShareSetManager::onRecordsChanged);
    connect(&m_engine, &MountEngine::mountFinished, this, [this](qint64 id, int) {
        const VolumeRecord *r = m_engine.record(id);
        memberEnded(id, r && r->runtime_isMounted_Bool, Operation::Mount);
    });
    connect(&m_engine, &MountEngine::ejectFinished, this,
            [this](qint64 id, bool ok) { memberEnded(id, ok, Operation::Eject); });
}

ShareSetManager::~ShareSetManager() = default;

const ShareSet *ShareSetManager::find(const QUuid &id) const
{
    for (const ShareSet &set : m_sets) {
        if (set.id == id)
            return &set;
    }
    return nullptr;
}

const ShareSet *ShareSetManager::findByIdOrName(const QString &query) const
{
    const QUuid id = QUuid::fromString(query.trimmed());
    if (!id.isNull()) {
        if (const ShareSet *set = find(id))
            return set;
    }
    for (const ShareSet &set : m_sets) {
        if (set.name == query)
            return &set;
    }
    for (const ShareSet &set : m_sets) {
        if (set.name.compare(query, Qt::CaseInsensitive) == 0)
            return &set;
    }
    return nullptr;
}

void ShareSetManager::load()
{
    m_sets.clear();
    if (!m_defaults.contains(kSaveKey))
        return;
    const std::optional<QByteArray> bytes = m_defaults.data(kSaveKey);
    if (!bytes) {
        Console::line(kLoadFailedLine + QStringLiteral("the stored value is not data"));
        return;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isArray()) {
        Console::line(kLoadFailedLine
                      + (parseError.error != QJsonParseError::NoError ? parseError.errorString()
                                                                       : QStringLiteral("not an array of sets")));
        return;
    }
    QList<ShareSet> loaded;
    for (const QJsonValue &value : document.array()) {
        QString error;
        const std::optional<ShareSet> set = ShareSet::fromJson(value.toObject(), &error);
        if (!set) {
            // All or nothing, as a decoder of the whole list would: a damaged list is not half-loaded.
            Console::line(kLoadFailedLine + error);
            return;
        }
        loaded.append(*set);
    }
    m_sets = loaded;
    Console::line(kLoadedLine.arg(m_sets.size()));
}

bool ShareSetManager::save()
{
    QJsonArray array;
    for (const ShareSet &set : std::as_const(m_sets))
        array.append(set.toJson());
    const QByteArray bytes = QJsonDocument(array).toJson(QJsonDocument::Compact);
    if (!m_defaults.setValue(kSaveKey, bytes)) {
        Console::line(kSaveFailedLine + QStringLiteral("the preferences refused the value"));
        return false;
    }
    Console::line(kSavedLine.arg(m_sets.size()));
    Q_EMIT setsChanged();
    return true;
}

bool ShareSetManager::addSet(const ShareSet &set)
{
    m_sets.append(set);
    return save();
}

bool ShareSetManager::updateSet(const ShareSet &set)
{
    for (ShareSet &existing : m_sets) {
        if (existing.id == set.id) {
            existing = set;
            return save();
        }
    }
    return false;
}

bool ShareSetManager::deleteSet(const QUuid &id)
{
    const qsizetype removed = m_sets.removeIf([&id](const ShareSet &set) { return set.id == id; });
    if (removed == 0)
        return false;
    m_operations.remove(id);
    return save();
}

void ShareSetManager::removeShareFromAllSets(qint64 shareId)
{
    bool changed = false;
    for (ShareSet &set : m_sets)
        changed |= set.shareIDs.removeAll(shareId) > 0;
    if (changed)
        save();
}

bool ShareSetManager::setSets(const QList<ShareSet> &sets)
{
    m_sets = sets;
    return save();
}

QList<const VolumeRecord *> ShareSetManager::resolve(const ShareSet &set) const
{
    QList<const VolumeRecord *> records;
    for (qint64 id : set.shareIDs) {
        if (const VolumeRecord *record = m_engine.record(id))
            records.append(record);
    }
    return records;
}

QString ShareSetManager::statusText(const ShareSet &set) const
{
    const QList<const VolumeRecord *> records = resolve(set);
    const qsizetype total = records.size();
    const qsizetype mounted =
        std::count_if(records.cbegin(), records.cend(), [](const VolumeRecord *r) { return r->runtime_isMounted_Bool; });
    if (mounted == 0)
        return kStatusNone;
    if (mounted == total)
        return kStatusAll;
    return kStatusSome.arg(mounted).arg(total);
}

bool ShareSetManager::mountSet(const QUuid &id)
{
    return startOperation(id, Operation::Mount);
}

bool ShareSetManager::ejectSet(const QUuid &id)
{
    return startOperation(id, Operation::Eject);
}

bool ShareSetManager::startOperation(const QUuid &id, Operation operation)
{
    const ShareSet *set = find(id);
    if (!set)
        return false;
    Run run;
    run.operation = operation;
    QSet<qint64> seen;
    for (const VolumeRecord *record : resolve(*set)) {
        const qint64 recordId = record->internal_ID_Int;
        if (seen.contains(recordId))
            continue;
        seen.insert(recordId);
        const bool busy = m_engine.isMountInProgress(recordId) || m_engine.isEjectInProgress(recordId);
        const bool done = operation == Operation::Mount ? record->runtime_isMounted_Bool : !record->runtime_isMounted_Bool;
        if (busy || done)
            ++run.skipped;
        else
            run.queue.append(recordId);
    }
    m_operations.insert(id, run);
    pump(id);
    if (run.queue.isEmpty()) {
        // Finish on the next turn, so a caller that connects after starting still hears of it.
        QMetaObject::invokeMethod(this, [this, id] { finishIfDone(id); }, Qt::QueuedConnection);
    }
    return true;
}

void ShareSetManager::pump(const QUuid &id)
{
    auto it = m_operations.find(id);
    if (it == m_operations.end())
        return;
    while (!it->queue.isEmpty() && it->running.size() < kParallelMembers) {
        const qint64 recordId = it->queue.takeFirst();
        if (!m_engine.record(recordId))
            continue; // removed meanwhile
        it->running.insert(recordId);
        ++it->started;
        if (it->operation == Operation::Mount)
            m_engine.mount(recordId, false);
        else
            m_engine.eject(recordId, false, true);
        it = m_operations.find(id); // the engine may have answered synchronously
        if (it == m_operations.end())
            return;
    }
}

void ShareSetManager::memberEnded(qint64 recordId, bool ok, Operation operation)
{
    const QList<QUuid> ids = m_operations.keys();
    for (const QUuid &id : ids) {
        auto it = m_operations.find(id);
        if (it == m_operations.end() || it->operation != operation || !it->running.remove(recordId))
            continue;
        if (ok)
            ++it->succeeded;
        pump(id);
        finishIfDone(id);
    }
}

void ShareSetManager::finishIfDone(const QUuid &id)
{
    auto it = m_operations.find(id);
    if (it == m_operations.end() || !it->queue.isEmpty() || !it->running.isEmpty())
        return;
    const Run run = *it;
    m_operations.erase(it);
    Q_EMIT operationFinished(id, run.operation, run.started, run.succeeded, run.skipped);
}

QSet<qint64> ShareSetManager::currentIds() const
{
    QSet<qint64> ids;
    for (const VolumeRecord &record : m_engine.store().records())
        ids.insert(record.internal_ID_Int);
    return ids;
}

void ShareSetManager::onRecordsChanged()
{
    const QSet<qint64> now = currentIds();
    QList<qint64> gone;
    for (qint64 id : std::as_const(m_knownIds)) {
        if (!now.contains(id))
            gone.append(id);
    }
    m_knownIds = now;
    bool changed = false;
    for (ShareSet &set : m_sets) {
        for (qint64 id : std::as_const(gone))
            changed |= set.shareIDs.removeAll(id) > 0;
    }
    if (changed)
        save();
    // A member removed while its set was mounting or ejecting will never report back.
    for (qint64 id : std::as_const(gone)) {
        for (auto it = m_operations.begin(); it != m_operations.end(); ++it) {
            it->running.remove(id);
            it->queue.removeAll(id);
        }
    }
    for (const QUuid &id : m_operations.keys())
        finishIfDone(id);
}
