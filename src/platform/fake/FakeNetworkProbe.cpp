#include "FakeNetworkProbe.h"

#include <QMutexLocker>

void FakeNetworkProbe::setResolved(const QString &host, const QString &address)
{
    QMutexLocker lock(&m_mutex);
    m_resolved.insert(host, address);
}

void FakeNetworkProbe::setProbeResult(const SelectResult &result)
{
    QMutexLocker lock(&m_mutex);
    m_probeResult = result;
}

void FakeNetworkProbe::setServersAnswer(bool answer)
{
    QMutexLocker lock(&m_mutex);
    m_connect = answer ? Connect::Connected : Connect::Failed;
    m_http = answer ? HttpAnswer{true, false, 207, QNetworkReply::NoError}
                    : HttpAnswer{true, false, 0, QNetworkReply::ConnectionRefusedError};
}

void FakeNetworkProbe::setConnectResult(Connect result)
{
    QMutexLocker lock(&m_mutex);
    m_connect = result;
}

void FakeNetworkProbe::setHttpAnswer(const HttpAnswer &answer)
{
    QMutexLocker lock(&m_mutex);
    m_http = answer;
}

int FakeNetworkProbe::resolveCalls() const
{
    QMutexLocker lock(&m_mutex);
    return m_resolveCalls;
}

int FakeNetworkProbe::probeCalls() const
{
    QMutexLocker lock(&m_mutex);
    return m_probeCalls;
}

QList<QByteArray> FakeNetworkProbe::wakePackets() const
{
    QMutexLocker lock(&m_mutex);
    return m_wakePackets;
}

QList<QByteArray> FakeNetworkProbe::httpMethods() const
{
    QMutexLocker lock(&m_mutex);
    return m_httpMethods;
}

QString FakeNetworkProbe::resolve(const QString &host)
{
    QMutexLocker lock(&m_mutex);
    ++m_resolveCalls;
    return m_resolved.value(host, QStringLiteral("0.0.0.0"));
}

SelectResult FakeNetworkProbe::probe(const QString &, const QString &, int, std::chrono::seconds)
{
    QMutexLocker lock(&m_mutex);
    ++m_probeCalls;
    return m_probeResult;
}

bool FakeNetworkProbe::sendWakeOnLan(const QByteArray &packet, QString *)
{
    QMutexLocker lock(&m_mutex);
    m_wakePackets.append(packet);
    return true;
}

NetworkProbe::Connect FakeNetworkProbe::connect(const QString &host, quint16 port, std::chrono::milliseconds)
{
    QMutexLocker lock(&m_mutex);
    m_connectCalls.append(host + QLatin1Char(':') + QString::number(port));
    return m_connect;
}

QStringList FakeNetworkProbe::connectCalls() const
{
    QMutexLocker lock(&m_mutex);
    return m_connectCalls;
}

void FakeNetworkProbe::clearConnectCalls()
{
    QMutexLocker lock(&m_mutex);
    m_connectCalls.clear();
}

NetworkProbe::HttpAnswer FakeNetworkProbe::httpRequest(const QByteArray &method, const QUrl &,
                                                       const QList<QPair<QByteArray, QByteArray>> &,
                                                       std::chrono::milliseconds, std::chrono::milliseconds)
{
    QMutexLocker lock(&m_mutex);
    m_httpMethods.append(method);
    return m_http;
}
