#pragma once

#include "platform/CertificateReader.h"

#include <QList>
#include <QMutex>

// Presents one scripted certificate (or error) for every host; records the host:port of each read.
// Thread-safe.
class FakeCertificateReader : public CertificateReader
{
public:
    void present(const CertificateRead &read)
    {
        QMutexLocker lock(&m_mutex);
        m_read = read;
    }
    QStringList reads() const
    {
        QMutexLocker lock(&m_mutex);
        return m_reads;
    }
    CertificateRead read(const QString &host, int port, std::chrono::milliseconds) override
    {
        QMutexLocker lock(&m_mutex);
        m_reads.append(host + QLatin1Char(':') + QString::number(port));
        return m_read;
    }

private:
    mutable QMutex m_mutex;
    CertificateRead m_read{std::nullopt, QStringLiteral("no certificate scripted")};
    QStringList m_reads;
};
