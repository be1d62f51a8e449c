#include "EditCommand.h"

#include "ControlClient.h"
#include "PasswordReader.h"
#include "ShareArguments.h"

#include <QJsonDocument>

int EditCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    addShareArgument(parser);
    ShareArguments::addOptions(parser, /*forEdit=*/true);
    const QCommandLineOption setPassword(QStringLiteral("set-password"),
                                         QStringLiteral("ask for a new password (or read it with --password-stdin)"));
    parser.addOption(setPassword);
    parser.addOption(PasswordReader::stdinOption());
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;

    const bool newPassword = parser.isSet(setPassword);
    if (parser.isSet(PasswordReader::stdinOption()) && !newPassword)
        return usageError(QStringLiteral("--password-stdin goes with --set-password"));
    const ShareArguments::Flags flags = ShareArguments::flagsFrom(parser);
    QString error;
    const auto record = ShareArguments::toRecordJson(flags, /*forAdd=*/false, &error);
    // Only a new password is a change too.
    if (!record && !newPassword)
        return usageError(error);
    if (newPassword && flags.guest.value_or(false))
        return usageError(QStringLiteral("--set-password does not go with --guest"));

    ControlClient client;
    ControlClient::Failure failure;
    const auto id = client.resolve(parser.positionalArguments().first(), &failure);
    if (!id)
        return failure.report();
    if (record) {
        const QString json = QString::fromUtf8(QJsonDocument(*record).toJson(QJsonDocument::Compact));
        if (!client.wait(client.control().EditRecord(*id, json), &failure))
            return failure.report();
    }
    if (newPassword) {
        const auto current = client.record(*id, &failure);
        const QString prompt = QStringLiteral("New password for %1@%2: ")
                                   .arg(current ? current->value(QStringLiteral("username")).toString() : QString(),
                                        current ? current->value(QStringLiteral("hostname")).toString() : QString());
        auto password = PasswordReader::read(parser, prompt);
        if (!password)
            return usageError(QStringLiteral("--set-password needs a terminal or --password-stdin"));
        const bool stored = client.wait(client.control().SetPassword(*id, *password), &failure);
        password->fill(QLatin1Char('\0'));
        if (!stored)
            return failure.report();
    }
    Cli::out(QStringLiteral("Updated share %1\n").arg(*id));
    return kExitOk;
}
