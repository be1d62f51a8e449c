#pragma once

#include "platform/ProcessLauncher.h"

// ProcessLauncher over QProcess, run in the calling (worker) thread. Standard streams of the child are
// pipes; nothing is inherited from the caller's terminal.
class QProcessLauncher : public ProcessLauncher
{
public:
    Result run(const Request &request) override;
};
