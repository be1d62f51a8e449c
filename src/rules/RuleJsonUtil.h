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

} // namespace RuleJsonUtil
