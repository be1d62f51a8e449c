#pragma once

#include "core/SelectResult.h"
#include "platform/NetworkProbe.h"

#include <QString>

#include <optional>

class Defaults;

// The reachability probe: one TCP connection attempt to a share's server through the NetworkProbe port,
// with the primary time-out read from the preferences, plus the rules that skip the probe for local and
// container addresses, the IP-literal shortcut of host-name resolution and the wording of failures.
//
// Threads: probe() and resolveHostName() BLOCK the calling thread (up to the primary time-out, resp. the
// system resolver's own limits). Call them from a mount worker, never from the main thread. The static
// helpers are pure or only print console lines and may be called from anywhere.
//
// One instance per probe (cheap); it keeps no state between probes.
class NetworkTester
{
public:
    // Console lines (part of the behaviour).
    static inline const QString &kSetupLine = NetworkProbe::kSetupLine;
    static inline const QString &kPreparingLine = NetworkProbe::kPreparingLine;
    static inline const QString &kPrimaryTimeoutLine = NetworkProbe::kPrimaryTimeoutLine;
    static inline const QString &kBackupTimeoutLine = NetworkProbe::kBackupTimeoutLine;
    static inline const QString &kFailedPrefix = NetworkProbe::kFailedPrefix;
    static inline const QString &kWaitingPrefix = NetworkProbe::kWaitingPrefix;
    static inline const QString kSkipLocalhostPrefix = QStringLiteral("⚡ [SOCKET] Skipping test - localhost detected: ");
    static inline const QString kSkipDockerBridgePrefix = QStringLiteral("⚡ [SOCKET] Skipping test - Docker bridge network: ");
    static inline const QString kSkipDockerPrefix = QStringLiteral("⚡ [SOCKET] Skipping test - Docker network: ");
    static inline const QString kSkipLoopbackIPPrefix = QStringLiteral("⚡ [SOCKET] Skipping test - loopback IP: ");
    static inline const QString kSkipDockerIPPrefix = QStringLiteral("⚡ [SOCKET] Skipping test - Docker network IP: ");
    static inline const QString kDnsNumericLiteralPrefix = QStringLiteral("⚡ [DNS] Skipping CFHost — numeric IP literal: ");

    // Error messages.
    static inline const QString kNoHostMessage = QStringLiteral("No Hostname or IP provided");
    static inline const QString kNoAppDelegateMessage = QStringLiteral("Could not access AppDelegate");

    static constexpr int kDefaultPrimaryTimeoutSeconds = 10; // when the preference was never written
    static constexpr int kBackupExtraSeconds = NetworkProbe::kBackupExtraSeconds;
    static constexpr int kConnectTimeoutSeconds = NetworkProbe::kConnectTimeoutSeconds;

    // Reads the primary time-out from the preference "tcp_connection_timeout_Int" at each probe. A null
    // `defaults` stands for "the application cannot be reached": every probe then returns
    // error("Could not access AppDelegate"). `defaults` and `network` are not owned and must outlive the tester.
    NetworkTester(const Defaults *defaults, NetworkProbe &network);
    // A fixed primary time-out in seconds (values below 1 count as 1); for tools, tests and benchmarks.
    NetworkTester(int primaryTimeoutSeconds, NetworkProbe &network);

    // One connection attempt to `host` (when non-empty) else `numericAddress`, on `port` (0-65535).
    // Blocking, see above. Returns ready, timeout (unreachable now, or no answer within the primary
    // time-out) or error(message). A single attempt also ends after kConnectTimeoutSeconds (reported as
    // timeout), so with the never-written 10 s primary time-out a silent server is reported after 5 s.
    SelectResult probe(const QString &host, const QString &numericAddress, int port) const;

    // Skip rules; each prints its reason when it answers true.
    static bool shouldSkipHost(const QString &host);
    static bool shouldSkipAddress(const QString &address);

    // The numeric address inside `text` (trimmed, one pair of [] removed) when it is an IPv4 or IPv6
    // literal; nullopt otherwise.
    static std::optional<QString> isIPLiteral(const QString &text);

    // Numeric address of `host`: an IP literal is returned as is (never looked up), otherwise the first
    // address the system resolver gives; "0.0.0.0" when nothing resolves. Blocking.
    static QString resolveHostName(NetworkProbe &network, const QString &host);

    static bool looksLikeNameResolutionFailure(const QString &text);

    // The message of a failed connection: `description`, unless the endpoint is a numeric address and the
    // description looks like a name-resolution failure ("Could not connect to <endpoint>:<port>").
    static QString failureMessage(const QString &endpoint, int port, const QString &description);

private:
    const Defaults *m_defaults = nullptr;
    NetworkProbe &m_network;
    std::optional<int> m_fixedTimeoutSeconds;
};
