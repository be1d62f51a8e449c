#include "DateArgument.h"

#include <QRegularExpression>

namespace DateArgument {

namespace {

QDateTime dayBound(const QDate &date, Bound bound)
{
    if (bound == Bound::Since)
        return QDateTime(date, QTime(0, 0), Qt::LocalTime);
    return QDateTime(date, QTime(23, 59, 59, 999), Qt::LocalTime);
}

} // namespace

std::optional<QDateTime> parse(const QString &text, Bound bound, const QDateTime &now, QString *error)
{
    const QString t = text.trimmed();
    const QString lower = t.toLower();
    auto fail = [error, &text]() -> std::optional<QDateTime> {
        if (error)
            *error = QStringLiteral("Not a date: '%1' (use YYYY-MM-DD, YYYY-MM-DDTHH:MM[:SS][Z|+HH:MM], today, "
                                    "yesterday, or a span such as 7d or 24h)")
                         .arg(text);
        return std::nullopt;
    };
    if (t.isEmpty())
        return fail();

    const QDate today = now.toLocalTime().date();
    if (lower == QLatin1String("today"))
        return dayBound(today, bound);
    if (lower == QLatin1String("yesterday"))
        return dayBound(today.addDays(-1), bound);

    static const QRegularExpression span(QStringLiteral("^(\\d{1,5})\\s*(d|day|days|h|hour|hours)$"));
    if (const auto m = span.match(lower); m.hasMatch()) {
        const qint64 n = m.captured(1).toLongLong();
        const bool days = m.captured(2).startsWith(QLatin1Char('d'));
        return days ? now.addDays(-n) : now.addSecs(-n * 3600);
    }

    static const QRegularExpression dayOnly(QStringLiteral("^\\d{4}-\\d{2}-\\d{2}$"));
    if (dayOnly.match(t).hasMatch()) {
        const QDate date = QDate::fromString(t, Qt::ISODate);
        if (!date.isValid())
            return fail();
        return dayBound(date, bound);
    }

    static const QRegularExpression dateTime(
        QStringLiteral("^\\d{4}-\\d{2}-\\d{2}[T ]\\d{2}:\\d{2}(:\\d{2}(\\.\\d{1,3})?)?(Z|[+-]\\d{2}:?\\d{2})?$"));
    if (!dateTime.match(t).hasMatch())
        return fail();
    QString iso = t;
    iso[10] = QLatin1Char('T');
    QDateTime parsed = QDateTime::fromString(iso, Qt::ISODateWithMs);
    if (!parsed.isValid())
        return fail();
    return parsed;
}

QString toWire(const QDateTime &dateTime)
{
    return dateTime.toUTC().toString(Qt::ISODateWithMs);
}

} // namespace DateArgument
