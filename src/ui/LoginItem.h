#pragma once

#include <QString>

// Start at login: the XDG autostart entry $XDG_CONFIG_HOME/autostart/tarnwell.desktop (the desktop starts
// what is there at login). Enabling writes the entry for the running executable; disabling removes it.
// Thread: main thread (a small file in the user's configuration folder).
namespace LoginItem {

QString entryPath();
bool isEnabled();
// False (nothing changed) when the file cannot be written or removed.
bool setEnabled(bool enabled);

} // namespace LoginItem
