#include "LinuxVpnMonitor.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QNetworkInterface>

#include <memory>

namespace {
const QString kService = QStringLiteral("org.freedesktop.NetworkManager");
const QString kPath = QStringLiteral("/org/freedesktop/NetworkManager");
const QString kActive = QStringLiteral("org.freedesktop.NetworkManager.Connection.Active");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
constexpr uint kStateActivated = 2;

QList<QDBusObjectPath> objectPaths(const QVariant &value)
{
    QList<QDBusObjectPath> paths;
    if (value.canConvert<QDBusArgument>()) {
        const QDBusArgument argument = value.value<QDBusArgument>();
        argument >> paths;
    } else {
        paths = qdbus_cast<QList<QDBusObjectPath>>(value);
    }
    return paths;
}
} // namespace

LinuxVpnMonitor::LinuxVpnMonitor(const QDBusConnection &bus, QObject *parent)
    : VpnMonitor(parent)
    , m_bus(bus)
{
    if (!m_bus.isConnected())
        return;
    m_bus.connect(kService, kPath, kProperties, QStringLiteral("PropertiesChanged"), this,
                  SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    readActiveConnections();
}

std::optional<QString> LinuxVpnMonitor::firstVpnInterface(const QStringList &interfaceNames)
{
    static const QStringList prefixes { QStringLiteral("utun"), QStringLiteral("ppp"), QStringLiteral("ipsec"),
                                        QStringLiteral("tun"),  QStringLiteral("tap"), QStringLiteral("wg") };
    for (const QString &name : interfaceNames) {
        for (const QString &prefix : prefixes) {
            if (name.startsWith(prefix))
                return name;
        }
    }
    return std::nullopt;
}

std::optional<QString> LinuxVpnMonitor::connectedVpn() const
{
    QStringList names;
    for (const QNetworkInterface &interface : QNetworkInterface::allInterfaces())
        names << interface.name();
    if (auto name = firstVpnInterface(names))
        return name;
    return m_networkManagerVpn;
}

void LinuxVpnMonitor::onPropertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &)
{
    if (interface == kService && changed.contains(QStringLiteral("ActiveConnections")))
        readActiveConnections();
}

void LinuxVpnMonitor::readActiveConnections()
{
    const quint64 generation = ++m_generation;
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kProperties, QStringLiteral("Get"));
    call << kService << QStringLiteral("ActiveConnections");
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, generation](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *w;
        if (generation != m_generation)
            return;
        const QList<QDBusObjectPath> paths
            = reply.isError() ? QList<QDBusObjectPath> {} : objectPaths(reply.value().variant());
        if (paths.isEmpty()) {
            if (m_networkManagerVpn) {
                m_networkManagerVpn.reset();
                Q_EMIT vpnChanged();
            }
            return;
        }
        // Read every active connection; the first VPN among them (in NetworkManager's order) wins.
        auto found = std::make_shared<QList<std::optional<QString>>>(paths.size());
        auto remaining = std::make_shared<int>(int(paths.size()));
        for (int i = 0; i < paths.size(); ++i) {
            QDBusMessage get
                = QDBusMessage::createMethodCall(kService, paths.at(i).path(), kProperties, QStringLiteral("GetAll"));
            get << kActive;
            auto *each = new QDBusPendingCallWatcher(m_bus.asyncCall(get), this);
            connect(each, &QDBusPendingCallWatcher::finished, this,
                    [this, generation, found, remaining, i](QDBusPendingCallWatcher *e) {
                        e->deleteLater();
                        const QDBusPendingReply<QVariantMap> props = *e;
                        if (!props.isError()) {
                            const QVariantMap map = props.value();
                            const QString type = map.value(QStringLiteral("Type")).toString();
                            if ((type == QLatin1String("vpn") || type == QLatin1String("wireguard"))
                                && map.value(QStringLiteral("State")).toUInt() == kStateActivated)
                                (*found)[i] = map.value(QStringLiteral("Id")).toString();
                        }
                        if (--*remaining > 0 || generation != m_generation)
                            return;
                        std::optional<QString> vpn;
                        for (const auto &name : *found) {
                            if (name) {
                                vpn = name;
                                break;
                            }
                        }
                        if (vpn != m_networkManagerVpn) {
                            m_networkManagerVpn = vpn;
                            Q_EMIT vpnChanged();
                        }
                    });
        }
    });
}
