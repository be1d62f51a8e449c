#include "Migrations.h"

#include "base/Defaults.h"
#include "base/Preferences.h"

namespace Migrations {

namespace {
constexpr qint64 kNoticeThresholdSeconds = 61; // intervals a previous build defaulted to or allowed
}

std::optional<QString> intervalNotice(Defaults &defaults)
{
    if (defaults.boolean(kIntervalNoticeFlag).value_or(false))
        return std::nullopt;
    const auto stored = defaults.integer(Preferences::Keys::AutoMountCheckInterval);
    if (!stored || *stored < kNoticeThresholdSeconds)
        return std::nullopt;
    defaults.setValue(kIntervalNoticeFlag, true);
    return kIntervalNoticeText.arg(*stored);
}

} // namespace Migrations
