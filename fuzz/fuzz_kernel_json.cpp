// Any text as the output of `ip -j route`: the same routes wherever the blocks end in which it is read.

#include "fuzz/kernel_routes.hpp"
#include "fuzz/memory_file.hpp"
#include "tools/ribtool/tables/kernel_json.hpp"

#include <algorithm>

namespace
{

constexpr size_t BLOCK_LEN = 65536; // of compressed_input

std::vector<ribtool::byte_vector> routes_in(std::span<const uint8_t> text)
{
    const memory_file file(text);
    ribtool::kernel_json source(std::make_unique<ribtool::compressed_input>(file.path()));
    return kernel_routes_of(source);
}

} // namespace

// The first two bytes say how far from the end of a block the text begins.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3)
        return 0;
    const size_t distance = ribtool::read_be16(data) % (size - 2) + 1;
    const std::span text(data + 2, size - 2);
    ribtool::byte_vector apart(BLOCK_LEN - distance, ' ');
    apart.insert(apart.end(), text.begin(), text.end());
    ribtool::byte_vector together(1, ' '); // so that no mark of another format is in front
    together.insert(together.end(), text.begin(), text.end());
    if (routes_in(apart) != routes_in(together))
        std::abort();
    return 0;
}
