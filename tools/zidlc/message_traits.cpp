#include "tools/zidlc/message_traits.hpp"

#include <algorithm>

namespace zidlc
{
namespace
{

// How many fields a small message has at most, and one with a run of values among them.
constexpr size_t few_fields = 6;
constexpr size_t few_values = 8;

} // namespace

bool is_embedded(const field &f)
{
    return f.type == kind::message && !f.repeated;
}

std::string wire_type_name(const field &f)
{
    return f.wire_type == 0 ? "varint" : f.wire_type == 2 ? "delimited" : "fixed32";
}

std::string helper_kind(const field &f)
{
    if (f.repeated) {
        switch (f.type) {
        case kind::u8:
            return "u8s";
        case kind::u32:
            return "u32s";
        case kind::u64:
            return "u64s";
        case kind::bytes:
            return "byte_blocks";
        default:
            return "messages";
        }
    }
    switch (f.type) {
    case kind::u8:
        return "u8";
    case kind::u32:
        return "u32";
    case kind::u64:
        return "u64";
    case kind::boolean:
        return "bool";
    case kind::fixed32:
        return "fixed32";
    case kind::string:
        return "string";
    case kind::bytes:
        return "bytes";
    case kind::message:
        return "message";
    }
    return {};
}

std::string members(const field &f, const std::string &object)
{
    std::string text = object + '.' + f.name;
    if (!f.count_name.empty())
        text += ", " + object + '.' + f.count_name;
    return text;
}

field_iterator end_of_run(field_iterator first, field_iterator last)
{
    auto after = first;
    while (after != last && after->type == kind::u32 && !after->repeated && after->number / 16 == first->number / 16 &&
           after->tag_size <= 2 && after->number - first->number == after->bit - first->bit)
        ++after;
    return after;
}

bool has_varied_values(const message &msg)
{
    for (auto first = msg.fields.begin(); first != msg.fields.end(); ++first) {
        if (end_of_run(first, msg.fields.end()) - first >= shortest_run)
            return true;
    }
    return false;
}

bool is_small(const message &msg)
{
    const bool varied = has_varied_values(msg);
    if (varied && msg.owns_memory)
        return false;
    return msg.fields.size() <= (varied ? few_values : few_fields) &&
           std::all_of(msg.fields.begin(), msg.fields.end(), [](const field &f) {
               return !f.repeated && f.tag_size <= 2 && (f.nested == nullptr || is_small(*f.nested));
           });
}

bool is_bounded(const message &msg)
{
    return !msg.owns_memory || (is_small(msg) && std::all_of(msg.fields.begin(), msg.fields.end(), [](const field &f) {
                                    return f.type != kind::string && (f.nested == nullptr || is_bounded(*f.nested));
                                }));
}

} // namespace zidlc
