#include "QProcessLauncher.h"

#include <QProcess>
#include <QProcessEnvironment>

ProcessLauncher::Result QProcessLauncher::run(const Request &request)
{
    Result result;
    QProcess process;
    process.setProgram(request.program);
    process.setArguments(request.arguments);
    if (!request.workingDirectory.isEmpty())
        process.setWorkingDirectory(request.workingDirectory);
    if (!request.environment.isEmpty()) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (auto it = request.environment.cbegin(); it != request.environment.cend(); ++it)
            env.insert(it.key(), it.value());
        process.setProcessEnvironment(env);
    }
    process.setProcessChannelMode(request.mergeOutput ? QProcess::MergedChannels : QProcess::SeparateChannels);

    process.start();
    if (!process.waitForStarted(10000)) {
        result.errorText = process.errorString();
        return result;
    }
    result.started = true;
    if (!request.standardInput.isEmpty())
        process.write(request.standardInput);
    process.closeWriteChannel();

    if (!process.waitForFinished(request.timeoutMs > 0 ? request.timeoutMs : -1)) {
        result.timedOut = process.state() != QProcess::NotRunning;
        process.kill();
        process.waitForFinished(5000);
    }
    result.standardOutput = process.readAllStandardOutput();
    result.standardError = process.readAllStandardError();
    result.crashed = !result.timedOut && process.exitStatus() == QProcess::CrashExit;
    result.exitCode = process.exitCode();
    if (result.timedOut)
        result.errorText = QStringLiteral("timed out after %1 ms").arg(request.timeoutMs);
    else if (result.crashed)
        result.errorText = process.errorString();
    return result;
}
