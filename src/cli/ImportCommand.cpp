#include "ImportCommand.h"

#include "ConfigCommand.h"

int ImportCommand::run(const QStringList &arguments)
{
    // The same as "config import": one implementation of the format, mode and preview options.
    QStringList forwarded = arguments;
    forwarded.replace(0, QStringLiteral("import"));
    forwarded.prepend(QStringLiteral("config"));
    return ConfigCommand().run(forwarded);
}
