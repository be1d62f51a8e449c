#pragma once

#include <QString>

#include <optional>

class Defaults;

// One-time steps at start-up. The first-launch example shares belong to the record store
// (RecordStore::firstLaunchIfNeeded); what is left here is the notice about the new auto-mount interval.
namespace Migrations {

inline const QString kIntervalNoticeFlag = QStringLiteral("TWShownIntervalMigrationNotice");
inline const QString kIntervalNoticeTitle = QStringLiteral("Auto-remount interval");
// %1 = the stored interval in seconds.
inline const QString kIntervalNoticeText = QStringLiteral(
    "Your auto-remount check interval is %1 seconds (from the previous Tarnwell). The new default is 15 seconds "
    "for faster reconnects after a server restart. You can change this anytime in Preferences \u2192 Logs \u2192 "
    "Auto-remount interval.");
inline const QString kIntervalNoticeButton = QStringLiteral("OK");

// When the flag is not set and "auto_mount_check_interval_Int" is an integer of 61 or more: sets the flag
// and returns the notice text (the stored interval itself is left as it is). nullopt otherwise.
std::optional<QString> intervalNotice(Defaults &defaults);

} // namespace Migrations
