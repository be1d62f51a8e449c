#pragma once

#include <QString>
#include <QUuid>

#include <optional>

// A file server found by browsing or by the sweep (the share is chosen later, from its listing).
struct DiscoveredShare
{
    QUuid id = QUuid::createUuid();
    QString hostname;                 // the service name, or the IPv4 address for a sweep hit
    std::optional<QString> ipAddress; // set for sweep hits
    std::optional<QString> shareName; // empty at discovery time
    QString protocolType;             // "SMB" or "AFP"
    int port = 0;                     // 445 or 548
    QString displayName;              // host text + " (SMB)" / " (AFP)"
    bool isOnline = true;

    static DiscoveredShare make(const QString &host, const QString &protocol, int port,
                                std::optional<QString> ipAddress = std::nullopt)
    {
        DiscoveredShare share;
        share.hostname = host;
        share.ipAddress = std::move(ipAddress);
        share.protocolType = protocol;
        share.port = port;
        share.displayName = host + QStringLiteral(" (") + protocol + QLatin1Char(')');
        return share;
    }

    friend bool operator==(const DiscoveredShare &, const DiscoveredShare &) = default;
};
