#include "MountPipeline.h"

#include "base/Console.h"
#include "core/CertificateTrust.h"
#include "core/CredentialStore.h"
#include "core/MountPointFinder.h"
#include "core/NetworkTester.h"
#include "core/ShareUrlProbe.h"
#include "core/WakeOnLan.h"
#include "platform/MountResponseCode.h"
#include "platform/MountService.h"

#include <QFileInfo>

#include <algorithm>

namespace {
// Console lines of the pipeline (texts are part of the behaviour).
const QString kStartPrefix = QStringLiteral("🚀 [MOUNT] Starting mount process for: ");
const QString kAlreadyMountedLine = QStringLiteral("⚠️ [MOUNT] Already mounted, skipping");
const QString kWakePrefix = QStringLiteral("📡 [MOUNT] Sending Wake-on-LAN to: ");
const QString kResolveLine = QStringLiteral("🔍 [MOUNT] Step 1: Resolving hostname: '%1'");
const QString kEmptyHostLine = QStringLiteral("❌ [MOUNT] Hostname/IP is empty");
const QString kIPLiteralPrefix = QStringLiteral("⚡ [MOUNT] Skipping DNS — numeric IP literal: ");
const QString kLocalhostPrefix = QStringLiteral("⚡ [MOUNT] Localhost detected - using ");
const QString kResolveFailedLine = QStringLiteral("❌ [MOUNT] Failed to resolve hostname");
const QString kResolvedPrefix = QStringLiteral("✅ [MOUNT] Resolved hostname to: ");
const QString kConnectionTestLine = QStringLiteral("🔌 [MOUNT] Step 2: Connection test");
const QString kSkipSocketLine = QStringLiteral("⚡ [MOUNT] Skipping socket test for local address");
const QString kTestingPrefix = QStringLiteral("🔌 [MOUNT] Testing TCP connection to ");
const QString kConnectionOkLine = QStringLiteral("✅ [MOUNT] Connection test successful");
const QString kSocketClosedLine = QStringLiteral("❌ [MOUNT] Socket closed unexpectedly");
const QString kSocketClosedDetail = QStringLiteral("Connection: invalid sockfd - sockfd was closed");
const QString kConnectionErrorPrefix = QStringLiteral("❌ [MOUNT] Connection error: ");
const QString kConnectionTimeoutPrefix = QStringLiteral("❌ [MOUNT] Connection timeout: ");
const QString kAuthLine = QStringLiteral("🔐 [MOUNT] Step 3: Preparing authentication");
const QString kGuestLine1 = QStringLiteral("👤 [MOUNT] Using guest credentials");
const QString kGuestLine2 = QStringLiteral("👤 [MOUNT] Guest mode: using empty credentials");
const QString kUserModeLine = QStringLiteral("👤 [MOUNT] User mode: username='%1'");
const QString kUsingUserPrefix = QStringLiteral("👤 [MOUNT] Using username: ");
const QString kUIAllowLine = QStringLiteral("🔐 [MOUNT] NetFS UI: AllowUI (wait for Connect sheet)");
const QString kUINoLine = QStringLiteral("🔐 [MOUNT] NetFS UI: NoUI");
const QString kMountingUrlPrefix = QStringLiteral("Mounting URL: ");
const QString kCallLine = QStringLiteral("📂 [MOUNT] Step 6: Calling NetFSMountURLSync");
const QString kWaitingLine = QStringLiteral("⏳ [MOUNT] Waiting for NetFS response...");
const QString kReturnedPrefix = QStringLiteral("📥 [MOUNT] NetFS returned response code: ");
const QString kGhostRetryLine = QStringLiteral("🧹 [MOUNT] EEXIST but no live mount at '%1' — removing ghost and retrying");
const QString kRetryReturnedPrefix = QStringLiteral("📥 [MOUNT] NetFS retry returned response code: ");
const QString kHandlingPrefix = QStringLiteral("🎯 [MOUNT] Handling response code: ");
const QString kSuccessLine = QStringLiteral("✅ [MOUNT] SUCCESS! Volume mounted");
const QString kVerifyingLine = QStringLiteral("ℹ️ [MOUNT] EEXIST (code 17) — verifying live mount");
const QString kGhostBlockingLine = QStringLiteral("❌ [MOUNT] EEXIST but no live mount — ghost directory may still be blocking");
const QString kUnreachableLine = QStringLiteral("❌ [MOUNT] EEXIST path exists but share URL is unreachable");
const QString kSetMountPointLine = QStringLiteral("📍 [MOUNT] Set runtime_computed_mountpoint_String = '%1'");
const QString kMountedVolumesLine = QStringLiteral("📍 [MOUNT] Currently mounted volumes:");
const QString kCancelledLine = QStringLiteral("⏹ [MOUNT] Mount cancelled");
const QString kLateMountLine = QStringLiteral("⏹ [MOUNT] Mounted at '%1' after it was cancelled — %2");
const QString kUndone = QStringLiteral("unmounted again");
const QString kNotUndone = QStringLiteral("unmount failed");
const QString kCertificateReadLine = QStringLiteral("🔐 [MOUNT] Server certificate not trusted by the system: SHA-256 %1 (%2)");
const QString kCertificateTrustedLine = QStringLiteral("✅ [MOUNT] Server certificate is the trusted one");

// Status texts.
const QString kStaleRemovedStatus = QStringLiteral("Removed stale mount point before connecting");
const QString kHostRequiredStatus = QStringLiteral("Hostname/IP is required");
const QString kEmptyHostFailure = QStringLiteral("Mount failed: empty host");
const QString kIPLiteralStatus = QStringLiteral("IP literal (no DNS): ");
const QString kLocalhostStatus = QStringLiteral("Localhost resolved to ");
const QString kUnresolvableStatus = QStringLiteral("Hostname unresolvable and not valid IP");
const QString kResolvedStatus = QStringLiteral("Hostname resolved to ");
const QString kLocalConnectionStatus = QStringLiteral("Local connection - proceeding to mount");
const QString kTestingStatus = QStringLiteral("Testing connection to ");
const QString kConnectionOkStatus = QStringLiteral("Connection test successful");
const QString kSocketClosedStatus = QStringLiteral("Failed: Socket Closed");
const QString kUnableStatus = QStringLiteral("Unable to connect to ");
const QString kTimeoutStatus = QStringLiteral("Connection timeout: ");
const QString kGuestStatus = QStringLiteral("Using guest credentials");
const QString kSelectFolderStatus = QStringLiteral("Please select a local folder to mount in");
const QString kFolderMissingPrefix = QStringLiteral("Folder does not exist: ");
const QString kNotDirectoryPrefix = QStringLiteral("Mountpoint is not a directory: ");
const QString kNotDirectoryStatus = QStringLiteral("Mountpoint is not a directory");
const QString kAttemptingStatus = QStringLiteral("Attempting mount...");
const QString kMountedAtPrefix = QStringLiteral("Successfully mounted at ");
const QString kAlreadyMountedAtPrefix = QStringLiteral("Already mounted at ");
const QString kAlreadyMountedEvent = QStringLiteral("Sharename was already mounted");
const QString kBlockedStatus = QStringLiteral("Mount blocked by stale folder — try Clean Up");
const QString kServerUnreachableStatus = QStringLiteral("Server unreachable");
const QString kCancelledStatus = QStringLiteral("Mount cancelled");

// Characters a URL query may hold unencoded, plus the brackets of an IPv6 literal host.
const QByteArray kQueryAllowed = QByteArrayLiteral("!$&'()*+,-./:;=?@_~[]");

constexpr double kShareProbeSeconds = 2.0;
} // namespace

