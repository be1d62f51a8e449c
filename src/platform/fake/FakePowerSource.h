#pragma once

#include "platform/PowerSource.h"

// Power state set by the test; on power until told otherwise.
class FakePowerSource : public PowerSource
{
    Q_OBJECT
public:
    using PowerSource::PowerSource;

    bool isOnPower() const override { return m_onPower; }
    void setOnPower(bool onPower)
    {
        if (onPower == m_onPower)
            return;
        m_onPower = onPower;
        Q_EMIT powerStateChanged();
    }

private:
    bool m_onPower = true;
};
