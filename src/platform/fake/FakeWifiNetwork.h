#pragma once

#include "platform/WifiNetwork.h"

// Wi-Fi state set by the test. Known from the start unless constructed otherwise.
class FakeWifiNetwork : public WifiNetwork
{
    Q_OBJECT
public:
    explicit FakeWifiNetwork(std::optional<QString> name = std::nullopt, bool known = true, QObject *parent = nullptr);

    std::optional<QString> currentNetworkName() const override { return m_name; }
    bool isKnown() const override { return m_known; }

    // Sets the network (nullopt: off Wi-Fi), marks the state known and emits when anything changed.
    void setCurrentNetworkName(const std::optional<QString> &name);
    // Back to the start-up state: no answer from the system yet (no signal, as nothing was said).
    void setUnknown()
    {
        m_name.reset();
        m_known = false;
    }

private:
    std::optional<QString> m_name;
    bool m_known;
};
