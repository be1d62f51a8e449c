#pragma once

#include <QString>
#include <QStringList>

// tarnwellctl's top level: the global options and the choice of the command, which is looked up in
// allCommands() only (adding a command never touches this).
namespace Cli {

// Runs the command line (without the program name) and returns the exit status:
//   (nothing)              the global help on standard error, status 2
//   --help | -h            the global help
//   --help COMMAND ...     the command's help
//   --version              "tarnwellctl VERSION"
//   COMMAND ARGUMENTS...   the command
int dispatch(const QStringList &arguments);

QString globalHelp();

} // namespace Cli
