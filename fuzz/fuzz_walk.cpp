// The inspector's walk over a message against the real decoder. The first byte chooses the type; the rest is the message.

#include "tests/inspect/walk_check.hpp"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1 || size > 4096)
        return 0;
    const zidl::message_descriptor &type = *zidl::all_messages[data[0] % zidl::message_count];
    const std::string difference = check_walk(type, {data + 1, size - 1});
    if (!difference.empty()) {
        std::fprintf(stderr, "%s: %s\n", type.name, difference.c_str());
        std::abort();
    }
    return 0;
}
