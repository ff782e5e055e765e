// Where in the payload the notes of a conversion apply: the place of its last exit, and the values that the record does not show.

#pragma once

#include "inspect/explain/notes.hpp"
#include "inspect/wire/walk.hpp"

#include <string>
#include <vector>

namespace rib_inspect
{

// A place in the payload; an empty path is the whole message.
struct payload_place {
    std::string path;
    size_t offset = RIB_NO_OFFSET;
};

// The payload, its decoded form and what was noted of that. `call` may be null: then the message itself is the record.
struct noted_message {
    const zidl::message_descriptor *type;
    bytes_view bytes;
    void *record;
    notes *call;
};

// The member or message that the last exit is about. Of what is absent the offset is that of the message that lacks it.
payload_place place_of_exit(const noted_message &msg);

// All values that the record does not show, in the order of the payload; their texts are the memory's.
std::vector<rib_loss> find_losses(const noted_message &msg, call_memory &memory);

} // namespace rib_inspect
