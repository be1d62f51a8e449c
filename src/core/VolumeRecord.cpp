#include "VolumeRecord.h"

#include "base/CertificateFingerprint.h"
#include "base/NotificationCenter.h"
#include "base/PropertyList.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QUuid>

#include <arpa/inet.h>

#include <limits>

namespace {

// Archive keys: part of the persisted format, shared with archives of older builds.
const QString kKeyId = QStringLiteral("internal_ID_Int_String");
const QString kKeyCredentialOverride = QStringLiteral("credentialAccountOverride");
const QString kKeyHostname = QStringLiteral("hostname_String");
const QString kKeyVolume = QStringLiteral("volume_String");
const QString kKeyVolumeIsEmpty = QStringLiteral("volume_String_isEmpty");
const QString kKeyPort = QStringLiteral("port_Int");
const QString kKeyNickname = QStringLiteral("nickname_String");
const QString kKeyGuest = QStringLiteral("no_password_guest_login");
const QString kKeyUsername = QStringLiteral("username_String");
const QString kKeyProtocol = QStringLiteral("protocol_Int_String");
const QString kKeyMountInsideVolumes = QStringLiteral("mount_inside_Volumes");
const QString kKeyUniqueMountpoint = QStringLiteral("unique_mountpoint_fullpath_String");
const QString kKeyAutoMount = QStringLiteral("auto_Mount");
const QString kKeyScheduleMount = QStringLiteral("schedule_Mount");
const QString kKeyScheduleMountTime = QStringLiteral("scheduleMountTime");
const QString kKeyScheduleUnMountTime = QStringLiteral("scheduleUnMountTime");
const QString kKeyScheduleWeekdays = QStringLiteral("schedule_Weekdays");
const QString kKeyMacAddress = QStringLiteral("macAddress_String");
const QString kKeyPostMountScript = QStringLiteral("postMountScriptPath_String");
const QString kKeyPreUnmountScript = QStringLiteral("preUnmountScriptPath_String");
const QString kKeyAllowedSSIDs = QStringLiteral("allowedSSIDs_String");
const QString kKeyGroup = QStringLiteral("group_String");
const QString kKeyIsLocked = QStringLiteral("isLocked");
const QString kKeyManagedBy = QStringLiteral("managedBy");
const QString kKeyTrustedCertificate = QStringLiteral("trustedCertificateSHA256");
const QString kKeyLegacyPassword = QStringLiteral("password_String");

const QString kDuplicateAccountPrefix = QStringLiteral("volume_record_duplicate_");
const QString kDefaultAccountPrefix = QStringLiteral("volume_record_");

constexpr qint64 kScheduleMountOffsetSeconds = 900;
constexpr qint64 kScheduleUnMountOffsetSeconds = 1800;

bool isString(const QVariant &v)
{
    return v.metaType().id() == QMetaType::QString;
}

std::optional<QString> stringValue(const QVariantMap &archive, const QString &key)
{
    const auto it = archive.constFind(key);
    if (it == archive.cend() || !isString(*it))
        return std::nullopt;
    return it->toString();
}

// A number that converts to an integer without loss. Booleans do not count: the on/off states are
// archived as integers, and a Boolean there means the archive was written by something else.
std::optional<qint64> integerValue(const QVariant &v)
{
    if (PropertyList::isInteger(v))
        return v.toLongLong();
    if (v.metaType().id() == QMetaType::Double || v.metaType().id() == QMetaType::Float) {
        const double d = v.toDouble();
        if (d >= -9.0e18 && d <= 9.0e18 && d == static_cast<double>(static_cast<qint64>(d)))
            return static_cast<qint64>(d);
    }
    return std::nullopt;
}

std::optional<qint64> integerValue(const QVariantMap &archive, const QString &key)
{
    const auto it = archive.constFind(key);
    if (it == archive.cend())
        return std::nullopt;
    return integerValue(*it);
}

// Decimal text as the archive writes it; surrounding white space is not accepted.
std::optional<qint64> parseDecimal(const QString &text)
{
    if (text.isEmpty() || text.trimmed() != text)
        return std::nullopt;
    bool ok = false;
    const qint64 v = text.toLongLong(&ok, 10);
    if (!ok)
        return std::nullopt;
    return v;
}

std::optional<QDateTime> dateValue(const QVariantMap &archive, const QString &key)
{
    const auto it = archive.constFind(key);
    if (it == archive.cend() || it->metaType().id() != QMetaType::QDateTime || !it->toDateTime().isValid())
        return std::nullopt;
    return it->toDateTime();
}

std::optional<bool> boolValue(const QVariantMap &archive, const QString &key)
{
    const auto it = archive.constFind(key);
    if (it == archive.cend())
        return std::nullopt;
    if (it->metaType().id() == QMetaType::Bool)
        return it->toBool();
    // A keyed Boolean read back from a number reads non-zero as true.
    if (const auto n = integerValue(*it))
        return *n != 0;
    return std::nullopt;
}

std::optional<QList<int>> weekdaysValue(const QVariantMap &archive, const QString &key)
{
    const auto it = archive.constFind(key);
    if (it == archive.cend() || it->metaType().id() != QMetaType::QVariantList)
        return std::nullopt;
    QList<int> days;
    for (const QVariant &item : it->toList()) {
        const auto n = integerValue(item);
        if (!n || *n < std::numeric_limits<int>::min() || *n > std::numeric_limits<int>::max())
            return std::nullopt; // one foreign element makes the whole array unusable
        days.append(static_cast<int>(*n));
    }
    return days;
}

bool isUuidText(const QString &text)
{
    static const QRegularExpression re(
        QStringLiteral("^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$"));
    return re.match(text).hasMatch();
}

} // namespace

