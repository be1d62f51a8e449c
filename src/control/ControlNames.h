#pragma once

#include <QString>

// Names of the control interface on the session bus, shared by the engine (which serves it) and tarnwellctl
// (which calls it). Header-only so that the command-line client needs no engine library.
// The interface itself is described in io.tarnwell.Tarnwell.Control1.xml beside this file; the adaptor and
// the client proxy (Control1Proxy, in tw_control_client) are generated from it.
namespace ControlNames {

inline const QString kServiceName = QStringLiteral("io.tarnwell.Tarnwell");
inline const QString kObjectPath = QStringLiteral("/io/tarnwell/Tarnwell");
inline const QString kInterface = QStringLiteral("io.tarnwell.Tarnwell.Control1");

// D-Bus error names sent by the engine; tarnwellctl maps them to exit statuses.
inline const QString kErrorUnknownShare = QStringLiteral("io.tarnwell.Tarnwell.Error.UnknownShare");
inline const QString kErrorAmbiguousShare = QStringLiteral("io.tarnwell.Tarnwell.Error.AmbiguousShare");
inline const QString kErrorLocked = QStringLiteral("io.tarnwell.Tarnwell.Error.Locked");
inline const QString kErrorInvalidArgument = QStringLiteral("io.tarnwell.Tarnwell.Error.InvalidArgument");
inline const QString kErrorDuplicate = QStringLiteral("io.tarnwell.Tarnwell.Error.Duplicate");
inline const QString kErrorNotAvailable = QStringLiteral("io.tarnwell.Tarnwell.Error.NotAvailable");
inline const QString kErrorFailed = QStringLiteral("io.tarnwell.Tarnwell.Error.Failed");
// The change is made in the running engine but could not be written to disk (yet).
inline const QString kErrorNotSaved = QStringLiteral("io.tarnwell.Tarnwell.Error.NotSaved");

// The text every client shows when nobody owns the bus name.
inline const QString kNoEngineMessage = QStringLiteral(
    "No Tarnwell engine is running on the session bus. Start it with: tarnwell --headless\n"
    "(or, where the systemd user unit is installed: systemctl --user start tarnwell.service)");

} // namespace ControlNames
