#pragma once

#include <QString>

#include <functional>

// The sweep's reachability test: true when a TCP connection to `address`:`port` is established within
// `timeoutMs`; the connection is closed at once. BLOCKS the calling worker. A function, so that tests can
// point the sweep at a probe that touches no network; by default it is the network port's connect.
using PortProbe = std::function<bool(const QString &address, int port, int timeoutMs)>;
