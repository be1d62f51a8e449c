#pragma once

#include <QString>

// Where Tarnwell keeps its files, after the XDG base-directory rules. Every path honours the XDG_*
// variables, so tests point them at temporary folders.
namespace Paths {

// The preferences domain, and the service name of the credential store.
inline constexpr char kBundleId[] = "io.tarnwell.Tarnwell";

// $XDG_CONFIG_HOME/tarnwell
QString configDir();
// $XDG_DATA_HOME/Tarnwell (the application's support folder: rules.json, audit_log.json)
QString appSupportDir();
// $XDG_RUNTIME_DIR, or /run/user/<uid> when unset
QString runtimeDir();

} // namespace Paths
