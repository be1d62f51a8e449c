#include "Defaults.h"

#include "BoundedFile.h"
#include "Console.h"
#include "DurableFile.h"
#include "Paths.h"
#include "PropertyList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QDeadlineTimer>
#include <QMultiHash>

namespace {
// Live instances by file, so a new reader of a file first waits for the writes a live one has pending.
QMutex s_registryMutex;
QMultiHash<QString, Defaults *> s_registry;
} // namespace

Defaults::Defaults(QString filePath)
    : m_filePath(std::move(filePath))
{
    {
        QMutexLocker registryLock(&s_registryMutex);
        for (Defaults *other : s_registry.values(m_filePath))
            other->flush();
        s_registry.insert(m_filePath, this);
    }
    {
        QMutexLocker lock(&m_mutex);
        loadLocked();
    }
    m_writer = std::thread([this] { writerLoop(); });
}

Defaults::~Defaults()
{
    {
        QMutexLocker registryLock(&s_registryMutex);
        s_registry.remove(m_filePath, this);
    }
    {
        QMutexLocker lock(&m_mutex);
        m_stopping = true;
        m_changed.wakeAll();
    }
    m_writer.join(); // the loop writes what is pending before it ends
}

QString Defaults::standardFilePath()
{
    return Paths::configDir() + QLatin1Char('/') + QLatin1String(Paths::kBundleId) + QLatin1String(".plist");
}

void Defaults::reload()
{
    {
        // Like opening a new instance: what any live instance of this file has pending lands first.
        QMutexLocker registryLock(&s_registryMutex);
        for (Defaults *instance : s_registry.values(m_filePath))
            instance->flush();
    }
    QMutexLocker lock(&m_mutex);
    loadLocked();
}

void Defaults::flush()
{
    QMutexLocker lock(&m_mutex);
    const quint64 target = m_generation;
    while (m_attempted < target)
        m_changed.wait(&m_mutex);
}

quint64 Defaults::generation() const
{
    QMutexLocker lock(&m_mutex);
    return m_generation;
}

QString Defaults::lastSaveError() const
{
    QMutexLocker lock(&m_mutex);
    return m_lastError;
}

void Defaults::setRetryInterval(int milliseconds)
{
    QMutexLocker lock(&m_mutex);
    m_retryMs = milliseconds;
    m_changed.wakeAll();
}

void Defaults::whenSaved(quint64 generation, QObject *context, SavedCallback done)
{
    QMutexLocker lock(&m_mutex);
    m_waiters.append({generation, context, std::move(done)});
    notifyWaitersLocked();
}

void Defaults::notifyWaitersLocked()
{
    for (qsizetype i = 0; i < m_waiters.size();) {
        const Waiter &waiter = m_waiters.at(i);
        if (waiter.generation > m_attempted) {
            ++i;
            continue;
        }
        const QString error = m_saved >= waiter.generation ? QString() : m_lastError;
        if (QObject *context = waiter.context.data())
            QMetaObject::invokeMethod(context, [done = waiter.done, error] { done(error); }, Qt::QueuedConnection);
        m_waiters.removeAt(i);
    }
}

void Defaults::loadLocked()
{
    m_values.clear();
    DurableFile::removeLeftovers(m_filePath);
    DurableFile::makePrivate(m_filePath);
    if (!QFileInfo::exists(m_filePath))
        return;
    const BoundedFile::Content content = BoundedFile::read(m_filePath, BoundedFile::kStoreLimit);
    if (!content.ok && !content.tooLarge) {
        Console::line(QStringLiteral("⚠️ [Persistence] Could not read preferences file ") + m_filePath + QStringLiteral(": ")
                      + content.error);
        return;
    }
    const std::optional<QVariant> root = content.ok ? PropertyList::parse(content.bytes) : std::nullopt;
    if (root && root->metaType().id() == QMetaType::QVariantMap) {
        m_values = root->toMap();
        m_readOnly = false;
        return;
    }
    const QString problem = content.ok ? QStringLiteral("is not a valid property list")
                                       : QStringLiteral("is ") + content.error;
    // Keep the damaged file for inspection instead of overwriting it with the next write.
    const QString stem = m_filePath + QStringLiteral(".corrupt-")
                         + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddTHHmmss"));
    // rename() never replaces: a second damaged file in the same second gets a numbered name.
    QString aside = stem;
    for (int n = 2; QFileInfo::exists(aside) && n < 1000; ++n)
        aside = stem + QLatin1Char('-') + QString::number(n);
    if (QFile::rename(m_filePath, aside)) {
        Console::line(QStringLiteral("⚠️ [Persistence] Preferences file ") + problem + QStringLiteral("; moved aside to ")
                      + aside);
        return;
    }
    // Could not keep it aside: refuse to write over it, so the damaged file is never silently replaced.
    m_readOnly = true;
    Console::line(QStringLiteral("❌ [Persistence] Preferences file ") + problem
                  + QStringLiteral(" and could not be moved aside; changes will not be saved until it is removed: ")
                  + m_filePath);
}

