// What smbclient prints for a share listing (grepable or tabular form, or a failure).
#include "FuzzInput.h"

#include "discovery/ShareListing.h"

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = FuzzInput::text(data, size);
    (void)ShareListing::parse(output, QStringLiteral("nas.example"), QStringLiteral("127.0.0.1"));
    (void)ShareListing::parse(output, QStringLiteral("My NAS"), std::nullopt);
    (void)ShareListing::classifyFailure(output);
    return 0;
}
