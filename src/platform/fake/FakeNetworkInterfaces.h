#pragma once

#include "platform/NetworkInterfaces.h"

// Returns the interfaces a test set.
class FakeNetworkInterfaces : public NetworkInterfaces
{
public:
    QList<Interface> list() const override { return interfaces; }
    QList<Interface> interfaces;
};
