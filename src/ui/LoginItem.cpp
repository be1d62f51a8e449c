#include "LoginItem.h"

#include "base/Console.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace LoginItem {

QString entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
           + QStringLiteral("/autostart/tarnwell.desktop");
}

bool isEnabled()
{
    return QFile::exists(entryPath());
}

bool setEnabled(bool enabled)
{
    const QString path = entryPath();
    if (!enabled) {
        if (!QFile::exists(path) || QFile::remove(path))
            return true;
        Console::line(QStringLiteral("❌ [SETUP] Cannot remove the autostart entry: ") + path);
        return false;
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        Console::line(QStringLiteral("❌ [SETUP] Cannot write the autostart entry: ") + path);
        return false;
    }
    // The same entry as packaging/tarnwell-autostart.desktop.in, for the executable that is running now.
    QString exec = QCoreApplication::applicationFilePath();
    if (exec.contains(QLatin1Char(' ')))
        exec = QLatin1Char('"') + exec + QLatin1Char('"');
    const QString text = QStringLiteral("[Desktop Entry]\nType=Application\nName=Tarnwell\n"
                                        "Comment=Keeps network file shares mounted\nExec=%1\nIcon=tarnwell\n"
                                        "Terminal=false\nNoDisplay=true\nX-GNOME-Autostart-enabled=true\n"
                                        "X-GNOME-Autostart-Delay=5\n")
                             .arg(exec);
    file.write(text.toUtf8());
    if (!file.commit()) {
        Console::line(QStringLiteral("❌ [SETUP] Cannot write the autostart entry: ") + path);
        return false;
    }
    return true;
}

} // namespace LoginItem
