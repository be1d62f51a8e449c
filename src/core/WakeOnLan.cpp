#include "core/WakeOnLan.h"

#include "base/Console.h"
#include "platform/NetworkProbe.h"



namespace {

int hexValue(QChar c)
{
    if (c >= u'0' && c <= u'9')
        return c.unicode() - u'0';
    if (c >= u'a' && c <= u'f')
        return c.unicode() - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c.unicode() - u'A' + 10;
    return -1;
}

} // namespace

std::optional<QByteArray> WakeOnLan::magicPacket(const QString &hardwareAddress)
{
    QString digits = hardwareAddress;
    digits.remove(u':').remove(u'-');
    if (digits.size() != 12)
        return std::nullopt;
    QByteArray mac(6, '\0');
    for (int i = 0; i < 6; ++i) {
        const int high = hexValue(digits.at(2 * i));
        const int low = hexValue(digits.at(2 * i + 1));
        if (high < 0 || low < 0)
            return std::nullopt;
        mac[i] = char(high << 4 | low);
    }
    QByteArray packet(6, char(0xFF));
    packet.reserve(kPacketSize);
    for (int i = 0; i < 16; ++i)
        packet += mac;
    return packet;
}

bool WakeOnLan::send(NetworkProbe &network, const QString &hardwareAddress)
{
    const auto packet = magicPacket(hardwareAddress);
    if (!packet)
        return false;
    QString error;
    if (!network.sendWakeOnLan(*packet, &error)) {
        Console::line(kErrorPrefix + error);
        return false;
    }
    Console::line(kSentPrefix + hardwareAddress);
    return true;
}
