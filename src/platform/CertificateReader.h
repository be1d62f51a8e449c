#pragma once

#include <QString>

#include <chrono>
#include <optional>

// What a TLS server presented: the SHA-256 fingerprint of its certificate's DER form (64 lower-case hex
// digits) and the certificate's subject, for the user to recognise it.
struct ServerCertificate
{
    QString sha256;
    QString subject;
};

struct CertificateRead
{
    std::optional<ServerCertificate> certificate;
    QString error; // why there is none (connection refused, no TLS, time limit), for the user
};

// Reads the certificate a TLS server presents on host:port, trusted or not (nothing else is sent).
// Blocking, bounded by `limit`: called on workers only, from several at once.
class CertificateReader
{
public:
    static constexpr std::chrono::milliseconds kDefaultLimit{5000};

    virtual ~CertificateReader() = default;
    virtual CertificateRead read(const QString &host, int port, std::chrono::milliseconds limit = kDefaultLimit) = 0;
};
