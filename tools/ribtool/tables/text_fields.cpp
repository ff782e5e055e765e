#include "tools/ribtool/tables/text_fields.hpp"

#include <algorithm>

namespace ribtool
{

std::string shown_text(std::string_view text)
{
    constexpr size_t MOST_SHOWN = 60;
    std::string result(text.substr(0, MOST_SHOWN));
    std::replace_if(
        result.begin(), result.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return text.size() > MOST_SHOWN ? result + "..." : result;
}

} // namespace ribtool
