#pragma once

// The mount pipeline's response codes. They keep the BSD errno numbering the pipeline was first written
// against, so status texts, labels and the error-code reference read the same on every platform; a
// mount service maps its own failures into these numbers (on Linux: MountResponseCodes.cpp).
namespace MountResponseCode {
inline constexpr int Success = 0;
inline constexpr int ShareNotFound = 2;      // ENOENT
inline constexpr int IoError = 5;            // EIO
inline constexpr int HostLookupFailed = 8;   // the mount service's "name lookup failed"
inline constexpr int PermissionDenied = 13;  // EACCES
inline constexpr int AlreadyExists = 17;     // EEXIST: already mounted / mount folder in the way
inline constexpr int NoSuchDevice = 19;      // ENODEV: share path missing on the server
inline constexpr int NotSupported = 45;      // ENOTSUP (BSD): scheme the mount service cannot mount
inline constexpr int TimedOut = 60;          // ETIMEDOUT (BSD)
inline constexpr int ConnectionRefused = 61; // ECONNREFUSED (BSD)
inline constexpr int HostDown = 64;          // EHOSTDOWN (BSD)
inline constexpr int HostUnreachable = 65;   // EHOSTUNREACH (BSD)
inline constexpr int AuthFailed = 80;        // EAUTH (BSD)
inline constexpr int Cancelled = 89;         // ECANCELED (BSD): the caller cancelled (mount time-out)
inline constexpr int InternalAuthError = -6600;
} // namespace MountResponseCode
