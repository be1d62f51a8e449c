#pragma once

#include "platform/NetworkInterfaces.h"

// NetworkInterfaces over getifaddrs().
class LinuxNetworkInterfaces : public NetworkInterfaces
{
public:
    QList<Interface> list() const override;
};
