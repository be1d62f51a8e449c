// The configuration file (.twconfig): the decode and preview that run before anything local changes.
#include "FuzzInput.h"

#include "exchange/ConfigurationManager.h"

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The preview reads only the file; no store is touched, so the manager needs none.
    static const ConfigurationManager manager(ConfigurationManager::Dependencies{});
    (void)manager.preview(FuzzInput::bytes(data, size));
    return 0;
}
