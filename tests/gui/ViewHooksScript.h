#pragma once

// Answers the views' file panels and multi-button alerts as the test says, and records what was asked.
#include "ui/ViewHooks.h"

#include <QStringList>

struct ViewHooksScript
{
    ViewHooksScript()
    {
        ViewHooks &hooks = ViewHooks::instance();
        m_saved = hooks;
        hooks.choosePath
            = [this](QWidget *, const ViewHooks::FilePanel &panel, std::function<void(const QString &)> done) {
                  panels.append(panel);
                  done(paths.isEmpty() ? QString() : paths.takeFirst());
              };
        hooks.choose = [this](QWidget *, const QString &title, const QString &text, const QStringList &buttons,
                              std::function<void(int)> done) {
            alerts.append(title + QLatin1Char('|') + text);
            alertButtons = buttons;
            done(button);
        };
    }
    ~ViewHooksScript() { ViewHooks::instance() = m_saved; }
    ViewHooksScript(const ViewHooksScript &) = delete;
    ViewHooksScript &operator=(const ViewHooksScript &) = delete;

    QStringList paths;                   // answers of the file panels, in order (none left: cancelled)
    int button = -1;                     // answer of the alerts
    QList<ViewHooks::FilePanel> panels;  // asked, in order
    QStringList alerts;                  // "title|text"
    QStringList alertButtons;            // of the last alert

private:
    ViewHooks m_saved;
};
