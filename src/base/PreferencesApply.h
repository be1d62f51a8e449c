#pragma once

#include <optional>

class Defaults;
class NotificationCenter;

// The application delegate's copies of the preferences the page edits, refreshed by every apply. A field
// is nullopt while its key has never been written, so each consumer keeps its own fallback (the event log
// trims at 2000 and the probe waits 10 s although the page shows 50 and 2). Integers are the stored values
// brought into the page's allowed range. Main thread.
struct AppDelegateFields
{
    std::optional<int> tcp_connection_timeout_Int;
    std::optional<int> mount_timeout_Int;
    std::optional<int> auto_mount_check_interval_Int;
    std::optional<int> max_number_of_log_lines_Int;
    std::optional<bool> delete_associated_log_entries;
    std::optional<bool> show_configuration_on_start;
};

namespace PreferencesApply {

// The six values as stored now.
AppDelegateFields read(const Defaults &defaults);

// The page's apply step after any change: copies the six values into `fields`, then posts
// "Tarnwell_PreferencesChanged" (no user info) so the engine restarts its tick. center may be null.
void apply(const Defaults &defaults, AppDelegateFields &fields, NotificationCenter *center);

} // namespace PreferencesApply
