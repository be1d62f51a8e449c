#include "Configuration.h"

namespace Configuration {

QString modeName(ImportMode mode)
{
    switch (mode) {
    case ImportMode::Replace:
        return QStringLiteral("replace");
    case ImportMode::Merge:
        return QStringLiteral("merge");
    case ImportMode::Update:
        return QStringLiteral("update");
    }
    return {};
}

std::optional<ImportMode> modeFromName(const QString &name)
{
    for (ImportMode mode : {ImportMode::Replace, ImportMode::Merge, ImportMode::Update}) {
        if (name.compare(modeName(mode), Qt::CaseInsensitive) == 0)
            return mode;
    }
    return std::nullopt;
}

QString Error::text() const
{
    switch (kind) {
    case ErrorKind::None:
        return {};
    case ErrorKind::VersionMismatch:
        return QStringLiteral("Unsupported configuration version: ") + detail;
    case ErrorKind::MissingData:
        return QStringLiteral("Configuration is missing required data: ") + detail;
    case ErrorKind::UserCancelled:
        return QStringLiteral("Operation was cancelled");
    case ErrorKind::InvalidFormat:
        return QStringLiteral("The configuration file is not in a valid format");
    case ErrorKind::ExportDisabledByIT:
        return QStringLiteral("Export is disabled by your IT administrator");
    case ErrorKind::ImportDisabledByIT:
        return QStringLiteral("Import is disabled by your IT administrator");
    case ErrorKind::SetHasNoShares:
        return QStringLiteral("Set has no shares");
    case ErrorKind::UnknownSet:
        return QStringLiteral("No share set named ") + detail;
    case ErrorKind::FileError:
    case ErrorKind::SaveFailed:
        return detail;
    }
    return detail;
}

QString summaryText(const ImportResult &r)
{
    QStringList pieces;
    auto piece = [&pieces](int count, const char *what) {
        if (count >= 1)
            pieces.append(QString::number(count) + QLatin1String(what));
    };
    piece(r.sharesImported, " shares imported");
    piece(r.sharesUpdated, " shares updated");
    piece(r.sharesSkipped, " shares skipped");
    piece(r.setsImported, " sets imported");
    piece(r.rulesImported, " rules imported");
    if (r.preferencesImported)
        pieces.append(QStringLiteral("preferences imported"));
    return pieces.isEmpty() ? QStringLiteral("No changes") : pieces.join(QStringLiteral(", "));
}

bool isSupportedVersion(const QString &version)
{
    return version == QLatin1String("1") || version.startsWith(QLatin1String("1."));
}

} // namespace Configuration
