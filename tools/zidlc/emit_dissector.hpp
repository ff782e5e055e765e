// A dissector for Wireshark, in Lua: all messages of a model as tables, what reads and shows messages by such tables, and
// how messages travel in the project's protocol.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

// What a schema does not say.
struct protocol {
    std::string name;         // "rib": of filters and of the file; empty: there is no dissector
    std::string framing_file; // as the generated file cites it; empty: a packet is a message
    std::string framing;      // its contents, which wireshark/README.md says how to write
};

std::string emit_dissector(const model &all, const protocol &how);

} // namespace zidlc
