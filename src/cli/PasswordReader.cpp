#include "PasswordReader.h"

#include <QByteArray>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <termios.h>
#include <unistd.h>

namespace PasswordReader {

namespace {

termios s_saved;
volatile sig_atomic_t s_echoOff = 0;

// Puts the terminal back before the default action ends the process.
void restoreAndReraise(int number)
{
    if (s_echoOff)
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_saved);
    ::signal(number, SIG_DFL);
    ::raise(number);
}

std::optional<QString> readLine()
{
    QByteArray line;
    char c = 0;
    bool any = false;
    while (true) {
        const ssize_t n = ::read(STDIN_FILENO, &c, 1);
        if (n <= 0)
            break;
        any = true;
        if (c == '\n')
            break;
        line.append(c);
    }
    if (!any)
        return std::nullopt;
    if (line.endsWith('\r'))
        line.chop(1);
    const QString text = QString::fromUtf8(line);
    // Wipe the local copy; QString's buffer is the caller's.
    line.fill('\0');
    return text;
}

} // namespace

bool stdinIsTerminal()
{
    return ::isatty(STDIN_FILENO) == 1;
}

std::optional<QString> fromTerminal(const QString &prompt)
{
    std::fputs(prompt.toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
    if (::tcgetattr(STDIN_FILENO, &s_saved) != 0)
        return std::nullopt;
    termios quiet = s_saved;
    quiet.c_lflag &= ~tcflag_t(ECHO);
    quiet.c_lflag |= ECHONL;
    auto oldInt = ::signal(SIGINT, restoreAndReraise);
    auto oldTerm = ::signal(SIGTERM, restoreAndReraise);
    s_echoOff = 1;
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    const auto line = readLine();
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_saved);
    s_echoOff = 0;
    ::signal(SIGINT, oldInt);
    ::signal(SIGTERM, oldTerm);
    return line;
}

std::optional<QString> fromStdin()
{
    return readLine();
}

QCommandLineOption stdinOption()
{
    return QCommandLineOption(QStringLiteral("password-stdin"),
                              QStringLiteral("read the password from standard input (first line)"));
}

std::optional<QString> read(const QCommandLineParser &parser, const QString &prompt)
{
    if (parser.isSet(stdinOption()))
        return fromStdin().value_or(QString());
    if (stdinIsTerminal())
        return fromTerminal(prompt).value_or(QString());
    return std::nullopt;
}

} // namespace PasswordReader
