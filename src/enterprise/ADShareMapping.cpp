#include "ADShareMapping.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

std::optional<QUuid> uuidFrom(const QJsonValue &value)
{
    if (!value.isString())
        return std::nullopt;
    const QUuid uuid = QUuid::fromString(value.toString());
    return uuid.isNull() ? std::nullopt : std::optional<QUuid>(uuid);
}

QString uuidText(const QUuid &uuid)
{
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

QJsonObject ADMappedShare::toJson() const
{
    QJsonObject o;
    o[QStringLiteral("id")] = uuidText(id);
    o[QStringLiteral("hostname")] = hostname;
    o[QStringLiteral("shareName")] = shareName;
    o[QStringLiteral("protocolType")] = protocolType;
    if (driveLetter)
        o[QStringLiteral("driveLetter")] = *driveLetter;
    if (mountPoint)
        o[QStringLiteral("mountPoint")] = *mountPoint;
    return o;
}

std::optional<ADMappedShare> ADMappedShare::fromJson(const QJsonObject &o)
{
    const auto id = uuidFrom(o.value(QStringLiteral("id")));
    const QJsonValue host = o.value(QStringLiteral("hostname"));
    const QJsonValue share = o.value(QStringLiteral("shareName"));
    const QJsonValue protocol = o.value(QStringLiteral("protocolType"));
    if (!id || !host.isString() || !share.isString() || !protocol.isString())
        return std::nullopt;
    ADMappedShare s;
    s.id = *id;
    s.hostname = host.toString();
    s.shareName = share.toString();
    s.protocolType = protocol.toString();
    if (const QJsonValue v = o.value(QStringLiteral("driveLetter")); v.isString())
        s.driveLetter = v.toString();
    if (const QJsonValue v = o.value(QStringLiteral("mountPoint")); v.isString())
        s.mountPoint = v.toString();
    return s;
}

QJsonObject ADShareMapping::toJson() const
{
    QJsonArray list;
    for (const ADMappedShare &share : shares)
        list.append(share.toJson());
    QJsonObject o;
    o[QStringLiteral("id")] = uuidText(id);
    o[QStringLiteral("groupName")] = groupName;
    o[QStringLiteral("shares")] = list;
    o[QStringLiteral("isEnabled")] = isEnabled;
    return o;
}

std::optional<ADShareMapping> ADShareMapping::fromJson(const QJsonObject &o)
{
    const auto id = uuidFrom(o.value(QStringLiteral("id")));
    const QJsonValue group = o.value(QStringLiteral("groupName"));
    const QJsonValue shares = o.value(QStringLiteral("shares"));
    const QJsonValue enabled = o.value(QStringLiteral("isEnabled"));
    if (!id || !group.isString() || !shares.isArray() || !enabled.isBool())
        return std::nullopt;
    ADShareMapping m;
    m.id = *id;
    m.groupName = group.toString();
    m.isEnabled = enabled.toBool();
    for (const QJsonValue &v : shares.toArray()) {
        const auto share = v.isObject() ? ADMappedShare::fromJson(v.toObject()) : std::nullopt;
        if (!share)
            return std::nullopt;
        m.shares.append(*share);
    }
    return m;
}

QByteArray ADShareMapping::encodeList(const QList<ADShareMapping> &mappings)
{
    QJsonArray list;
    for (const ADShareMapping &mapping : mappings)
        list.append(mapping.toJson());
    return QJsonDocument(list).toJson(QJsonDocument::Compact);
}

std::optional<QList<ADShareMapping>> ADShareMapping::decodeList(const QByteArray &json, QString *error)
{
    QJsonParseError parseError{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        *error = parseError.errorString();
        return std::nullopt;
    }
    if (!doc.isArray()) {
        *error = QStringLiteral("not an array of mappings");
        return std::nullopt;
    }
    QList<ADShareMapping> mappings;
    const QJsonArray list = doc.array();
    for (qsizetype i = 0; i < list.size(); ++i) {
        const auto mapping = list.at(i).isObject() ? fromJson(list.at(i).toObject()) : std::nullopt;
        if (!mapping) {
            *error = QStringLiteral("mapping %1 is missing a key or has one of the wrong kind").arg(i);
            return std::nullopt;
        }
        mappings.append(*mapping);
    }
    return mappings;
}
