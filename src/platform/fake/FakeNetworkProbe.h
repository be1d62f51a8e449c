#pragma once

#include "platform/NetworkProbe.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QStringList>

// The network as the test sets it: names that resolve, the result of every TCP probe, whether share
// servers answer, and a record of what was sent. Nothing touches the real network. Thread-safe (the
// engine calls it on its workers).
class FakeNetworkProbe : public NetworkProbe
{
public:
    void setResolved(const QString &host, const QString &address); // unknown names resolve to "0.0.0.0"
    void setProbeResult(const SelectResult &result);               // default: ready
    // true (default): connects succeed and every HTTP request is answered with 207; false: connects fail.
    void setServersAnswer(bool answer);
    void setConnectResult(Connect result);
    void setHttpAnswer(const HttpAnswer &answer);

    int resolveCalls() const;
    int probeCalls() const;
    QList<QByteArray> wakePackets() const;
    QList<QByteArray> httpMethods() const;
    QStringList connectCalls() const; // "host:port" of every connect(), in order
    void clearConnectCalls();

    QString resolve(const QString &host) override;
    SelectResult probe(const QString &host, const QString &address, int port, std::chrono::seconds timeout) override;
    bool sendWakeOnLan(const QByteArray &packet, QString *error) override;
    Connect connect(const QString &host, quint16 port, std::chrono::milliseconds limit) override;
    HttpAnswer httpRequest(const QByteArray &method, const QUrl &url, const QList<QPair<QByteArray, QByteArray>> &headers,
                           std::chrono::milliseconds timeout, std::chrono::milliseconds extraWait) override;

private:
    mutable QMutex m_mutex;
    QHash<QString, QString> m_resolved;
    SelectResult m_probeResult = SelectResult::ready();
    Connect m_connect = Connect::Connected;
    HttpAnswer m_http{true, false, 207, QNetworkReply::NoError};
    int m_resolveCalls = 0;
    int m_probeCalls = 0;
    QList<QByteArray> m_wakePackets;
    QList<QByteArray> m_httpMethods;
    QStringList m_connectCalls;
};
