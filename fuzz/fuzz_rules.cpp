// The rules file (rules.json). A list that decodes must encode to one that decodes again with as many
// rules: the engine rewrites the file from what it read.
#include "FuzzInput.h"

#include "rules/Rule.h"

#include <cstdlib>

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QString error;
    const auto rules = Rule::decodeList(FuzzInput::bytes(data, size), &error);
    if (!rules)
        return 0;
    for (const Rule &rule : *rules)
        (void)rule.summary();
    const auto again = Rule::decodeList(Rule::encodeList(*rules), &error);
    if (!again || again->size() != rules->size())
        std::abort();
    return 0;
}
