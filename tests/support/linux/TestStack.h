#pragma once

#include <QString>
#include <QStringList>

// Small helpers of the integration tests that run under tests/stack/with-stack.sh. Loopback only.
namespace TestStack {
QString env(const char *name);       // a variable the stack exported (empty when absent)
quint16 freePort();                  // a loopback TCP port nobody listens on (bound, noted, closed)
bool listening(quint16 port);        // something accepts TCP connections on 127.0.0.1:port (200 ms bound)
bool mocks(const QStringList &args); // tests/stack/components/mocks.sh ARGS[0] STACK ARGS[1..]: switch SSID, sleep, ...
} // namespace TestStack
