#pragma once

#include <QString>

// Runs a share's post-mount or pre-unmount script: `zsh -c PATH` when zsh is installed, else
// `/bin/sh -c PATH`, standard output and error joined, waits for the exit and prints the outcome with the
// caller's area tag ("📜 [MOUNT] Running script: /path", "✅ [MOUNT] Script completed successfully" or
// "❌ [MOUNT] Script failed with exit code: N", then "   Output: ..." when the script printed anything).
//
// Threads: run() BLOCKS until the script ends (at most kTimeoutMs, then the script is killed); call it on
// a worker. Stateless.
class ScriptRunner
{
public:
    static constexpr int kTimeoutMs = 5 * 60 * 1000;

    struct Result
    {
        bool started = false;
        int exitCode = -1;
        QString output;
    };

    // The shell: the first zsh on PATH (or /bin/zsh, /usr/bin/zsh), else /bin/sh.
    static QString shell();

    static Result run(const QString &scriptPath, const QString &tag, int timeoutMs = kTimeoutMs);
};
