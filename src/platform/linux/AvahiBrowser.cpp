#include "AvahiBrowser.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-common/simple-watch.h>
#include <avahi-common/thread-watch.h>

#include <QDeadlineTimer>
#include <QMetaObject>

namespace {

void onBrowse(AvahiServiceBrowser *, AvahiIfIndex, AvahiProtocol, AvahiBrowserEvent event, const char *name,
              const char *type, const char *domain, AvahiLookupResultFlags, void *self)
{
    if (event != AVAHI_BROWSER_NEW || !name || !type)
        return;
    static_cast<AvahiBrowser *>(self)->found(QString::fromUtf8(name), QString::fromUtf8(type),
                                             QString::fromUtf8(domain ? domain : ""));
}

} // namespace

AvahiBrowser::~AvahiBrowser()
{
    stop();
}

void AvahiBrowser::start(const QStringList &types, const QString &domain)
{
    stop();
    m_poll = avahi_threaded_poll_new();
    if (!m_poll)
        return;
    int error = 0;
    m_client = avahi_client_new(avahi_threaded_poll_get(m_poll), AvahiClientFlags(0), nullptr, nullptr, &error);
    if (!m_client) {
        // No daemon: browsing ends silently, the sweep still runs.
        avahi_threaded_poll_free(m_poll);
        m_poll = nullptr;
        return;
    }
    const QByteArray domainUtf8 = domain.toUtf8();
    for (const QString &type : types) {
        const QByteArray typeUtf8 = type.toUtf8();
        auto *browser = avahi_service_browser_new(
            m_client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, typeUtf8.constData(), domainUtf8.constData(),
            AvahiLookupFlags(0), onBrowse, this);
        if (browser)
            m_browsers.append(browser);
    }
    avahi_threaded_poll_start(m_poll);
}

void AvahiBrowser::stop()
{
    if (!m_poll)
        return;
    avahi_threaded_poll_stop(m_poll); // joins the poll thread: no callback runs after this
    for (AvahiServiceBrowser *browser : std::as_const(m_browsers))
        avahi_service_browser_free(browser);
    m_browsers.clear();
    avahi_client_free(m_client);
    m_client = nullptr;
    avahi_threaded_poll_free(m_poll);
    m_poll = nullptr;
    QMutexLocker lock(&m_seenMutex);
    m_seen.clear();
}

void AvahiBrowser::found(const QString &name, const QString &type, const QString &domain)
{
    {
        QMutexLocker lock(&m_seenMutex);
        const QString key = type + QLatin1Char('\n') + name;
        if (m_seen.contains(key))
            return;
        m_seen.insert(key);
    }
    QMetaObject::invokeMethod(
        this, [this, name, type, domain] { Q_EMIT serviceFound(name, type, domain); }, Qt::QueuedConnection);
}

namespace {

struct Resolution
{
    AvahiSimplePoll *poll = nullptr;
    QString address;
    bool done = false;
};

void onResolved(AvahiHostNameResolver *, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event, const char *,
                const AvahiAddress *address, AvahiLookupResultFlags, void *userdata)
{
    auto *resolution = static_cast<Resolution *>(userdata);
    if (event == AVAHI_RESOLVER_FOUND && address) {
        char text[AVAHI_ADDRESS_STR_MAX];
        avahi_address_snprint(text, sizeof text, address);
        resolution->address = QString::fromLatin1(text);
    }
    resolution->done = true;
}

} // namespace

QString AvahiBrowser::resolveHostName(const QString &name, int timeoutMs)
{
    // A private client on the calling worker, so a slow answer never holds up the browsers.
    Resolution resolution;
    resolution.poll = avahi_simple_poll_new();
    if (!resolution.poll)
        return {};
    int error = 0;
    AvahiClient *client =
        avahi_client_new(avahi_simple_poll_get(resolution.poll), AvahiClientFlags(0), nullptr, nullptr, &error);
    if (client) {
        const QByteArray nameUtf8 = name.toUtf8();
        AvahiHostNameResolver *resolver =
            avahi_host_name_resolver_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, nameUtf8.constData(),
                                         AVAHI_PROTO_INET, AvahiLookupFlags(0), onResolved, &resolution);
        if (resolver) {
            const QDeadlineTimer deadline(timeoutMs);
            while (!resolution.done && !deadline.hasExpired()) {
                if (avahi_simple_poll_iterate(resolution.poll, int(qMax<qint64>(1, deadline.remainingTime()))) != 0)
                    break;
            }
            avahi_host_name_resolver_free(resolver);
        }
        avahi_client_free(client);
    }
    avahi_simple_poll_free(resolution.poll);
    return resolution.address;
}
