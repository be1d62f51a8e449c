#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

// Runs a child process to completion: rule and share scripts, smbclient's share listing, the directory
// tools. Secrets go to a child through `standardInput` or `environment`, never through `arguments`
// (anyone on the machine can read a process's arguments).
//
// Thread: run() BLOCKS until the child ends or the time limit kills it; call it on a worker, never on the
// main thread. Implementations are thread-safe (several workers may run children at once).
class ProcessLauncher
{
public:
    struct Request
    {
        QString program;      // absolute path, or a name looked up on PATH
        QStringList arguments;
        // Added to (or replacing) the caller's environment for this child only.
        QHash<QString, QString> environment;
        QByteArray standardInput;  // written, then the child's input is closed
        QString workingDirectory;  // empty: the caller's
        int timeoutMs = 30000;     // the child is killed after this (timedOut set)
        bool mergeOutput = false;  // standard error joined into standardOutput, in the order written
    };

    struct Result
    {
        bool started = false;  // false: the program could not be started (errorText says why)
        bool timedOut = false; // killed at the time limit
        bool crashed = false;  // ended by a signal
        int exitCode = -1;
        QByteArray standardOutput;
        QByteArray standardError;
        QString errorText;

        bool succeeded() const { return started && !timedOut && !crashed && exitCode == 0; }
    };

    virtual ~ProcessLauncher() = default;
    virtual Result run(const Request &request) = 0;
};
