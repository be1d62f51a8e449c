#pragma once

#include <QList>
#include <QString>
#include <QUuid>

#include <functional>

// Writes a configuration profile (".mobileconfig") that carries the managed keys for deployment by a
// device-management service: the inner payload's type is the bundle identifier, which is what the managed
// preferences reader looks for.
//
// The text is built line by line in a fixed layout (indents of 4/8/12/16 spaces, spacer lines of spaces).
// User text is inserted as typed, without XML escaping: the output is byte-for-byte what administrators'
// tooling has been given so far, so an "&" in a name yields a profile that does not parse, and the reader
// reports that file. Pure and thread-safe.
namespace ProfileGenerator {

struct Share
{
    QUuid id = QUuid::createUuid();
    QString nickname;
    QString hostname;
    QString shareName;
    QString protocolType = QStringLiteral("SMB");
    bool locked = true;
};

struct Settings
{
    QString organizationName;
    QString helpDeskEmail;
    QList<Share> shares;
    bool allowUserShares = true;
    bool allowShareExport = true;
    bool allowShareImport = true;
    QString enforcedSSIDs;
};

inline const QString kProductName = QStringLiteral("Tarnwell");
inline const QString kFileSuffix = QStringLiteral("-Config.mobileconfig");

// The profile text. `newUuid` makes the two payload UUIDs (default: fresh random ones).
QString generate(const Settings &settings, const std::function<QUuid()> &newUuid = {});

// The file name proposed for saving: "<organisation>-Config.mobileconfig", or "Tarnwell-Config.mobileconfig".
QString proposedFileName(const QString &organizationName);

} // namespace ProfileGenerator
