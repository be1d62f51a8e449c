#include "CommandLine.h"

namespace CommandLine {

namespace {

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

QList<OptionSpec> shareOptions(bool forEdit)
{
    QList<OptionSpec> options = {
        {s("host"), s("HOST"), s("server name or address")},
        {s("share"), s("NAME"), s("share name (WebDAV: path on the server; empty for the root)")},
        {s("protocol"), s("PROTO"), s("smb, afp, nfs, webdav or webdavs (default smb)")},
        {s("port"), s("PORT"), s("port number; 'default' for the protocol's own")},
        {s("user"), s("USER"), s("user name (the password is asked for, or read with --password-stdin)")},
        {s("guest"), {}, s("guest access, no password")},
        {s("nickname"), s("TEXT"), s("display name")},
        {s("auto-mount"), {}, s("keep the share mounted automatically")},
        {s("mount-dir"), s("DIR"), s("mount at this folder instead of the volumes folder")},
        {s("group"), s("GROUP"), s("group tag")},
        {s("mac"), s("ADDR"), s("Wake-on-LAN hardware address of the server")},
        {s("password-stdin"), {}, s("read the password from standard input (first line)")},
    };
    if (forEdit) {
        options << OptionSpec{s("no-guest"), {}, s("switch guest access off")}
                << OptionSpec{s("no-auto-mount"), {}, s("switch auto-mount off")}
                << OptionSpec{s("in-volumes"), {}, s("mount in the volumes folder again")}
                << OptionSpec{s("set-password"), {}, s("ask for a new password (or read it with --password-stdin)")};
    }
    return options;
}

const OptionSpec kJson{s("json"), {}, s("print JSON")};
const OptionSpec kWait{s("wait"), {}, s("wait until the operation has ended")};
const OptionSpec kTimeout{s("timeout"), s("SECONDS"), s("how long --wait waits (default 120)")};

QList<CommandSpec> buildCommands()
{
    return {
        {s("list"), s("list [--json]"), s("list the shares with their state"), {}, {kJson}, 0, 0},
        {s("status"), s("status SHARE [--json]"), s("show one share's settings and state"), {}, {kJson}, 1, 1},
        {s("add"), s("add [URL] [options]"), s("add a share"),
         s("URL: smb://[user@]server[:port]/share, afp://..., nfs://server/export, or\n"
           "http(s)://server[:port]/path for WebDAV (secure). Flags override the URL.\n"
           "Without a user the share is a guest share.\n"
           "Passwords are never taken from the command line: on a terminal you are asked (without echo),\n"
           "otherwise give --password-stdin."),
         shareOptions(false), 0, 1},
        {s("edit"), s("edit SHARE [options]"), s("change a share's settings"), {}, shareOptions(true), 1, 1},
        {s("remove"), s("remove SHARE"), s("remove a share (IT-managed shares cannot be removed)"), {}, {}, 1, 1},
        {s("mount"), s("mount SHARE [--wait [--timeout SECONDS]]"), s("mount a share"), {}, {kWait, kTimeout}, 1, 1},
        {s("eject"), s("eject SHARE | --all [--wait [--timeout SECONDS]]"), s("eject a share, or every share"), {},
         {{s("all"), {}, s("eject every mounted share")}, kWait, kTimeout}, 0, 1},
        {s("cleanup"), s("cleanup SHARE"), s("remove stale mount folders a share left behind"), {}, {kTimeout}, 1, 1},
        {s("verify"), s("verify SHARE"), s("check that a share is really mounted (exit 1 when not)"), {}, {}, 1, 1},
        {s("pause"), s("pause"), s("pause auto-mounting (needs a mounted share)"), {}, {}, 0, 0},
        {s("resume"), s("resume"), s("resume auto-mounting"), {}, {}, 0, 0},
        {s("log"), s("log [--limit N] [--follow] [--json]"), s("show the event log, oldest first"),
         s("--follow keeps printing new entries until interrupted (Ctrl-C)."),
         {{s("limit"), s("N"), s("only the newest N entries (default 50; 0 = all)")},
          {s("follow"), {}, s("keep printing new entries")}, kJson},
         0, 0},
        {s("audit"), s("audit export --format csv|json [--since DATE] [--until DATE] [--output FILE]"),
         s("export the audit log"),
         s("DATE: YYYY-MM-DD (a whole day), YYYY-MM-DDTHH:MM[:SS][Z|+HH:MM], today, yesterday, or a span\n"
           "before now such as 7d or 24h. Both bounds are inclusive."),
         {{s("format"), s("FORMAT"), s("csv or json")},
          {s("since"), s("DATE"), s("first instant to include")},
          {s("until"), s("DATE"), s("last instant to include")},
          {s("output"), s("FILE"), s("write to FILE instead of standard output")}},
         1, 1},
        {s("import"), s("import FILE"), s("import a configuration (.twconfig) or share CSV (.csv)"), {}, {}, 1, 1},
        {s("export"), s("export FILE"), s("export the configuration (.twconfig) or the shares as CSV (.csv)"), {}, {},
         1, 1},
        {s("help"), s("help [COMMAND]"), s("show help"), {}, {}, 0, 1},
    };
}

bool looksLikePassword(const QString &name)
{
    return name == QLatin1String("password") || name == QLatin1String("pass") || name == QLatin1String("passwd");
}

} // namespace

const QList<CommandSpec> &commands()
{
    static const QList<CommandSpec> table = buildCommands();
    return table;
}

const CommandSpec *find(const QString &name)
{
    for (const CommandSpec &command : commands()) {
        if (command.name == name)
            return &command;
    }
    return nullptr;
}

std::optional<Parsed> parse(const QStringList &arguments, QString *error)
{
    auto fail = [error](const QString &why) -> std::optional<Parsed> {
        if (error)
            *error = why;
        return std::nullopt;
    };

    Parsed parsed;
    int i = 0;
    for (; i < arguments.size(); ++i) {
        const QString &arg = arguments.at(i);
        if (arg == QLatin1String("-h") || arg == QLatin1String("--help")) {
            parsed.globalHelp = true;
        } else if (arg == QLatin1String("--version")) {
            parsed.version = true;
        } else if (arg.startsWith(QLatin1Char('-'))) {
            return fail(QStringLiteral("Unknown option '%1' (options follow the command; see tarnwellctl --help)").arg(arg));
        } else {
            break;
        }
    }
    if (i >= arguments.size()) {
        if (!parsed.globalHelp && !parsed.version)
            return fail(QStringLiteral("A command is needed (see tarnwellctl --help)"));
        return parsed;
    }
    parsed.globalHelp = false; // "tarnwellctl --help mount" reads as the command's help
    const QString name = arguments.at(i++);
    const CommandSpec *command = find(name);
    if (!command)
        return fail(QStringLiteral("Unknown command '%1' (see tarnwellctl --help)").arg(name));
    parsed.command = command->name;
    if (arguments.contains(QLatin1String("--help")) || arguments.contains(QLatin1String("-h")))
        parsed.help = true;

    bool optionsEnded = false;
    for (; i < arguments.size(); ++i) {
        const QString &arg = arguments.at(i);
        if (optionsEnded || !arg.startsWith(QLatin1String("--")) || arg == QLatin1String("-")) {
            if (!optionsEnded && arg == QLatin1String("-h"))
                continue;
            if (!optionsEnded && arg.startsWith(QLatin1Char('-')) && arg != QLatin1String("-"))
                return fail(QStringLiteral("Unknown option '%1' for '%2'").arg(arg, command->name));
            parsed.positional << arg;
            continue;
        }
        if (arg == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        if (arg == QLatin1String("--help"))
            continue;
        QString optionName = arg.mid(2);
        std::optional<QString> inlineValue;
        if (const qsizetype eq = optionName.indexOf(QLatin1Char('=')); eq >= 0) {
            inlineValue = optionName.mid(eq + 1);
            optionName.truncate(eq);
        }
        if (looksLikePassword(optionName)) {
            return fail(QStringLiteral("Passwords are never taken from the command line: type it at the prompt, "
                                       "or pipe it in with --password-stdin"));
        }
        const OptionSpec *option = nullptr;
        for (const OptionSpec &candidate : command->options) {
            if (candidate.name == optionName)
                option = &candidate;
        }
        if (!option)
            return fail(QStringLiteral("Unknown option '--%1' for '%2' (see tarnwellctl %2 --help)").arg(optionName, command->name));
        if (option->valueName.isEmpty()) {
            if (inlineValue)
                return fail(QStringLiteral("Option '--%1' takes no value").arg(optionName));
            if (!parsed.flags.contains(optionName))
                parsed.flags << optionName;
            continue;
        }
        if (!inlineValue) {
            if (i + 1 >= arguments.size())
                return fail(QStringLiteral("Option '--%1' needs a value (%2)").arg(optionName, option->valueName));
            inlineValue = arguments.at(++i);
        }
        parsed.values.insert(optionName, *inlineValue);
    }

    if (parsed.help)
        return parsed;
    if (command->name == QLatin1String("help")) {
        if (!parsed.positional.isEmpty() && !find(parsed.positional.first()))
            return fail(QStringLiteral("Unknown command '%1' (see tarnwellctl --help)").arg(parsed.positional.first()));
    }
    if (parsed.positional.size() < command->minPositional)
        return fail(QStringLiteral("Too few arguments. Usage: tarnwellctl %1").arg(command->synopsis));
    if (parsed.positional.size() > command->maxPositional)
        return fail(QStringLiteral("Too many arguments. Usage: tarnwellctl %1").arg(command->synopsis));
    return parsed;
}

QString globalHelp()
{
    QString text = QStringLiteral(
        "Usage: tarnwellctl [--help] [--version] COMMAND [ARGUMENTS]\n\n"
        "Controls the running Tarnwell engine over the session bus (start it with: tarnwell --headless,\n"
        "or: systemctl --user start tarnwell.service).\n"
        "SHARE is a share's ID or nickname.\n\nCommands:\n");
    for (const CommandSpec &command : commands())
        text += QStringLiteral("  %1%2\n").arg(command.name.leftJustified(10), command.summary);
    text += QStringLiteral("\nRun 'tarnwellctl COMMAND --help' for a command's options.\n"
                           "Exit status: 0 success, 1 failure, 2 usage error.\n");
    return text;
}

QString commandHelp(const CommandSpec &command)
{
    QString text = QStringLiteral("Usage: tarnwellctl %1\n\n%2\n").arg(command.synopsis, command.summary);
    if (!command.details.isEmpty())
        text += QLatin1Char('\n') + command.details + QLatin1Char('\n');
    if (!command.options.isEmpty()) {
        text += QStringLiteral("\nOptions:\n");
        for (const OptionSpec &option : command.options) {
            QString left = QStringLiteral("--") + option.name;
            if (!option.valueName.isEmpty())
                left += QLatin1Char(' ') + option.valueName;
            text += QStringLiteral("  %1%2\n").arg(left.leftJustified(22), option.help);
        }
    }
    return text;
}

} // namespace CommandLine