namespace MountProtocol {

QString scheme(MountUsingProtocol_Enum protocol)
{
    switch (protocol) {
    case MountUsingProtocol_Enum::SMB:
        return QStringLiteral("smb://");
    case MountUsingProtocol_Enum::AFP:
        return QStringLiteral("afp://");
    case MountUsingProtocol_Enum::NFS:
        return QStringLiteral("nfs://");
    case MountUsingProtocol_Enum::WebDAV:
        return QStringLiteral("http://");
    case MountUsingProtocol_Enum::WebDAVS:
        return QStringLiteral("https://");
    }
    return QStringLiteral("smb://");
}

int defaultPort(MountUsingProtocol_Enum protocol)
{
    switch (protocol) {
    case MountUsingProtocol_Enum::SMB:
        return 445;
    case MountUsingProtocol_Enum::AFP:
        return 548;
    case MountUsingProtocol_Enum::NFS:
        return 2049;
    case MountUsingProtocol_Enum::WebDAV:
        return 80;
    case MountUsingProtocol_Enum::WebDAVS:
        return 443;
    }
    return 445;
}

MountUsingProtocol_Enum fromRaw(qint64 raw)
{
    if (raw < 0 || raw > 4)
        return MountUsingProtocol_Enum::SMB;
    return static_cast<MountUsingProtocol_Enum>(raw);
}

bool isWebDAV(MountUsingProtocol_Enum protocol)
{
    return protocol == MountUsingProtocol_Enum::WebDAV || protocol == MountUsingProtocol_Enum::WebDAVS;
}

} // namespace MountProtocol

VolumeRecord::VolumeRecord()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    schedule_MountTime = now.addSecs(kScheduleMountOffsetSeconds);
    schedule_UnMountTime = now.addSecs(kScheduleUnMountOffsetSeconds);
}

QString VolumeRecord::displayName() const
{
    if (!nickname_String.isEmpty())
        return nickname_String;
    return hostname_String + QLatin1Char('/') + volume_String;
}

QString VolumeRecord::credentialAccount() const
{
    if (credentialAccountOverride)
        return *credentialAccountOverride;
    return kDefaultAccountPrefix + QString::number(internal_ID_Int);
}

std::optional<QString> VolumeRecord::ipLiteral(const QString &host)
{
    QString text = host.trimmed();
    if (text.size() >= 2 && text.startsWith(QLatin1Char('[')) && text.endsWith(QLatin1Char(']')))
        text = text.mid(1, text.size() - 2);
    if (text.isEmpty())
        return std::nullopt;
    const QByteArray latin = text.toLatin1();
    // toLatin1 maps non-Latin-1 characters to '?', which inet_pton rejects anyway.
    unsigned char buffer[sizeof(struct in6_addr)];
    if (::inet_pton(AF_INET, latin.constData(), buffer) == 1 || ::inet_pton(AF_INET6, latin.constData(), buffer) == 1)
        return text;
    return std::nullopt;
}

QString VolumeRecord::mountURLText() const
{
    const QString host = hostname_String.trimmed();
    if (host.isEmpty())
        return QString();

    QString url = MountProtocol::scheme(mounting_using_protocol_Enum);
    // Only an address literal is bracketed: a host name with ":" is the user's own text and stays as typed.
    if (ipLiteral(host) && host.contains(QLatin1Char(':')) && !host.startsWith(QLatin1Char('[')))
        url += QLatin1Char('[') + host + QLatin1Char(']');
    else
        url += host;

    if (port_Int && *port_Int >= 1)
        url += QLatin1Char(':') + QString::number(*port_Int);

    qsizetype begin = 0;
    qsizetype end = volume_String.size();
    while (begin < end && volume_String.at(begin) == QLatin1Char('/'))
        ++begin;
    while (end > begin && volume_String.at(end - 1) == QLatin1Char('/'))
        --end;
    url += QLatin1Char('/') + volume_String.mid(begin, end - begin);
    return url;
}

