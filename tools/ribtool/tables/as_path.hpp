// What a route keeps of an AS path: how long it is, whom it came from and who originated it.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/tables/table_route.hpp"

#include <cstdint>
#include <optional>
#include <string_view>

namespace ribtool
{

// A set counts as one AS, segments of a confederation as none. A set of several has no AS that would be the first or the last.
struct as_path {
    uint32_t length = 0;
    std::optional<uint32_t> first;
    std::optional<uint32_t> last;
};

enum class as_size : size_t { two_bytes = 2, four_bytes = 4 };

// AS_PATH or AS4_PATH, whose `name` is for malformed_bytes.
as_path read_as_path(byte_span attribute, as_size size, std::string_view name);

// "64500 64501 {64502,64503}", confederations in () and []; nothing where it is not that.
std::optional<as_path> parse_as_path(std::string_view text);

// AS_PATH of a speaker of 2-byte numbers with what AS4_PATH says of its end.
as_path merged(const as_path &path, const as_path &wide_end);

void set_as_path(table_path &path, const as_path &from);

} // namespace ribtool
