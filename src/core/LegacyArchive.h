#pragma once

#include "VolumeRecord.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// Reader for the share list as older builds (and the desktop builds of other platforms) left it behind: a
// keyed archive ("$archiver" = "NSKeyedArchiver") in a binary or XML property list, whose "$top"/"root"
// object is an array of records. Objects live in "$objects" and refer to each other by UID; "$class"
// points at a dictionary naming the class ("$classname").
//
// Understood classes: NSArray/NSMutableArray, NSSet/NSMutableSet (as arrays), NSDictionary/
// NSMutableDictionary, NSString/NSMutableString (and plain strings), NSNumber (plain numbers and
// Booleans), NSDate ("NS.time", seconds since 2001-01-01 UTC), NSData/NSMutableData, "$null", and the record
// classes "Tarnwell.VolumeRecord", "Tarnwell_S.VolumeRecord", "TarnwellPro.VolumeRecord",
// "TarnwellProSilicon.VolumeRecord" and "VolumeRecord". Each record's keyed values are resolved into a
// dictionary and handed to VolumeRecord::decode.
//
// All or nothing: an unknown class, a UID out of range, a cycle, nesting deeper than a small bound, a root
// that is not an array, or an element that is not a decodable record fails the whole import with the
// console line "[MIGRATE] Original share archive could not be decoded" and nothing is imported.
//
// Pure functions without shared state; callable from any thread.
namespace LegacyArchive {

inline const QString kDecodeFailedLine = QStringLiteral("[MIGRATE] Original share archive could not be decoded");
// The key under which the share archive lives in a preferences file.
inline const QString kPreferencesKey = QStringLiteral("Tarnwell_VolumeRecordArray");

// Decodes keyed-archive bytes into records (in archive order). On failure prints the console line, returns
// nullopt and, when asked, says why in *error.
std::optional<QList<VolumeRecord>> decodeVolumeRecords(const QByteArray &archiveBytes, QString *error = nullptr);

// Resolves a keyed archive into plain values (records become dictionaries of their keyed values, with
// "$class" holding the archived class name; nil values are left out); the
// building block of decodeVolumeRecords, exposed for other archived lists. nullopt on a broken graph; no
// console line.
std::optional<QVariant> resolveRoot(const QByteArray &archiveBytes, QString *error = nullptr);

// Imports the share list from a preferences file of an older build: its "Tarnwell_VolumeRecordArray" value
// is either data holding the keyed archive, or (files written by this build) the native array of record
// dictionaries. nullopt when the file cannot be read or parsed, the key is missing, or decoding fails
// (the last also prints the console line).
std::optional<QList<VolumeRecord>> importFromPreferencesFile(const QString &path, QString *error = nullptr);

} // namespace LegacyArchive
