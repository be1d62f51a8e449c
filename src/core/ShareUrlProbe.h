#pragma once

#include <QNetworkReply>
#include <QString>
#include <QUrl>

class NetworkProbe;
class VolumeRecord;

// Is a mounted WebDAV share's server still answering? A TCP connect to the share URL's host and port
// (at most 1 s), then an HTTP HEAD of the share URL and, when that is inconclusive, a PROPFIND with
// "Depth: 0". Any HTTP status counts as alive; only transport failures of the "cannot reach" kind count
// as unreachable (transport codes -1009 not connected, -1006 DNS lookup failed, -1005 connection lost,
// -1004 cannot connect to host, -1003 cannot find host, -1001 timed out). Records of other protocols are
// always reachable. No credentials are sent and the server certificate is not judged: only reachability is.
//
// The connect and the requests go through the NetworkProbe port; the verdict is decided here.
//
// Threads: probe() BLOCKS the calling thread (up to about twice the time-out plus 1.5 s); the port's HTTP
// request runs a local event loop, so it must run on a worker (any thread that is not the main thread); it
// keeps no state and may run on several workers at once.
class ShareUrlProbe
{
public:
    enum class Verdict { Reachable, Unreachable, Inconclusive };

    static constexpr double kMaxConnectSeconds = 1.0;
    static constexpr double kExtraWaitSeconds = 0.25;

    // The platform's transport code of a Qt network error; 0 when it has none of the codes above
    // (then a failure without an HTTP status is inconclusive).
    static int transportCode(QNetworkReply::NetworkError error);

    // The verdict on one request: no answer before the wait ended is inconclusive; any HTTP status is
    // alive; a transport code of the list above is unreachable; anything else inconclusive.
    static Verdict classify(bool answered, int httpStatus, int transportCode);

    static bool probe(NetworkProbe &network, const VolumeRecord &record, double timeoutSeconds);

    // One request (HEAD or PROPFIND) with its console line; blocking as above.
    static Verdict request(NetworkProbe &network, const QByteArray &method, const QUrl &url, double timeoutSeconds);
};
