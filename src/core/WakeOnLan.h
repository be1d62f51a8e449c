#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class NetworkProbe;

// Wake-on-LAN: one UDP datagram carrying the magic packet (6 x 0xFF, then the hardware address 16 times),
// sent through the NetworkProbe port to its wake destination (the limited broadcast address, port 9, on
// Linux; tests build the port with a loopback receiver). send() does not block beyond one datagram and may
// be called from any thread.
class WakeOnLan
{
public:
    static inline const QString kSentPrefix = QStringLiteral("WOL Packet Sent to ");
    static inline const QString kErrorPrefix = QStringLiteral("WOL Error: ");
    static constexpr int kPacketSize = 102;

    // The 102-byte packet for "AA:BB:CC:DD:EE:FF", "aa-bb-cc-dd-ee-ff" or "AABBCCDDEEFF" (':' and '-' are
    // removed, then exactly 12 hex digits must remain); nullopt for anything else.
    static std::optional<QByteArray> magicPacket(const QString &hardwareAddress);

    // Sends the packet for `hardwareAddress`. Nothing is sent (and false returned, silently) for a
    // malformed address; otherwise prints "WOL Packet Sent to <address>" or "WOL Error: <error>".
    static bool send(NetworkProbe &network, const QString &hardwareAddress);
};
