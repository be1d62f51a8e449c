#include "ShareSet.h"

#include "base/JsonNumber.h"

#include <QJsonArray>
#include <QJsonValue>

#include <cmath>

QString ShareSet::uuidText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QJsonObject ShareSet::toJson() const
{
    QJsonArray ids;
    for (qint64 shareId : shareIDs)
        ids.append(shareId);
    QJsonObject object{{QStringLiteral("id"), uuidText(id)},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("shareIDs"), ids},
                       {QStringLiteral("icon"), icon},
                       {QStringLiteral("isLocked"), isLocked}};
    if (!managedBy.isEmpty())
        object.insert(QStringLiteral("managedBy"), managedBy);
    return object;
}

std::optional<ShareSet> ShareSet::fromJson(const QJsonObject &object, QString *error)
{
    auto fail = [error](const QString &why) -> std::optional<ShareSet> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    ShareSet set;
    set.id = QUuid::fromString(object.value(QStringLiteral("id")).toString());
    if (set.id.isNull())
        return fail(QStringLiteral("set without a valid id"));
    const QJsonValue name = object.value(QStringLiteral("name"));
    if (!name.isString())
        return fail(QStringLiteral("set without a name"));
    set.name = name.toString();
    const QJsonValue ids = object.value(QStringLiteral("shareIDs"));
    if (!ids.isArray())
        return fail(QStringLiteral("set \"") + set.name + QStringLiteral("\" without shareIDs"));
    for (const QJsonValue &v : ids.toArray()) {
        const std::optional<qint64> id = jsonInteger(v);
        if (!id)
            return fail(QStringLiteral("set \"") + set.name + QStringLiteral("\" has a share id that is not an integer"));
        set.shareIDs.append(*id);
    }
    set.icon = object.value(QStringLiteral("icon")).toString(set.icon);
    set.isLocked = object.value(QStringLiteral("isLocked")).toBool(false);
    set.managedBy = object.value(QStringLiteral("managedBy")).toString();
    return set;
}
