#pragma once

#include <QString>

// The short upper-case label shown beside a share's status text. Derived on every redraw from the mounted
// flag, the auto-mount pause switch and the status text by a fixed cascade of substring tests, so the
// engine's status wording and the order below decide together what the user sees. Pure: no widgets, no
// state; callable from any thread.
namespace ShareStatusLabel {

// What the label means, for its colour and icon.
enum class Kind {
    Mounted,
    MountedPaused,
    Paused,
    CleanedUp,
    Ready,
    Ejected,
    Connecting,
    Mounting,
    HostUnreachable,
    ShareNotFound,
    AccessDenied,
    AuthFailed,
    TimedOut,
    ConnectFailed,
    HostUnresolved,
    CertificateUntrusted,
    Error,
    Resolved,
    LocalOk,
    Authenticating,
    Other, // the status text itself, upper-cased
};

struct Label
{
    Kind kind = Kind::Ready;
    QString text;
};

struct Input
{
    bool mounted = false;
    bool autoMountPaused = false;
    QString status;   // runtime_status_String
    QString hostname; // for the numeric-address test of the unresolved-host rule
};

Label derive(const Input &input);

// Whether the label reports a failure (red), progress (amber) or a good state (green); used for colour and
// for the tray's overall state.
enum class Severity { Good, Neutral, Busy, Failure };
Severity severity(Kind kind);

} // namespace ShareStatusLabel
