#pragma once

#include <QString>

#include <functional>

// The sweep's reachability test: true when a TCP connection to `address`:`port` is established within
// `timeoutMs`; the connection is closed at once. BLOCKS the calling worker. Kept as a function so the
// sweep can be pointed at another probe (tests inject one that touches no network).
using PortProbe = std::function<bool(const QString &address, int port, int timeoutMs)>;

namespace PortProbes {
// Non-blocking connect + poll on a numeric IPv4 address; anything else counts as not reachable.
bool tcpConnects(const QString &address, int port, int timeoutMs);
}
