#include "core/WakeOnLan.h"

#include "base/Console.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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

QString errnoText(int error)
{
    char buffer[256];
    return QString::fromLocal8Bit(strerror_r(error, buffer, sizeof buffer));
}

} // namespace

WakeOnLan::WakeOnLan(QString address, quint16 port)
    : m_address(std::move(address))
    , m_port(port)
{
}

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

bool WakeOnLan::send(const QString &hardwareAddress) const
{
    const auto packet = magicPacket(hardwareAddress);
    if (!packet)
        return false;

    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_port = htons(m_port);
    if (inet_pton(AF_INET, m_address.toLatin1().constData(), &destination.sin_addr) != 1) {
        Console::line(kErrorPrefix + QStringLiteral("invalid destination address ") + m_address);
        return false;
    }
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        Console::line(kErrorPrefix + errnoText(errno));
        return false;
    }
    // Needed for the limited broadcast address; harmless for a unicast destination.
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    const auto sent = ::sendto(fd, packet->constData(), size_t(packet->size()), 0,
                               reinterpret_cast<const sockaddr *>(&destination), sizeof destination);
    const int error = errno;
    ::close(fd);
    if (sent != packet->size()) {
        Console::line(kErrorPrefix + (sent < 0 ? errnoText(error) : QStringLiteral("short write")));
        return false;
    }
    Console::line(kSentPrefix + hardwareAddress);
    return true;
}
