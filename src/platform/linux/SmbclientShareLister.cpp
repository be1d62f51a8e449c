#include "SmbclientShareLister.h"

#include "platform/ProcessLauncher.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>

QStringList SmbclientShareLister::arguments(const Request &request, const QString &authFile)
{
    QStringList args{QStringLiteral("-g"), QStringLiteral("-L"), QStringLiteral("//") + request.host};
    if (request.port > 0 && request.port != 445)
        args << QStringLiteral("-p") << QString::number(request.port);
    if (authFile.isEmpty())
        args << QStringLiteral("-U") << QStringLiteral("guest") << QStringLiteral("-N");
    else
        args << QStringLiteral("-A") << authFile;
    return args;
}

QByteArray SmbclientShareLister::authFileContent(const QString &user, const QString &password)
{
    // smbclient reads "name = value" lines; a DOMAIN\user name is split into the domain line.
    QString name = user;
    QByteArray content;
    const qsizetype slash = name.indexOf(QLatin1Char('\\'));
    if (slash > 0) {
        content += "domain = " + name.left(slash).toUtf8() + '\n';
        name = name.mid(slash + 1);
    }
    content += "username = " + name.toUtf8() + '\n';
    content += "password = " + password.toUtf8() + '\n';
    return content;
}

ShareLister::Result SmbclientShareLister::list(const Request &request)
{
    Result result;
    QTemporaryFile authFile(QDir::tempPath() + QStringLiteral("/tarnwell-smb-XXXXXX"));
    if (!request.user.isEmpty()) {
        // QTemporaryFile creates the file 0600 before anything is written into it.
        if (!authFile.open()) {
            result.errorText = authFile.errorString();
            return result;
        }
        authFile.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        authFile.write(authFileContent(request.user, request.password));
        authFile.flush();
    }

    ProcessLauncher::Request run;
    run.program = kProgram;
    run.arguments = arguments(request, request.user.isEmpty() ? QString() : authFile.fileName());
    run.environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    run.timeoutMs = request.timeoutMs;
    const ProcessLauncher::Result done = m_launcher->run(run);
    if (authFile.isOpen())
        authFile.remove();

    result.started = done.started;
    result.timedOut = done.timedOut;
    result.exitCode = done.crashed ? -1 : done.exitCode;
    result.output = QString::fromUtf8(done.standardOutput + done.standardError);
    result.errorText = done.errorText;
    return result;
}
