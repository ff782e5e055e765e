#include "tools/ribtool/input/payload_input.hpp"

#include "inspect/wire/hex.hpp"
#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/input/compressed_input.hpp"

#include <array>
#include <string_view>

namespace ribtool
{

namespace
{

constexpr size_t MAX_BYTES = size_t{1} << 30; // far above any payload: what is beyond that is not one

byte_vector read_all(compressed_input &input)
{
    byte_vector bytes;
    std::array<uint8_t, 65536> block;
    while (const size_t count = input.read(block)) {
        bytes.insert(bytes.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count));
        if (bytes.size() > MAX_BYTES)
            fail(EXIT_MALFORMED, "{}: more than {} bytes", input.name(), MAX_BYTES);
    }
    if (const auto &error = input.error())
        fail(error->code, "{}: {}", input.name(), error->text);
    return bytes;
}

} // namespace

byte_vector read_payload(const std::string &path, payload_format format)
{
    compressed_input input(path);
    byte_vector bytes = read_all(input);
    if (format == payload_format::bin)
        return bytes;
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    rib_inspect::hex_bytes read = rib_inspect::from_hex(text);
    if (!read.is_good) {
        const rib_inspect::text_place place = rib_inspect::place_in(text, read.offset);
        fail(EXIT_MALFORMED, "{}:{}:{}: expected {}", input.name(), place.line, place.column, read.expected);
    }
    return std::move(read.bytes);
}

} // namespace ribtool
