// Schedule windows, weekday numbering and Wi-Fi allow-lists: the pure decisions of the auto-mount tick.
#include "core/ScheduleWindow.h"

#include <QTest>

using namespace ScheduleWindow;

namespace {
// 2024-01-01 is a Monday (weekday 2); 2024-01-07 a Sunday (weekday 1).
const QDate kMonday(2024, 1, 1);
const QDate kSunday(2024, 1, 7);
const QList<int> kWorkdays{2, 3, 4, 5, 6};

QDateTime at(const QDate &day, const char *time)
{
    return QDateTime(day, QTime::fromString(QLatin1String(time), QStringLiteral("HH:mm:ss")));
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
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("mounted");

        // Across midnight: inclusive bounds.
        QTest::newRow("22-06 at 23:00") << "22:00:00" << "06:00:00" << kWorkdays << at(kMonday, "23:00:00") << true;
        QTest::newRow("22-06 at 05:00") << "22:00:00" << "06:00:00" << kWorkdays << at(kMonday, "05:00:00") << true;
        QTest::newRow("22-06 at 12:00") << "22:00:00" << "06:00:00" << kWorkdays << at(kMonday, "12:00:00") << false;
        QTest::newRow("22-06 at 22:00:00") << "22:00:00" << "06:00:00" << kWorkdays << at(kMonday, "22:00:00") << true;
        QTest::newRow("22-06 at 06:00:00") << "22:00:00" << "06:00:00" << kWorkdays << at(kMonday, "06:00:00") << true;
        QTest::newRow("22-06 at 06:00:01") << "22:00:00" << "06:00:00" << kWorkdays << at(kMonday, "06:00:01") << false;
        QTest::newRow("22-06 at 21:59:59") << "22:00:00" << "06:00:00" << kWorkdays << at(kMonday, "21:59:59") << false;
        // Equal times: a window across midnight that never closes.
        QTest::newRow("equal at 03:00") << "08:00:00" << "08:00:00" << kWorkdays << at(kMonday, "03:00:00") << true;
        QTest::newRow("equal at the time") << "08:00:00" << "08:00:00" << kWorkdays << at(kMonday, "08:00:00") << true;
        QTest::newRow("equal at 20:00") << "08:00:00" << "08:00:00" << kWorkdays << at(kMonday, "20:00:00") << true;
        QTest::newRow("equal, day not listed") << "08:00:00" << "08:00:00" << kWorkdays << at(kSunday, "20:00:00") << false;
        // Same day: strict bounds.
        QTest::newRow("9-17 at 09:00:00") << "09:00:00" << "17:00:00" << kWorkdays << at(kMonday, "09:00:00") << false;
        QTest::newRow("9-17 at 17:00:00") << "09:00:00" << "17:00:00" << kWorkdays << at(kMonday, "17:00:00") << false;
        QTest::newRow("9-17 at 09:00:01") << "09:00:00" << "17:00:00" << kWorkdays << at(kMonday, "09:00:01") << true;
        QTest::newRow("9-17 at 16:59:59") << "09:00:00" << "17:00:00" << kWorkdays << at(kMonday, "16:59:59") << true;
        QTest::newRow("9-17 at 08:59:59") << "09:00:00" << "17:00:00" << kWorkdays << at(kMonday, "08:59:59") << false;
        QTest::newRow("9-17 at 18:00") << "09:00:00" << "17:00:00" << kWorkdays << at(kMonday, "18:00:00") << false;
        // Only hour and minute of the stored times count.
        QTest::newRow("start seconds ignored") << "09:00:45" << "17:00:00" << kWorkdays << at(kMonday, "09:00:30") << true;
        QTest::newRow("end seconds ignored") << "09:00:00" << "17:00:59" << kWorkdays << at(kMonday, "17:00:30") << false;
        // Weekdays: today's number must be listed; an empty list never mounts.
        QTest::newRow("inside, weekday missing") << "09:00:00" << "17:00:00" << kWorkdays << at(kSunday, "12:00:00") << false;
        QTest::newRow("inside, Sunday listed") << "09:00:00" << "17:00:00" << QList<int>{1} << at(kSunday, "12:00:00") << true;
        QTest::newRow("empty list, same day") << "09:00:00" << "17:00:00" << QList<int>{} << at(kMonday, "12:00:00") << false;
        QTest::newRow("empty list, equal times") << "00:00:00" << "00:00:00" << QList<int>{} << at(kMonday, "12:00:00") << false;
    }
    void shouldBeMounted()
    {
        QFETCH(QString, start);
        QFETCH(QString, end);
        QFETCH(QList<int>, weekdays);
        QFETCH(QDateTime, now);
        QFETCH(bool, mounted);
        // The stored times carry an arbitrary date: only their time of day may matter.
        const QDateTime mountTime = at(QDate(2019, 6, 3), start.toLatin1().constData());
        const QDateTime unmountTime = at(QDate(2021, 11, 20), end.toLatin1().constData());
        QCOMPARE(ScheduleWindow::shouldBeMounted(mountTime, unmountTime, weekdays, now), mounted);
    }

    void calendarWeekday_data()
    {
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("weekday");
        QTest::newRow("Sunday") << kSunday << 1;
        QTest::newRow("Monday") << kMonday << 2;
        QTest::newRow("Wednesday") << QDate(2024, 1, 3) << 4;
        QTest::newRow("Saturday") << QDate(2024, 1, 6) << 7;
        QTest::newRow("leap day 2024 (Thursday)") << QDate(2024, 2, 29) << 5;
    }
    void calendarWeekday()
    {
        QFETCH(QDate, date);
        QFETCH(int, weekday);
        QCOMPARE(ScheduleWindow::calendarWeekday(date), weekday);
    }

    void isNetworkAllowed_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<std::optional<QString>>("current");
        QTest::addColumn<bool>("allowed");
        const auto name = [](const char *n) { return std::optional<QString>(QString::fromUtf8(n)); };
        QTest::newRow("listed") << "Office,Lab" << name("Lab") << true;
        QTest::newRow("another network") << "Office,Lab" << name("Home") << false;
        QTest::newRow("no network") << "Office,Lab" << std::optional<QString>() << false;
        QTest::newRow("blanks trimmed") << "  Office ,  Lab  " << name("Office") << true;
        QTest::newRow("case matters") << "Office,Lab" << name("office") << false;
        QTest::newRow("substring is not a match") << "Office,Lab" << name("Offic") << false;
        QTest::newRow("empty list, any network") << "" << name("Home") << true;
        QTest::newRow("empty list, no network") << "" << std::optional<QString>() << true;
        QTest::newRow("blank list counts as empty") << " , " << std::optional<QString>() << true;
        QTest::newRow("blank entry never matches") << "Office, ," << name("") << false;
        QTest::newRow("non-ASCII name") << "Café,Lab" << name("Café") << true;
    }
    void isNetworkAllowed()
    {
        QFETCH(QString, list);
        QFETCH(std::optional<QString>, current);
        QFETCH(bool, allowed);
        QCOMPARE(ScheduleWindow::isNetworkAllowed(list, current), allowed);
    }
};

QTEST_APPLESS_MAIN(TestScheduleWindow)
#include "tst_schedule_window.moc"
