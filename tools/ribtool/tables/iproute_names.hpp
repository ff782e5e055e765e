// The numbers behind the names that `ip` shows: a few are fixed, the others stand in files that administrators write,
// lines of "NUMBER NAME".

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ribtool
{

using name_numbers = std::map<std::string, uint32_t, std::less<>>;

// Of routing tables and of protocols, with what this machine's files add. A missing file adds nothing.
name_numbers table_numbers();
name_numbers protocol_numbers();

// A name's number, or the number that the text is.
std::optional<uint32_t> number_of(const name_numbers &names, std::string_view text);

} // namespace ribtool
