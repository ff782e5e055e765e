// The names of every message's members as JSON has them.

#pragma once

#include "messages/descriptors.hpp"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace rib_inspect
{

struct json_type;

struct json_member {
    const zidl::field_descriptor *field;
    const json_type *message; // of a nested message, or null
    std::string key;          // ,"name":

    std::string_view name() const { return field->member; }
};

struct json_type {
    const zidl::message_descriptor *type;
    std::vector<json_member> members;                                  // in the order of the fields
    std::unordered_map<std::string_view, const json_member *> by_name; // lowerCamelCase, too
    std::vector<std::string> camel_names;
};

const json_type &json_type_of(const zidl::message_descriptor &type);

// prefix_len becomes prefixLen.
std::string lower_camel_case(std::string_view name);

} // namespace rib_inspect
