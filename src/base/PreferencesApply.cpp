#include "PreferencesApply.h"

#include "Defaults.h"
#include "NotificationCenter.h"
#include "Preferences.h"

namespace PreferencesApply {

namespace {
std::optional<int> rangedInteger(const Defaults &defaults, const QString &key)
{
    const std::optional<qint64> value = defaults.integer(key);
    if (!value)
        return std::nullopt;
    return int(Preferences::clamp(key, *value));
}
} // namespace

AppDelegateFields read(const Defaults &defaults)
{
    using namespace Preferences::Keys;
    AppDelegateFields fields;
    fields.tcp_connection_timeout_Int = rangedInteger(defaults, TcpConnectionTimeout);
    fields.mount_timeout_Int = rangedInteger(defaults, MountTimeout);
    fields.auto_mount_check_interval_Int = rangedInteger(defaults, AutoMountCheckInterval);
    fields.max_number_of_log_lines_Int = rangedInteger(defaults, MaxNumberOfLogLines);
    fields.delete_associated_log_entries = defaults.boolean(DeleteAssociatedLogEntries);
    fields.show_configuration_on_start = defaults.boolean(ShowConfigurationOnStart);
    return fields;
}

void apply(const Defaults &defaults, AppDelegateFields &fields, NotificationCenter *center)
{
    fields = read(defaults);
    if (center)
        center->post(Notifications::PreferencesChanged);
}

} // namespace PreferencesApply