MountPipeline::MountPipeline(Context context, VolumeRecord record, bool allowUI,
                             std::shared_ptr<MountCancellation> cancellation,
                             std::function<void(const MountProgress &)> progress)
    : m_ctx(std::move(context))
    , m_record(std::move(record))
    , m_allowUI(allowUI)
    , m_cancellation(std::move(cancellation))
    , m_progress(std::move(progress))
{
}

bool MountPipeline::isLocalhostName(const QString &host)
{
    return host.trimmed().compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0;
}

QVariantMap MountPipeline::openOptions(bool allowUI, bool guest)
{
    return {{kOptionUI, allowUI ? kAllowUI : kNoUI}, {kOptionGuest, guest}};
}

QVariantMap MountPipeline::mountOptions(const VolumeRecord &record)
{
    if (record.mount_inside_Volumes)
        return {};
    return {{kOptionMountAtMountDir, true}};
}

MountRequest MountPipeline::makeRequest(const QUrl &url, const QString &user, const QString &password,
                                        const QVariantMap &openOptions, const QVariantMap &mountOptions,
                                        const QString &mountDirectory)
{
    MountRequest request;
    request.url = url;
    request.user = user;
    request.password = password;
    request.allowUI = openOptions.value(kOptionUI).toString() == kAllowUI;
    request.guest = openOptions.value(kOptionGuest).toBool();
    if (mountOptions.value(kOptionMountAtMountDir).toBool())
        request.mountDirectory = mountDirectory;
    return request;
}

