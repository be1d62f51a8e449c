#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>

#include <optional>

// Reads a share password for tarnwellctl, never from the command line:
// - from the terminal, with echo switched off (termios) and restored, also when interrupted;
// - or the first line of standard input (--password-stdin), for scripts.
namespace PasswordReader {

bool stdinIsTerminal();

// The prompt goes to standard error. nullopt when the terminal could not be read (end of input).
std::optional<QString> fromTerminal(const QString &prompt);

// The first line without its line ending; nullopt when standard input is empty.
std::optional<QString> fromStdin();

// The --password-stdin option of the commands that take a password.
QCommandLineOption stdinOption();

// The password as the user gives it: the first line of standard input with --password-stdin (empty when
// there is none), else asked on the terminal without echo. nullopt when neither is possible (no option and
// standard input is not a terminal); the command decides what that means.
std::optional<QString> read(const QCommandLineParser &parser, const QString &prompt);

} // namespace PasswordReader
