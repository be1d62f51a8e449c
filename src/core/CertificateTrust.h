#pragma once

#include "platform/CertificateReader.h"

#include <QString>

class VolumeRecord;

// Trust in a secure WebDAV server's own certificate (self-signed, or from an authority the system does not
// know): a share keeps the SHA-256 fingerprint the user accepted, and a mount accepts exactly that
// certificate. Pure functions; any thread.
namespace CertificateTrust {

enum class Verdict {
    Accept,     // the server presents the trusted certificate
    NotTrusted, // the share trusts none
    Changed,    // the share trusts another certificate
    Unreadable, // the server's certificate could not be read
};

// Status texts of a refused certificate (also the event text); part of the interface like every status.
inline const QString kNotTrustedStatus = QStringLiteral("Untrusted server certificate: SHA-256 %1 (%2)");
inline const QString kChangedStatus =
    QStringLiteral("Server certificate changed: SHA-256 %1 (%2) is not the trusted certificate");
inline const QString kUnreadableStatus = QStringLiteral("Untrusted server certificate that cannot be read: %1");

Verdict judge(const QString &trustedSha256, const CertificateRead &seen);

// The status for a verdict other than Accept.
QString statusText(Verdict verdict, const CertificateRead &seen);

// Where the share's server presents its certificate: the host (an IPv6 literal without brackets) and the
// record's port, else the protocol's default.
QString host(const VolumeRecord &record);
int port(const VolumeRecord &record);

} // namespace CertificateTrust
