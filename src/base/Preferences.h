#pragma once

#include <QString>
#include <QVariant>

#include <optional>
#include <span>

class Defaults;

// The table of preference keys: kind, the default the preferences page shows, the allowed range, and the
// typed readers the engine uses. Consumers fall back to their own defaults when a key was never written;
// two of those deliberately differ from the page's (the event log trims at 2000 while the page shows 50;
// the probe waits 10 s while the page shows 2).
namespace Preferences {

namespace Keys {
inline const QString TcpConnectionTimeout = QStringLiteral("tcp_connection_timeout_Int");
inline const QString MountTimeout = QStringLiteral("mount_timeout_Int");
inline const QString AutoMountCheckInterval = QStringLiteral("auto_mount_check_interval_Int");
inline const QString MaxNumberOfLogLines = QStringLiteral("max_number_of_log_lines_Int");
inline const QString DeleteAssociatedLogEntries = QStringLiteral("delete_associated_log_entries");
inline const QString ShowConfigurationOnStart = QStringLiteral("show_configuration_on_start");
inline const QString PlayActionSounds = QStringLiteral("play_action_sounds");
inline const QString AppPresenceMode = QStringLiteral("app_presence_mode_Int");
inline const QString AutomaticallyChecksForUpdates = QStringLiteral("SUAutomaticallyChecksForUpdates");
inline const QString UpdateCheckInterval = QStringLiteral("update_check_interval");
inline const QString HasLaunchedBefore = QStringLiteral("Tarnwell_HasLaunchedBefore");
inline const QString VolumeRecordArray = QStringLiteral("Tarnwell_VolumeRecordArray");
inline const QString LogEventArray = QStringLiteral("Tarnwell_LogEventArray");
// Headless use: the daemon starts the rule engine at launch (off: it waits for the user's switch).
inline const QString StartRuleEngineAtLaunch = QStringLiteral("startRuleEngineAtLaunch");
} // namespace Keys

enum class Kind { Integer, Boolean };

struct Spec
{
    QString key;
    Kind kind;
    QVariant pageDefault;        // what the preferences page shows when the key is unset
    std::optional<qint64> min;   // allowed range (integers only)
    std::optional<qint64> max;
    QString rangeText;           // the page's help text for the range
};

std::span<const Spec> table();
const Spec *spec(const QString &key);

// Clamps an integer to the key's allowed range (values of keys without a range are returned unchanged).
qint64 clamp(const QString &key, qint64 value);

enum class AppPresenceMode { MenuBarOnly = 0, MenuBarAndDock = 1, DockOnly = 2 };

// Engine-side readers with the consumers' own fallbacks.
int tcpConnectionTimeoutSeconds(const Defaults &defaults);   // 10 when never written
int mountTimeoutSeconds(const Defaults &defaults);           // 60 when unset
int autoMountCheckIntervalSeconds(const Defaults &defaults); // 15 when absent or not an integer; clamped 10..1440
int maxNumberOfLogLines(const Defaults &defaults);           // 2000 when unset
AppPresenceMode appPresenceMode(const Defaults &defaults);    // anything but 1 or 2 reads as menu bar only

} // namespace Preferences
