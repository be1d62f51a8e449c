#pragma once

#include <QString>

// Names of the enterprise interface on the session bus, shared by the engine (which serves it) and
// tarnwellctl. Header-only, like ControlNames.h. Described in io.tarnwell.Tarnwell.Enterprise1.xml.
namespace EnterpriseNames {

inline const QString kObjectPath = QStringLiteral("/io/tarnwell/Tarnwell/Enterprise");
inline const QString kInterface = QStringLiteral("io.tarnwell.Tarnwell.Enterprise1");

} // namespace EnterpriseNames
