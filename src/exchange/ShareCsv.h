#pragma once

#include "core/VolumeRecord.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The share CSV: one share per line, no passwords on export; an optional "password" column on import.
// Pure functions, callable from any thread.
//
// The field rule is deliberately simple (spreadsheets and hand-written files both pass through it): a double
// quote flips an inside-quotes flag and is dropped, a comma outside quotes ends the field. A literal double
// quote therefore never survives, and export writes none: it removes them from the values.
namespace ShareCsv {

inline const QString kHeader = QStringLiteral("nickname,hostname,shareName,protocol,username,guest,port,group,autoMount");
inline const QString kMissingColumns = QStringLiteral("CSV must have 'hostname' and 'shareName' columns");
inline const QString kNotEnoughColumns = QStringLiteral("Line %1: Not enough columns");
inline const QString kHostnameRequired = QStringLiteral("Line %1: hostname required");
inline const QString kDuplicateShare = QStringLiteral("Line %1: %2/%3 is already configured, skipped");
inline const QString kPlaceholderPrefix = QStringLiteral("YOUR_");

QStringList splitFields(const QString &line);
// "yes", "y", "true", "1", "on" (after trimming, any case) are true; everything else is false.
bool parseBool(const QString &cell);
// Upper-cased "SMB", "AFP", "NFS", "WEBDAV", "WEBDAVS"; anything else is SMB.
MountUsingProtocol_Enum parseProtocol(const QString &cell);
QString protocolName(MountUsingProtocol_Enum protocol);
// A password cell that is to be stored: non-empty and not a "YOUR_..." template placeholder.
bool isRealPassword(const QString &cell);

struct Row
{
    int line = 0; // line number in the file, counting from 1 (comments and blank lines count)
    VolumeRecord record; // ID 0; the importer assigns one
    std::optional<QString> password;
};

struct Parsed
{
    QString error; // set when the whole file is refused (header problems)
    QList<Row> rows;
    QStringList warnings; // per line, in file order
    QList<int> warningLines; // the line number of each warning
};

Parsed parse(const QString &text);

// The header and one line per record; reads back through parse() to the same exported fields (as long
// as no value holds a double quote or a line break).
QString write(const QList<VolumeRecord> &records);

} // namespace ShareCsv
