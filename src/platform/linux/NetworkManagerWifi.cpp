#include "NetworkManagerWifi.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

namespace {
const QString kService = QStringLiteral("org.freedesktop.NetworkManager");
const QString kManagerPath = QStringLiteral("/org/freedesktop/NetworkManager");
const QString kManagerInterface = QStringLiteral("org.freedesktop.NetworkManager");
const QString kDeviceInterface = QStringLiteral("org.freedesktop.NetworkManager.Device");
const QString kWirelessInterface = QStringLiteral("org.freedesktop.NetworkManager.Device.Wireless");
const QString kAccessPointInterface = QStringLiteral("org.freedesktop.NetworkManager.AccessPoint");
const QString kPropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

constexpr uint kDeviceTypeWifi = 2;
constexpr uint kDeviceStateActivated = 100;
constexpr int kCallTimeoutMs = 5000;
// Changes come in bursts (device state, active connection, access point); one re-read covers a burst.
constexpr int kRefreshDelayMs = 50;

// The value of a Properties.Get reply.
QVariant replyValue(const QDBusMessage &reply)
{
    if (reply.arguments().isEmpty())
        return {};
    return reply.arguments().constFirst().value<QDBusVariant>().variant();
}

QStringList objectPaths(const QVariant &value)
{
    QStringList paths;
    if (value.canConvert<QDBusArgument>()) {
        for (const QDBusObjectPath &p : qdbus_cast<QList<QDBusObjectPath>>(value.value<QDBusArgument>()))
            paths.append(p.path());
    } else {
        for (const QDBusObjectPath &p : value.value<QList<QDBusObjectPath>>())
            paths.append(p.path());
    }
    return paths;
}

QString objectPath(const QVariant &value)
{
    return value.value<QDBusObjectPath>().path();
}
} // namespace

NetworkManagerWifi::NetworkManagerWifi(const QDBusConnection &bus, QObject *parent)
    : WifiNetwork(parent)
    , m_bus(bus)
{
    m_refreshDelay.setSingleShot(true);
    m_refreshDelay.setInterval(kRefreshDelayMs);
    connect(&m_refreshDelay, &QTimer::timeout, this, &NetworkManagerWifi::refresh);

    if (!m_bus.isConnected()) {
        // No system bus: there is no network to know about.
        m_known = true;
        return;
    }
    m_serviceWatcher = new QDBusServiceWatcher(kService, m_bus,
                                               QDBusServiceWatcher::WatchForRegistration
                                                   | QDBusServiceWatcher::WatchForUnregistration,
                                               this);
    connect(m_serviceWatcher, &QDBusServiceWatcher::serviceRegistered, this, &NetworkManagerWifi::scheduleRefresh);
    connect(m_serviceWatcher, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { finish(++m_generation, std::nullopt); });

    // An empty path matches every object of the service.
    m_bus.connect(kService, QString(), kPropertiesInterface, QStringLiteral("PropertiesChanged"), this,
                  SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    m_bus.connect(kService, kManagerPath, kManagerInterface, QStringLiteral("DeviceAdded"), this,
                  SLOT(onDevicesChanged()));
    m_bus.connect(kService, kManagerPath, kManagerInterface, QStringLiteral("DeviceRemoved"), this,
                  SLOT(onDevicesChanged()));
    refresh();
}

NetworkManagerWifi::~NetworkManagerWifi() = default;

void NetworkManagerWifi::onPropertiesChanged(const QString &interface, const QVariantMap &changed,
                                             const QStringList &invalidated)
{
    // Access points report signal strength all the time; only a changed name matters.
    if (interface == kAccessPointInterface) {
        if (changed.contains(QStringLiteral("Ssid")) || invalidated.contains(QStringLiteral("Ssid")))
            scheduleRefresh();
        return;
    }
    if (interface == kManagerInterface || interface == kDeviceInterface || interface == kWirelessInterface)
        scheduleRefresh();
}

void NetworkManagerWifi::onDevicesChanged()
{
    scheduleRefresh();
}

void NetworkManagerWifi::scheduleRefresh()
{
    if (!m_refreshDelay.isActive())
        m_refreshDelay.start();
}

void NetworkManagerWifi::call(const QString &path, const QString &interface, const QString &method,
                              const QVariantList &args, Handler handler)
{
    QDBusMessage message = QDBusMessage::createMethodCall(kService, path, interface, method);
    message.setArguments(args);
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, kCallTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [watcher, handler = std::move(handler)](QDBusPendingCallWatcher *) {
                watcher->deleteLater();
                const QDBusMessage reply = watcher->reply();
                handler(reply, reply.type() == QDBusMessage::ReplyMessage);
            });
}

void NetworkManagerWifi::refresh()
{
    m_refreshDelay.stop();
    if (!m_bus.isConnected()) {
        finish(++m_generation, std::nullopt);
        return;
    }
    readDevices(++m_generation);
}

void NetworkManagerWifi::readDevices(quint64 generation)
{
    call(kManagerPath, kPropertiesInterface, QStringLiteral("Get"), {kManagerInterface, QStringLiteral("Devices")},
         [this, generation](const QDBusMessage &reply, bool ok) {
             if (generation != m_generation)
                 return;
             if (!ok) {
                 finish(generation, std::nullopt); // NetworkManager missing or not answering
                 return;
             }
             readDevice(generation, objectPaths(replyValue(reply)), 0);
         });
}

void NetworkManagerWifi::readDevice(quint64 generation, QStringList devices, int index)
{
    if (index >= devices.size()) {
        finish(generation, std::nullopt);
        return;
    }
    const QString device = devices.at(index);
    const auto next = [this, generation, devices, index] { readDevice(generation, devices, index + 1); };

    call(device, kPropertiesInterface, QStringLiteral("GetAll"), {kDeviceInterface},
         [this, generation, device, next](const QDBusMessage &reply, bool ok) {
             if (generation != m_generation)
                 return;
             QVariantMap props;
             if (ok && !reply.arguments().isEmpty())
                 props = qdbus_cast<QVariantMap>(reply.arguments().constFirst().value<QDBusArgument>());
             if (props.value(QStringLiteral("DeviceType")).toUInt() != kDeviceTypeWifi
                 || props.value(QStringLiteral("State")).toUInt() != kDeviceStateActivated) {
                 next();
                 return;
             }
             call(device, kPropertiesInterface, QStringLiteral("Get"),
                  {kWirelessInterface, QStringLiteral("ActiveAccessPoint")},
                  [this, generation, next](const QDBusMessage &reply, bool ok) {
                      if (generation != m_generation)
                          return;
                      const QString ap = ok ? objectPath(replyValue(reply)) : QString();
                      if (ap.isEmpty() || ap == QLatin1String("/")) {
                          next();
                          return;
                      }
                      call(ap, kPropertiesInterface, QStringLiteral("Get"), {kAccessPointInterface, QStringLiteral("Ssid")},
                           [this, generation, next](const QDBusMessage &reply, bool ok) {
                               if (generation != m_generation)
                                   return;
                               const QByteArray ssid = ok ? replyValue(reply).toByteArray() : QByteArray();
                               if (ssid.isEmpty()) {
                                   next(); // hidden or vanished access point
                                   return;
                               }
                               finish(generation, QString::fromUtf8(ssid));
                           });
                  });
         });
}

void NetworkManagerWifi::finish(quint64 generation, const std::optional<QString> &name)
{
    if (generation != m_generation)
        return;
    const bool changed = !m_known || name != m_name;
    m_known = true;
    m_name = name;
    if (changed)
        Q_EMIT currentNetworkChanged();
}
