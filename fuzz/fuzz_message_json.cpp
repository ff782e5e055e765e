// Messages as JSON: bytes that are written and read again, and text that is read. The first byte chooses the type, the second
// one which of the two the rest is.

#include "tests/inspect/message_json_check.hpp"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2 || size > 4096)
        return 0;
    const zidl::message_descriptor &type = *zidl::all_messages[data[0] % zidl::message_count];
    const bool is_text = (data[1] & 1) != 0;
    data += 2;
    size -= 2;
    const std::string difference = is_text ? check_json_text(type, {reinterpret_cast<const char *>(data), size})
                                           : check_bytes_through_json(type, {data, size});
    if (!difference.empty()) {
        std::fprintf(stderr, "%s: %s\n", type.name, difference.c_str());
        std::abort();
    }
    return 0;
}
