#pragma once

#include "platform/ServiceBrowser.h"

#include <QMutex>
#include <QSet>

struct AvahiClient;
struct AvahiServiceBrowser;
struct AvahiThreadedPoll;

// ServiceBrowser over the Avahi daemon (avahi-client). Browsing runs on Avahi's own poll thread; each
// service is reported once per start() even when it is seen on several interfaces or over IPv4 and IPv6.
// Without a reachable daemon start() finds nothing and resolveHostName() answers empty.
class AvahiBrowser : public ServiceBrowser
{
    Q_OBJECT
public:
    using ServiceBrowser::ServiceBrowser;
    ~AvahiBrowser() override;

    void start(const QStringList &types, const QString &domain) override;
    void stop() override;
    QString resolveHostName(const QString &name, int timeoutMs) override;

    // Called on Avahi's poll thread for each service seen; reports it once on the main thread.
    void found(const QString &name, const QString &type, const QString &domain);

private:

    AvahiThreadedPoll *m_poll = nullptr;
    AvahiClient *m_client = nullptr;
    QList<AvahiServiceBrowser *> m_browsers;
    QMutex m_seenMutex; // m_seen is filled on Avahi's thread, cleared on the main thread
    QSet<QString> m_seen;
};
