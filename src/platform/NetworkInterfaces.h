#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// The machine's network interfaces and their IPv4 addresses, in the system's order.
// Thread: any; list() reads the current state each time (cheap, non-blocking).
class NetworkInterfaces
{
public:
    struct Interface
    {
        QString name;
        bool up = false;
        bool loopback = false;
        QStringList ipv4; // dotted quads
    };

    virtual ~NetworkInterfaces() = default;
    virtual QList<Interface> list() const = 0;
};
