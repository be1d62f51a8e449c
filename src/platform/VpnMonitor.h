#pragma once

#include <QObject>
#include <QString>

#include <optional>

// The VPN the machine is connected through, for the rules' VPN conditions: the name of the first VPN-like
// network interface or active VPN connection; nullopt when there is none.
//
// Thread: main thread. Never blocks (interface lists are local; service state is cached and updated from
// its signals).
class VpnMonitor : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual std::optional<QString> connectedVpn() const = 0;

Q_SIGNALS:
    void vpnChanged();
};