QVariantMap VolumeRecord::encode() const
{
    QVariantMap a;
    a.insert(kKeyId, QString::number(internal_ID_Int));
    if (credentialAccountOverride)
        a.insert(kKeyCredentialOverride, *credentialAccountOverride);
    a.insert(kKeyHostname, hostname_String);
    a.insert(kKeyVolume, volume_String);
    a.insert(kKeyVolumeIsEmpty, volume_String.isEmpty());
    if (port_Int)
        a.insert(kKeyPort, *port_Int);
    a.insert(kKeyNickname, nickname_String);
    a.insert(kKeyGuest, qint64(no_password_guest_login));
    a.insert(kKeyUsername, username_String);
    a.insert(kKeyProtocol, QString::number(static_cast<int>(mounting_using_protocol_Enum)));
    a.insert(kKeyMountInsideVolumes, qint64(mount_inside_Volumes));
    a.insert(kKeyUniqueMountpoint, unique_mountpoint_fullpath_String);
    a.insert(kKeyAutoMount, qint64(auto_Mount));
    a.insert(kKeyScheduleMount, qint64(schedule_Mount));
    // An invalid date has no property-list form; leaving it out makes the reader fall back to its default.
    if (schedule_MountTime.isValid())
        a.insert(kKeyScheduleMountTime, schedule_MountTime);
    if (schedule_UnMountTime.isValid())
        a.insert(kKeyScheduleUnMountTime, schedule_UnMountTime);
    QVariantList days;
    days.reserve(schedule_Weekdays.size());
    for (int d : schedule_Weekdays)
        days.append(qint64(d));
    a.insert(kKeyScheduleWeekdays, days);
    a.insert(kKeyMacAddress, macAddress_String);
    a.insert(kKeyPostMountScript, postMountScriptPath_String);
    a.insert(kKeyPreUnmountScript, preUnmountScriptPath_String);
    a.insert(kKeyAllowedSSIDs, allowedSSIDs_String);
    a.insert(kKeyGroup, group_String);
    a.insert(kKeyIsLocked, isLocked);
    a.insert(kKeyManagedBy, managedBy);
    if (!trustedCertificateSHA256.isEmpty())
        a.insert(kKeyTrustedCertificate, trustedCertificateSHA256);
    return a;
}

std::optional<VolumeRecord> VolumeRecord::decode(const QVariantMap &archive)
{
    return decode(archive, nullptr);
}

