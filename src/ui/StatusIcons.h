#pragma once

#include <QColor>
#include <QIcon>

// Icons drawn at run time (no image files to ship): the tray's overall-state icon, the coloured dot of a
// status label, the padlock of a managed share. Main thread (QPixmap).
namespace StatusIcons {

enum class Overall { Idle, AllMounted, Failing, Paused, Busy };

QIcon trayIcon(Overall state);
QIcon dot(const QColor &color);
QIcon lockIcon();

} // namespace StatusIcons
