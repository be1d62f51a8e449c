#include "UrlCommand.h"

#include <QUrl>

std::optional<UrlCommand> UrlCommand::parse(const QString &text, QString *error)
{
    auto fail = [error, &text](const QString &why) -> std::optional<UrlCommand> {
        if (error)
            *error = QStringLiteral("Unsupported tarnwell URL '%1': %2").arg(text, why);
        return std::nullopt;
    };
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    if (!url.isValid() || url.scheme().compare(kScheme, Qt::CaseInsensitive) != 0)
        return fail(QStringLiteral("not a tarnwell:// URL"));

    // QUrl lower-cases the host part, which is where the action stands.
    const QString action = url.host();
    QString share = url.path(QUrl::FullyDecoded);
    while (share.startsWith(QLatin1Char('/')))
        share.remove(0, 1);
    while (share.endsWith(QLatin1Char('/')))
        share.chop(1);

    UrlCommand command;
    if (action == QLatin1String("mount"))
        command.action = Action::Mount;
    else if (action == QLatin1String("eject"))
        command.action = Action::Eject;
    else if (action == QLatin1String("eject-all"))
        command.action = Action::EjectAll;
    else if (action == QLatin1String("pause"))
        command.action = Action::Pause;
    else if (action == QLatin1String("resume"))
        command.action = Action::Resume;
    else if (action == QLatin1String("show") || action.isEmpty())
        command.action = Action::Show;
    else
        return fail(QStringLiteral("unknown action '%1'").arg(action));

    const bool needsShare = command.action == Action::Mount || command.action == Action::Eject;
    if (needsShare && share.isEmpty())
        return fail(QStringLiteral("the share is missing (tarnwell://%1/SHARE)").arg(action));
    if (!needsShare && !share.isEmpty())
        return fail(QStringLiteral("'%1' takes no share").arg(action));
    command.share = share;
    return command;
}
