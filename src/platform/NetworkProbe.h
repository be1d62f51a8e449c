#pragma once

#include "platform/SelectResult.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <chrono>

// The network operations of the engine and of discovery: name resolution, a bounded TCP probe of a
// server, the Wake-on-LAN datagram, a quick TCP connect and one HTTP request. The rules around them (which
// hosts are skipped, which time-out applies, how a failure reads, what counts as a live share) stay in the
// engine (NetworkTester, WakeOnLan, ShareUrlProbe).
//
// Threads: every function BLOCKS (up to its time-out, resp. the system resolver's own limits) and is
// called on a worker, never on the main thread. Implementations are callable from several workers at once.
class NetworkProbe
{
public:
    // Console lines of a probe (printed by the implementation as the connection proceeds).
    static inline const QString kSetupLine = QStringLiteral("🔧 [SOCKET] Connection setup...");
    static inline const QString kPreparingLine = QStringLiteral("🔄 [SOCKET] Connection preparing...");
    static inline const QString kPrimaryTimeoutLine = QStringLiteral("⏰ [SOCKET] Primary timeout - cancelling connection");
    static inline const QString kBackupTimeoutLine = QStringLiteral("⏰ [SOCKET] Backup timeout triggered - forcing completion");
    static inline const QString kFailedPrefix = QStringLiteral("❌ [SOCKET] Failed: ");
    static inline const QString kWaitingPrefix = QStringLiteral("⚠️ [SOCKET] Connection waiting (unreachable): ");

    static constexpr int kBackupExtraSeconds = 2;    // backup fires at primary + this
    static constexpr int kConnectTimeoutSeconds = 5; // TCP connect limit of one attempt

    struct HttpAnswer
    {
        bool answered = false; // the request finished before the caller's wait ended
        bool timedOut = false; // it finished because its own time-out aborted it
        int httpStatus = 0;    // 0: no HTTP status
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
    };

    enum class Connect { Connected, TimedOut, Failed };

    virtual ~NetworkProbe() = default;

    // The first numeric address the system resolver gives for `host` (a name, never a literal);
    // "0.0.0.0" when nothing resolves.
    virtual QString resolve(const QString &host) = 0;

    // One connection attempt to `host` (when non-empty; a name or a numeric address) else `address`, on
    // `port`, ended by the primary `timeout` (a time-out) or a backup at timeout + kBackupExtraSeconds.
    // Returns ready; timeout when unreachable now (refused, no route, no answer within
    // kConnectTimeoutSeconds) or when no answer came in time; error(description of the system's failure).
    virtual SelectResult probe(const QString &host, const QString &address, int port, std::chrono::seconds timeout) = 0;

    // Sends one Wake-on-LAN datagram to the implementation's wake destination (the limited broadcast
    // address, port 9, unless it was built with another). False with `error` set when it was not sent.
    virtual bool sendWakeOnLan(const QByteArray &packet, QString *error) = 0;

    // A TCP connect to host:port given up after `limit`.
    virtual Connect connect(const QString &host, quint16 port, std::chrono::milliseconds limit) = 0;

    // One HTTP request without credentials, certificate not judged and no redirect followed (extra
    // headers as given). The request is aborted after `timeout`; the caller waits `timeout` + `extraWait`.
    virtual HttpAnswer httpRequest(const QByteArray &method, const QUrl &url,
                                   const QList<QPair<QByteArray, QByteArray>> &headers, std::chrono::milliseconds timeout,
                                   std::chrono::milliseconds extraWait) = 0;
};
