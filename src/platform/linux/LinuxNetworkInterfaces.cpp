#include "LinuxNetworkInterfaces.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

QList<NetworkInterfaces::Interface> LinuxNetworkInterfaces::list() const
{
    QList<Interface> result;
    ifaddrs *all = nullptr;
    if (::getifaddrs(&all) != 0)
        return result;
    // getifaddrs lists one entry per address; fold them into one per interface, keeping the first order.
    for (ifaddrs *entry = all; entry; entry = entry->ifa_next) {
        const QString name = QString::fromLocal8Bit(entry->ifa_name);
        auto it = std::find_if(result.begin(), result.end(), [&](const Interface &i) { return i.name == name; });
        if (it == result.end()) {
            Interface added;
            added.name = name;
            added.up = (entry->ifa_flags & IFF_UP) != 0;
            added.loopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
            result.append(added);
            it = result.end() - 1;
        }
        if (entry->ifa_addr && entry->ifa_addr->sa_family == AF_INET) {
            char text[INET_ADDRSTRLEN];
            const auto *in = reinterpret_cast<const sockaddr_in *>(entry->ifa_addr);
            if (::inet_ntop(AF_INET, &in->sin_addr, text, sizeof text))
                it->ipv4.append(QString::fromLatin1(text));
        }
    }
    ::freeifaddrs(all);
    return result;
}
