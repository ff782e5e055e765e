// See message_text_check.hpp.

#include "tests/inspect/message_text_check.hpp"

#include "inspect/formats/message_text.hpp"

#include <algorithm>

namespace
{

// Lines with a line end, and what follows the last one.
size_t lines_in(std::string_view text)
{
    return 1 + static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

bool is_visible(std::string_view text)
{
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < ' ' && byte != '\n') || byte == 0x7f;
    });
}

} // namespace

std::string check_bytes_through_text(const zidl::message_descriptor &type, std::span<const uint8_t> bytes)
{
    const std::string text = rib_inspect::to_text(type, bytes);
    if (!is_visible(text))
        return "control bytes in\n" + text;
    const rib_inspect::text_message back = rib_inspect::from_text(type, text);
    if (back.error)
        return "line " + std::to_string(back.error->line) + ", column " + std::to_string(back.error->column) +
               ": expected " + back.error->expected + " in\n" + text;
    return std::ranges::equal(back.bytes, bytes) ? "" : "other bytes from\n" + text;
}

std::string check_text(const zidl::message_descriptor &type, std::string_view text)
{
    const rib_inspect::text_message read = rib_inspect::from_text(type, text);
    if (!read.error)
        return check_bytes_through_text(type, read.bytes);
    if (!read.bytes.empty() || read.error->expected.empty())
        return "an error beside a result, or without words";
    if (read.error->line < 1 || read.error->line > lines_in(text) || read.error->column < 1 ||
        read.error->column > text.size() + 1)
        return "an error outside the text";
    return {};
}
