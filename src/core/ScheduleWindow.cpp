#include "ScheduleWindow.h"

namespace ScheduleWindow {

int calendarWeekday(const QDate &date)
{
    // Qt counts 1 = Monday ... 7 = Sunday; the schedule's numbers start on Sunday.
    return date.dayOfWeek() % 7 + 1;
}

bool isInsideWindow(const QTime &start, const QTime &end, const QTime &now)
{
    const QTime from(start.hour(), start.minute());
    const QTime to(end.hour(), end.minute());
    if (from < to)
        return from < now && now < to;
    return now >= from || now <= to;
}

bool shouldBeMounted(const QDateTime &mountTime, const QDateTime &unmountTime, const QList<int> &weekdays,
                     const QDateTime &now)
{
    const QDateTime local = now.toLocalTime();
    if (!weekdays.contains(calendarWeekday(local.date())))
        return false;
    return isInsideWindow(mountTime.toLocalTime().time(), unmountTime.toLocalTime().time(), local.time());
}

QStringList allowedNetworks(const QString &allowedSSIDs)
{
    QStringList names;
    for (const QString &part : allowedSSIDs.split(QLatin1Char(','))) {
        const QString name = part.trimmed();
        if (!name.isEmpty())
            names.append(name);
    }
    return names;
}

bool isNetworkAllowed(const QString &allowedSSIDs, const std::optional<QString> &currentNetwork)
{
    const QStringList names = allowedNetworks(allowedSSIDs);
    if (names.isEmpty())
        return true;
    return currentNetwork && names.contains(*currentNetwork);
}

} // namespace ScheduleWindow
