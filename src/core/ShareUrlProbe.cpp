#include "ShareUrlProbe.h"

#include "base/Console.h"
#include "core/VolumeRecord.h"

#include <QAbstractSocket>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QTcpSocket>
#include <QTimer>

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

ShareUrlProbe::Verdict ShareUrlProbe::request(const QByteArray &method, const QUrl &url, double timeoutSeconds)
{
    QNetworkAccessManager manager;
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    if (method == "PROPFIND")
        request.setRawHeader("Depth", "0");
    QNetworkReply *reply = manager.sendCustomRequest(request, method);
    // Reachability only: a self-signed certificate still proves the server answers.
    QObject::connect(reply, &QNetworkReply::sslErrors, reply, [reply] { reply->ignoreSslErrors(); });

    const int timeoutMs = std::max(1, int(timeoutSeconds * 1000));
    bool timedOut = false;
    QEventLoop loop;
    QTimer requestTimer;
    requestTimer.setSingleShot(true);
    QObject::connect(&requestTimer, &QTimer::timeout, &loop, [&] {
        timedOut = true;
        reply->abort();
    });
    QTimer waitTimer; // the caller's own limit: no answer by then is inconclusive
    waitTimer.setSingleShot(true);
    QObject::connect(&waitTimer, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    requestTimer.start(timeoutMs);
    waitTimer.start(timeoutMs + int(kExtraWaitSeconds * 1000));
    loop.exec();

    const QString methodText = QString::fromLatin1(method);
    const QString urlText = url.toString();
    const bool finished = reply->isFinished();
    const int status = finished ? reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() : 0;
    const int code = !finished ? 0 : (timedOut ? kTimedOut : transportCode(reply->error()));
    const Verdict verdict = classify(finished, status, code);
    switch (verdict) {
    case Verdict::Reachable:
        Console::line(kAliveLine.arg(methodText, urlText).arg(status));
        break;
    case Verdict::Unreachable:
        Console::line(kUnreachableLine.arg(methodText, urlText).arg(code));
        break;
    case Verdict::Inconclusive:
        Console::line(kInconclusiveLine.arg(methodText, urlText).arg(status).arg(code != 0 ? code : -int(reply->error())));
        break;
    }
    reply->disconnect();
    reply->abort();
    delete reply;
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

bool ShareUrlProbe::probe(const VolumeRecord &record, double timeoutSeconds)
{
    if (!MountProtocol::isWebDAV(record.mounting_using_protocol_Enum))
        return true;
    const QUrl url(record.mountURLText());
    QString host = url.host();
    if (host.isEmpty())
        host = stripBrackets(record.hostname_String);
    const int port = url.port(MountProtocol::defaultPort(record.mounting_using_protocol_Enum));

    // A refused or unroutable connection settles it at once; a slow one is left to the HTTP requests.
    {
        QTcpSocket socket;
        socket.connectToHost(host, quint16(port));
        const int connectMs = int(std::min(timeoutSeconds, kMaxConnectSeconds) * 1000);
        if (!socket.waitForConnected(std::max(1, connectMs))) {
            const QAbstractSocket::SocketError error = socket.error();
            if (error != QAbstractSocket::SocketTimeoutError) {
                Console::line(kTcpClosedLine.arg(host).arg(port));
                return false;
            }
        }
        socket.abort();
    }

    const Verdict head = request("HEAD", url, timeoutSeconds);
    if (head != Verdict::Inconclusive)
        return head == Verdict::Reachable;
    return request("PROPFIND", url, timeoutSeconds) != Verdict::Unreachable;
}
