#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QMap>
#include <QString>
#include <QUuid>

#include <optional>

// Strict readers shared by the rule records' decoders: a missing or mistyped key is a decoding error with a
// message naming the key, as the whole rules file then fails.
namespace RuleJsonUtil {

std::optional<QUuid> uuid(const QJsonObject &object, const QString &key, QString *error);
std::optional<QString> string(const QJsonObject &object, const QString &key, QString *error);
std::optional<QMap<QString, QString>> parameters(const QJsonObject &object, QString *error);
QJsonObject parametersToJson(const QMap<QString, QString> &parameters);
// Canonical text of a UUID (upper case, no braces), the form the rules file has always used.
QString uuidText(const QUuid &id);

// The {"id", "type", "parameters"} form that conditions and actions share; `Item` brings its kind's
// rawValue() and typeFromRawValue(). `kind` names it in the error ("condition", "action").
template <typename Item>
QJsonObject itemToJson(const Item &item)
{
    return QJsonObject{{QStringLiteral("id"), uuidText(item.id)},
                       {QStringLiteral("type"), Item::rawValue(item.type)},
                       {QStringLiteral("parameters"), parametersToJson(item.parameters)}};
}

template <typename Item>
std::optional<Item> itemFromJson(const QJsonObject &object, const QString &kind, QString *error)
{
    const auto id = uuid(object, QStringLiteral("id"), error);
    const auto raw = id ? string(object, QStringLiteral("type"), error) : std::nullopt;
    if (!raw)
        return std::nullopt;
    const auto type = Item::typeFromRawValue(*raw);
    if (!type) {
        if (error)
            *error = QStringLiteral("unknown %1 type: ").arg(kind) + *raw;
        return std::nullopt;
    }
    const auto values = parameters(object, error);
    if (!values)
        return std::nullopt;
    Item item;
    item.id = *id;
    item.type = *type;
    item.parameters = *values;
    return item;
}

} // namespace RuleJsonUtil
