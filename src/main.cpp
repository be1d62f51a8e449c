// tarnwell: the engine with its control interface; the tray application when a user interface is built and
// a display exists, the headless daemon otherwise (or with --headless).
#include "base/Console.h"
#include "app/AppDelegate.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace {

#ifdef TARNWELL_WITH_GUI
bool hasDisplay()
{
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}
#endif

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tarnwell"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TARNWELL_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Keeps network file shares mounted.\n"
        "Control the running engine with tarnwellctl; a second launch hands its tarnwell:// URL to it."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption headless(QStringLiteral("headless"),
                                      QStringLiteral("Run the engine without a user interface (daemon mode)."));
    parser.addOption(headless);
    parser.addPositionalArgument(QStringLiteral("url"),
                                 QStringLiteral("tarnwell:// URLs to handle (e.g. tarnwell://mount/NAS)."),
                                 QStringLiteral("[url...]"));
    parser.process(app);

#ifdef TARNWELL_WITH_GUI
    const bool withUserInterface = !parser.isSet(headless) && hasDisplay();
#else
    const bool withUserInterface = false;
#endif

    AppDelegate delegate(parser.positionalArguments());
    switch (delegate.launch()) {
    case AppDelegate::LaunchResult::AlreadyRunning:
        return 0;
    case AppDelegate::LaunchResult::Failed:
        return 1;
    case AppDelegate::LaunchResult::Running:
        break;
    }

    // Seam for the tray user interface: it attaches here to delegate.host() and delegate.control() (and the
    // application object becomes a QApplication). Until it is built the engine runs the same either way.
    if (withUserInterface)
        Console::line(QStringLiteral("🔧 [SETUP] Tray interface not in this build yet; running the engine only"));

    return app.exec();
}
