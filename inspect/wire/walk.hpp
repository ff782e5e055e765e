// The walk over a message's bytes, as the decoder reads them, but by the descriptors: where each tag, length and value
// stands, what the library keeps of it, and where and why decoding fails. It is a program of its own, beside the
// generated decoders, so that it can tell what they do in passing; a fuzz target holds it against them.

#pragma once

#include "inspect/rib_inspect.h"
#include "inspect/wire/field_path.hpp"
#include "messages/descriptors.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace rib_inspect
{

using bytes_view = std::span<const uint8_t>;

enum wire_type : uint8_t { varint = 0, fixed64 = 1, delimited = 2, fixed32 = 5 };

constexpr size_t no_offset = SIZE_MAX;

// A message that the walk is in.
struct open_message {
    const open_message *outer; // null: the whole input
    const zidl::message_descriptor *type;
    const zidl::field_descriptor *field; // of `outer`; null: the whole input
    uint32_t index;                      // the element of a repeated field; otherwise 0
    uint32_t depth;                      // 0: the whole input
    size_t begin;                        // its contents
    size_t end;
    void *record; // where it was decoded to; null: nowhere
};

enum class walk_part : uint8_t {
    value,   // a number, a string or bytes
    enter,   // a nested message begins
    leave,   // it ends: the same event as at its begin but for `is_read`
    skipped, // a field whose value is not looked at: unknown, or of another wire type than its own
    rest,    // bytes up to the end of the message around them that cannot be told apart
};

// All offsets count from the input's first byte. [tag_offset, length_offset) is the tag, [length_offset, value_offset) the
// length, [value_offset, end_offset) the value or the contents. A rest whose tag is unreadable is all value.
struct walk_event {
    walk_part part;
    uint8_t wire_type;                   // as the tag says it
    bool is_read;                        // by the decoder, into the record
    bool is_cut;                         // the value reaches past the end of the message around it
    rib_reason reason;                   // why the decoder stops here, or would have, had it come so far; or none
    const open_message *in;              // the message around it
    const zidl::field_descriptor *field; // null: unknown, or no tag
    uint32_t tag;                        // its low 32 bits, which are all that count
    uint32_t number;
    uint32_t index; // the element of a repeated field; otherwise 0
    uint64_t raw;   // the varint's low 64 bits, the fixed32, or the length as it stands
    uint64_t value; // a number as the library keeps it; otherwise the length's low 32 bits
    size_t tag_offset;
    size_t length_offset; // equals value_offset where there is no length
    size_t value_offset;
    size_t end_offset;
    size_t replaces; // the tag of the earlier value that this one takes the place of; or no_offset
    void *member;    // see walk_input::record
};

// The first failure, which is the decoder's. `offset` is the first byte of what cannot be read, or must not stand there: of
// the tag for cut_off (inside the tag itself), second_run, second_value, wrong_wire_type and unknown_wire_type; of the
// value for cut_off inside a number; of the length for cut_off inside the length and for past_the_end. The decoder counts
// a run of a repeated field before it reads the first element: what keeps it from counting comes first, though it stands
// behind an element that cannot be read either.
struct walk_result {
    int32_t status;    // ZIDL_OK, or ZIDL_ERR_…
    rib_reason reason; // none with ZIDL_OK
    size_t offset;     // the input's length with ZIDL_OK
    size_t tag_offset; // of the field that fails; `offset` where its tag is cut off
    field_path path;   // of that field, or of the message that the tag is cut off in; empty with ZIDL_OK
};

struct walk_input {
    const zidl::message_descriptor *type;
    bytes_view bytes;
    // The record that these bytes were decoded to, with or without success; null: none. Each event then has the address of
    // its value's member or array element in it, of the whole record for messages, and null where the record has none.
    void *record = nullptr;
    // Whether the walk goes on behind a failure, as far as lengths allow. What the decoder does not reach has `is_read`
    // false; a field that it stops at, too. Otherwise the walk ends without an event for the field that fails, with the
    // messages around it left open.
    bool goes_on = false;
};

using walk_visitor = void (*)(void *context, const walk_event &event);

// No state, no allocation. The event, and what it points to, is the visitor's for the call.
walk_result walk(const walk_input &input, walk_visitor visit, void *context);

// The same for anything that takes an event.
template <class Visit>
walk_result walk(const walk_input &input, Visit &&visit)
{
    using visitor = std::remove_reference_t<Visit>;
    return walk(
        input, [](void *context, const walk_event &event) { (*static_cast<visitor *>(context))(event); },
        const_cast<void *>(static_cast<const void *>(&visit)));
}

// The way to the event's field from the message's outermost.
field_path path_of(const walk_event &event);

// The way to the message itself: empty for the whole input.
field_path path_of(const open_message &msg);

// Whether values of the field have a length before them, and the one wire type that the field may have.
bool is_delimited(const zidl::field_descriptor &field);
wire_type wire_type_of(const zidl::field_descriptor &field);

// What the library keeps of a varint, or of a fixed32.
uint64_t kept_value(const zidl::field_descriptor &field, uint64_t raw);

// Bytes of one value of the field's kind in a record, or in an array.
size_t element_size(const zidl::field_descriptor &field);

} // namespace rib_inspect
