// What the inspector says of an update against what the library does with it. The first two bytes choose code, form, entry
// point and client; the rest is the payload.

#include "tests/inspect/explain_check.hpp"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 65535)
        return 0;
    rib_test::update_case update = rib_test::case_of_bytes(data, size);
    for (const bool framed : {false, true}) {
        update.framed = framed;
        rib_outcome outcome;
        const std::string difference = rib_test::explain_difference(update, outcome);
        if (!difference.empty()) {
            std::fprintf(stderr, "%s\n", difference.c_str());
            std::abort();
        }
    }
    return 0;
}
