#include "SavedReply.h"

#include "ControlNames.h"

#include "base/Defaults.h"

#include <QStringList>

namespace SavedReply {

void send(Defaults &defaults, QObject *context, const QDBusMessage &call, const QDBusConnection &bus,
          const QVariant &value, const QString &alsoNotSaved)
{
    defaults.whenSaved(defaults.generation(), context, [call, bus, value, alsoNotSaved](const QString &error) {
        QDBusConnection connection(bus);
        QStringList reasons{alsoNotSaved, error};
        reasons.removeAll(QString());
        if (!reasons.isEmpty())
            connection.send(call.createErrorReply(ControlNames::kErrorNotSaved,
                                                  kNotSaved.arg(reasons.join(QStringLiteral("; ")))));
        else if (value.isValid())
            connection.send(call.createReply(value));
        else
            connection.send(call.createReply());
    });
}

} // namespace SavedReply
