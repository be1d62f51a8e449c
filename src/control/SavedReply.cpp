#include "SavedReply.h"

#include "ControlNames.h"

#include "base/Defaults.h"

namespace SavedReply {

void send(Defaults &defaults, QObject *context, const QDBusMessage &call, const QDBusConnection &bus,
          const QVariant &value)
{
    defaults.whenSaved(defaults.generation(), context, [call, bus, value](const QString &error) {
        QDBusConnection connection(bus);
        if (!error.isEmpty())
            connection.send(call.createErrorReply(ControlNames::kErrorNotSaved, kNotSaved.arg(error)));
        else if (value.isValid())
            connection.send(call.createReply(value));
        else
            connection.send(call.createReply());
    });
}

} // namespace SavedReply