std::optional<VolumeRecord> VolumeRecord::decode(const QVariantMap &archive, QString *failedKey)
{
    auto fail = [failedKey](const QString &key) -> std::optional<VolumeRecord> {
        if (failedKey)
            *failedKey = key;
        return std::nullopt;
    };

    // Required keys, in this order; the first one missing or mistyped drops the record.
    const auto idText = stringValue(archive, kKeyId);
    const auto id = idText ? parseDecimal(*idText) : std::nullopt;
    if (!id)
        return fail(kKeyId);
    const auto hostname = stringValue(archive, kKeyHostname);
    if (!hostname)
        return fail(kKeyHostname);
    const auto guest = integerValue(archive, kKeyGuest);
    if (!guest)
        return fail(kKeyGuest);
    const auto username = stringValue(archive, kKeyUsername);
    if (!username)
        return fail(kKeyUsername);
    const auto insideVolumes = integerValue(archive, kKeyMountInsideVolumes);
    if (!insideVolumes)
        return fail(kKeyMountInsideVolumes);
    const auto uniqueMountpoint = stringValue(archive, kKeyUniqueMountpoint);
    if (!uniqueMountpoint)
        return fail(kKeyUniqueMountpoint);
    const auto autoMount = integerValue(archive, kKeyAutoMount);
    if (!autoMount)
        return fail(kKeyAutoMount);

    VolumeRecord r;
    r.internal_ID_Int = *id;
    r.hostname_String = *hostname;
    r.no_password_guest_login = static_cast<int>(*guest);
    r.username_String = *username;
    r.mount_inside_Volumes = static_cast<int>(*insideVolumes);
    r.unique_mountpoint_fullpath_String = *uniqueMountpoint;
    r.auto_Mount = static_cast<int>(*autoMount);

    if (archive.contains(kKeyCredentialOverride)) {
        const auto account = stringValue(archive, kKeyCredentialOverride);
        // Any other form could point at another record's key-chain item; such records use their own account.
        if (account && account->startsWith(kDuplicateAccountPrefix)
            && isUuidText(account->mid(kDuplicateAccountPrefix.size())))
            r.credentialAccountOverride = *account;
    }

    // Older builds could not store an empty share name and wrote "share" beside the flag.
    if (boolValue(archive, kKeyVolumeIsEmpty).value_or(false))
        r.volume_String = QString();
    else
        r.volume_String = stringValue(archive, kKeyVolume).value_or(QString());

    r.port_Int = integerValue(archive, kKeyPort);
    r.nickname_String = stringValue(archive, kKeyNickname).value_or(QString());

    const auto protocolText = stringValue(archive, kKeyProtocol);
    const auto protocolRaw = protocolText ? parseDecimal(*protocolText) : std::nullopt;
    r.mounting_using_protocol_Enum = MountProtocol::fromRaw(protocolRaw.value_or(0));

    r.schedule_Mount = static_cast<int>(integerValue(archive, kKeyScheduleMount).value_or(0));
    if (const auto t = dateValue(archive, kKeyScheduleMountTime))
        r.schedule_MountTime = *t;
    if (const auto t = dateValue(archive, kKeyScheduleUnMountTime))
        r.schedule_UnMountTime = *t;
    if (const auto days = weekdaysValue(archive, kKeyScheduleWeekdays))
        r.schedule_Weekdays = *days;

    r.macAddress_String = stringValue(archive, kKeyMacAddress).value_or(QString());
    r.postMountScriptPath_String = stringValue(archive, kKeyPostMountScript).value_or(QString());
    r.preUnmountScriptPath_String = stringValue(archive, kKeyPreUnmountScript).value_or(QString());
    r.allowedSSIDs_String = stringValue(archive, kKeyAllowedSSIDs).value_or(QString());
    r.group_String = stringValue(archive, kKeyGroup).value_or(QString());
    r.isLocked = boolValue(archive, kKeyIsLocked).value_or(false);
    r.managedBy = stringValue(archive, kKeyManagedBy).value_or(QString());
    // Anything but a fingerprint trusts nothing (the mount then names the certificate it was shown).
    r.trustedCertificateSHA256 =
        CertificateFingerprint::normalise(stringValue(archive, kKeyTrustedCertificate).value_or(QString())).value_or(QString());

    // Older builds archived the password itself; it only ever lives in memory from here on.
    if (const auto password = stringValue(archive, kKeyLegacyPassword))
        r._cachedPassword = *password;

    return r;
}

VolumeRecord VolumeRecord::duplicate(qint64 newId, NotificationCenter *center) const
{
    VolumeRecord copy;
    copy.internal_ID_Int = newId;
    copy.credentialAccountOverride =
        kDuplicateAccountPrefix + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();

    // Every copied setting is announced the way an edit of that field would be.
    auto assign = [center](auto &field, const auto &value) {
        field = value;
        if (center)
            center->post(Notifications::VolumeRecordChanged);
    };
    assign(copy.hostname_String, hostname_String);
    assign(copy.volume_String, volume_String);
    assign(copy.port_Int, port_Int);
    assign(copy.no_password_guest_login, no_password_guest_login);
    assign(copy.username_String, username_String);
    assign(copy._cachedPassword, _cachedPassword);
    assign(copy.mounting_using_protocol_Enum, mounting_using_protocol_Enum);
    assign(copy.mount_inside_Volumes, mount_inside_Volumes);
    assign(copy.unique_mountpoint_fullpath_String, unique_mountpoint_fullpath_String);
    assign(copy.auto_Mount, auto_Mount);
    assign(copy.schedule_Mount, schedule_Mount);
    assign(copy.schedule_MountTime, schedule_MountTime);
    assign(copy.schedule_UnMountTime, schedule_UnMountTime);
    assign(copy.schedule_Weekdays, schedule_Weekdays);
    assign(copy.macAddress_String, macAddress_String);
    assign(copy.postMountScriptPath_String, postMountScriptPath_String);
    assign(copy.preUnmountScriptPath_String, preUnmountScriptPath_String);
    assign(copy.group_String, group_String);
    assign(copy.allowedSSIDs_String, allowedSSIDs_String);
    // isLocked and managedBy stay at their defaults: a copy is the user's own record, editable and deletable.
    // The same server: its trusted certificate comes along (not one of the announced settings).
    copy.trustedCertificateSHA256 = trustedCertificateSHA256;

    const QString base = nickname_String.isEmpty() ? QCoreApplication::translate("VolumeRecord", "New Share")
                                                   : nickname_String;
    assign(copy.nickname_String, QCoreApplication::translate("VolumeRecord", "%1 Copy").arg(base));
    return copy;
}
