#pragma once

#include "platform/ManagedPreferenceSource.h"

// Managed keys set by the test; setValues() announces the change like a replaced profile would.
class FakeManagedPreferenceSource : public ManagedPreferenceSource
{
    Q_OBJECT
public:
    using ManagedPreferenceSource::ManagedPreferenceSource;

    QVariantMap values() override
    {
        ++reads;
        return m_values;
    }
    void setValues(const QVariantMap &values)
    {
        m_values = values;
        Q_EMIT changed();
    }
    int reads = 0;

private:
    QVariantMap m_values;
};
