#pragma once

#include "discovery/ShareInfo.h"

#include <QList>
#include <QString>

// The pure rules of listing a server's shares: the host name tried, the parsing of the SMB client's
// output and the user-facing reading of its failures. Thread: any (no state).
namespace ShareListing {

inline const QString kTimeoutMessage = QStringLiteral(
    "Server did not respond in time. Check that the server is online and SMB sharing is enabled, then click Retry.");
inline const QString kNoSharesMessage = QStringLiteral("No shares found. The server may require authentication.");
inline const QString kStartFailedPrefix = QStringLiteral("Error running smbutil: ");
inline const QString kAuthenticationMessage =
    QStringLiteral("Authentication required. Enter your username and password above, then click Retry.");
inline const QString kCannotConnectMessage =
    QStringLiteral("Cannot connect to server. Make sure it's online and sharing is enabled.");
inline const QString kHostnameMessage =
    QStringLiteral("Could not connect using hostname. Try using the IP address instead, or enter credentials.");
inline const QString kNoSharesOrGuestMessage = QStringLiteral(
    "Server found but no shares available, or guest access is disabled. Try entering credentials.");
inline const QString kOtherFailurePrefix = QStringLiteral("Could not list shares. Try entering credentials above.\n(");

// "My NAS" -> "My-NAS.local"; a name without spaces is returned unchanged.
QString hostWithoutSpaces(const QString &host);

// The shares in the client's output. Both the grepable form ("Disk|name|comment") and the tabular form
// (a "Share  Type  Comment" header, a "---" separator, one share per line) are read; lines that are
// neither (notes such as "SMB1 disabled -- no workgroup available") are skipped. "IPC$" and "print$" are
// dropped, other names ending in "$" are kept hidden.
QList<ShareInfo> parse(const QString &output, const QString &host, const std::optional<QString> &address);

// The message for a failed listing, from what the client printed. The client names failures with
// NT_STATUS_* codes; those are read as the plain phrases of the message table.
QString classifyFailure(const QString &output);

} // namespace ShareListing
