#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// Value types of the configuration exchange (the .twconfig file): modes, errors, preview and result.
namespace Configuration {

inline const QString kVersion = QStringLiteral("1.0");
inline const QString kFileExtension = QStringLiteral(".twconfig");

// replace: the file's items take the place of the local ones (see ConfigurationManager for what stays);
// merge: only new items are added; update: like merge, and shares already present take the file's settings.
enum class ImportMode { Replace, Merge, Update };
QString modeName(ImportMode mode); // "replace", "merge", "update"
std::optional<ImportMode> modeFromName(const QString &name);

enum class ErrorKind {
    None,
    VersionMismatch,
    MissingData,
    UserCancelled,
    InvalidFormat,
    ExportDisabledByIT,
    ImportDisabledByIT,
    SetHasNoShares, // a set file of a set whose members are all gone
    UnknownSet,
    FileError, // the file could not be read or written (detail says why)
    SaveFailed // the local stores could not be saved (detail says which)
};

struct Error
{
    ErrorKind kind = ErrorKind::None;
    QString detail; // the file's version, what is missing, or the I/O error

    bool isError() const { return kind != ErrorKind::None; }
    // "Unsupported configuration version: 2.0", "Import is disabled by your IT administrator", ...
    QString text() const;
};

struct Preview
{
    QString version;
    std::optional<QDateTime> exportDate;
    QString exportedBy;
    QString organizationName;
    int shareCount = 0;
    int setCount = 0;
    int ruleCount = 0;
    bool hasPreferences = false;
    QStringList shareNames;
    QStringList setNames;
    QStringList ruleNames;
};

struct ImportResult
{
    int sharesImported = 0;
    int sharesSkipped = 0;
    int sharesUpdated = 0;
    int setsImported = 0;
    int setsSkipped = 0;
    int rulesImported = 0;
    int rulesSkipped = 0;
    bool preferencesImported = false;
};

// "3 shares imported, 1 shares skipped, 2 sets imported" or "No changes".
QString summaryText(const ImportResult &result);

// A file's version is accepted when it is "1" or begins with "1." (every 1.x reader reads 1.x files).
bool isSupportedVersion(const QString &version);

} // namespace Configuration
