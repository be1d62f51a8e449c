#pragma once

#include "base/Console.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

// Shared by the libFuzzer targets. A parser's console complaint about bad input is expected behaviour;
// printing it for every execution would dominate the run, so the sink drops it.
namespace FuzzInput {

inline void quietConsole()
{
    Console::setSink([](const QString &) {});
}

inline QByteArray bytes(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), qsizetype(size));
}

inline QString text(const uint8_t *data, size_t size)
{
    return QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
}

} // namespace FuzzInput

// Every target silences the console once before the first input.
#define TW_FUZZ_QUIET_CONSOLE                                                                                  \
    extern "C" int LLVMFuzzerInitialize(int *, char ***)                                                     \
    {                                                                                                          \
        FuzzInput::quietConsole();                                                                             \
        return 0;                                                                                              \
    }
