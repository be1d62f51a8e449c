// Schedule windows, weekday numbering and Wi-Fi allow-lists: the pure decisions of the auto-mount tick.
#include "core/ScheduleWindow.h"

#include <QTest>

namespace {
// 2024-01-01 is a Monday (weekday 2); 2024-01-07 a Sunday (weekday 1).
const QDate kMonday(2024, 1, 1);
const QDate kSunday(2024, 1, 7);
const QList<int> kWorkdays{2, 3, 4, 5, 6};

QDateTime at(const QDate &day, const QString &time)
{
    return QDateTime(day, QTime::fromString(time, QStringLiteral("HH:mm:ss")));
}
} // namespace

class TestScheduleWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void shouldBeMounted_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("end");
        QTest::addColumn<QList<int>>("weekdays");
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QStringList>("probes"); // "+HH:mm:ss" mounted at that time, "-HH:mm:ss" not

        const auto row = [](const char *tag, const char *start, const char *end, const QList<int> &weekdays,
                            const QDate &day, const char *probes) {
            QTest::newRow(tag) << QString::fromLatin1(start) << QString::fromLatin1(end) << weekdays << day
                               << QString::fromLatin1(probes).split(QLatin1Char(' '));
        };
        row("across midnight, inclusive", "22:00:00", "06:00:00", kWorkdays, kMonday,
            "+22:00:00 -21:59:59 +06:00:00 -06:00:01");
        // Equal times: a window across midnight that never closes.
        row("equal times", "08:00:00", "08:00:00", kWorkdays, kMonday, "+03:00:00 +08:00:00");
        row("same day, strict", "09:00:00", "17:00:00", kWorkdays, kMonday, "-09:00:00 +09:00:01 +16:59:59 -17:00:00");
        // Only hour and minute of the stored times count.
        row("start seconds ignored", "09:00:45", "17:00:00", kWorkdays, kMonday, "+09:00:30");
        row("end seconds ignored", "09:00:00", "17:00:59", kWorkdays, kMonday, "-17:00:30");
        // Weekdays: today's number must be listed; an empty list never mounts.
        row("inside, weekday missing", "09:00:00", "17:00:00", kWorkdays, kSunday, "-12:00:00");
        row("inside, Sunday listed", "09:00:00", "17:00:00", {1}, kSunday, "+12:00:00");
        row("empty list", "00:00:00", "00:00:00", {}, kMonday, "-12:00:00");
    }
    void shouldBeMounted()
    {
        QFETCH(QString, start);
        QFETCH(QString, end);
        QFETCH(QList<int>, weekdays);
        QFETCH(QDate, day);
        QFETCH(QStringList, probes);
        // The stored times carry an arbitrary date: only their time of day may matter.
        const QDateTime mountTime = at(QDate(2019, 6, 3), start);
        const QDateTime unmountTime = at(QDate(2021, 11, 20), end);
        for (const QString &probe : probes) {
            const QDateTime now = at(day, probe.mid(1));
            QVERIFY2(ScheduleWindow::shouldBeMounted(mountTime, unmountTime, weekdays, now) == probe.startsWith(u'+'),
                     qPrintable(probe));
        }
    }

    void calendarWeekday()
    {
        // The schedule counts from Sunday = 1 to Saturday = 7.
        QCOMPARE(ScheduleWindow::calendarWeekday(kSunday), 1);
        QCOMPARE(ScheduleWindow::calendarWeekday(kMonday), 2);
        QCOMPARE(ScheduleWindow::calendarWeekday(QDate(2024, 1, 6)), 7);
    }

    void isNetworkAllowed_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<std::optional<QString>>("current");
        QTest::addColumn<bool>("allowed");
        const auto name = [](const char *n) { return std::optional<QString>(QString::fromUtf8(n)); };
        QTest::newRow("listed") << "Office,Lab" << name("Lab") << true;
        QTest::newRow("no network") << "Office,Lab" << std::optional<QString>() << false;
        QTest::newRow("blanks trimmed") << "  Office ,  Lab  " << name("Office") << true;
        QTest::newRow("case matters") << "Office,Lab" << name("office") << false;
        QTest::newRow("substring is not a match") << "Office,Lab" << name("Offic") << false;
        QTest::newRow("empty list, no network") << "" << std::optional<QString>() << true;
        QTest::newRow("blank list counts as empty") << " , " << std::optional<QString>() << true;
        QTest::newRow("blank entry never matches") << "Office, ," << name("") << false;
    }
    void isNetworkAllowed()
    {
        QFETCH(QString, list);
        QFETCH(std::optional<QString>, current);
        QTEST(ScheduleWindow::isNetworkAllowed(list, current), "allowed");
    }
};

QTEST_APPLESS_MAIN(TestScheduleWindow)
#include "tst_schedule_window.moc"
