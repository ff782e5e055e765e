// What every byte of an update or a message is: a line for each tag with its length and value, also behind a failure, as far as
// lengths allow; and where each value lands in the client's record, as measured.

#pragma once

#include "inspect/measure/measure.hpp"

#include <optional>
#include <string>
#include <vector>

namespace rib_inspect
{

struct annotated_line {
    size_t offset; // of the bytes that the line is about; lines follow one another without a gap
    size_t end;
    std::string kind;  // "varint", "fixed32", "text", "bytes", "message"; what cannot be read: "rest"
    std::string value; // for people; texts are quoted, with control bytes escaped
    std::string path;  // empty where there is none
    std::string lands; // "pe_addr_5", "nothing: bad_family", "skipped"; empty where nothing is said
    std::string wrong; // the name of the reason why it ends here, or would have, had it come so far; usually empty
    bool is_read;      // by the decoder
    bool lands_whole;  // some member has all of the value
};

struct annotated_bytes {
    std::string verdict; // what becomes of all of it: "delivered", "dropped: missing_field at nhid_update_value_1 +0x2"
    bool is_good;        // delivered, or decoded
    std::vector<annotated_line> lines;
};

// The payload of an update with this code, whether anybody takes it or not.
annotated_bytes annotate_update(uint32_t code, bytes_view payload);

// A message of this type: the payload of an update if there is one of it.
annotated_bytes annotate_message(const zidl::message_descriptor &type, bytes_view encoded);

} // namespace rib_inspect
