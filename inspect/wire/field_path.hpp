// The name of a place in a message: `paths[3].ecomm.ecomm_values[2]`.

#pragma once

#include "messages/descriptors.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace rib_inspect
{

// Messages hold one another no deeper than this; a test goes through all of them.
constexpr uint32_t max_path_depth = 8;

struct path_step {
    const zidl::field_descriptor *field; // null: unknown
    uint32_t number;
    uint32_t index; // 0 where the field is not repeated
};

// Plain storage without an allocation: steps behind `depth` hold nothing.
struct field_path {
    uint32_t depth;
    path_step steps[max_path_depth];
};

// Unknown fields are written by number: `paths[3].77`. Empty for an empty path.
void append_path(std::string &out, const field_path &path);
std::string to_string(const field_path &path);

// The reverse. A repeated field needs its index except at the end of the path, where it is 0 if left out. Nothing where
// `text` names no field of `type`; `bad`, if given, then receives the first character that does not fit.
std::optional<field_path> parse_path(const zidl::message_descriptor &type, std::string_view text,
                                     size_t *bad = nullptr);

bool operator==(const field_path &a, const field_path &b);

const zidl::field_descriptor *find_field(const zidl::message_descriptor &type, std::string_view member);
const zidl::field_descriptor *find_field(const zidl::message_descriptor &type, uint32_t number);

} // namespace rib_inspect
