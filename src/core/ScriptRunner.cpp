#include "ScriptRunner.h"

#include "base/Console.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

QString ScriptRunner::shell()
{
    QString zsh = QStandardPaths::findExecutable(QStringLiteral("zsh"));
    if (zsh.isEmpty()) {
        for (const char *candidate : {"/bin/zsh", "/usr/bin/zsh"}) {
            if (QFileInfo(QString::fromLatin1(candidate)).isExecutable()) {
                zsh = QString::fromLatin1(candidate);
                break;
            }
        }
    }
    return zsh.isEmpty() ? QStringLiteral("/bin/sh") : zsh;
}

ScriptRunner::Result ScriptRunner::run(const QString &scriptPath, const QString &tag, int timeoutMs)
{
    Result result;
    const QString prefix = QLatin1Char('[') + tag + QStringLiteral("] ");
    Console::line(QStringLiteral("📜 ") + prefix + QStringLiteral("Running script: ") + scriptPath);

    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setProgram(shell());
    process.setArguments({QStringLiteral("-c"), scriptPath});
    process.start();
    if (!process.waitForStarted()) {
        Console::line(QStringLiteral("❌ ") + prefix + QStringLiteral("Script error: ") + process.errorString());
        return result;
    }
    result.started = true;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
    }
    result.output = QString::fromLocal8Bit(process.readAll()).trimmed();
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    if (result.exitCode == 0)
        Console::line(QStringLiteral("✅ ") + prefix + QStringLiteral("Script completed successfully"));
    else
        Console::line(QStringLiteral("❌ ") + prefix + QStringLiteral("Script failed with exit code: ")
                      + QString::number(result.exitCode));
    if (!result.output.isEmpty())
        Console::line(QStringLiteral("   Output: ") + result.output);
    return result;
}
