#include "ShareResolver.h"

#include <QStringList>

namespace ShareResolver {

namespace {

Resolution fromMatches(const QList<const VolumeRecord *> &matches, const QString &query)
{
    Resolution r;
    if (matches.size() == 1) {
        r.id = matches.first()->internal_ID_Int;
        return r;
    }
    QStringList ids;
    for (const VolumeRecord *record : matches)
        ids << QString::number(record->internal_ID_Int);
    r.ambiguous = true;
    r.message = QStringLiteral("Share name '%1' is ambiguous: it names the shares with the IDs %2. Use an ID instead.")
                    .arg(query, ids.join(QStringLiteral(", ")));
    return r;
}

} // namespace

Resolution resolve(const QList<VolumeRecord> &records, const QString &query)
{
    const QString name = query.trimmed();
    bool isNumber = false;
    const qint64 id = name.toLongLong(&isNumber);
    if (isNumber) {
        for (const VolumeRecord &record : records) {
            if (record.internal_ID_Int == id)
                return {id, false, {}};
        }
    }
    for (const Qt::CaseSensitivity cs : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
        QList<const VolumeRecord *> matches;
        for (const VolumeRecord &record : records) {
            if (!name.isEmpty() && record.nickname_String.trimmed().compare(name, cs) == 0)
                matches << &record;
        }
        if (!matches.isEmpty())
            return fromMatches(matches, name);
    }
    Resolution r;
    r.message = QStringLiteral("Unknown share: '%1' is neither the ID nor the nickname of a share "
                               "(see: tarnwellctl list)")
                    .arg(name);
    return r;
}

} // namespace ShareResolver
