#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Wake-on-LAN: one UDP datagram carrying the magic packet (6 x 0xFF, then the hardware address 16 times).
// The destination is 255.255.255.255:9 unless another is given (tests pass a loopback receiver).
// send() does not block beyond one sendto() and may be called from any thread.
class WakeOnLan
{
public:
    static inline const QString kSentPrefix = QStringLiteral("WOL Packet Sent to ");
    static inline const QString kErrorPrefix = QStringLiteral("WOL Error: ");
    static inline const QString kBroadcastAddress = QStringLiteral("255.255.255.255");
    static constexpr quint16 kDefaultPort = 9;
    static constexpr int kPacketSize = 102;

    // `address` must be a numeric IPv4 address.
    explicit WakeOnLan(QString address = kBroadcastAddress, quint16 port = kDefaultPort);

    // The 102-byte packet for "AA:BB:CC:DD:EE:FF", "aa-bb-cc-dd-ee-ff" or "AABBCCDDEEFF" (':' and '-' are
    // removed, then exactly 12 hex digits must remain); nullopt for anything else.
    static std::optional<QByteArray> magicPacket(const QString &hardwareAddress);

    // Sends the packet for `hardwareAddress`. Nothing is sent (and false returned, silently) for a
    // malformed address; otherwise prints "WOL Packet Sent to <address>" or "WOL Error: <error>".
    bool send(const QString &hardwareAddress) const;

private:
    QString m_address;
    quint16 m_port;
};
