#include "RuleJsonUtil.h"

namespace RuleJsonUtil {

namespace {
bool fail(QString *error, const QString &text)
{
    if (error)
        *error = text;
    return false;
}
} // namespace

std::optional<QUuid> uuid(const QJsonObject &object, const QString &key, QString *error)
{
    const QJsonValue value = object.value(key);
    if (!value.isString()) {
        fail(error, QStringLiteral("key '%1' missing or not a string").arg(key));
        return std::nullopt;
    }
    const QUuid id = QUuid::fromString(value.toString());
    if (id.isNull()) {
        fail(error, QStringLiteral("'%1' is not a UUID: %2").arg(key, value.toString()));
        return std::nullopt;
    }
    return id;
}

std::optional<QString> string(const QJsonObject &object, const QString &key, QString *error)
{
    const QJsonValue value = object.value(key);
    if (!value.isString()) {
        fail(error, QStringLiteral("key '%1' missing or not a string").arg(key));
        return std::nullopt;
    }
    return value.toString();
}

std::optional<QMap<QString, QString>> parameters(const QJsonObject &object, QString *error)
{
    const QJsonValue value = object.value(QStringLiteral("parameters"));
    if (!value.isObject()) {
        fail(error, QStringLiteral("key 'parameters' missing or not an object"));
        return std::nullopt;
    }
    QMap<QString, QString> result;
    const QJsonObject map = value.toObject();
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (!it.value().isString()) {
            fail(error, QStringLiteral("parameter '%1' is not a string").arg(it.key()));
            return std::nullopt;
        }
        result.insert(it.key(), it.value().toString());
    }
    return result;
}

QJsonObject parametersToJson(const QMap<QString, QString> &parameters)
{
    QJsonObject object;
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

QString uuidText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace RuleJsonUtil
