// The share CSV as a user or a spreadsheet writes it.
#include "FuzzInput.h"

#include "exchange/ShareCsv.h"

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const ShareCsv::Parsed parsed = ShareCsv::parse(FuzzInput::text(data, size));
    if (!parsed.error.isEmpty())
        return 0;
    QList<VolumeRecord> records;
    for (const ShareCsv::Row &row : parsed.rows)
        records.append(row.record);
    (void)ShareCsv::parse(ShareCsv::write(records));
    return 0;
}
