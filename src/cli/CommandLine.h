#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The command line of tarnwellctl: a command, its positional arguments and options, checked against the
// command's table (which options it knows, which take a value, how many positionals it wants).
// Pure; the help texts live here too so that --help and usage errors read the same.
namespace CommandLine {

// Exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

struct OptionSpec
{
    QString name;      // without the leading "--"
    QString valueName; // empty: a flag without value
    QString help;
};

struct CommandSpec
{
    QString name;
    QString synopsis; // after "tarnwellctl "
    QString summary;  // one line for the global help
    QString details;  // extra paragraph for the command's help (may be empty)
    QList<OptionSpec> options;
    int minPositional = 0;
    int maxPositional = 0;
};

const QList<CommandSpec> &commands();
const CommandSpec *find(const QString &name);

struct Parsed
{
    QString command;          // empty with globalHelp / version
    QStringList positional;
    QHash<QString, QString> values; // options with a value
    QStringList flags;              // options without a value, in order
    bool help = false;              // --help / -h for the command (or "help COMMAND")
    bool globalHelp = false;
    bool version = false;

    bool has(const QString &option) const { return flags.contains(option) || values.contains(option); }
    std::optional<QString> value(const QString &option) const
    {
        const auto it = values.constFind(option);
        return it == values.constEnd() ? std::nullopt : std::optional<QString>(*it);
    }
};

// nullopt with *error (a usage error, exit 2) for an unknown command or option, a missing option value,
// the wrong number of positionals, or any attempt to pass a password as an argument.
std::optional<Parsed> parse(const QStringList &arguments, QString *error);

QString globalHelp();
QString commandHelp(const CommandSpec &command);

} // namespace CommandLine