QString MountPipeline::encodedMountUrl(const VolumeRecord &record)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(record.mountURLText(), kQueryAllowed));
}

void MountPipeline::report(const QString &status, std::optional<QString> ip, std::optional<bool> reachable)
{
    if (m_progress)
        m_progress({status, std::move(ip), reachable});
}

bool MountPipeline::cancelled() const
{
    return m_cancellation && m_cancellation->isCancelled();
}

std::optional<QString> MountPipeline::liveMountPath(const QString &expectedPath) const
{
    const QList<MountedVolume> volumes = m_ctx.finder->networkVolumes();
    if (const std::optional<MountedVolume> match = m_ctx.finder->matchVolume(m_record, volumes))
        return match->path;
    if (!expectedPath.isEmpty() && m_ctx.finder->isLiveMount(expectedPath, volumes))
        return expectedPath;
    return std::nullopt;
}

MountOutcome MountPipeline::run()
{
    MountOutcome outcome;
    const QString share = m_record.volume_String;
    const QString host = m_record.hostname_String.trimmed();
    MountPointFinder &finder = *m_ctx.finder;
    const bool customFolder = !m_record.mount_inside_Volumes;
    const QString customPath = m_record.unique_mountpoint_fullpath_String;

    Console::line(kStartPrefix + m_record.displayName());

    // Already mounted: the stored mount point (or the custom folder's link) is live.
    {
        const QList<MountedVolume> volumes = finder.networkVolumes();
        QString live;
        const QString stored = m_record.runtime_computed_mountpoint_String;
        if (finder.isSpecificPath(stored) && finder.isLiveMount(stored, volumes))
            live = stored;
        else if (customFolder && !customPath.isEmpty() && finder.isLiveMount(customPath, volumes))
            live = customPath;
        if (!live.isEmpty()) {
            Console::line(kAlreadyMountedLine);
            outcome.status = kAlreadyMountedAtPrefix + live;
            outcome.eventType = EVENT_TYPE_ENUM::ALREADY_MOUNTED;
            outcome.eventText = kAlreadyMountedEvent;
            outcome.mounted = true;
            outcome.reachable = true;
            outcome.mountPoint = live;
            return outcome;
        }
    }

    // A leftover folder of an earlier mount would make the platform answer "exists".
    {
        const QString expected = finder.expectedMountPath(m_record);
        bool removed = false;
        if (customFolder && !customPath.isEmpty() && finder.isConfirmedGhost(customPath, true))
            removed = finder.removeGhost(customPath, true);
        else if (!customFolder && finder.isConfirmedGhost(expected))
            removed = finder.removeGhost(expected);
        if (removed)
            report(kStaleRemovedStatus);
    }

    if (!m_record.macAddress_String.isEmpty()) {
        Console::line(kWakePrefix + m_record.macAddress_String);
        WakeOnLan::send(*m_ctx.network, m_record.macAddress_String);
    }

    // Step 1: resolve.
    Console::line(kResolveLine.arg(host));
    QString address;
    if (host.isEmpty()) {
        Console::line(kEmptyHostLine);
        outcome.status = kHostRequiredStatus;
        outcome.eventType = EVENT_TYPE_ENUM::HOSTNAME_UNRESOLVABLE;
        outcome.eventText = kEmptyHostFailure;
        return outcome;
    }
    if (const std::optional<QString> literal = NetworkTester::isIPLiteral(host)) {
        address = *literal;
        Console::line(kIPLiteralPrefix + address);
        report(kIPLiteralStatus + address, address);
    } else if (isLocalhostName(host)) {
        address = kLoopbackAddress;
        Console::line(kLocalhostPrefix + address);
        report(kLocalhostStatus + address, address);
    } else {
        address = NetworkTester::resolveHostName(*m_ctx.network, host);
        if (address.isEmpty() || address == QLatin1String("0.0.0.0")) {
            Console::line(kResolveFailedLine);
            outcome.status = kUnresolvableStatus;
            outcome.ipAddress = QStringLiteral("0.0.0.0");
            outcome.reachable = false;
            outcome.eventType = EVENT_TYPE_ENUM::HOSTNAME_UNRESOLVABLE;
            outcome.eventText = QStringLiteral("Hostname unresolvable: ") + host;
            return outcome;
        }
        Console::line(kResolvedPrefix + address);
        report(kResolvedStatus + address, address);
    }
    outcome.ipAddress = address;
    if (cancelled())
        return stop(outcome);

    // Step 2: connection test.
    Console::line(kConnectionTestLine);
    if (NetworkTester::shouldSkipHost(host) || NetworkTester::shouldSkipAddress(address)) {
        Console::line(kSkipSocketLine);
        report(kLocalConnectionStatus);
    } else {
        const int port = int(m_record.port_Int.value_or(MountProtocol::defaultPort(m_record.mounting_using_protocol_Enum)));
        Console::line(kTestingPrefix + host + QLatin1Char(':') + QString::number(port));
        report(kTestingStatus + host);
        const SelectResult result = NetworkTester(m_ctx.defaults, *m_ctx.network).probe(host, address, port);
        if (result.isReady()) {
            Console::line(kConnectionOkLine);
            report(kConnectionOkStatus, std::nullopt, true);
        } else {
            outcome.reachable = false;
            outcome.eventType = EVENT_TYPE_ENUM::CONNECTION_FAILED;
            if (result.isClosed()) {
                Console::line(kSocketClosedLine);
                Console::line(kSocketClosedDetail);
                outcome.status = kSocketClosedStatus;
                outcome.eventText = kSocketClosedDetail;
            } else if (result.isError()) {
                Console::line(kConnectionErrorPrefix + result.message);
                outcome.status = kUnableStatus + host;
                outcome.eventText = result.message;
            } else {
                Console::line(kConnectionTimeoutPrefix + host);
                outcome.status = kTimeoutStatus + host;
                outcome.eventText = kTimeoutStatus + host;
            }
            return outcome;
        }
    }
    outcome.reachable = true;
    if (cancelled())
        return stop(outcome);

    // Step 3: credentials.
    Console::line(kAuthLine);
    const bool guest = m_record.no_password_guest_login != 0;
    QString user;
    QString password;
    if (guest) {
        Console::line(kGuestLine1);
        Console::line(kGuestLine2);
        report(kGuestStatus);
    } else {
        user = m_record.username_String;
        Console::line(kUserModeLine.arg(user));
        Console::line(kUsingUserPrefix + user);
        if (m_ctx.credentials) {
            const bool wasCached = m_record._cachedPassword.has_value();
            password = m_ctx.credentials->password(m_record);
            if (!wasCached)
                outcome.cachedPassword = m_record._cachedPassword;
        } else {
            password = m_record._cachedPassword.value_or(QString());
        }
    }
    // GVfs shows no connect sheet of its own, so the "waiting for the system's sheet" statuses never apply.
    Console::line(m_allowUI ? kUIAllowLine : kUINoLine);
    const QVariantMap open = openOptions(m_allowUI, guest);

    // Local mount point.
    const QVariantMap mountOpts = mountOptions(m_record);
    if (customFolder) {
        QString failure;
        QString status;
        if (customPath.isEmpty()) {
            failure = status = kSelectFolderStatus;
        } else if (!finder.isInsideVolumesFolder(customPath) && !QFileInfo::exists(customPath)) {
            failure = status = kFolderMissingPrefix + customPath;
        } else if (QFileInfo info(customPath); !info.isDir() && !info.isSymLink()) {
            failure = kNotDirectoryPrefix + customPath;
            status = kNotDirectoryStatus;
        }
        if (!failure.isEmpty()) {
            Console::line(QStringLiteral("❌ [MOUNT] ") + failure);
            outcome.status = status;
            outcome.eventType = EVENT_TYPE_ENUM::MOUNTPOINT_NOT_FOUND;
            outcome.eventText = failure;
            return outcome;
        }
    }

    const QString urlText = encodedMountUrl(m_record);
    Console::line(kMountingUrlPrefix + urlText);
    const QUrl url = QUrl::fromEncoded(urlText.toLatin1());
    MountRequest request = makeRequest(url, user, password, open, mountOpts, customPath);
    // A certificate the system does not trust is accepted only when it is the one the share trusts.
    std::optional<CertificateTrust::Verdict> certificateRefusal;
    CertificateRead seenCertificate;
    if (m_record.mounting_using_protocol_Enum == MountUsingProtocol_Enum::WebDAVS) {
        request.trustCertificate = [this, &certificateRefusal, &seenCertificate] {
            seenCertificate = m_ctx.certificates
                                  ? m_ctx.certificates->read(CertificateTrust::host(m_record), CertificateTrust::port(m_record))
                                  : CertificateRead{std::nullopt, QStringLiteral("no certificate reader")};
            if (seenCertificate.certificate)
                Console::line(kCertificateReadLine.arg(seenCertificate.certificate->sha256, seenCertificate.certificate->subject));
            const CertificateTrust::Verdict verdict = CertificateTrust::judge(m_record.trustedCertificateSHA256, seenCertificate);
            if (verdict == CertificateTrust::Verdict::Accept) {
                Console::line(kCertificateTrustedLine);
                certificateRefusal.reset();
                return true;
            }
            certificateRefusal = verdict;
            return false;
        };
    }

    Console::line(kCallLine);
    report(kAttemptingStatus);
    Console::line(kWaitingLine);
    if (cancelled())
        return stop(outcome);
    MountResult result = m_ctx.service->mount(request, m_cancellation);
    int code = result.code;
    Console::line(kReturnedPrefix + QString::number(code));

    const QString expected = finder.expectedMountPath(m_record);
    if (code == MountResponseCode::AlreadyExists && !cancelled() && !liveMountPath(expected)) {
        Console::line(kGhostRetryLine.arg(expected));
        finder.removeGhost(expected, customFolder);
        result = m_ctx.service->mount(request, m_cancellation);
        code = result.code;
        Console::line(kRetryReturnedPrefix + QString::number(code));
    }

    if (code == MountResponseCode::Cancelled || (cancelled() && code != MountResponseCode::Success)) {
        outcome.code = code;
        return stop(outcome);
    }
    if (cancelled()) {
        // The platform finished the mount although it was cancelled meanwhile: nobody wants it any more.
        const QString path = customFolder && !customPath.isEmpty() ? customPath : result.mountPath;
        outcome.code = code;
        outcome.lateMountPath = path;
        outcome.lateMountUndone = !path.isEmpty() && m_ctx.service->unmount(path, true).ok;
        Console::line(kLateMountLine.arg(path, *outcome.lateMountUndone ? kUndone : kNotUndone));
        return stop(outcome);
    }

    Console::line(kHandlingPrefix + QString::number(code));
    outcome.code = code;
    const QString hostName = m_record.hostname_String;
    if (code == MountResponseCode::Success) {
        Console::line(kSuccessLine);
        handleSuccess(outcome, result.mountPath, url);
        outcome.status = kMountedAtPrefix + outcome.mountPoint;
        return outcome;
    }
    if (code == MountResponseCode::AlreadyExists) {
        Console::line(kVerifyingLine);
        const std::optional<QString> live = liveMountPath(expected);
        if (!live) {
            Console::line(kGhostBlockingLine);
            outcome.status = kBlockedStatus;
            outcome.eventType = EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR;
            outcome.eventText = QStringLiteral("Mount path blocked (stale folder at ") + expected + QLatin1Char(')');
            outcome.auditType = AuditEventType::mountFailure;
            outcome.auditDetails = QStringLiteral("Stale mount point blocked connection");
            outcome.auditErrorCode = code;
            return outcome;
        }
        if (!ShareUrlProbe::probe(*m_ctx.network, m_record, kShareProbeSeconds)) {
            Console::line(kUnreachableLine);
            const bool webdav = MountProtocol::isWebDAV(m_record.mounting_using_protocol_Enum);
            outcome.status = kServerUnreachableStatus;
            outcome.reachable = false;
            outcome.eventType = EVENT_TYPE_ENUM::CONNECTION_FAILED;
            outcome.eventText = QStringLiteral("Mount path exists at ") + *live + QStringLiteral(" — server unreachable");
            outcome.auditType = AuditEventType::mountFailure;
            outcome.auditDetails = webdav ? QStringLiteral("Stale WebDAV mount, server unreachable")
                                          : QStringLiteral("Share URL probe failed while the OS still listed the volume");
            outcome.auditErrorCode = code;
            return outcome;
        }
        handleSuccess(outcome, *live, url);
        outcome.status = kAlreadyMountedAtPrefix + outcome.mountPoint;
        return outcome;
    }
    if (certificateRefusal) {
        // Refusing the certificate is what ended the attempt, not the credentials.
        const QString text = CertificateTrust::statusText(*certificateRefusal, seenCertificate);
        Console::line(QStringLiteral("❌ [MOUNT] ") + text);
        outcome.status = text;
        outcome.eventType = EVENT_TYPE_ENUM::CONNECTION_FAILED;
        outcome.eventText = text;
        outcome.mounted = false;
        outcome.auditType = AuditEventType::mountFailure;
        outcome.auditDetails = text;
        outcome.auditErrorCode = code;
        return outcome;
    }
    applyFailureCode(m_record, code, outcome);
    const bool authFailure = outcome.eventType == EVENT_TYPE_ENUM::AUTH_FAILED;
    const auto beyondAscii = [](const QString &text) {
        return std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() > 0x7f; });
    };
    if (authFailure && MountProtocol::isWebDAV(m_record.mounting_using_protocol_Enum) && beyondAscii(password)) {
        Console::line(kNonAsciiPasswordLine);
        outcome.status = kNonAsciiPasswordStatus;
        outcome.eventText = kNonAsciiPasswordStatus;
    }
    return outcome;
}

