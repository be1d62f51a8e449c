// The keyed archive of the older build's share list, as bytes and as the preferences file holding it.
#include "FuzzInput.h"

#include "core/LegacyArchive.h"

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QString error;
    const auto records = LegacyArchive::decodeVolumeRecords(FuzzInput::bytes(data, size), &error);
    if (records) {
        for (const VolumeRecord &record : *records)
            (void)record.encode();
    }
    return 0;
}
