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

bool isSameShare(const VolumeRecord &a, const VolumeRecord &b)
{
    if (a.mounting_using_protocol_Enum != b.mounting_using_protocol_Enum)
        return false;
    if (a.hostname_String.trimmed().compare(b.hostname_String.trimmed(), Qt::CaseInsensitive) != 0)
        return false;
    if (trimmedShareName(a.volume_String) != trimmedShareName(b.volume_String))
        return false;
    const bool guestA = a.no_password_guest_login != 0;
    const bool guestB = b.no_password_guest_login != 0;
    if (guestA || guestB)
        return guestA == guestB;
    return a.username_String.trimmed() == b.username_String.trimmed();
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
