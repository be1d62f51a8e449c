#include "FakeWifiNetwork.h"

FakeWifiNetwork::FakeWifiNetwork(std::optional<QString> name, bool known, QObject *parent)
    : WifiNetwork(parent)
    , m_name(std::move(name))
    , m_known(known)
{
}

void FakeWifiNetwork::setCurrentNetworkName(const std::optional<QString> &name)
{
    if (m_known && name == m_name)
        return;
    m_name = name;
    m_known = true;
    Q_EMIT currentNetworkChanged();
}
