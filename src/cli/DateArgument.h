#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// The --since / --until values of tarnwellctl audit export. Pure.
//   YYYY-MM-DD                     a whole local day: --since takes its first instant, --until its last
//   YYYY-MM-DDTHH:MM[:SS[.mmm]]   (or a space instead of T) local time, or with Z / +HH:MM the given offset
//   today, yesterday               as a whole local day
//   7d, 24h, 30days, 90days        that long before now (the export view's ranges)
namespace DateArgument {

enum class Bound { Since, Until };

std::optional<QDateTime> parse(const QString &text, Bound bound, const QDateTime &now, QString *error = nullptr);

// How the control interface takes a bound: ISO 8601 in UTC with milliseconds.
QString toWire(const QDateTime &dateTime);

} // namespace DateArgument
