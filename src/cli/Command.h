#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

// One tarnwellctl command (or command group such as "rules"): its name, a one-line summary for the global
// help, and run(), which builds its own QCommandLineParser over the arguments that follow the program name
// (arguments.first() is the command's name, as QCommandLineParser expects a program name first). Help,
// option errors and exit statuses come from the parser; results go to standard output, messages to
// standard error.
class Command
{
public:
    // Exit statuses.
    static constexpr int kExitOk = 0;
    static constexpr int kExitFailure = 1;
    static constexpr int kExitUsage = 2;

    virtual ~Command() = default;
    virtual QString name() const = 0;
    virtual QString summary() const = 0;
    virtual int run(const QStringList &arguments) = 0;

protected:
    // Parses `arguments` with `parser` (adding --help). False with the exit status in *status when the run
    // ends here: help was printed (0), or the parser or the password rule refused the arguments (2).
    // Passwords are never taken from the command line: any option named like one is refused.
    bool parse(QCommandLineParser &parser, const QStringList &arguments, int *status) const;
    // After parse(): false with *status 2 (and the usage line) unless there are min..max positional
    // arguments.
    bool expectPositionals(const QCommandLineParser &parser, qsizetype min, qsizetype max, int *status) const;
    // Prints the message as a usage error and returns its status (2).
    static int usageError(const QString &message);
    // The SHARE positional argument (an ID or a nickname; the engine resolves it).
    static void addShareArgument(QCommandLineParser &parser);
    // "Usage: tarnwellctl NAME [options] ARGUMENTS", from the parser's help.
    QString usageLine(const QCommandLineParser &parser) const;
};

// Every command, in the order of the global help. Registration is one line in Command.cpp; the dispatch
// (Cli::dispatch) and the help find the commands here only.
std::vector<std::unique_ptr<Command>> allCommands();

namespace Cli {

// Writes text as it stands to standard output, flushed.
void out(const QString &text);
// "tarnwellctl: <text>" and a newline to standard error, flushed.
void err(const QString &text);
// Text from user data made safe for a terminal: control characters (escape sequences, carriage returns,
// NUL) are shown as \xNN; tabs and newlines are kept only when `multiline`.
QString printable(const QString &text, bool multiline = false);

} // namespace Cli
