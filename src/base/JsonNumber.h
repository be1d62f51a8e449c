#pragma once

#include <QJsonValue>

#include <cmath>
#include <optional>

// A JSON number that is a whole number a double holds exactly (|n| ≤ 2^53), as an integer; nullopt for
// anything else. Converting a larger double straight to qint64 is undefined, and files from outside may
// hold any number.
inline std::optional<qint64> jsonInteger(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double d = value.toDouble();
    if (!std::isfinite(d) || d != std::floor(d) || std::fabs(d) > 9007199254740992.0)
        return std::nullopt;
    return qint64(d);
}
