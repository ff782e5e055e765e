// What may be chosen: names that C and C++, Make, protoc and Python all take, and that nobody else has.

#include "tools/zidlc/naming.hpp"

#include "tools/zidlc/reserved_names.hpp"

#include <algorithm>
#include <cctype>

namespace zidlc
{

namespace
{

// Letters, digits and single marks between them, a letter first.
bool is_word(std::string_view text, std::string_view marks)
{
    const auto is_alphanumeric = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    const auto is_mark = [&](char c) { return marks.find(c) != std::string_view::npos; };
    if (text.empty() || !std::isalpha(static_cast<unsigned char>(text.front())) || is_mark(text.back()))
        return false;
    return std::all_of(text.begin(), text.end(), [&](char c) { return is_alphanumeric(c) || is_mark(c); }) &&
           std::adjacent_find(text.begin(), text.end(), [&](char a, char b) { return is_mark(a) && is_mark(b); }) ==
               text.end();
}

// Whether all parts of a text between separators are as they should.
template <class Test>
bool all_parts(std::string_view text, char separator, const Test &is_right)
{
    for (;;) {
        const std::size_t end = text.find(separator);
        if (!is_right(text.substr(0, end)))
            return false;
        if (end == std::string_view::npos)
            return true;
        text.remove_prefix(end + 1);
    }
}

bool belongs_to(std::string_view name, std::string_view family)
{
    return name.starts_with(family) && name.substr(family.size()).starts_with('_');
}

} // namespace

std::string objection_to_prefix(std::string_view prefix)
{
    const auto is_lower = [](char c) { return !std::isupper(static_cast<unsigned char>(c)); };
    if (!is_word(prefix, "_") || !std::all_of(prefix.begin(), prefix.end(), is_lower))
        return "say a C name of lower-case letters, digits and single underscores, a letter first";
    if (is_reserved_word(prefix) || prefix == "std" || prefix == "posix")
        return "C or C++ reserves it, say another";
    if (belongs_to(prefix, "zidl"))
        return "names of the codec begin with zidl_, say another";
    if (prefix == "rib" || belongs_to(prefix, "rib"))
        return "names of the client library begin with rib_, say another";
    return {};
}

std::string objection_to_folder(std::string_view folder)
{
    if (!all_parts(folder, '/', [](std::string_view part) { return is_word(part, "_-"); }))
        return "say a path without ./ and ../, each part of letters, digits, single _ and -, a letter first";
    return folder == "codec" ? "the headers of the codec lie in a folder of that name, say another" : "";
}

std::string objection_to_package(std::string_view package)
{
    if (!all_parts(package, '.', [](std::string_view part) { return is_word(part, "_"); }))
        return "say words of letters, digits and single _, a letter first, with dots between";
    return all_parts(package, '.', [](std::string_view part) { return !is_reserved_word(part); })
               ? ""
               : "C or C++ reserves a word of it, say another";
}

} // namespace zidlc
