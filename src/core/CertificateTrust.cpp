#include "CertificateTrust.h"

#include "base/CertificateFingerprint.h"
#include "core/MountEngine.h"
#include "core/VolumeRecord.h"

namespace CertificateTrust {

Verdict judge(const QString &trustedSha256, const CertificateRead &seen)
{
    if (!seen.certificate)
        return Verdict::Unreadable;
    const std::optional<QString> trusted = CertificateFingerprint::normalise(trustedSha256);
    if (!trusted)
        return Verdict::NotTrusted;
    return CertificateFingerprint::normalise(seen.certificate->sha256) == trusted ? Verdict::Accept : Verdict::Changed;
}

QString statusText(Verdict verdict, const CertificateRead &seen)
{
    switch (verdict) {
    case Verdict::Accept:
        return {};
    case Verdict::NotTrusted:
        return kNotTrustedStatus.arg(seen.certificate->sha256, seen.certificate->subject);
    case Verdict::Changed:
        return kChangedStatus.arg(seen.certificate->sha256, seen.certificate->subject);
    case Verdict::Unreadable:
        break;
    }
    return kUnreadableStatus.arg(seen.error);
}

QString host(const VolumeRecord &record)
{
    return VolumeRecord::ipLiteral(record.hostname_String).value_or(record.hostname_String.trimmed());
}

int port(const VolumeRecord &record)
{
    if (record.port_Int && *record.port_Int >= 1 && *record.port_Int <= 65535)
        return int(*record.port_Int);
    return MountProtocol::defaultPort(record.mounting_using_protocol_Enum);
}

} // namespace CertificateTrust

void MountEngine::readServerCertificate(qint64 id, std::function<void(CertificateRead)> done)
{
    if (const VolumeRecord *live = record(id)) {
        readServerCertificate(*live, std::move(done));
        return;
    }
    const QString why = QStringLiteral("no share with ID %1").arg(id);
    QMetaObject::invokeMethod(this, [done, why] { done({std::nullopt, why}); }, Qt::QueuedConnection);
}

void MountEngine::readServerCertificate(const VolumeRecord &share, std::function<void(CertificateRead)> done)
{
    CertificateReader *reader = m_deps.certificates;
    if (!reader) {
        const QString why = QStringLiteral("this build cannot read server certificates");
        QMetaObject::invokeMethod(this, [done, why] { done({std::nullopt, why}); }, Qt::QueuedConnection);
        return;
    }
    const QString host = CertificateTrust::host(share);
    const int port = CertificateTrust::port(share);
    // The destructor waits for the pool, so `this` outlives the worker.
    m_ioPool.start([this, reader, host, port, done] {
        const CertificateRead read = reader->read(host, port);
        QMetaObject::invokeMethod(this, [done, read] { done(read); }, Qt::QueuedConnection);
    });
}
