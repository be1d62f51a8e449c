#pragma once

#include "platform/VpnMonitor.h"

// VPN state set by the test.
class FakeVpnMonitor : public VpnMonitor
{
    Q_OBJECT
public:
    using VpnMonitor::VpnMonitor;

    std::optional<QString> connectedVpn() const override { return m_vpn; }
    void setConnectedVpn(const std::optional<QString> &vpn)
    {
        m_vpn = vpn;
        Q_EMIT vpnChanged();
    }

private:
    std::optional<QString> m_vpn;
};
