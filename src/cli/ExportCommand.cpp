#include "ExportCommand.h"

#include "ConfigCommand.h"

int ExportCommand::run(const QStringList &arguments)
{
    // The same as "config export".
    QStringList forwarded = arguments;
    forwarded.replace(0, QStringLiteral("export"));
    forwarded.prepend(QStringLiteral("config"));
    return ConfigCommand().run(forwarded);
}
