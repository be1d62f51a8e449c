#include "Paths.h"

#include <QDir>

#include <unistd.h>

namespace {
QString xdg(const char *variable, const QString &fallbackBelowHome)
{
    const QString value = qEnvironmentVariable(variable);
    if (!value.isEmpty() && QDir::isAbsolutePath(value))
        return value;
    return QDir::homePath() + QLatin1Char('/') + fallbackBelowHome;
}
} // namespace

namespace Paths {

QString configDir()
{
    return xdg("XDG_CONFIG_HOME", QStringLiteral(".config")) + QStringLiteral("/tarnwell");
}

QString appSupportDir()
{
    return xdg("XDG_DATA_HOME", QStringLiteral(".local/share")) + QStringLiteral("/Tarnwell");
}

QString runtimeDir()
{
    const QString value = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!value.isEmpty())
        return value;
    return QStringLiteral("/run/user/") + QString::number(::getuid());
}

} // namespace Paths
