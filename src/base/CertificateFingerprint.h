#pragma once

#include <QString>

#include <optional>

// The SHA-256 fingerprint of a server certificate (of its DER form), as a share keeps it: 64 hexadecimal
// digits in lower case without separators. Input may be in either case and grouped the way tools print it
// ("AB:CD:…", spaces), so a fingerprint the user compared elsewhere can be pasted as it was shown.
//
// Pure functions; any thread.
namespace CertificateFingerprint {

inline constexpr int kHexDigits = 64;

// The one spelling of `text`, or nullopt when it is not 64 hex digits (separators ':' and white space aside).
std::optional<QString> normalise(const QString &text);

// The sentence for the user when `text` is not a fingerprint.
QString invalidText(const QString &field);

// `sha256` as people compare it: upper-case pairs joined by ':', a line break after every `pairsPerLine`
// pairs (0: one line).
QString grouped(const QString &sha256, int pairsPerLine = 0);

} // namespace CertificateFingerprint
