#include "ShareUrlProbe.h"

#include "base/Console.h"
#include "core/VolumeRecord.h"

#include "platform/NetworkProbe.h"

#include <algorithm>

namespace {
const QString kTcpClosedLine = QStringLiteral("🔎 [PROBE] TCP %1:%2 closed — share server unreachable");
const QString kAliveLine = QStringLiteral("🔎 [PROBE] %1 %2 → HTTP %3 (alive)");
const QString kUnreachableLine = QStringLiteral("🔎 [PROBE] %1 %2 → unreachable (%3)");
const QString kInconclusiveLine = QStringLiteral("🔎 [PROBE] %1 %2 → inconclusive (status=%3 err=%4)");

constexpr int kNotConnected = -1009;
constexpr int kDnsLookupFailed = -1006;
constexpr int kConnectionLost = -1005;
constexpr int kCannotConnect = -1004;
constexpr int kCannotFindHost = -1003;
constexpr int kTimedOut = -1001;

QString stripBrackets(QString host)
{
    host = host.trimmed();
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    return host;
}
} // namespace

int ShareUrlProbe::transportCode(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
        return kCannotConnect;
    case QNetworkReply::RemoteHostClosedError:
        return kConnectionLost;
    case QNetworkReply::HostNotFoundError:
        return kCannotFindHost;
    case QNetworkReply::TimeoutError:
        return kTimedOut;
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::TemporaryNetworkFailureError:
        return kNotConnected;
    default:
        return 0;
    }
}

ShareUrlProbe::Verdict ShareUrlProbe::request(NetworkProbe &network, const QByteArray &method, const QUrl &url,
                                              double timeoutSeconds)
{
    QList<QPair<QByteArray, QByteArray>> headers;
    if (method == "PROPFIND")
        headers.append({QByteArrayLiteral("Depth"), QByteArrayLiteral("0")});
    const auto timeout = std::chrono::milliseconds(std::max(1, int(timeoutSeconds * 1000)));
    const auto extraWait = std::chrono::milliseconds(int(kExtraWaitSeconds * 1000));
    const NetworkProbe::HttpAnswer answer = network.httpRequest(method, url, headers, timeout, extraWait);

    const QString methodText = QString::fromLatin1(method);
    const QString urlText = url.toString();
    const int status = answer.answered ? answer.httpStatus : 0;
    const int code = !answer.answered ? 0 : (answer.timedOut ? kTimedOut : transportCode(answer.error));
    const Verdict verdict = classify(answer.answered, status, code);
    switch (verdict) {
    case Verdict::Reachable:
        Console::line(kAliveLine.arg(methodText, urlText).arg(status));
        break;
    case Verdict::Unreachable:
        Console::line(kUnreachableLine.arg(methodText, urlText).arg(code));
        break;
    case Verdict::Inconclusive:
        Console::line(kInconclusiveLine.arg(methodText, urlText).arg(status).arg(code != 0 ? code : -int(answer.error)));
        break;
    }
    return verdict;
}

ShareUrlProbe::Verdict ShareUrlProbe::classify(bool answered, int httpStatus, int transportCode)
{
    if (!answered)
        return Verdict::Inconclusive;
    if (httpStatus >= 1)
        return Verdict::Reachable;
    switch (transportCode) {
    case kNotConnected:
    case kDnsLookupFailed:
    case kConnectionLost:
    case kCannotConnect:
    case kCannotFindHost:
    case kTimedOut:
        return Verdict::Unreachable;
    default:
        return Verdict::Inconclusive;
    }
}

bool ShareUrlProbe::probe(NetworkProbe &network, const VolumeRecord &record, double timeoutSeconds)
{
    if (!MountProtocol::isWebDAV(record.mounting_using_protocol_Enum))
        return true;
    const QUrl url(record.mountURLText());
    QString host = url.host();
    if (host.isEmpty())
        host = stripBrackets(record.hostname_String);
    const int port = url.port(MountProtocol::defaultPort(record.mounting_using_protocol_Enum));

    // A refused or unroutable connection settles it at once; a slow one is left to the HTTP requests.
    const int connectMs = std::max(1, int(std::min(timeoutSeconds, kMaxConnectSeconds) * 1000));
    if (network.connect(host, quint16(port), std::chrono::milliseconds(connectMs)) == NetworkProbe::Connect::Failed) {
        Console::line(kTcpClosedLine.arg(host).arg(port));
        return false;
    }

    const Verdict head = request(network, "HEAD", url, timeoutSeconds);
    if (head != Verdict::Inconclusive)
        return head == Verdict::Reachable;
    return request(network, "PROPFIND", url, timeoutSeconds) != Verdict::Unreachable;
}
