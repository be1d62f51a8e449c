#pragma once

#include <QString>

#include <functional>

#include <glib.h>

// What a mount attempt knows besides the GError it ended with. GVfs reports several different causes
// with the same error, so the service keeps these facts while it answers the mount operation.
struct MountAttemptFacts
{
    bool credentialsRejected = false; // ask-password came again after an answer: the answer was refused
    bool promptDeclined = false;      // a password was needed and nobody gave one (no UI, or the UI declined)
    bool certificateRefused = false;  // a server certificate question was answered "no"
    bool timeLimitReached = false;    // the service's own time limit cancelled the attempt
    // Asked only for the one error where GVfs does not tell an unknown host from a bad argument.
    std::function<bool()> hostResolves;
};

// The one table from GIO failures to the mount pipeline's response codes (MountResponseCode numbering),
// and from GIO unmount failures to errno numbers. Pure functions; callable from any thread.
namespace MountResponseCodes {
int mountCode(GQuark domain, int code, const QString &message, const MountAttemptFacts &facts);
int mountCode(const GError *error, const MountAttemptFacts &facts);

// errno number (BSD numbering where it differs from Linux: 60 ETIMEDOUT) for a failed GVfs unmount.
int unmountErrno(GQuark domain, int code);

// GVfs's SMB backend reports "<what failed>: <strerror(errno)>" with a generic error code; this finds the
// errno whose text (in the current locale, as the daemon formats it) ends the message, or 0.
int errnoNamedIn(const QString &message);
} // namespace MountResponseCodes
