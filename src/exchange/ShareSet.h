#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// A named, ordered group of share records mounted or ejected as a unit. Members are record IDs
// (internal_ID_Int), never copies; an ID that names no record is tolerated and ignored on resolution, and
// the same ID may appear twice. A plain value owned by ShareSetManager.
struct ShareSet
{
    QUuid id = QUuid::createUuid();
    QString name;
    QList<qint64> shareIDs;
    QString icon = QStringLiteral("folder");
    // Managed sets (from an organisation's configuration): kept across imports.
    bool isLocked = false;
    QString managedBy;

    // The JSON form ("id" as the upper-case UUID text without braces, "name", "shareIDs", "icon", and
    // "isLocked"/"managedBy" only when set). Also the ExportableShareSet of the configuration file.
    QJsonObject toJson() const;
    // nullopt when "id" is not a UUID, "name" not a string or "shareIDs" not an array of integers.
    static std::optional<ShareSet> fromJson(const QJsonObject &object, QString *error = nullptr);

    static QString uuidText(const QUuid &id);
};
