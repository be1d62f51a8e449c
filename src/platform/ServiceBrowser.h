#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

// Browses the local link for advertised services (multicast DNS service discovery) and resolves ".local"
// host names.
//
// Thread: start() and stop() on the main thread; serviceFound is emitted on the main thread (an
// implementation that learns of services on a thread of its own posts them there). resolveHostName()
// BLOCKS and is called on a worker. A browser that fails (no daemon, the daemon going away) ends silently:
// it simply finds nothing more.
class ServiceBrowser : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Starts one browser per type in `domain` ("local"), replacing any running ones. Every service
    // already present and every one that appears later is reported until stop().
    virtual void start(const QStringList &types, const QString &domain) = 0;
    virtual void stop() = 0;

    // The IPv4 address that `name` resolves to on the link, or an empty string when nothing answers
    // within `timeoutMs`.
    virtual QString resolveHostName(const QString &name, int timeoutMs) = 0;

Q_SIGNALS:
    // `name` is the service's instance name (what the user sees), `type` one of the browsed types.
    void serviceFound(const QString &name, const QString &type, const QString &domain);
};
