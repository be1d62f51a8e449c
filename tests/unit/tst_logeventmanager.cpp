// LogEventManager: insertion, trimming in both modes, persistence, corrupt stores, clear-all.
#include "app/Console.h"
#include "app/Defaults.h"
#include "app/NotificationCenter.h"
#include "app/Preferences.h"
#include "logging/LogEventManager.h"

#include <QMutex>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

LogEvent makeEvent(int n, const QDateTime &date = QDateTime::currentDateTime(), qint64 recordId = 1)
{
    LogEvent event(recordId, QStringLiteral("host"), QStringLiteral("share"), QStringLiteral("/mnt"),
                   QStringLiteral("status"), EVENT_TYPE_ENUM::MANUAL_MOUNT, QString::number(n));
    event.eventDate = date;
    return event;
}

// Stores events directly, as an earlier run would have left them (index 0 = newest).
void seed(Defaults &defaults, const QList<LogEvent> &events)
{
    QVariantList list;
    for (const LogEvent &event : events)
        list.append(event.encode());
    QVERIFY(defaults.setValue(Preferences::Keys::LogEventArray, list));
}

QStringList messages(const QList<LogEvent> &events)
{
    QStringList out;
    for (const LogEvent &event : events)
        out.append(event.eventMessage);
    return out;
}

struct ConsoleCapture
{
    ConsoleCapture()
    {
        Console::setSink([this](const QString &text) {
            QMutexLocker lock(&mutex);
            lines.append(text);
        });
    }
    ~ConsoleCapture() { Console::setSink({}); }
    QStringList taken()
    {
        QMutexLocker lock(&mutex);
        return lines;
    }
    QMutex mutex;
    QStringList lines;
};

} // namespace

class TestLogEventManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void emptyWhenNothingStored();
    void insertsNewestFirstAndPersists();
    void trimAtLimit_data();
    void trimAtLimit();
    void loweringLimitTrimsOnNextInsertion();
    void trimChoosesVictim_data();
    void trimChoosesVictim();
    void corruptStoreSkipsEntries();
    void storedValueNotAList();
    void clearAll_data();
    void clearAll();
    void removeEventsForRecord();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Defaults> m_defaults;
    std::unique_ptr<NotificationCenter> m_center;
    std::unique_ptr<QSignalSpy> m_posted;

    int refreshCount() const
    {
        int n = 0;
        for (const auto &args : *m_posted)
            n += args.at(0).toString() == Notifications::RefreshLogEventTableView ? 1 : 0;
        return n;
    }
    // What a fresh start would read from the file.
    QStringList storedMessages() const
    {
        Defaults fresh(m_defaults->filePath());
        LogEventManager reloaded(fresh, nullptr);
        return messages(reloaded.events());
    }
};

void TestLogEventManager::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_defaults = std::make_unique<Defaults>(m_dir->filePath(QStringLiteral("prefs.plist")));
    m_center = std::make_unique<NotificationCenter>();
    m_posted = std::make_unique<QSignalSpy>(m_center.get(), &NotificationCenter::posted);
}

void TestLogEventManager::cleanup()
{
    m_posted.reset();
    m_center.reset();
    m_defaults.reset();
    m_dir.reset();
}

void TestLogEventManager::emptyWhenNothingStored()
{
    LogEventManager manager(*m_defaults, m_center.get());
    QVERIFY(manager.events().isEmpty());
    QVERIFY(!m_defaults->contains(Preferences::Keys::LogEventArray));
    QCOMPARE(refreshCount(), 0);
}

void TestLogEventManager::insertsNewestFirstAndPersists()
{
    LogEventManager manager(*m_defaults, m_center.get());
    QSignalSpy changed(&manager, &LogEventManager::changed);
    manager.addEvent(makeEvent(1));
    manager.addEvent(makeEvent(2));
    manager.addEvent(makeEvent(3), 99); // out of range: clamped to the end, never a crash
    QCOMPARE(messages(manager.events()), (QStringList{QStringLiteral("2"), QStringLiteral("1"), QStringLiteral("3")}));
    QCOMPARE(refreshCount(), 3);
    QCOMPARE(changed.count(), 3);
    QCOMPARE(storedMessages(), messages(manager.events()));

    // The stored form is a native array of dictionaries, with the event kind by raw value.
    const auto stored = m_defaults->array(Preferences::Keys::LogEventArray);
    QVERIFY(stored);
    QCOMPARE(stored->size(), 3);
    QCOMPARE(stored->at(0).toMap().value(LogEvent::kKeyEventType).toString(), QStringLiteral("MANUAL_MOUNT"));

    // Dates survive the file with the precision the views show.
    Defaults fresh(m_defaults->filePath());
    LogEventManager reloaded(fresh, nullptr);
    QCOMPARE(reloaded.events().at(0).timestampText(), manager.events().at(0).timestampText());
}

