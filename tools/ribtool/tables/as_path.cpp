#include "tools/ribtool/tables/as_path.hpp"

#include "tools/ribtool/tables/byte_reader.hpp"
#include "tools/ribtool/tables/text_fields.hpp"

namespace ribtool
{

namespace
{

enum segment_type : uint8_t { AS_SET = 1, AS_SEQUENCE = 2, AS_CONFED_SEQUENCE = 3, AS_CONFED_SET = 4 };

// Takes the segments of a path in their order. `first` and `last` are the ends of the segment.
void append(as_path &path, segment_type type, uint32_t count, uint32_t first, uint32_t last)
{
    if (type == AS_CONFED_SEQUENCE || type == AS_CONFED_SET)
        return;
    const bool has_ends = type == AS_SEQUENCE || count == 1;
    if (path.length == 0)
        path.first = has_ends ? std::optional(first) : std::nullopt;
    path.last = has_ends ? std::optional(last) : std::nullopt;
    path.length += type == AS_SET ? 1 : count;
}

} // namespace

as_path read_as_path(byte_span attribute, as_size size, std::string_view name)
{
    as_path path;
    byte_reader in(attribute, name);
    const auto as_number = [size](const uint8_t *bytes) {
        return size == as_size::two_bytes ? read_be16(bytes) : read_be32(bytes);
    };
    while (!in.is_at_end()) {
        if (in.left()[0] < AS_SET || in.left()[0] > AS_CONFED_SET)
            in.fail("{}: segment of unknown type {}", name, in.left()[0]);
        const auto type = static_cast<segment_type>(in.u8());
        const uint8_t count = in.u8();
        if (count == 0)
            in.fail("{}: segment without an AS", name);
        const size_t len = static_cast<size_t>(size);
        const byte_span numbers = in.take(count * len);
        append(path, type, count, as_number(numbers.data()), as_number(numbers.data() + numbers.size() - len));
    }
    return path;
}

namespace
{

struct segment_marks {
    char open;
    char close;
    char separator;
    segment_type type;
};

constexpr segment_marks SEGMENT_MARKS[] = {
    {'{', '}', ',', AS_SET},
    {'(', ')', ' ', AS_CONFED_SEQUENCE},
    {'[', ']', ',', AS_CONFED_SET},
};

// The numbers of one segment.
bool append_text(as_path &path, std::string_view text, char separator, segment_type type)
{
    uint32_t count = 0;
    uint32_t first = 0;
    uint32_t last = 0;
    for (bool is_more = true; is_more; ++count) {
        const auto number = parse_number<uint32_t>(next_field(text, separator, is_more));
        if (!number)
            return false;
        last = *number;
        if (count == 0)
            first = last;
    }
    append(path, type, count, first, last);
    return true;
}

} // namespace

std::optional<as_path> parse_as_path(std::string_view text)
{
    as_path path;
    while (!text.empty()) {
        segment_marks marks = {'\0', '\0', ' ', AS_SEQUENCE};
        for (const segment_marks &each : SEGMENT_MARKS) {
            if (text.front() == each.open)
                marks = each;
        }
        const bool is_marked = marks.open != '\0';
        if (is_marked)
            text.remove_prefix(1);
        // A sequence without marks ends in front of the next segment that has them, or with the text.
        const size_t end = is_marked ? text.find(marks.close) : std::min(text.find_first_of("{(["), text.size());
        if (end == std::string_view::npos)
            return std::nullopt;
        std::string_view numbers = text.substr(0, end);
        text.remove_prefix(end + (is_marked ? 1 : 0));
        if (!is_marked && !text.empty() && numbers.ends_with(' '))
            numbers.remove_suffix(1);
        if (!append_text(path, numbers, marks.separator, marks.type))
            return std::nullopt;
        if (is_marked && text.starts_with(' '))
            text.remove_prefix(1);
    }
    return path;
}

// The leading ASes that AS4_PATH does not know come from AS_PATH; one that is longer than AS_PATH is ignored.
as_path merged(const as_path &path, const as_path &wide_end)
{
    if (wide_end.length == 0 || wide_end.length > path.length)
        return path;
    return {path.length, wide_end.length == path.length ? wide_end.first : path.first, wide_end.last};
}

void set_as_path(table_path &path, const as_path &from)
{
    path.as_path_len = from.length;
    path.neighbor_as = from.first;
    path.origin_as = from.last;
}

} // namespace ribtool
