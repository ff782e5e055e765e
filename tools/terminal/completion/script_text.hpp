// What the scripts for all shells have in common.

#pragma once

#include "tools/terminal/completion/model.hpp"

#include <string>

namespace terminal::completion
{

inline std::string replaced(std::string text, const std::string &what, const std::string &by)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

// The words with blanks between them: no word has any.
inline std::string texts_of(const value_kind &kind)
{
    std::string all;
    for (const word &each : kind.words)
        all += (all.empty() ? "" : " ") + each.text;
    return all;
}

// What rules an option out: another that excludes it, and itself.
inline std::vector<std::string> ends_of(const option &of)
{
    std::vector<std::string> names = of.ruled_out;
    if (!of.repeats)
        names.insert(names.end(), of.names.begin(), of.names.end());
    return names;
}

// Whether its words are beginnings, each with a path behind it.
inline bool has_prefixes(const value_kind &kind)
{
    return !kind.words.empty() && kind.words.front().text.ends_with(':');
}

// "3", or what matches the number of any place that is left.
inline std::string place_pattern(const command &of, std::size_t place, const std::string &any)
{
    return of.last_place_repeats && place + 1 == of.places.size() ? any : std::to_string(place + 1);
}

} // namespace terminal::completion
