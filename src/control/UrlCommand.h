#pragma once

#include <QString>

#include <optional>

// A tarnwell:// URL, as the desktop entry hands it to a launch (a second launch forwards it to the running
// engine): tarnwell://mount/SHARE, tarnwell://eject/SHARE, tarnwell://eject-all, tarnwell://pause,
// tarnwell://resume, tarnwell://show. SHARE is an ID or a nickname (percent-encoded as URLs need).
// Pure; any thread.
struct UrlCommand
{
    enum class Action { Mount, Eject, EjectAll, Pause, Resume, Show };

    static inline const QString kScheme = QStringLiteral("tarnwell");

    Action action = Action::Show;
    QString share; // Mount and Eject only

    // nullopt with *error for another scheme, an unknown action, or a missing or superfluous share.
    static std::optional<UrlCommand> parse(const QString &url, QString *error = nullptr);
};
