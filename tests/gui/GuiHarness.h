#pragma once

// The real engine over the in-process fakes (EngineHarness) with the user interface's context built over it,
// and the prompter answering as the test says (no dialog is ever left waiting).
#include "support/EngineHarness.h"
#include "ui/UiContext.h"

#include "platform/fake/FakeClock.h"

#include <QStringList>

struct GuiHarness : EngineHarness
{
    // `adjustPorts` may replace fakes before the engine is built (a certificate reader).
    explicit GuiHarness(const std::function<void(PlatformPorts &)> &adjustPorts = {})
        : EngineHarness(ConsoleMode::Capture, defaultOptions(), adjustPorts)
    {
        Prompter &prompter = Prompter::instance();
        prompter.confirm = [this](QWidget *, const QString &title, const QString &text, const QString &,
                                  std::function<void(bool)> done) {
            questions.append(title + QLatin1Char('|') + text);
            done(answer);
        };
        prompter.inform = [this](QWidget *, const QString &title, const QString &text) {
            notices.append(title + QLatin1Char('|') + text);
        };
    }

    // Builds and starts the scheduler on the fake clock (pause, tick interval).
    AutoMountScheduler &startScheduler()
    {
        scheduler->start();
        return *scheduler;
    }

    UiContext context()
    {
        UiContext c;
        c.engine = engine;
        c.eventLog = &eventLog;
        c.defaults = &defaults;
        c.center = &center;
        c.scheduler = scheduler;
        c.credentials = &credentials;
        c.rules = &host->rules();
        c.shareSets = &host->shareSets();
        c.configuration = &host->configuration();
        return c;
    }

    bool answer = true;
    QStringList questions;
    QStringList notices;
};
