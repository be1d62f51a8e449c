// LogEventManager: insertion, trimming in both modes, persistence, corrupt stores, clear-all.
#include "UnitTestHelpers.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "logging/LogEventManager.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

// An event whose message is n.
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

QString messages(const QList<LogEvent> &events)
{
    QStringList out;
    for (const LogEvent &event : events)
        out.append(event.eventMessage);
    return out.join(QLatin1Char(','));
}

} // namespace

class TestLogEventManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_f = std::make_unique<Fixture>();
        QVERIFY(m_f->dir.isValid());
    }

    void insertsNewestFirstAndPersists()
    {
        LogEventManager manager(m_f->defaults, &m_f->center);
        // Nothing stored: an empty log that neither writes nor notifies.
        QVERIFY(manager.events().isEmpty());
        QVERIFY(!m_f->defaults.contains(Preferences::Keys::LogEventArray));
        QCOMPARE(refreshCount(), 0);

        QSignalSpy changed(&manager, &LogEventManager::changed);
        manager.addEvent(makeEvent(1));
        manager.addEvent(makeEvent(2));
        manager.addEvent(makeEvent(3), 99); // out of range: clamped to the end, never a crash
        QCOMPARE(messages(manager.events()), QStringLiteral("2,1,3"));
        QCOMPARE(refreshCount(), 3);
        QCOMPARE(changed.count(), 3);
        QCOMPARE(storedMessages(), QStringLiteral("2,1,3"));

        // The stored form is a native array of dictionaries, with the event kind by raw value.
        const auto stored = m_f->defaults.array(Preferences::Keys::LogEventArray);
        QVERIFY(stored && stored->size() == 3);
        QCOMPARE(stored->at(0).toMap().value(LogEvent::kKeyEventType).toString(), QStringLiteral("MANUAL_MOUNT"));

        // Dates survive the file with the precision the views show.
        Defaults fresh(m_f->defaults.filePath());
        QCOMPARE(LogEventManager(fresh, nullptr).events().at(0).timestampText(), manager.events().at(0).timestampText());
    }
    void trimAtLimit_data()
    {
        QTest::addColumn<QVariant>("storedLimit");        // invalid: never written
        QTest::addColumn<std::optional<int>>("override"); // the delegate's copy
        QTest::addColumn<int>("expectedLimit");

        QTest::newRow("default 2000") << QVariant() << std::optional<int>() << 2000;
        QTest::newRow("stored 10") << QVariant(qint64(10)) << std::optional<int>() << 10;
        QTest::newRow("delegate copy wins") << QVariant(qint64(10)) << std::optional<int>(25) << 25;
    }
    void trimAtLimit()
    {
        QFETCH(QVariant, storedLimit);
        QFETCH(std::optional<int>, override);
        QFETCH(int, expectedLimit);

        if (storedLimit.isValid())
            m_f->defaults.setValue(Preferences::Keys::MaxNumberOfLogLines, storedLimit);

        // A full log as a previous run left it: message "k" is the k-th insertion, newest first.
        QList<LogEvent> full;
        const QDateTime base = QDateTime::currentDateTime().addDays(-1);
        for (int k = expectedLimit; k >= 1; --k)
            full.append(makeEvent(k, base.addSecs(k)));
        seed(m_f->defaults, full);

        LogEventManager manager(m_f->defaults, &m_f->center);
        manager.setMaxNumberOfLogLines(override);
        QCOMPARE(manager.maxNumberOfLogLines(), expectedLimit);
        QCOMPARE(manager.events().size(), expectedLimit);

        manager.addEvent(makeEvent(expectedLimit + 1));
        QCOMPARE(manager.events().size(), expectedLimit);
        QCOMPARE(manager.events().first().eventMessage, QString::number(expectedLimit + 1));
        QCOMPARE(manager.events().last().eventMessage, QStringLiteral("2")); // "1", the oldest, is gone
        QCOMPARE(storedMessages(), messages(manager.events()));
    }
    void loweringLimitTrimsOnNextInsertion()
    {
        LogEventManager manager(m_f->defaults, &m_f->center);
        for (int k = 1; k <= 6; ++k)
            manager.addEvent(makeEvent(k));

        m_f->defaults.setValue(Preferences::Keys::MaxNumberOfLogLines, qint64(3));
        QCOMPARE(manager.events().size(), 6); // nothing happens until the next insertion
        QCOMPARE(storedMessages(), QStringLiteral("6,5,4,3,2,1"));

        manager.addEvent(makeEvent(7));
        QCOMPARE(messages(manager.events()), QStringLiteral("7,6,5"));
        QCOMPARE(storedMessages(), QStringLiteral("7,6,5"));
    }
    void trimChoosesVictim_data()
    {
        QTest::addColumn<bool>("sorted");
        QTest::addColumn<QList<int>>("ageMinutes"); // per stored entry 1, 2, 3; negative = in the future
        QTest::addColumn<QString>("expected");      // messages after inserting 4 at the front, limit 3

        QTest::newRow("insertion order: last goes") << false << QList<int>{30, 10, 20} << QStringLiteral("4,1,2");
        QTest::newRow("sorted: oldest goes") << true << QList<int>{10, 30, 20} << QStringLiteral("4,1,3");
        QTest::newRow("sorted: first of equal oldest goes") << true << QList<int>{10, 30, 30} << QStringLiteral("4,1,3");
        QTest::newRow("sorted: nothing older than now, last goes") << true << QList<int>{-10, -20, -30}
                                                                   << QStringLiteral("4,1,2");
    }
    void trimChoosesVictim()
    {
        QFETCH(bool, sorted);
        QFETCH(QList<int>, ageMinutes);

        const QDateTime now = QDateTime::currentDateTime();
        QList<LogEvent> stored;
        for (int i = 0; i < 3; ++i)
            stored.append(makeEvent(i + 1, now.addSecs(-60 * ageMinutes.at(i))));
        seed(m_f->defaults, stored);
        m_f->defaults.setValue(Preferences::Keys::MaxNumberOfLogLines, qint64(3));

        LogEventManager manager(m_f->defaults, &m_f->center);
        manager.setSorted(sorted);
        manager.addEvent(makeEvent(4, sorted && ageMinutes.first() < 0 ? now.addSecs(3600) : now));
        QTEST(messages(manager.events()), "expected");
    }
    void corruptStore_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("expected"); // messages after loading, then adding "5"
        QTest::addColumn<QStringList>("lines");

        QVariantMap missingMessage = makeEvent(2).encode();
        missingMessage.remove(LogEvent::kKeyEventMessage);
        QVariantMap unknownType = makeEvent(3).encode();
        unknownType.insert(LogEvent::kKeyEventType, QStringLiteral("SOMETHING_NEW"));
        QVariantMap badId = makeEvent(4).encode();
        badId.insert(LogEvent::kKeyRecordId, QStringLiteral("not a number"));
        QStringList skipped;
        for (int index : {1, 2, 4, 5})
            skipped.append(QStringLiteral("❌ [Persistence] Skipped corrupt event log entry at index ")
                           + QString::number(index));

        QTest::newRow("bad entries skipped") << QVariant(QVariantList{makeEvent(1).encode(), missingMessage,
                                                                      QStringLiteral("garbage"), unknownType, badId,
                                                                      QVariantList{qint64(1)}})
                                             << QStringLiteral("5,1,3") << skipped;
        QTest::newRow("not a list") << QVariant(QStringLiteral("oops")) << QStringLiteral("5")
                                    << QStringList{QStringLiteral(
                                           "❌ [Persistence] Stored event log is not a list; starting with an empty log")};
    }
    void corruptStore()
    {
        QFETCH(QVariant, stored);
        m_f->defaults.setValue(Preferences::Keys::LogEventArray, stored);

        ConsoleCapture console;
        LogEventManager manager(m_f->defaults, &m_f->center);
        QTEST(console.lines, "lines");

        // The next write stores only what could be read.
        manager.addEvent(makeEvent(5));
        QTEST(storedMessages(), "expected");
    }
    void removeAndClear_data()
    {
        QTest::addColumn<bool>("answer");
        QTest::newRow("Clear Logs") << true;
        QTest::newRow("Cancel") << false;
    }
    void removeAndClear()
    {
        QFETCH(bool, answer);
        LogEventManager manager(m_f->defaults, &m_f->center);
        for (const auto &[n, record] : {std::pair{1, 7}, {2, 8}, {3, 7}})
            manager.addEvent(makeEvent(n, QDateTime::currentDateTime(), record));
        int posts = refreshCount();

        // Removing a record's entries persists and notifies only when something went.
        QCOMPARE(manager.removeEventsForRecord(7), 2);
        QCOMPARE(storedMessages(), QStringLiteral("2"));
        QCOMPARE(refreshCount(), ++posts);
        QCOMPARE(manager.removeEventsForRecord(7), 0);
        QCOMPARE(refreshCount(), posts);

        int asked = 0;
        QCOMPARE(manager.clearAll([&] { return ++asked, answer; }), answer);
        QCOMPARE(asked, 1);
        QCOMPARE(messages(manager.events()), answer ? QString() : QStringLiteral("2"));
        QCOMPARE(storedMessages(), messages(manager.events()));
        QCOMPARE(refreshCount(), posts + (answer ? 1 : 0));
        // Cleared: an empty list is stored, not a missing key.
        const auto stored = m_f->defaults.array(Preferences::Keys::LogEventArray);
        QVERIFY(stored && stored->isEmpty() == answer);
    }

private:
    // Declaration order is destruction order: the spy goes before the center, the file before the dir.
    struct Fixture
    {
        QTemporaryDir dir;
        Defaults defaults{dir.filePath(QStringLiteral("prefs.plist"))};
        NotificationCenter center;
        QSignalSpy posted{&center, &NotificationCenter::posted};
    };
    std::unique_ptr<Fixture> m_f;

    int refreshCount() const
    {
        int n = 0;
        for (const auto &args : m_f->posted)
            n += args.at(0).toString() == Notifications::RefreshLogEventTableView ? 1 : 0;
        return n;
    }
    // What a fresh start would read from the file.
    QString storedMessages() const
    {
        Defaults fresh(m_f->defaults.filePath());
        return messages(LogEventManager(fresh, nullptr).events());
    }
};

QTEST_GUILESS_MAIN(TestLogEventManager)
#include "tst_logeventmanager.moc"
