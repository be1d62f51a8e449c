#include "Preferences.h"

#include "Defaults.h"

#include <QtGlobal>

#include <algorithm>
#include <array>

namespace Preferences {

namespace {
const std::array<Spec, 11> &specs()
{
    static const std::array<Spec, 11> s{{
        {Keys::TcpConnectionTimeout, Kind::Integer, 2, 1, 5, QStringLiteral("Range: 1 - 5 seconds")},
        {Keys::MountTimeout, Kind::Integer, 60, 10, 300, QStringLiteral("Range: 10 - 300 seconds")},
        {Keys::AutoMountCheckInterval, Kind::Integer, 15, 10, 1440,
         QStringLiteral("Range: 10 - 1440 seconds (default 15). How often Tarnwell re-checks Auto-Mount and Scheduled "
                        "Mount shares. Lower = faster reconnect after a drop; higher = quieter on the network.")},
        {Keys::MaxNumberOfLogLines, Kind::Integer, 50, 10, 2000, QStringLiteral("Range: 10 - 2000 entries")},
        {Keys::DeleteAssociatedLogEntries, Kind::Boolean, true, std::nullopt, std::nullopt, {}},
        {Keys::ShowConfigurationOnStart, Kind::Boolean, true, std::nullopt, std::nullopt, {}},
        {Keys::PlayActionSounds, Kind::Boolean, false, std::nullopt, std::nullopt, {}},
        {Keys::AppPresenceMode, Kind::Integer, 0, 0, 2, {}},
        {Keys::AutomaticallyChecksForUpdates, Kind::Boolean, true, std::nullopt, std::nullopt, {}},
        {Keys::UpdateCheckInterval, Kind::Integer, 86400, std::nullopt, std::nullopt, {}},
        {Keys::StartRuleEngineAtLaunch, Kind::Boolean, false, std::nullopt, std::nullopt, {}},
    }};
    return s;
}
} // namespace

std::span<const Spec> table()
{
    return specs();
}

const Spec *spec(const QString &key)
{
    for (const Spec &s : specs()) {
        if (s.key == key)
            return &s;
    }
    return nullptr;
}

qint64 clamp(const QString &key, qint64 value)
{
    const Spec *s = spec(key);
    if (!s)
        return value;
    if (s->min && value < *s->min)
        return *s->min;
    if (s->max && value > *s->max)
        return *s->max;
    return value;
}

int tcpConnectionTimeoutSeconds(const Defaults &defaults)
{
    const auto v = defaults.integer(Keys::TcpConnectionTimeout);
    return v && *v > 0 ? int(std::min<qint64>(*v, 3600)) : 10;
}

int mountTimeoutSeconds(const Defaults &defaults)
{
    const auto v = defaults.integer(Keys::MountTimeout);
    return v && *v > 0 ? int(std::min<qint64>(*v, 86400)) : 60;
}

int autoMountCheckIntervalSeconds(const Defaults &defaults)
{
    const auto v = defaults.integer(Keys::AutoMountCheckInterval);
    return v ? int(std::clamp<qint64>(*v, 10, 1440)) : 15;
}

int maxNumberOfLogLines(const Defaults &defaults)
{
    const auto v = defaults.integer(Keys::MaxNumberOfLogLines);
    return v && *v > 0 ? int(std::min<qint64>(*v, 1000000)) : 2000;
}

AppPresenceMode appPresenceMode(const Defaults &defaults)
{
    const auto v = defaults.integer(Keys::AppPresenceMode);
    if (v && *v == 1)
        return AppPresenceMode::MenuBarAndDock;
    if (v && *v == 2)
        return AppPresenceMode::DockOnly;
    return AppPresenceMode::MenuBarOnly;
}

} // namespace Preferences
