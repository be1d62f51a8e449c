#pragma once

#include <QString>

#include <optional>

// The one validation of a share's user-given fields, used wherever a share enters the system: the
// command-line client (before it calls the engine), the control interface, the importers and the editor.
// Each field is named by its key in the share's JSON form ("hostname", "shareName", ...), so a refusal reads
// the same whichever way the value came in. Only the fields that are present are checked: an edit of one
// field is not refused for an old value of another.
//
// Pure functions; any thread.
namespace ShareFields {

inline constexpr int kMaxHostLength = 253;      // a DNS name; an IPv6 literal with a zone fits as well
inline constexpr int kMaxShareLength = 1024;
inline constexpr int kMaxPathLength = 4096;     // PATH_MAX
inline constexpr int kMaxTextLength = 256;      // nickname, user name, group
inline constexpr int kMaxNetworkListLength = 4096; // the allowed Wi-Fi names, comma separated

struct Fields
{
    std::optional<QString> hostname;
    std::optional<QString> shareName;
    std::optional<qint64> port; // a given port; "default" is the absence of one
    std::optional<QString> username;
    std::optional<QString> nickname;
    std::optional<QString> customMountPoint; // empty: none
    std::optional<QString> group;
    std::optional<QString> macAddress;      // empty: none
    std::optional<QString> allowedSSIDs;
};

// The first problem, as a sentence for the user naming the field; nullopt when every present field is valid.
std::optional<QString> check(const Fields &fields);

// Single fields, for callers that hold just one (same texts as check()).
std::optional<QString> checkHost(const QString &host);
std::optional<QString> checkPort(qint64 port);
std::optional<QString> checkMountFolder(const QString &path);
std::optional<QString> checkHardwareAddress(const QString &address);

} // namespace ShareFields
