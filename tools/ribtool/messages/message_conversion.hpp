// What decode and encode have in common: messages out of one format into another.

#pragma once

#include "tools/ribtool/messages/message_source.hpp"
#include "tools/ribtool/options/command_line.hpp"

#include <optional>
#include <string>

namespace ribtool
{

struct message_conversion {
    std::string type_name;
    std::string input;
    std::string output = "-";
    message_format from = message_format::bin;
    message_format to = message_format::json;
    bool is_delimited = false;
    std::optional<uint16_t> code;                  // bin is the updates of this code in a capture
    capture_format capture = capture_format::pcap; // that is written
    bool is_indented = false;
    bool replaces = false;
    std::optional<uint64_t> limit; // messages
    bool is_partial_kept = false;
};

void add_conversion(CLI::App &line, message_conversion &conversion);

// Messages in bin that cannot be converted are skipped, since it is known where the next one begins; anything else that cannot
// be read is a failure.
exit_code convert(const message_conversion &conversion);

} // namespace ribtool
