#pragma once

#include "platform/NetworkProbe.h"

// The network port over the system's sockets and resolver (getaddrinfo, non-blocking connect with
// poll(), a UDP socket for the Wake-on-LAN datagram) and QNetworkAccessManager for HTTP.
// The Wake-on-LAN destination is given at construction; tests give a loopback receiver.
class LinuxNetworkProbe : public NetworkProbe
{
public:
    static inline const QString kBroadcastAddress = QStringLiteral("255.255.255.255");
    static constexpr quint16 kWakePort = 9;

    // `wakeAddress` must be a numeric IPv4 address.
    explicit LinuxNetworkProbe(QString wakeAddress = kBroadcastAddress, quint16 wakePort = kWakePort);

    QString resolve(const QString &host) override;
    SelectResult probe(const QString &host, const QString &address, int port, std::chrono::seconds timeout) override;
    bool sendWakeOnLan(const QByteArray &packet, QString *error) override;
    Connect connect(const QString &host, quint16 port, std::chrono::milliseconds limit) override;
    HttpAnswer httpRequest(const QByteArray &method, const QUrl &url, const QList<QPair<QByteArray, QByteArray>> &headers,
                           std::chrono::milliseconds timeout, std::chrono::milliseconds extraWait) override;

private:
    QString m_wakeAddress;
    quint16 m_wakePort;
};
