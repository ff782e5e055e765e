// The table of where each field lands, which the reference manual shows: measured over messages that together have every field,
// since families, types of keys and blocks exclude one another.

#pragma once

#include "inspect/measure/measure.hpp"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace rib_inspect
{

struct base_message {
    uint32_t code;
    std::vector<uint8_t> payload;
};

struct bad_base : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Lines of a type code, a blank and the message as JSON; empty ones and those that begin with # are comments. Throws bad_base.
std::vector<base_message> read_bases(std::string_view text);

// What a message shows of where its fields land.
struct measured_base {
    const zidl::message_descriptor *type;
    std::vector<std::pair<field_path, landing>> fields;
};
std::vector<measured_base> measured(const std::vector<base_message> &bases);

// A header line, then a line for each field and each way to it from an update: message, field, way, where it lands, with tabs
// between.
std::string lands_in_table(const std::vector<measured_base> &bases);

} // namespace rib_inspect
