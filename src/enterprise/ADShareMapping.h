#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

// The current user as the directory knows them.
struct ADUserInfo
{
    QString username;
    QString domain;
    QString displayName;
    QStringList groups;
    std::optional<QString> homeDirectory;
    std::optional<QString> email;
};

// One share handed to the members of a directory group. JSON keys: id, hostname, shareName, protocolType,
// driveLetter, mountPoint. driveLetter is kept for files written elsewhere; records never use it.
struct ADMappedShare
{
    QUuid id = QUuid::createUuid();
    QString hostname;
    QString shareName;
    QString protocolType = QStringLiteral("SMB");
    std::optional<QString> driveLetter;
    std::optional<QString> mountPoint;

    QJsonObject toJson() const;
    // nullopt when a required key is missing or of another kind.
    static std::optional<ADMappedShare> fromJson(const QJsonObject &object);
};

// A directory group and the shares its members get. JSON keys: id, groupName, shares, isEnabled.
struct ADShareMapping
{
    QUuid id = QUuid::createUuid();
    QString groupName;
    QList<ADMappedShare> shares;
    bool isEnabled = true;

    QJsonObject toJson() const;
    static std::optional<ADShareMapping> fromJson(const QJsonObject &object);

    // The stored form: one JSON array. decodeList() fails (nullopt, *error set) on anything else or on an
    // element that does not decode, as the whole list is one encoded value.
    static QByteArray encodeList(const QList<ADShareMapping> &mappings);
    static std::optional<QList<ADShareMapping>> decodeList(const QByteArray &json, QString *error);
};
