#include "TlsCertificateReader.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QSslCertificate>
#include <QSslSocket>
#include <QStringList>

QString TlsCertificateReader::subjectText(const QSslCertificate &certificate)
{
    QStringList parts;
    for (const QByteArray &attribute : certificate.subjectInfoAttributes()) {
        for (const QString &value : certificate.subjectInfo(attribute))
            parts.append(QString::fromLatin1(attribute) + QLatin1Char('=') + value);
    }
    return parts.isEmpty() ? certificate.subjectDisplayName() : parts.join(QStringLiteral(", "));
}

CertificateRead TlsCertificateReader::read(const QString &host, int port, std::chrono::milliseconds limit)
{
    CertificateRead result;
    if (!QSslSocket::supportsSsl()) {
        result.error = QStringLiteral("TLS is not available on this system");
        return result;
    }
    const QDeadlineTimer deadline(limit);
    QSslSocket socket;
    socket.setPeerVerifyMode(QSslSocket::VerifyNone);
    socket.connectToHostEncrypted(host, quint16(port));
    const bool connected = socket.waitForConnected(int(deadline.remainingTime()));
    const bool encrypted = connected && socket.waitForEncrypted(int(qMax<qint64>(deadline.remainingTime(), 1)));
    const QSslCertificate certificate = socket.peerCertificate();
    if (!certificate.isNull()) {
        result.certificate = ServerCertificate{
            QString::fromLatin1(certificate.digest(QCryptographicHash::Sha256).toHex()), subjectText(certificate)};
    } else if (!encrypted && deadline.hasExpired()) {
        result.error = QStringLiteral("no TLS handshake with %1:%2 within %3 s").arg(host).arg(port).arg(limit.count() / 1000.0);
    } else {
        result.error = socket.errorString();
    }
    socket.abort();
    return result;
}
