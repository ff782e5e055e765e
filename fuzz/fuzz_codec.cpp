// One group's message types against the reference. The first two bytes choose the type and how its operations are called;
// the rest is the message.

#include "tests/messages/codec_check.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

std::vector<const zidl::message_descriptor *> types_of_group()
{
    std::vector<const zidl::message_descriptor *> types;
    for (size_t i = 0; i < zidl::message_count; ++i) {
        if (std::strcmp(zidl::all_messages[i]->group, FUZZED_GROUP) == 0)
            types.push_back(zidl::all_messages[i]);
    }
    return types;
}

void require_same(const zidl::message_descriptor &type, const char *operation, const std::string &difference)
{
    if (difference.empty())
        return;
    std::fprintf(stderr, "%s %s: %s\n", type.name, operation, difference.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::vector<const zidl::message_descriptor *> types = types_of_group();
    if (size < 2 || size > 4096)
        return 0;
    const zidl::message_descriptor &type = *types[data[0] % types.size()];
    const uint8_t choice = data[1];
    data += 2;
    size -= 2;

    static codec_check check(type);
    check.use(type);
    const uint32_t flags = choice & 1;
    memory_plan memory;
    memory.given = (choice & 2) == 0;
    if ((choice & 4) != 0)
        memory.failing = choice >> 4;

    require_same(type, "decode", check.decode(data, size, flags, memory));
    require_same(type, "encode", check.encode({size, std::nullopt, 0}));
    require_same(type, "encode with segments", check.encode({size, choice >> 5, flags}));
    require_same(type, "encode into a large buffer", check.encode({check.result() + 2048, std::nullopt, 0}));
    require_same(type, "duplicate", check.duplicate(memory));
    require_same(type, "release", check.release(flags));
    return 0;
}
