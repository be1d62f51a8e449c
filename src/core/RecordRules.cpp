#include "RecordRules.h"

#include "core/ProtocolName.h"

namespace RecordRules {

namespace {

QString trimmedShareName(const QString &share)
{
    QString s = share.trimmed();
    while (s.startsWith(QLatin1Char('/')))
        s.remove(0, 1);
    while (s.endsWith(QLatin1Char('/')))
        s.chop(1);
    return s;
}

QString manager(const VolumeRecord &record, const QString &fallback)
{
    return record.managedBy.trimmed().isEmpty() ? fallback : record.managedBy;
}

Refusal duplicate(const QString &text, qint64 conflictingId)
{
    return {Refusal::Reason::Duplicate, kDuplicateTitle, text, conflictingId};
}

} // namespace

QString shareKey(const VolumeRecord &record)
{
    const MountUsingProtocol_Enum protocol = record.mounting_using_protocol_Enum;
    const qint64 port = record.port_Int && *record.port_Int >= 1 ? *record.port_Int : MountProtocol::defaultPort(protocol);
    // Guests share one marker that no typed user name holds (a control character).
    const QString user = record.no_password_guest_login != 0 ? QStringLiteral("\1") : record.username_String.trimmed();
    const QChar separator(0);
    return QString::number(int(protocol)) + separator + record.hostname_String.trimmed().toLower() + separator
           + QString::number(port) + separator + trimmedShareName(record.volume_String) + separator + user;
}

bool isSameShare(const VolumeRecord &a, const VolumeRecord &b)
{
    return shareKey(a) == shareKey(b);
}

std::optional<Refusal> checkAdd(const QList<VolumeRecord> &records, const VolumeRecord &candidate)
{
    for (const VolumeRecord &existing : records) {
        if (!isSameShare(existing, candidate))
            continue;
        const QString user = existing.no_password_guest_login ? QStringLiteral("guest") : existing.username_String;
        return duplicate(kDuplicateAddText.arg(existing.mountURLText(), ProtocolName::of(existing.mounting_using_protocol_Enum), user)
                             .arg(existing.internal_ID_Int),
                         existing.internal_ID_Int);
    }
    return std::nullopt;
}

std::optional<Refusal> checkEdit(const QList<VolumeRecord> &records, const VolumeRecord &live, const VolumeRecord &edited)
{
    if (live.isLocked)
        return Refusal{Refusal::Reason::Locked, kLockedEditTitle,
                       kLockedEditText.arg(manager(live, kLockedEditFallbackManager)), 0};
    for (const VolumeRecord &existing : records) {
        if (existing.internal_ID_Int != live.internal_ID_Int && isSameShare(existing, edited))
            return duplicate(kDuplicateEditText.arg(existing.internal_ID_Int), existing.internal_ID_Int);
    }
    return std::nullopt;
}

std::optional<Refusal> checkRemove(const VolumeRecord &live)
{
    if (!live.isLocked)
        return std::nullopt;
    return Refusal{Refusal::Reason::Locked, kLockedRemoveTitle,
                   kLockedRemoveText.arg(manager(live, kLockedRemoveFallbackManager)), 0};
}

} // namespace RecordRules
