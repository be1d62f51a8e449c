#include "LogEventManager.h"

#include "base/Console.h"
#include "base/ThreadCheck.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "platform/Clock.h"

namespace {
const QString kNotAnArrayLine =
    QStringLiteral("❌ [Persistence] Stored event log is not a list; starting with an empty log");
const QString kSkippedEntryLine = QStringLiteral("❌ [Persistence] Skipped corrupt event log entry at index ");
} // namespace

LogEventManager::LogEventManager(Defaults &defaults, NotificationCenter *center, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_center(center)
{
    reload();
}

void LogEventManager::reload()
{
    TW_ASSERT_MAIN_THREAD();
    m_events.clear();
    const QVariant stored = m_defaults.value(Preferences::Keys::LogEventArray);
    if (!stored.isValid()) {
        Q_EMIT changed();
        return;
    }
    if (stored.typeId() != QMetaType::QVariantList) {
        Console::line(kNotAnArrayLine);
        Q_EMIT changed();
        return;
    }
    // Entries are judged one by one: a damaged entry costs only itself, never the whole history.
    const QVariantList list = stored.toList();
    m_events.reserve(list.size());
    for (qsizetype i = 0; i < list.size(); ++i) {
        const QVariant &element = list.at(i);
        std::optional<LogEvent> event;
        if (element.typeId() == QMetaType::QVariantMap)
            event = LogEvent::decode(element.toMap());
        if (event)
            m_events.append(*event);
        else
            Console::line(kSkippedEntryLine + QString::number(i));
    }
    Q_EMIT changed();
}

int LogEventManager::maxNumberOfLogLines() const
{
    if (m_maxLinesOverride)
        return *m_maxLinesOverride;
    return Preferences::maxNumberOfLogLines(m_defaults);
}

QDateTime LogEventManager::now() const
{
    return m_clock ? m_clock->now() : QDateTime::currentDateTime();
}

void LogEventManager::addEvent(const LogEvent &event, int index)
{
    TW_ASSERT_MAIN_THREAD();
    LogEvent dated = event;
    if (m_clock)
        dated.eventDate = m_clock->now();
    m_events.insert(qBound(0, index, int(m_events.size())), dated);
    trim();
    persistAndNotify();
}

bool LogEventManager::trim()
{
    // A non-positive override would empty the log on every insertion; treat it as "keep one".
    const qsizetype limit = std::max(1, maxNumberOfLogLines());
    if (m_events.size() <= limit)
        return false;
    while (m_events.size() > limit) {
        if (!m_isSorted) {
            m_events.removeLast();
            continue;
        }
        // The list is in the table's sort order, not by age: remove the oldest entry, the first of equals.
        QDateTime candidate = now();
        qsizetype candidateIndex = -1;
        for (qsizetype i = 0; i < m_events.size(); ++i) {
            if (m_events.at(i).eventDate < candidate) {
                candidate = m_events.at(i).eventDate;
                candidateIndex = i;
            }
        }
        if (candidateIndex < 0)
            m_events.removeLast();
        else
            m_events.removeAt(candidateIndex);
    }
    return true;
}

bool LogEventManager::clearAll(const std::function<bool()> &confirm)
{
    TW_ASSERT_MAIN_THREAD();
    if (!confirm || !confirm())
        return false;
    m_events.clear();
    persistAndNotify();
    return true;
}

int LogEventManager::removeEventsForRecord(qint64 recordId)
{
    TW_ASSERT_MAIN_THREAD();
    const qsizetype removed = m_events.removeIf(
        [recordId](const LogEvent &event) { return event.internal_VolumeRecord_ID_Int == recordId; });
    if (removed > 0)
        persistAndNotify();
    return int(removed);
}

void LogEventManager::persistAndNotify()
{
    QVariantList list;
    list.reserve(m_events.size());
    for (const LogEvent &event : std::as_const(m_events))
        list.append(event.encode());
    // Defaults writes through and prints its own line when the file cannot be written.
    m_defaults.setValue(Preferences::Keys::LogEventArray, list);
    Q_EMIT changed();
    if (m_center)
        m_center->post(Notifications::RefreshLogEventTableView);
}
