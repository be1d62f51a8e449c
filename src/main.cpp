// tarnwell: the engine with its control interface; the tray application when a user interface is built and
// a display exists, the headless daemon otherwise (or with --headless).
#include "base/Console.h"
#include "app/AppDelegate.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#ifdef TARNWELL_WITH_GUI
#include "ui/DesktopShell.h"
#include "ui/Languages.h"

#include "base/Defaults.h"
#include "engine/EngineHost.h"

#include <QApplication>
#include <QSystemTrayIcon>
#include <QThreadPool>
#endif

#include <cstring>
#include <memory>

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
    // The application object's kind depends on the mode, which is known before the parser runs.
    bool headlessRequested = false;
    for (int i = 1; i < argc; ++i)
        headlessRequested = headlessRequested || std::strcmp(argv[i], "--headless") == 0;
#ifdef TARNWELL_WITH_GUI
    const bool guiApplication = !headlessRequested && hasDisplay();
#else
    const bool guiApplication = false;
#endif
    std::unique_ptr<QCoreApplication> application;
#ifdef TARNWELL_WITH_GUI
    if (guiApplication)
        application = std::make_unique<QApplication>(argc, argv);
#endif
    if (!application)
        application = std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication &app = *application;
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

    const bool withUserInterface = guiApplication && !parser.isSet(headless);

    AppDelegate delegate(parser.positionalArguments());
    switch (delegate.launch()) {
    case AppDelegate::LaunchResult::AlreadyRunning:
        return 0;
    case AppDelegate::LaunchResult::Failed:
        return 1;
    case AppDelegate::LaunchResult::Running:
        break;
    }

#ifdef TARNWELL_WITH_GUI
    // The tray application attaches to the running engine (its launch entry written, its notice queued).
    std::unique_ptr<DesktopShell> shell;
    if (withUserInterface) {
        EngineHost *host = delegate.host();
        Languages::install(host->defaults());
        UiContext context;
        context.engine = &host->engine();
        context.eventLog = &host->eventLog();
        context.defaults = &host->defaults();
        context.center = &host->center();
        context.scheduler = &host->scheduler();
        context.credentials = &host->credentials();
        context.control = delegate.control();
        context.host = host;
        context.rules = &host->rules();
        context.shareSets = &host->shareSets();
        context.configuration = &host->configuration();
        DesktopShell::Hooks hooks;
        hooks.quit = [&delegate] { delegate.quit(); };
        hooks.setNoticePresenter = [host](const auto &presenter) { host->setNoticePresenter(presenter); };
        hooks.trayAvailable = QSystemTrayIcon::isSystemTrayAvailable();
        shell = std::make_unique<DesktopShell>(context, std::move(hooks));
        shell->start();
    }
#else
    Q_UNUSED(withUserInterface);
#endif

    const int status = app.exec();
#ifdef TARNWELL_WITH_GUI
    shell.reset(); // the windows go before the engine they show
    // Window tasks on the global pool (a password being read for the editor) use the engine's objects:
    // they end before the engine does.
    QThreadPool::globalInstance()->waitForDone();
#endif
    return status;
}
