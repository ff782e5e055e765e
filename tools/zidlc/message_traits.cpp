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
    return f.nested != nullptr && !f.repeated;
}

std::string_view helper_kind(const field &f)
{
    return f.repeated ? f.type->array : f.type->writer;
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
    while (after != last && after->type->makes_runs && !after->repeated && after->number / 16 == first->number / 16 &&
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
    return !msg.owns_memory ||
           (is_small(msg) && std::all_of(msg.fields.begin(), msg.fields.end(), [](const field &f) {
                return f.type->held != storage::text && (f.nested == nullptr || is_bounded(*f.nested));
            }));
}

} // namespace zidlc
