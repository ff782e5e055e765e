// Any bytes as an MRT file: the same routes wherever the blocks end in which it is read.

#include "fuzz/memory_file.hpp"
#include "fuzz/source_routes.hpp"
#include "tools/ribtool/tables/mrt_file.hpp"

#include <span>

namespace
{

constexpr size_t BLOCK_LEN = 65536; // of compressed_input
constexpr size_t HEADER_LEN = 12;
constexpr uint16_t UNKNOWN_TYPE = 99;

std::vector<ribtool::byte_vector> routes_in(std::span<const uint8_t> records)
{
    const memory_file file(records);
    ribtool::mrt_file source(std::make_unique<ribtool::compressed_input>(file.path()));
    return routes_of(source);
}

// The records behind one that is skipped, whose body has so many bytes.
ribtool::byte_vector behind_another(size_t body_len, std::span<const uint8_t> records)
{
    ribtool::byte_vector file;
    ribtool::append_be32(file, 0);
    ribtool::append_be16(file, UNKNOWN_TYPE);
    ribtool::append_be16(file, 0);
    ribtool::append_be32(file, static_cast<uint32_t>(body_len));
    file.resize(file.size() + body_len);
    file.insert(file.end(), records.begin(), records.end());
    return file;
}

} // namespace

// The first two bytes say how far from the end of a block the records begin.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3)
        return 0;
    const size_t distance = ribtool::read_be16(data) % (size - 2) + 1;
    const std::span records(data + 2, size - 2);
    if (distance + HEADER_LEN > BLOCK_LEN)
        return 0;
    if (routes_in(behind_another(BLOCK_LEN - HEADER_LEN - distance, records)) != routes_in(behind_another(0, records)))
        std::abort();
    return 0;
}