bool Defaults::contains(const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    return m_values.contains(key);
}

QVariant Defaults::value(const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    return m_values.value(key);
}

std::optional<qint64> Defaults::integer(const QString &key) const
{
    const QVariant v = value(key);
    if (!PropertyList::isInteger(v))
        return std::nullopt;
    return v.toLongLong();
}

std::optional<bool> Defaults::boolean(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::Bool)
        return std::nullopt;
    return v.toBool();
}

std::optional<QString> Defaults::string(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QString)
        return std::nullopt;
    return v.toString();
}

std::optional<QDateTime> Defaults::date(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QDateTime)
        return std::nullopt;
    return v.toDateTime();
}

std::optional<QByteArray> Defaults::data(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QByteArray)
        return std::nullopt;
    return v.toByteArray();
}

std::optional<QVariantList> Defaults::array(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QVariantList && v.metaType().id() != QMetaType::QStringList)
        return std::nullopt;
    return v.toList();
}

std::optional<QVariantMap> Defaults::dictionary(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QVariantMap)
        return std::nullopt;
    return v.toMap();
}

bool Defaults::setValue(const QString &key, const QVariant &value)
{
    if (!PropertyList::isSerializable(value)) {
        Console::line(QStringLiteral("⚠️ [Persistence] Value for '") + key
                      + QStringLiteral("' has no property-list form; not stored"));
        return false;
    }
    QMutexLocker lock(&m_mutex);
    m_values.insert(key, PropertyList::isInteger(value) ? QVariant(value.toLongLong()) : value);
    scheduleWriteLocked();
    return true;
}

bool Defaults::remove(const QString &key)
{
    QMutexLocker lock(&m_mutex);
    if (m_values.remove(key) == 0)
        return true;
    scheduleWriteLocked();
    return true;
}

void Defaults::scheduleWriteLocked()
{
    ++m_generation;
    m_changed.wakeAll();
}

void Defaults::writerLoop()
{
    QMutexLocker lock(&m_mutex);
    QDeadlineTimer retryAt(QDeadlineTimer::Forever);
    for (;;) {
        if (m_attempted == m_generation) {
            if (m_stopping)
                return; // everything was attempted; a failure was reported when it happened
            const bool failing = m_saved < m_attempted;
            if (!failing) {
                m_changed.wait(&m_mutex);
                continue;
            }
            if (!retryAt.hasExpired()) {
                m_changed.wait(&m_mutex, retryAt);
                continue;
            }
        }
        const quint64 generation = m_generation;
        const QVariantMap snapshot = m_values; // implicitly shared: cheap to take under the lock
        lock.unlock();
        const QString error = writeSnapshot(snapshot);
        lock.relock();
        m_attempted = generation;
        if (error.isEmpty()) {
            m_saved = generation;
            if (!m_lastError.isEmpty())
                Console::line(QStringLiteral("✅ [Persistence] Preferences saved again: ") + m_filePath);
            m_lastError.clear();
        } else {
            // One line per reason, not one per retry.
            if (error != m_lastError)
                Console::line(QStringLiteral("❌ [Persistence] Preferences not saved (kept in memory, retried): ")
                              + error);
            m_lastError = error;
            retryAt = QDeadlineTimer(m_retryMs);
        }
        notifyWaitersLocked();
        m_changed.wakeAll();
    }
}

QString Defaults::writeSnapshot(const QVariantMap &values) const
{
    if (m_readOnly)
        return QStringLiteral("the damaged file ") + m_filePath + QStringLiteral(" is still in place");
    const QByteArray bytes = PropertyList::serializeXml(QVariant(values), m_xmlCache);
    if (bytes.isEmpty())
        return QStringLiteral("a value has no property-list form");
    const DurableFile::Result result = DurableFile::write(m_filePath, bytes, 0600);
    if (!result.ok)
        return result.error + QStringLiteral(" (") + m_filePath + QLatin1Char(')');
    return {};
}
