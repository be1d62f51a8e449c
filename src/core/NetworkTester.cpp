#include "core/NetworkTester.h"

#include "core/VolumeRecord.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "base/Preferences.h"

#include <QStringBuilder>
#include <QStringList>

#include <arpa/inet.h>

namespace {

bool isNumericAddress(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    in6_addr buffer{};
    return inet_pton(AF_INET, bytes.constData(), &buffer) == 1 || inet_pton(AF_INET6, bytes.constData(), &buffer) == 1;
}

// Strict integer parse (optional sign, ASCII digits only): " 20" and "2x" are not integers.
std::optional<int> parseInteger(const QString &text)
{
    qsizetype i = 0;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    if (i == text.size() || text.size() - i > 9)
        return std::nullopt;
    for (qsizetype j = i; j < text.size(); ++j) {
        if (text[j] < u'0' || text[j] > u'9')
            return std::nullopt;
    }
    return text.toInt();
}

bool secondPartIsDockerRange(const QString &text)
{
    const QStringList parts = text.split(u'.');
    if (parts.size() < 2)
        return false;
    const auto second = parseInteger(parts.at(1));
    return second && *second >= 17 && *second <= 31;
}

} // namespace

NetworkTester::NetworkTester(const Defaults *defaults, NetworkProbe &network)
    : m_defaults(defaults)
    , m_network(network)
{
}

NetworkTester::NetworkTester(int primaryTimeoutSeconds, NetworkProbe &network)
    : m_network(network)
    , m_fixedTimeoutSeconds(std::max(1, primaryTimeoutSeconds))
{
}

SelectResult NetworkTester::probe(const QString &host, const QString &numericAddress, int port) const
{
    const QString endpoint = host.isEmpty() ? numericAddress : host;
    if (endpoint.isEmpty())
        return SelectResult::error(kNoHostMessage);
    Q_ASSERT_X(port >= 0 && port <= 65535, "NetworkTester::probe", "port out of range");
    if (port < 0 || port > 65535)
        return SelectResult::error(QStringLiteral("Invalid port ") + QString::number(port));

    int primarySeconds = 0;
    if (m_fixedTimeoutSeconds)
        primarySeconds = *m_fixedTimeoutSeconds;
    else if (m_defaults)
        primarySeconds = Preferences::tcpConnectionTimeoutSeconds(*m_defaults);
    else
        return SelectResult::error(kNoAppDelegateMessage);

    // A bracketed IPv6 literal ("[::1]") is still a numeric endpoint, never a name to look up.
    const QString connectTo = isIPLiteral(endpoint).value_or(endpoint);
    const SelectResult result = m_network.probe(host.isEmpty() ? QString() : connectTo,
                                                host.isEmpty() ? connectTo : numericAddress, port,
                                                std::chrono::seconds(primarySeconds));
    if (result.isError())
        return SelectResult::error(failureMessage(endpoint, port, result.message));
    return result;
}

bool NetworkTester::shouldSkipHost(const QString &host)
{
    const QString lower = host.toLower();
    if (lower == QLatin1String("localhost") || lower == QLatin1String("127.0.0.1") || lower == QLatin1String("::1")) {
        Console::line(kSkipLocalhostPrefix + host);
        return true;
    }
    if (lower.startsWith(QLatin1String("172.17."))) {
        Console::line(kSkipDockerBridgePrefix + host);
        return true;
    }
    // 17..31, not 16..31: 172.16.x.x is probed like any other address.
    if (lower.startsWith(QLatin1String("172.")) && secondPartIsDockerRange(lower)) {
        Console::line(kSkipDockerPrefix + host);
        return true;
    }
    return false;
}

bool NetworkTester::shouldSkipAddress(const QString &address)
{
    if (address.startsWith(QLatin1String("127."))) {
        Console::line(kSkipLoopbackIPPrefix + address);
        return true;
    }
    if (address.startsWith(QLatin1String("172.")) && secondPartIsDockerRange(address)) {
        Console::line(kSkipDockerIPPrefix + address);
        return true;
    }
    return false;
}

std::optional<QString> NetworkTester::isIPLiteral(const QString &text)
{
    // One test for the whole engine: the URL text brackets exactly what the probe treats as numeric.
    return VolumeRecord::ipLiteral(text);
}

QString NetworkTester::resolveHostName(NetworkProbe &network, const QString &host)
{
    if (const auto literal = isIPLiteral(host)) {
        Console::line(kDnsNumericLiteralPrefix + *literal);
        return *literal;
    }
    if (host.isEmpty())
        return QStringLiteral("0.0.0.0");
    return network.resolve(host);
}

bool NetworkTester::looksLikeNameResolutionFailure(const QString &text)
{
    static const QLatin1String kMarkers[] = {
        QLatin1String("dns"),
        QLatin1String("unresolv"),
        QLatin1String("not valid ip"),
        QLatin1String("could not be resolved"),
        QLatin1String("hostname could not"),
        QLatin1String("nodename nor servname"),
    };
    const QString lower = text.toLower();
    for (const auto &marker : kMarkers) {
        if (lower.contains(marker))
            return true;
    }
    return false;
}

QString NetworkTester::failureMessage(const QString &endpoint, int port, const QString &description)
{
    if (isNumericAddress(endpoint) && looksLikeNameResolutionFailure(description))
        return QStringLiteral("Could not connect to ") % endpoint % u':' % QString::number(port);
    return description;
}
