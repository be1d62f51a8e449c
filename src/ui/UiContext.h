#pragma once

#include <functional>

class AutoMountScheduler;
class ConfigurationManager;
class ControlService;
class CredentialStore;
class EngineHost;
class Defaults;
class LogEventManager;
class MountEngine;
class NotificationCenter;
class RuleEngine;
class ShareSetManager;
class QWidget;
class QString;

// What the user interface is built over: the long-lived engine objects, handed in by whoever composed the
// engine (the application delegate, or a test harness over fakes). Nothing here is owned; everything must
// outlive the windows. `scheduler`, `credentials` and `control` may be null (then pause, passwords resp.
// the control hooks are unavailable).
struct UiContext
{
    MountEngine *engine = nullptr;
    LogEventManager *eventLog = nullptr;
    Defaults *defaults = nullptr;
    NotificationCenter *center = nullptr;
    AutoMountScheduler *scheduler = nullptr;
    CredentialStore *credentials = nullptr;
    ControlService *control = nullptr;
    EngineHost *host = nullptr; // the engine root, for the subsystem views; null: the dashboard has none
    RuleEngine *rules = nullptr;                   // the Rules tab (none: no tab)
    ShareSetManager *shareSets = nullptr;          // the Sets tab (none: no tab)
    ConfigurationManager *configuration = nullptr; // set files (none: no export or import)
};

// The questions and notices the windows put to the user. The defaults open window-modal message boxes and
// answer through a callback (no nested event loop on the main thread); tests replace the functions to set
// the answer.
struct Prompter
{
    // Yes/no question; `done(true)` on the confirming button, `done(false)` otherwise. May answer later.
    std::function<void(QWidget *parent, const QString &title, const QString &text, const QString &confirmButton,
                       std::function<void(bool)> done)>
        confirm;
    // A notice with one "OK" button; never blocks.
    std::function<void(QWidget *parent, const QString &title, const QString &text)> inform;

    static Prompter &instance(); // the process's prompter (windows consult it at the moment they ask)
};
