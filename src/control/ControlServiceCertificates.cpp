// The certificate-trust methods of the control interface (ServerCertificate, TrustCertificate).
#include "ControlService.h"

#include "ControlNames.h"

#include "base/CertificateFingerprint.h"
#include "core/MountEngine.h"
#include "platform/CertificateReader.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString kNotSecureWebDav =
    QStringLiteral("Only secure WebDAV (https) shares have a server certificate to trust");
const QString kCannotRead = QStringLiteral("Cannot read the server certificate of %1: %2");

bool isSecureWebDav(const VolumeRecord &record)
{
    return record.mounting_using_protocol_Enum == MountUsingProtocol_Enum::WebDAVS;
}

} // namespace

void ControlService::serverCertificate(qint64 id, std::function<void(Result<QString>)> done)
{
    Error error;
    const VolumeRecord *live = findRecord(id, &error);
    if (live && !isSecureWebDav(*live))
        error = {ControlNames::kErrorInvalidArgument, kNotSecureWebDav};
    if (!error.name.isEmpty()) {
        done({{}, error});
        return;
    }
    const QString name = live->displayName();
    m_engine.readServerCertificate(id, [this, id, name, done](const CertificateRead &read) {
        if (!read.certificate) {
            done({{}, {ControlNames::kErrorFailed, kCannotRead.arg(name, read.error)}});
            return;
        }
        const VolumeRecord *now = m_engine.record(id);
        const QJsonObject json{{QStringLiteral("sha256"), read.certificate->sha256},
                               {QStringLiteral("subject"), read.certificate->subject},
                               {QStringLiteral("trusted"), now ? now->trustedCertificateSHA256 : QString()}};
        done({QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)), {}});
    });
}

ControlService::Result<ControlService::Done> ControlService::trustCertificate(qint64 id, const QString &sha256)
{
    Error error;
    const VolumeRecord *live = findRecord(id, &error);
    if (!live)
        return {{}, error};
    VolumeRecord edited = *live;
    edited.trustedCertificateSHA256.clear();
    if (!sha256.trimmed().isEmpty()) {
        if (!isSecureWebDav(*live))
            return {{}, {ControlNames::kErrorInvalidArgument, kNotSecureWebDav}};
        const std::optional<QString> fingerprint = CertificateFingerprint::normalise(sha256);
        if (!fingerprint)
            return {{}, {ControlNames::kErrorInvalidArgument, CertificateFingerprint::invalidText(QStringLiteral("The fingerprint"))}};
        edited.trustedCertificateSHA256 = *fingerprint;
    }
    if (const MountEngine::UserChange change = m_engine.editUserRecord(edited); change.refusal)
        return {{},
                {change.refusal->reason == RecordRules::Refusal::Reason::Locked ? ControlNames::kErrorLocked
                                                                                : ControlNames::kErrorDuplicate,
                 change.refusal->message()}};
    return {};
}

QString ControlService::ServerCertificate(qlonglong id)
{
    // Answered when the bounded read ends; the bus call waits for it.
    serverCertificate(id, replyLater<QString>());
    return {};
}

void ControlService::TrustCertificate(qlonglong id, const QString &sha256)
{
    const auto r = trustCertificate(id, sha256);
    if (r.ok())
        replyWhenSaved();
    reply(r.error);
}
