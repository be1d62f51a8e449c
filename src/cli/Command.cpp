#include "Command.h"

#include "AddCommand.h"
#include "AuditCommand.h"
#include "CleanupCommand.h"
#include "ConfigCommand.h"
#include "DirectoryCommand.h"
#include "DiscoverCommand.h"
#include "EditCommand.h"
#include "EjectCommand.h"
#include "ExportCommand.h"
#include "HelpCommand.h"
#include "ImportCommand.h"
#include "ListCommand.h"
#include "LogCommand.h"
#include "MountCommand.h"
#include "PauseCommand.h"
#include "ProfileCommand.h"
#include "RemoveCommand.h"
#include "ResumeCommand.h"
#include "RulesCommand.h"
#include "SetCommand.h"
#include "SharesCommand.h"
#include "StatusCommand.h"
#include "TrustCommand.h"
#include "VerifyCommand.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

bool looksLikePassword(QStringView option)
{
    return option == u"password" || option == u"pass" || option == u"passwd";
}

} // namespace

bool Command::parse(QCommandLineParser &parser, const QStringList &arguments, int *status) const
{
    for (const QString &argument : arguments.mid(1)) {
        if (argument == QLatin1String("--"))
            break;
        if (!argument.startsWith(QLatin1String("--")))
            continue;
        const QStringView option = QStringView(argument).mid(2).split(u'=').first();
        if (looksLikePassword(option)) {
            Cli::err(QStringLiteral("Passwords are never taken from the command line: type it at the prompt, "
                                    "or pipe it in with --password-stdin"));
            *status = kExitUsage;
            return false;
        }
    }
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Displays help for this command."));
    parser.addOption(help);
    if (!parser.parse(arguments)) {
        Cli::err(parser.errorText());
        *status = kExitUsage;
        return false;
    }
    if (parser.isSet(help)) {
        QString text = parser.helpText();
        text.replace(0, text.indexOf(QLatin1Char('\n')), usageLine(parser));
        Cli::out(text);
        *status = kExitOk;
        return false;
    }
    return true;
}

QString Command::usageLine(const QCommandLineParser &parser) const
{
    // The parser names the program after argv[0]; show the command as it is typed.
    const QString text = parser.helpText();
    QString line = text.left(text.indexOf(QLatin1Char('\n')));
    const qsizetype programStart = line.indexOf(QLatin1String(": ")) + 2;
    const qsizetype programEnd = line.indexOf(QLatin1Char(' '), programStart);
    line.replace(programStart, (programEnd < 0 ? line.size() : programEnd) - programStart,
                 QStringLiteral("tarnwellctl ") + name());
    return line;
}

bool Command::expectPositionals(const QCommandLineParser &parser, qsizetype min, qsizetype max, int *status) const
{
    const qsizetype count = parser.positionalArguments().size();
    if (count >= min && count <= max)
        return true;
    *status = usageError((count < min ? QStringLiteral("Too few arguments. ") : QStringLiteral("Too many arguments. "))
                         + usageLine(parser));
    return false;
}

void Command::addShareArgument(QCommandLineParser &parser)
{
    parser.addPositionalArgument(QStringLiteral("SHARE"), QStringLiteral("the share's ID or nickname"));
}

int Command::usageError(const QString &message)
{
    Cli::err(message);
    return kExitUsage;
}

std::vector<std::unique_ptr<Command>> allCommands()
{
    std::vector<std::unique_ptr<Command>> commands;
    // One line per command class, in the order of the global help.
    commands.push_back(std::make_unique<ListCommand>());
    commands.push_back(std::make_unique<StatusCommand>());
    commands.push_back(std::make_unique<AddCommand>());
    commands.push_back(std::make_unique<EditCommand>());
    commands.push_back(std::make_unique<RemoveCommand>());
    commands.push_back(std::make_unique<MountCommand>());
    commands.push_back(std::make_unique<EjectCommand>());
    commands.push_back(std::make_unique<CleanupCommand>());
    commands.push_back(std::make_unique<VerifyCommand>());
    commands.push_back(std::make_unique<TrustCommand>());
    commands.push_back(std::make_unique<PauseCommand>());
    commands.push_back(std::make_unique<ResumeCommand>());
    commands.push_back(std::make_unique<LogCommand>());
    commands.push_back(std::make_unique<AuditCommand>());
    commands.push_back(std::make_unique<ImportCommand>());
    commands.push_back(std::make_unique<ExportCommand>());
    commands.push_back(std::make_unique<ConfigCommand>());
    commands.push_back(std::make_unique<SetCommand>());
    commands.push_back(std::make_unique<RulesCommand>());
    commands.push_back(std::make_unique<DiscoverCommand>());
    commands.push_back(std::make_unique<SharesCommand>());
    commands.push_back(std::make_unique<DirectoryCommand>());
    commands.push_back(std::make_unique<ProfileCommand>());
    commands.push_back(std::make_unique<HelpCommand>());
    return commands;
}

namespace Cli {

void out(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), stdout);
    std::fflush(stdout);
}

void err(const QString &text)
{
    const QByteArray utf8 = (QStringLiteral("tarnwellctl: ") + text + QLatin1Char('\n')).toUtf8();
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), stderr);
    std::fflush(stderr);
}

QString printable(const QString &text, bool multiline)
{
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const bool keep = multiline && (u == u'\n' || u == u'\t');
        if (!keep && (u < 0x20 || u == 0x7f || (u >= 0x80 && u < 0xa0)))
            result += QStringLiteral("\\x%1").arg(int(u), 2, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

} // namespace Cli