void TestLogEventManager::trimAtLimit_data()
{
    QTest::addColumn<QVariant>("storedLimit");        // invalid: never written
    QTest::addColumn<std::optional<int>>("override"); // the delegate's copy
    QTest::addColumn<int>("expectedLimit");

    QTest::newRow("default 2000") << QVariant() << std::optional<int>() << 2000;
    QTest::newRow("stored 10") << QVariant(qint64(10)) << std::optional<int>() << 10;
    QTest::newRow("stored as string: default") << QVariant(QStringLiteral("10")) << std::optional<int>() << 2000;
    QTest::newRow("delegate copy wins") << QVariant(qint64(10)) << std::optional<int>(25) << 25;
}

void TestLogEventManager::trimAtLimit()
{
    QFETCH(QVariant, storedLimit);
    QFETCH(std::optional<int>, override);
    QFETCH(int, expectedLimit);

    if (storedLimit.isValid())
        m_defaults->setValue(Preferences::Keys::MaxNumberOfLogLines, storedLimit);

    // A full log as a previous run left it: message "k" is the k-th insertion, newest first.
    QList<LogEvent> full;
    const QDateTime base = QDateTime::currentDateTime().addDays(-1);
    for (int k = expectedLimit; k >= 1; --k)
        full.append(makeEvent(k, base.addSecs(k)));
    seed(*m_defaults, full);

    LogEventManager manager(*m_defaults, m_center.get());
    manager.setMaxNumberOfLogLines(override);
    QCOMPARE(manager.maxNumberOfLogLines(), expectedLimit);
    QCOMPARE(manager.events().size(), expectedLimit);

    manager.addEvent(makeEvent(expectedLimit + 1));
    QCOMPARE(manager.events().size(), expectedLimit);
    QCOMPARE(manager.events().first().eventMessage, QString::number(expectedLimit + 1));
    QCOMPARE(manager.events().last().eventMessage, QStringLiteral("2")); // "1", the oldest, is gone
    QCOMPARE(storedMessages(), messages(manager.events()));
}

void TestLogEventManager::loweringLimitTrimsOnNextInsertion()
{
    LogEventManager manager(*m_defaults, m_center.get());
    for (int k = 1; k <= 20; ++k)
        manager.addEvent(makeEvent(k));
    QCOMPARE(manager.events().size(), 20);

    m_defaults->setValue(Preferences::Keys::MaxNumberOfLogLines, qint64(10));
    QCOMPARE(manager.events().size(), 20); // nothing happens until the next insertion
    QCOMPARE(storedMessages().size(), 20);

    manager.addEvent(makeEvent(21));
    QCOMPARE(manager.events().size(), 10);
    QCOMPARE(manager.events().first().eventMessage, QStringLiteral("21"));
    QCOMPARE(manager.events().last().eventMessage, QStringLiteral("12"));
    QCOMPARE(storedMessages().size(), 10);
}

void TestLogEventManager::trimChoosesVictim_data()
{
    QTest::addColumn<bool>("sorted");
    QTest::addColumn<QList<int>>("ageMinutes"); // per stored entry, in list order; negative = in the future
    QTest::addColumn<QString>("expected");  // messages after inserting "new" at the front, limit 3

    // Stored entries are named a, b, c in list order.
    QTest::newRow("insertion order: last goes") << false << QList<int>{30, 10, 20}
                                                << QStringLiteral("new,a,b");
    QTest::newRow("sorted: oldest goes") << true << QList<int>{10, 30, 20} << QStringLiteral("new,a,c");
    QTest::newRow("sorted: first of equal oldest goes") << true << QList<int>{10, 30, 30}
                                                        << QStringLiteral("new,a,c");
    QTest::newRow("sorted: nothing older than now, last goes") << true << QList<int>{-10, -20, -30}
                                                               << QStringLiteral("new,a,b");
}

