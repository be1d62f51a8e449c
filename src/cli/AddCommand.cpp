#include "AddCommand.h"

#include "ControlClient.h"
#include "PasswordReader.h"
#include "ShareArguments.h"

#include <QJsonDocument>

int AddCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        summary()
        + QStringLiteral("\n\nURL: smb://[user@]server[:port]/share, afp://..., nfs://server/export, or\n"
                         "http(s)://server[:port]/path for WebDAV (secure). Flags override the URL.\n"
                         "Without a user the share is a guest share.\n"
                         "Passwords are never taken from the command line: on a terminal you are asked (without echo),\n"
                         "otherwise give --password-stdin."));
    parser.addPositionalArgument(QStringLiteral("URL"), QStringLiteral("the share's URL"), QStringLiteral("[URL]"));
    ShareArguments::addOptions(parser, /*forEdit=*/false);
    parser.addOption(PasswordReader::stdinOption());
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 0, 1, &status))
        return status;

    ShareArguments::Flags flags = ShareArguments::flagsFrom(parser);
    if (!parser.positionalArguments().isEmpty())
        flags.url = parser.positionalArguments().first();
    QString error;
    const auto record = ShareArguments::toRecordJson(flags, /*forAdd=*/true, &error);
    if (!record)
        return usageError(error);
    const bool guest = record->value(QStringLiteral("guest")).toInt() == 1;
    if (guest && parser.isSet(PasswordReader::stdinOption()))
        return usageError(QStringLiteral("--password-stdin does not go with a guest share"));

    ControlClient client;
    ControlClient::Failure failure;
    if (!client.engineRunning(&failure))
        return failure.report();
    QString password;
    if (!guest) {
        const QString prompt = QStringLiteral("Password for %1@%2: ")
                                   .arg(record->value(QStringLiteral("username")).toString(),
                                        record->value(QStringLiteral("hostname")).toString());
        const auto given = PasswordReader::read(parser, prompt);
        if (given)
            password = *given;
        else
            Cli::err(QStringLiteral("No password stored: standard input is not a terminal (use --password-stdin)"));
    }

    const QString json = QString::fromUtf8(QJsonDocument(*record).toJson(QJsonDocument::Compact));
    const auto id = client.wait(client.control().AddRecord(json, password), &failure);
    password.fill(QLatin1Char('\0'));
    if (!id)
        return failure.report();
    const auto added = client.record(*id, &failure);
    Cli::out(QStringLiteral("Added share %1: %2\n")
                 .arg(*id)
                 .arg(added ? Cli::printable(added->value(QStringLiteral("mountURL")).toString()) : QString()));
    return kExitOk;
}
