#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariant>

class Defaults;
class QObject;

// A bus reply that says "done" only once the change is on disk. Called by a control object after it stored a
// change in the preferences domain and marked its reply as delayed (QDBusContext::setDelayedReply): the reply
// to `call` (`value`, or an empty reply when invalid) is sent once the writer has put every change made so far
// on disk, or becomes ControlNames::kErrorNotSaved with the reason. The main thread never waits meanwhile.
// Nothing is sent when `context` is gone by then (the engine is quitting; the caller sees the bus error).
// `alsoNotSaved` is the reason another store of the same change (one that writes at once, such as the rules
// file) already failed: the reply is then NotSaved whatever the preferences writer reports, naming both.
//
// Thread: main thread.
namespace SavedReply {

inline const QString kNotSaved =
    QStringLiteral("Not saved: %1. The change is kept by the running engine and saved as soon as the disk accepts it");

void send(Defaults &defaults, QObject *context, const QDBusMessage &call, const QDBusConnection &bus,
          const QVariant &value = QVariant(), const QString &alsoNotSaved = QString());

} // namespace SavedReply
