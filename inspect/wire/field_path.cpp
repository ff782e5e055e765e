#include "inspect/wire/field_path.hpp"

#include "inspect/formats/json_text.hpp"

#include <algorithm>
#include <charconv>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::message_descriptor;

namespace
{

// Reads a path from left to right; `at` stays where it no longer fits.
struct path_parser {
    std::string_view text;
    size_t at = 0;

    bool ended() const { return at == text.size(); }

    bool take(char wanted)
    {
        if (ended() || text[at] != wanted)
            return false;
        ++at;
        return true;
    }

    bool take_number(uint32_t &number)
    {
        const char *const begin = text.data() + at;
        const auto [end, error] = std::from_chars(begin, text.data() + text.size(), number);
        if (error != std::errc())
            return false;
        at += static_cast<size_t>(end - begin);
        return true;
    }

    std::string_view name() const { return text.substr(at, std::min(text.find_first_of(".[", at), text.size()) - at); }

    bool take_field(const message_descriptor &type, path_step &step)
    {
        const std::string_view member = name();
        step = {find_field(type, member), 0, 0};
        if (step.field != nullptr) {
            step.number = step.field->number;
            at += member.size();
            return !step.field->repeated || !take('[') || (take_number(step.index) && take(']'));
        }
        return take_number(step.number) && find_field(type, step.number) == nullptr;
    }
};

} // namespace

void append_path(std::string &out, const field_path &path)
{
    for (uint32_t i = 0; i < path.depth; ++i) {
        const path_step &step = path.steps[i];
        if (i != 0)
            out += '.';
        if (step.field == nullptr) {
            append_number(out, step.number);
            continue;
        }
        out += step.field->member;
        if (step.field->repeated) {
            out += '[';
            append_number(out, step.index);
            out += ']';
        }
    }
}

std::string to_string(const field_path &path)
{
    std::string text;
    append_path(text, path);
    return text;
}

std::optional<field_path> parse_path(const message_descriptor &type, std::string_view text, size_t *bad)
{
    path_parser parser{text};
    field_path path;
    path.depth = 0;
    const message_descriptor *in = &type;
    while (in != nullptr && path.depth < max_path_depth) {
        path_step &step = path.steps[path.depth];
        if (!parser.take_field(*in, step))
            break;
        ++path.depth;
        if (parser.ended())
            return path;
        const bool has_index = text[parser.at - 1] == ']';
        if ((step.field != nullptr && step.field->repeated && !has_index) || !parser.take('.'))
            break;
        in = step.field != nullptr ? step.field->message : nullptr;
    }
    if (bad != nullptr)
        *bad = parser.at;
    return std::nullopt;
}

bool operator==(const field_path &a, const field_path &b)
{
    return std::equal(a.steps, a.steps + a.depth, b.steps, b.steps + b.depth,
                      [](const path_step &x, const path_step &y) {
                          return x.field == y.field && x.number == y.number && x.index == y.index;
                      });
}

const field_descriptor *find_field(const message_descriptor &type, std::string_view member)
{
    const auto end = type.fields + type.field_count;
    const auto found =
        std::find_if(type.fields, end, [&](const field_descriptor &field) { return field.member == member; });
    return found == end ? nullptr : found;
}

const field_descriptor *find_field(const message_descriptor &type, uint32_t number)
{
    const auto end = type.fields + type.field_count;
    const auto found =
        std::find_if(type.fields, end, [&](const field_descriptor &field) { return field.number == number; });
    return found == end ? nullptr : found;
}

} // namespace rib_inspect
