#pragma once

#include <QObject>

// Whether the machine runs on mains power or on battery, for the rules' power conditions.
//
// Thread: main thread. Never blocks: implementations keep the last known state and emit
// powerStateChanged() when it changes. When the state cannot be known the machine counts as on power.
class PowerSource : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual bool isOnPower() const = 0;

Q_SIGNALS:
    void powerStateChanged();
};