void MountPipeline::handleSuccess(MountOutcome &outcome, const QString &liveHint, const QUrl &url)
{
    std::optional<QString> mountPoint = m_ctx.finder->discoverMountPoint(m_record);
    if (!mountPoint) {
        Console::line(kMountedVolumesLine);
        for (const MountedVolume &volume : m_ctx.finder->networkVolumes())
            Console::line(QStringLiteral("📍 [MOUNT]   ") + volume.path
                          + (volume.remountUrl ? QStringLiteral(" ← ") + volume.remountUrl->toString() : QString()));
        // The platform said where it put the share; better than nothing.
        mountPoint = liveHint.isEmpty() ? m_ctx.finder->expectedMountPath(m_record) : liveHint;
    }
    outcome.mountPoint = *mountPoint;
    Console::line(kSetMountPointLine.arg(outcome.mountPoint));
    outcome.mounted = true;
    outcome.reachable = true;
    outcome.remountUrl = url;
    outcome.eventType = EVENT_TYPE_ENUM::MOUNT_SUCCESS;
    outcome.eventText = QStringLiteral("Mounted ") + m_record.volume_String;
    outcome.auditType = AuditEventType::mountSuccess;
    outcome.auditDetails = QStringLiteral("Mounted ") + m_record.volume_String + QStringLiteral(" at ") + outcome.mountPoint;
    outcome.auditSuccess = true;
}

