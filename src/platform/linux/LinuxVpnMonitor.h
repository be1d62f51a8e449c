#pragma once

#include "platform/VpnMonitor.h"

#include <QDBusConnection>
#include <QStringList>
#include <QVariantMap>

// The VPN in use: the first network interface (in the system's order) whose name begins with utun, ppp,
// ipsec, tun, tap or wg, whatever its up/down state; else the Id of an activated NetworkManager connection
// of type "vpn" or "wireguard" (followed through NetworkManager's PropertiesChanged of ActiveConnections).
//
// Thread: main thread; the interface list is read at each call (local), NetworkManager asynchronously.
class LinuxVpnMonitor : public VpnMonitor
{
    Q_OBJECT
public:
    explicit LinuxVpnMonitor(const QDBusConnection &bus = QDBusConnection::systemBus(), QObject *parent = nullptr);

    std::optional<QString> connectedVpn() const override;

    // The first VPN-like name of a list of interface names.
    static std::optional<QString> firstVpnInterface(const QStringList &interfaceNames);

private Q_SLOTS:
    void onPropertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &invalidated);

private:
    void readActiveConnections();

    QDBusConnection m_bus;
    std::optional<QString> m_networkManagerVpn;
    quint64 m_generation = 0;
};
