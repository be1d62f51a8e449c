#pragma once

#include <QString>

// Names of the exchange interface on the session bus, shared by the engine and tarnwellctl (header-only).
// The interface is described in io.tarnwell.Tarnwell.Exchange1.xml beside this file.
namespace ExchangeNames {

inline const QString kObjectPath = QStringLiteral("/io/tarnwell/Tarnwell/Exchange");
inline const QString kInterface = QStringLiteral("io.tarnwell.Tarnwell.Exchange1");

inline const QString kErrorImportDisabled = QStringLiteral("io.tarnwell.Tarnwell.Error.ImportDisabled");
inline const QString kErrorExportDisabled = QStringLiteral("io.tarnwell.Tarnwell.Error.ExportDisabled");
inline const QString kErrorInvalidFile = QStringLiteral("io.tarnwell.Tarnwell.Error.InvalidFile");
inline const QString kErrorUnsupportedVersion = QStringLiteral("io.tarnwell.Tarnwell.Error.UnsupportedVersion");
inline const QString kErrorUnknownSet = QStringLiteral("io.tarnwell.Tarnwell.Error.UnknownSet");

} // namespace ExchangeNames
