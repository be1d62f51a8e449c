#pragma once

#include "platform/WifiNetwork.h"

#include <QDBusConnection>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

class QDBusMessage;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

// The current Wi-Fi network from NetworkManager on the system bus: the first Wi-Fi device (DeviceType 2)
// that is activated and has an ActiveAccessPoint, then that access point's Ssid bytes read as UTF-8.
// Absent when no Wi-Fi device is connected or NetworkManager is not running.
//
// Every call is asynchronous on the main thread. Rather than tracking each object, any relevant change
// (PropertiesChanged of the manager, a device, a wireless device or an access point's Ssid; devices
// added or removed; NetworkManager starting or stopping) schedules one re-read of the whole chain a
// moment later; answers of an older re-read are dropped, so a burst of changes costs one chain.
class NetworkManagerWifi : public WifiNetwork
{
    Q_OBJECT
public:
    // bus: the system bus (tests pass a connection to a private one).
    explicit NetworkManagerWifi(const QDBusConnection &bus = QDBusConnection::systemBus(), QObject *parent = nullptr);
    ~NetworkManagerWifi() override;

    std::optional<QString> currentNetworkName() const override { return m_name; }
    bool isKnown() const override { return m_known; }

    // Re-reads the state now (normally driven by signals).
    void refresh();

private Q_SLOTS:
    void onPropertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &invalidated);
    void onDevicesChanged();

private:
    using Handler = std::function<void(const QDBusMessage &reply, bool ok)>;
    void call(const QString &path, const QString &interface, const QString &method, const QVariantList &args,
              Handler handler);
    void readDevices(quint64 generation);
    void readDevice(quint64 generation, QStringList devices, int index);
    void finish(quint64 generation, const std::optional<QString> &name);
    void scheduleRefresh();

    QDBusConnection m_bus;
    QDBusServiceWatcher *m_serviceWatcher = nullptr;
    QTimer m_refreshDelay;
    quint64 m_generation = 0;
    std::optional<QString> m_name;
    bool m_known = false;
};
