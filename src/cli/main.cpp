// tarnwellctl: the command-line client of the running Tarnwell engine (session bus).
#include "Dispatch.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tarnwellctl"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TARNWELL_VERSION));

    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    const int status = Cli::dispatch(arguments);
    // Qt's D-Bus thread may still be dispatching a late bus message (NameAcquired) while static destructors
    // tear down the type registry, which prints spurious warnings after our output. Everything that
    // matters is written and flushed by now, so leave without running them.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}