MountOutcome MountPipeline::stop(MountOutcome outcome) const
{
    Console::line(kCancelledLine);
    outcome.cancelled = true;
    outcome.status = kCancelledStatus;
    outcome.eventType.reset();
    outcome.auditType.reset();
    outcome.mounted.reset();
    return outcome;
}

void MountPipeline::applyFailureCode(const VolumeRecord &record, int code, MountOutcome &outcome)
{
    const QString share = record.volume_String;
    const QString host = record.hostname_String;
    QString line;
    QString message;
    QString status;
    EVENT_TYPE_ENUM type = EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR;
    QString auditDetails;
    switch (code) {
    case 2:
        line = QStringLiteral("❌ [MOUNT] Share not found (code 2)");
        message = QStringLiteral("Share '") + share + QStringLiteral("' not found on server");
        status = QStringLiteral("Share not found on server");
        type = EVENT_TYPE_ENUM::SHARENAME_NOT_FOUND;
        break;
    case 8:
        if (const std::optional<QString> literal = NetworkTester::isIPLiteral(host)) {
            line = QStringLiteral("❌ [MOUNT] NetFS error 8 on IP literal ") + *literal
                   + QStringLiteral(" — DNS preflight was skipped; this is a NetFS/connect failure");
            message = QStringLiteral("NetFS error 8 on IP ") + *literal + QStringLiteral(" (not DNS preflight)");
            status = QStringLiteral("Mount failed: Error 8 for ") + host;
            type = EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR;
        } else {
            line = QStringLiteral("❌ [MOUNT] NetFS name lookup failed (code 8) for hostname ") + host;
            message = QStringLiteral("NetFS error 8: hostname lookup failed for ") + host;
            status = QStringLiteral("Hostname unresolvable and not valid IP");
            type = EVENT_TYPE_ENUM::HOSTNAME_UNRESOLVABLE;
        }
        auditDetails = QStringLiteral("NetFS error 8 for ") + host;
        break;
    case 13:
        line = QStringLiteral("❌ [MOUNT] Permission denied (code 13)");
        message = status = QStringLiteral("Permission denied");
        type = EVENT_TYPE_ENUM::AUTH_FAILED;
        break;
    case 19:
        line = QStringLiteral("❌ [MOUNT] No such device (code 19 / ENODEV)");
        if (share.isEmpty())
            message = QStringLiteral("Mount failed with error 19 (ENODEV) for ") + host;
        else
            message = QStringLiteral("Mount failed with error 19 (ENODEV). Path '") + share
                      + QStringLiteral("' does not exist on the server (") + host + QLatin1Char(')');
        status = QStringLiteral("Error 19: share path not found");
        type = EVENT_TYPE_ENUM::SHARENAME_NOT_FOUND;
        break;
    case 60:
        line = QStringLiteral("❌ [MOUNT] Connection timed out (code 60)");
        message = status = QStringLiteral("Connection timed out");
        type = EVENT_TYPE_ENUM::CONNECTION_FAILED;
        break;
    case 64:
        line = QStringLiteral("❌ [MOUNT] Host is down (code 64)");
        message = status = QStringLiteral("Host is down (code 64)");
        type = EVENT_TYPE_ENUM::CONNECTION_FAILED;
        break;
    case 65:
        line = QStringLiteral("❌ [MOUNT] No route to host (code 65)");
        message = status = isLocalhostName(host)
                               ? QStringLiteral("Host unreachable (Error 65). Use this Mac’s LAN IP, not localhost, for SMB.")
                               : QStringLiteral("Host unreachable (Error 65)");
        type = EVENT_TYPE_ENUM::CONNECTION_FAILED;
        break;
    case 80:
        line = QStringLiteral("❌ [MOUNT] Authentication failed (code 80)");
        message = status = QStringLiteral("Authentication failed");
        type = EVENT_TYPE_ENUM::AUTH_FAILED;
        break;
    case -6600:
        line = QStringLiteral("❌ [MOUNT] Internal auth error (code -6600)");
        message = status = QStringLiteral("Auth error - try again");
        type = EVENT_TYPE_ENUM::AUTH_FAILED;
        break;
    default:
        line = QStringLiteral("❌ [MOUNT] Error code: ") + QString::number(code);
        message = QStringLiteral("Mount failed with error ") + QString::number(code);
        status = QStringLiteral("Mount failed: Error ") + QString::number(code);
        type = EVENT_TYPE_ENUM::UNKNOWN_MOUNT_ERROR;
        break;
    }
    Console::line(line);
    outcome.status = status;
    outcome.eventType = type;
    outcome.eventText = message;
    outcome.mounted = false;
    outcome.auditType = AuditEventType::mountFailure;
    outcome.auditDetails = auditDetails.isEmpty() ? message : auditDetails;
    outcome.auditSuccess = false;
    outcome.auditErrorCode = code;
}
