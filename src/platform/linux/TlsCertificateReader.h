#pragma once

#include "platform/CertificateReader.h"

// CertificateReader over a TLS handshake (QSslSocket, verification off: the point is to see an untrusted
// certificate). The connection is closed once the handshake is done; nothing is sent over it.
class TlsCertificateReader : public CertificateReader
{
public:
    CertificateRead read(const QString &host, int port, std::chrono::milliseconds limit = kDefaultLimit) override;

    // "CN=…, O=…" in the certificate's order of attributes; the display name when it has none.
    static QString subjectText(const class QSslCertificate &certificate);
};
