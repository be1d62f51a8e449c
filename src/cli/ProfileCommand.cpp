#include "ProfileCommand.h"

#include "base/DurableFile.h"

#include "enterprise/ProfileGenerator.h"

#include <QFile>

namespace {

const QString kGenerate = QStringLiteral("generate");

std::optional<bool> yesNo(const QString &text)
{
    const QString t = text.toLower();
    if (t == QLatin1String("yes") || t == QLatin1String("true") || t == QLatin1String("1"))
        return true;
    if (t == QLatin1String("no") || t == QLatin1String("false") || t == QLatin1String("0"))
        return false;
    return std::nullopt;
}

} // namespace

std::optional<ProfileGenerator::Share> ProfileCommand::parseShare(const QString &text, QString *error)
{
    const QStringList parts = text.split(QLatin1Char(','));
    const QString location = parts.first();
    const qsizetype slash = location.indexOf(QLatin1Char('/'));
    if (slash < 0) {
        *error = QStringLiteral("--share '%1': expected HOST/SHARE").arg(text);
        return std::nullopt;
    }
    ProfileGenerator::Share share;
    share.hostname = location.left(slash);
    share.shareName = location.mid(slash + 1);
    for (const QString &part : parts.mid(1)) {
        const qsizetype eq = part.indexOf(QLatin1Char('='));
        const QString key = part.left(eq).trimmed();
        const QString value = eq < 0 ? QString() : part.mid(eq + 1);
        if (eq < 0) {
            *error = QStringLiteral("--share '%1': '%2' is not KEY=VALUE").arg(text, part);
            return std::nullopt;
        }
        if (key == QLatin1String("nickname")) {
            share.nickname = value;
        } else if (key == QLatin1String("protocol")) {
            share.protocolType = value;
        } else if (key == QLatin1String("locked")) {
            const auto locked = yesNo(value);
            if (!locked) {
                *error = QStringLiteral("--share '%1': locked must be yes or no").arg(text);
                return std::nullopt;
            }
            share.locked = *locked;
        } else {
            *error = QStringLiteral("--share '%1': unknown field '%2' (nickname, protocol, locked)").arg(text, key);
            return std::nullopt;
        }
    }
    return share;
}

int ProfileCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Configuration profiles for device management.\n\nCommands:\n"
                                                    "  generate   write a profile (tarnwellctl profile generate --help)"));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("generate"));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    int status = kExitOk;
    if (!parse(parser, arguments, &status))
        return status;
    const QStringList positional = parser.positionalArguments();
    if (positional.isEmpty() || positional.first() != kGenerate) {
        Cli::err(positional.isEmpty() ? QStringLiteral("profile: a command is needed: generate")
                                      : QStringLiteral("profile: unknown command '%1'").arg(positional.first()));
        return kExitUsage;
    }
    return generate(QStringList{QStringLiteral("profile generate")} + positional.mid(1));
}

int ProfileCommand::generate(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Writes a configuration profile that gives the machines it is installed on managed shares and policy.\n"
        "User text is written as typed (not XML-escaped): avoid & and < in names."));
    const QCommandLineOption organization(QStringLiteral("organization"), QStringLiteral("Organisation name."),
                                          QStringLiteral("name"));
    const QCommandLineOption email(QStringLiteral("help-desk-email"), QStringLiteral("Help-desk e-mail address."),
                                   QStringLiteral("address"));
    const QCommandLineOption userShares(QStringLiteral("allow-user-shares"),
                                        QStringLiteral("Allow users to add their own shares (default yes)."),
                                        QStringLiteral("yes|no"));
    const QCommandLineOption exportOption(QStringLiteral("allow-export"),
                                          QStringLiteral("Allow export (CSV, config, sets) (default yes)."), QStringLiteral("yes|no"));
    const QCommandLineOption importOption(QStringLiteral("allow-import"),
                                          QStringLiteral("Allow import (CSV, config, sets) (default yes)."), QStringLiteral("yes|no"));
    const QCommandLineOption ssids(QStringLiteral("ssids"),
                                   QStringLiteral("Enforced Wi-Fi networks, one text (e.g. \"CorpWiFi, CorpWiFi-5G\")."),
                                   QStringLiteral("text"));
    const QCommandLineOption share(QStringLiteral("share"),
                                   QStringLiteral("A managed share, repeatable: HOST/SHARE[,nickname=NAME][,protocol=SMB|AFP|NFS|"
                                                  "WebDAV|WebDAVS][,locked=yes|no]. Rows with an empty host or share are "
                                                  "left out."),
                                   QStringLiteral("spec"));
    const QCommandLineOption output(QStringList{QStringLiteral("o"), QStringLiteral("output")},
                                    QStringLiteral("Where to write: a file, or - for standard output (default "
                                                   "\"<organisation>-Config.mobileconfig\")."),
                                    QStringLiteral("file"));
    const QCommandLineOption force(QStringLiteral("force"), QStringLiteral("Replace an existing file."));
    parser.addOptions({organization, email, userShares, exportOption, importOption, ssids, share, output, force});
    int status = kExitOk;
    if (!parse(parser, arguments, &status))
        return status;
    if (!parser.positionalArguments().isEmpty()) {
        Cli::err(QStringLiteral("profile generate: unexpected argument '%1'").arg(parser.positionalArguments().first()));
        return kExitUsage;
    }

    ProfileGenerator::Settings settings;
    settings.organizationName = parser.value(organization);
    settings.helpDeskEmail = parser.value(email);
    settings.enforcedSSIDs = parser.value(ssids);
    const std::pair<const QCommandLineOption *, bool *> switches[] = {{&userShares, &settings.allowUserShares},
                                                                       {&exportOption, &settings.allowShareExport},
                                                                       {&importOption, &settings.allowShareImport}};
    for (const auto &[option, target] : switches) {
        if (!parser.isSet(*option))
            continue;
        const auto value = yesNo(parser.value(*option));
        if (!value) {
            Cli::err(QStringLiteral("--%1 takes yes or no").arg(option->names().first()));
            return kExitUsage;
        }
        *target = *value;
    }
    for (const QString &spec : parser.values(share)) {
        QString error;
        const auto row = parseShare(spec, &error);
        if (!row) {
            Cli::err(error);
            return kExitUsage;
        }
        settings.shares.append(*row);
    }

    const QString text = ProfileGenerator::generate(settings);
    const QString path = parser.isSet(output) ? parser.value(output) : ProfileGenerator::proposedFileName(settings.organizationName);
    if (path == QLatin1String("-")) {
        Cli::out(text);
        return kExitOk;
    }
    if (QFile::exists(path) && !parser.isSet(force)) {
        Cli::err(QStringLiteral("%1 exists; use --force to replace it").arg(path));
        return kExitFailure;
    }
    const DurableFile::Result written = DurableFile::write(path, text.toUtf8(), 0600, /*createFolder=*/false);
    if (!written.ok) {
        Cli::err(QStringLiteral("Cannot write %1: %2").arg(path, written.error));
        return kExitFailure;
    }
    Cli::out(QStringLiteral("Wrote %1\n").arg(Cli::printable(path)));
    return kExitOk;
}
