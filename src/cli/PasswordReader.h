#pragma once

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

} // namespace PasswordReader