void TestLogEventManager::trimChoosesVictim()
{
    QFETCH(bool, sorted);
    QFETCH(QList<int>, ageMinutes);
    QFETCH(QString, expected);

    const QDateTime now = QDateTime::currentDateTime();
    QList<LogEvent> stored;
    const QStringList names{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    for (int i = 0; i < 3; ++i) {
        LogEvent event = makeEvent(0, now.addSecs(-60 * ageMinutes.at(i)));
        event.eventMessage = names.at(i);
        stored.append(event);
    }
    seed(*m_defaults, stored);
    m_defaults->setValue(Preferences::Keys::MaxNumberOfLogLines, qint64(3));

    LogEventManager manager(*m_defaults, m_center.get());
    manager.setSorted(sorted);
    LogEvent fresh = makeEvent(0, sorted && ageMinutes.first() < 0 ? now.addSecs(3600) : now);
    fresh.eventMessage = QStringLiteral("new");
    manager.addEvent(fresh);
    QCOMPARE(messages(manager.events()).join(QLatin1Char(',')), expected);
}

void TestLogEventManager::corruptStoreSkipsEntries()
{
    const LogEvent good = makeEvent(1);
    QVariantMap missingMessage = makeEvent(2).encode();
    missingMessage.remove(LogEvent::kKeyEventMessage);
    QVariantMap unknownType = makeEvent(3).encode();
    unknownType.insert(LogEvent::kKeyEventType, QStringLiteral("SOMETHING_NEW"));
    QVariantMap badId = makeEvent(4).encode();
    badId.insert(LogEvent::kKeyRecordId, QStringLiteral("not a number"));

    m_defaults->setValue(Preferences::Keys::LogEventArray,
                         QVariantList{good.encode(), missingMessage, QStringLiteral("garbage"), unknownType, badId,
                                      QVariantList{qint64(1)}});

    ConsoleCapture console;
    LogEventManager manager(*m_defaults, m_center.get());
    QCOMPARE(messages(manager.events()), (QStringList{QStringLiteral("1"), QStringLiteral("3")}));
    QCOMPARE(manager.events().at(1).event_type_Enum, EVENT_TYPE_ENUM::UNKNOWN_ERROR);

    const QStringList lines = console.taken();
    QCOMPARE(lines.size(), 4);
    for (int index : {1, 2, 4, 5})
        QVERIFY2(lines.contains(QStringLiteral("❌ [Persistence] Skipped corrupt event log entry at index ")
                                + QString::number(index)),
                 qPrintable(lines.join(QLatin1Char('\n'))));

    // The next write stores only what could be read.
    manager.addEvent(makeEvent(5));
    QCOMPARE(storedMessages(), (QStringList{QStringLiteral("5"), QStringLiteral("1"), QStringLiteral("3")}));
}

void TestLogEventManager::storedValueNotAList()
{
    m_defaults->setValue(Preferences::Keys::LogEventArray, QStringLiteral("oops"));
    ConsoleCapture console;
    LogEventManager manager(*m_defaults, m_center.get());
    QVERIFY(manager.events().isEmpty());
    QCOMPARE(console.taken().size(), 1);
    manager.addEvent(makeEvent(1));
    QCOMPARE(storedMessages(), QStringList{QStringLiteral("1")});
}

void TestLogEventManager::clearAll_data()
{
    QTest::addColumn<bool>("answer");
    QTest::newRow("Clear Logs") << true;
    QTest::newRow("Cancel") << false;
}

void TestLogEventManager::clearAll()
{
    QFETCH(bool, answer);
    LogEventManager manager(*m_defaults, m_center.get());
    manager.addEvent(makeEvent(1));
    manager.addEvent(makeEvent(2));
    const int postsBefore = refreshCount();

    int asked = 0;
    QCOMPARE(manager.clearAll([&] {
        ++asked;
        return answer;
    }),
             answer);
    QCOMPARE(asked, 1);
    QCOMPARE(manager.events().isEmpty(), answer);
    QCOMPARE(storedMessages().isEmpty(), answer);
    QCOMPARE(refreshCount(), postsBefore + (answer ? 1 : 0));
    if (answer) {
        // An empty list is stored, not a missing key.
        const auto stored = m_defaults->array(Preferences::Keys::LogEventArray);
        QVERIFY(stored && stored->isEmpty());
    }
}

void TestLogEventManager::removeEventsForRecord()
{
    LogEventManager manager(*m_defaults, m_center.get());
    manager.addEvent(makeEvent(1, QDateTime::currentDateTime(), 7));
    manager.addEvent(makeEvent(2, QDateTime::currentDateTime(), 8));
    manager.addEvent(makeEvent(3, QDateTime::currentDateTime(), 7));
    const int postsBefore = refreshCount();

    QCOMPARE(manager.removeEventsForRecord(7), 2);
    QCOMPARE(messages(manager.events()), QStringList{QStringLiteral("2")});
    QCOMPARE(storedMessages(), QStringList{QStringLiteral("2")});
    QCOMPARE(refreshCount(), postsBefore + 1);

    QCOMPARE(manager.removeEventsForRecord(7), 0);
    QCOMPARE(refreshCount(), postsBefore + 1);
}

QTEST_GUILESS_MAIN(TestLogEventManager)
#include "tst_logeventmanager.moc"
