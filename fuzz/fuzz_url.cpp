// tarnwell:// URLs handed to a launch by the desktop.
#include "FuzzInput.h"

#include "control/UrlCommand.h"

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QString error;
    (void)UrlCommand::parse(FuzzInput::text(data, size), &error);
    return 0;
}
