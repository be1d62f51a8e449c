#pragma once

#include "core/SelectResult.h"

#include <QString>

#include <optional>

class Defaults;

// The reachability probe: one TCP connection attempt to a share's server, bounded by two time-outs, plus
// the rules that skip the probe for local and container addresses and host-name resolution.
//
// Threads: probe() and resolveHostName() BLOCK the calling thread (up to the primary time-out, resp. the
// system resolver's own limits). Call them from a mount worker, never from the main thread. The connection
// attempt and the backup time-out run on threads of their own; the static helpers are pure or only print
// console lines and may be called from anywhere.
//
// One instance per probe (cheap); it keeps no state between probes.
class NetworkTester
{
public:
    // Console lines (part of the behaviour).
    static inline const QString kSetupLine = QStringLiteral("🔧 [SOCKET] Connection setup...");
    static inline const QString kPreparingLine = QStringLiteral("🔄 [SOCKET] Connection preparing...");
    static inline const QString kPrimaryTimeoutLine = QStringLiteral("⏰ [SOCKET] Primary timeout - cancelling connection");
    static inline const QString kBackupTimeoutLine = QStringLiteral("⏰ [SOCKET] Backup timeout triggered - forcing completion");
    static inline const QString kFailedPrefix = QStringLiteral("❌ [SOCKET] Failed: ");
    static inline const QString kWaitingPrefix = QStringLiteral("⚠️ [SOCKET] Connection waiting (unreachable): ");
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
    static constexpr int kBackupExtraSeconds = 2;            // backup fires at primary + this
    static constexpr int kConnectTimeoutSeconds = 5;         // TCP connect limit of one attempt

    // Reads the primary time-out from the preference "tcp_connection_timeout_Int" at each probe. A null
    // `defaults` stands for "the application cannot be reached": every probe then returns
    // error("Could not access AppDelegate"). `defaults` is not owned and must outlive the tester.
    explicit NetworkTester(const Defaults *defaults);
    // A fixed primary time-out in seconds (values below 1 count as 1); for tools, tests and benchmarks.
    explicit NetworkTester(int primaryTimeoutSeconds);

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
    static QString resolveHostName(const QString &host);

    static bool looksLikeNameResolutionFailure(const QString &text);

    // The message of a failed connection: `description`, unless the endpoint is a numeric address and the
    // description looks like a name-resolution failure ("Could not connect to <endpoint>:<port>").
    static QString failureMessage(const QString &endpoint, int port, const QString &description);

private:
    const Defaults *m_defaults = nullptr;
    std::optional<int> m_fixedTimeoutSeconds;
};
