#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The pure decisions of the auto-mount tick: weekly schedule windows and Wi-Fi allow-lists. No state,
// no clock of their own; callable from any thread.
namespace ScheduleWindow {

// The calendar's weekday number of a date: 1 = Sunday, 2 = Monday ... 7 = Saturday.
int calendarWeekday(const QDate &date);

// Whether `now` (time of day) lies in the daily window built from the hour and minute of start and end
// (their seconds are ignored). start before end: a same-day window, both bounds excluded. Otherwise
// (end before start, or equal times): a window across midnight, both bounds included, so equal times are
// always open.
bool isInsideWindow(const QTime &start, const QTime &end, const QTime &now);

// Whether a scheduled share should be mounted at `now` (local time): today's weekday is in `weekdays`
// (an empty list never matches) and the time of day is inside the window of the local times of day of
// mountTime and unmountTime.
bool shouldBeMounted(const QDateTime &mountTime, const QDateTime &unmountTime, const QList<int> &weekdays,
                     const QDateTime &now);

// The names of a comma-separated allow-list, each trimmed of blanks; blank names are dropped.
QStringList allowedNetworks(const QString &allowedSSIDs);

// Whether the current Wi-Fi network satisfies the allow-list. A list without names (empty or blank)
// allows every network, even none; otherwise the current name must be one of them, exactly (network
// names are case-sensitive), and no network at all is never allowed.
bool isNetworkAllowed(const QString &allowedSSIDs, const std::optional<QString> &currentNetwork);

} // namespace ScheduleWindow
