// The audit log file (a JSON array of entries). A file that decodes must encode to one that decodes to
// the same entries: an append rewrites the whole file from what was read.
#include "FuzzInput.h"

#include "logging/AuditLogFile.h"

#include <cstdlib>

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QString error;
    const auto entries = AuditLogFile::decode(FuzzInput::bytes(data, size), &error);
    if (!entries)
        return 0;
    const auto again = AuditLogFile::decode(AuditLogFile::encode(*entries), &error);
    if (!again || again->size() != entries->size())
        std::abort();
    return 0;
}
