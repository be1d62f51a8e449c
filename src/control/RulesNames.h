#pragma once

#include <QString>

// Names of the rules interface on the session bus, shared by the engine (which serves it) and tarnwellctl.
// Header-only so that the command-line client needs no engine library. The interface is described in
// io.tarnwell.Tarnwell.Rules1.xml beside this file; the bus name is the control interface's.
namespace RulesNames {

inline const QString kObjectPath = QStringLiteral("/io/tarnwell/Tarnwell/Rules");
inline const QString kInterface = QStringLiteral("io.tarnwell.Tarnwell.Rules1");

inline const QString kErrorUnknownRule = QStringLiteral("io.tarnwell.Tarnwell.Error.UnknownRule");
inline const QString kErrorAmbiguousRule = QStringLiteral("io.tarnwell.Tarnwell.Error.AmbiguousRule");

} // namespace RulesNames
