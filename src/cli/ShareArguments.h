#pragma once

#include <QCommandLineParser>
#include <QJsonObject>
#include <QString>

#include <optional>

// What the user says about a share on the command line (tarnwellctl add / edit): a share URL and/or the
// individual flags, turned into the control interface's JSON record form (only the keys that were given).
// Pure functions; no engine code.
namespace ShareArguments {

// "smb", "afp", "nfs", "webdav", "webdavs" in any case (also "cifs", "dav"/"http", "davs"/"https") ->
// "SMB", "AFP", "NFS", "WEBDAV", "WEBDAVS"; nullopt otherwise.
std::optional<QString> protocolFromName(const QString &name);
// The same for a URL scheme (smb, cifs, afp, nfs, http, https, dav, davs, webdav, webdavs).
std::optional<QString> protocolFromScheme(const QString &scheme);

struct ShareUrl
{
    QString protocolType; // "SMB", ...
    QString hostname;     // without IPv6 brackets
    std::optional<int> port;
    QString username;     // empty when the URL names none
    QString shareName;    // the path without its outer slashes, decoded ("" for a server root)
};

// smb://[user@]host[:port]/share, afp://, nfs://host/export/path, http(s)://host[:port]/path (WebDAV and
// secure WebDAV; also dav:// and davs://). A URL carrying a password is refused (passwords never come from
// a command line), as is a missing host, an unknown scheme or, except for WebDAV, a missing share name.
// *error is a sentence for the user that never repeats a password.
std::optional<ShareUrl> parseShareUrl(const QString &text, QString *error);

// The flags of add and edit; absent = not given.
struct Flags
{
    std::optional<QString> url;
    std::optional<QString> host;
    std::optional<QString> share;
    std::optional<QString> protocol;
    std::optional<QString> port;
    std::optional<QString> user;
    std::optional<bool> guest;
    std::optional<QString> nickname;
    std::optional<bool> autoMount;
    std::optional<QString> mountDir;
    std::optional<bool> inVolumes;
    std::optional<QString> group;
    std::optional<QString> mac;
};

// The share options of add (and, with forEdit, the switches back of edit: --no-guest, --no-auto-mount,
// --in-volumes), added to a command's parser; flagsFrom() reads them back after parsing.
void addOptions(QCommandLineParser &parser, bool forEdit);
Flags flagsFrom(const QCommandLineParser &parser);

// The JSON record (RecordJson keys) for the flags; nullopt with *error for a usage error (bad URL, port,
// protocol, hardware address, contradictory flags). forAdd: the host is required, and without --user (or a
// user in the URL) the share is a guest share.
std::optional<QJsonObject> toRecordJson(const Flags &flags, bool forAdd, QString *error);

// "AA:BB:CC:DD:EE:FF" / "aa-bb-..." / "aabbccddeeff": twelve hex digits with optional ':' or '-' between pairs.
bool isHardwareAddress(const QString &text);

} // namespace ShareArguments
