#pragma once

#include <QString>

// Lists the shares an SMB server offers by running the system's SMB client.
//
// The raw text the client printed is handed back for the caller to parse and classify; the format is the
// client's grepable listing ("Disk|name|comment" lines; failures as NT_STATUS_* names). The password goes
// to the child through a private file only, never through its arguments or environment.
//
// Thread: list() BLOCKS (up to timeoutMs); call it on a worker. Thread-safe.
class ShareLister
{
public:
    struct Request
    {
        QString host;       // name or address, as the user typed or the browser found it
        int port = 0;       // 0: the client's default (445)
        QString user;       // empty: guest
        QString password;
        int timeoutMs = 15000;
    };

    struct Result
    {
        bool started = false; // false: the client could not be run (errorText says why)
        bool timedOut = false;
        int exitCode = -1;
        QString output;       // standard output then standard error
        QString errorText;
    };

    virtual ~ShareLister() = default;
    virtual Result list(const Request &request) = 0;
};
