#include "TestStack.h"

#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>

namespace TestStack {

QString env(const char *name)
{
    return qEnvironmentVariable(name);
}

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    return server.serverPort();
}

bool listening(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    return socket.waitForConnected(200);
}

bool mocks(const QStringList &args)
{
    QProcess p;
    p.start(QStringLiteral("bash"), QStringList{env("TW_STACK_SCRIPTS") + QStringLiteral("/components/mocks.sh"),
                                               args.value(0), env("TW_STACK_DIR")}
                                       + args.mid(1));
    const bool ok = p.waitForFinished(30000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    if (!ok)
        qWarning("mocks.sh %s failed: %s", qPrintable(args.join(QLatin1Char(' '))), p.readAllStandardError().constData());
    return ok;
}

} // namespace TestStack
