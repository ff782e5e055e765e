#include "inspect/wire/walk.hpp"

#include "inspect/wire/load_store.hpp"

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;

namespace
{

// More than any message has fields; a test goes through all of them.
constexpr uint32_t max_fields = 64;

// Null where the record has no such element.
void *member_of(const open_message &in, const field_descriptor &field, uint32_t index)
{
    if (in.record == nullptr)
        return nullptr;
    uint8_t *const record = static_cast<uint8_t *>(in.record);
    if (!field.repeated)
        return record + field.offset;
    uint8_t *const array = load<uint8_t *>(record + field.offset);
    const uint32_t count = load<uint32_t>(record + field.extent_offset);
    return array != nullptr && index < count ? array + index * element_size(field) : nullptr;
}

int32_t status_of(rib_reason reason)
{
    if (reason == RIB_REASON_wrong_wire_type)
        return ZIDL_ERR_FIELD_TYPE;
    return reason == RIB_REASON_unknown_wire_type ? ZIDL_ERR_WIRE_TYPE : ZIDL_ERR_MALFORMED;
}

// A message and what the walk knows of its fields so far.
struct frame {
    open_message msg;
    uint64_t seen;             // by the field's place in the type; of the rest `places` holds nothing
    uint32_t likely;           // the field that comes next where a sender keeps the schema's order
    size_t places[max_fields]; // the tag of a field's last value; of a repeated field the number of its elements

    void open(const open_message &message)
    {
        msg = message;
        seen = 0;
        likely = 0;
    }

    size_t place_of(const field_descriptor &field) const { return static_cast<size_t>(&field - msg.type->fields); }
    bool has(const field_descriptor &field) const { return (seen >> place_of(field) & 1) != 0; }
    size_t &place(const field_descriptor &field) { return places[place_of(field)]; }
    void note(const field_descriptor &field, size_t value)
    {
        seen |= uint64_t{1} << place_of(field);
        place(field) = value;
    }

    // Starts with the field that was found last, which another element of a repeated field has again.
    const field_descriptor *find(uint32_t number)
    {
        const uint32_t count = msg.type->field_count;
        const field_descriptor *const fields = msg.type->fields;
        for (uint32_t i = likely; i < count; ++i) {
            if (fields[i].number == number)
                return &fields[likely = i];
        }
        for (uint32_t i = 0; i < likely; ++i) {
            if (fields[i].number == number)
                return &fields[likely = i];
        }
        return nullptr;
    }
};

class walker
{
public:
    walker(const walk_input &input, walk_visitor visit, void *context)
        : bytes_(input.bytes.data()), goes_on_(input.goes_on), visit_(visit), context_(context)
    {
        result_.status = ZIDL_OK;
        result_.reason = RIB_REASON_none;
        result_.offset = input.bytes.size();
        result_.tag_offset = input.bytes.size();
        result_.path.depth = 0;
    }

    const walk_result &result() const { return result_; }

    // False where the walk ends before the message does. So do all functions below that return whether it goes on.
    bool message(const open_message &msg)
    {
        frame in;
        in.open(msg);
        walk_event event;
        for (size_t pos = msg.begin; pos < msg.end; pos = event.end_offset) {
            if (!begin_field(in.msg, pos, event)) {
                event.part = walk_part::rest;
                event.end_offset = msg.end;
                if (!stop(event, RIB_REASON_cut_off, pos))
                    return false;
                emit(event);
                return true;
            }
            if (!field(in, event))
                return false;
        }
        return true;
    }

private:
    bool failed() const { return result_.status != ZIDL_OK; }

    void emit(walk_event &event)
    {
        event.is_read = !failed();
        if (failed())
            event.member = nullptr;
        visit_(context_, event);
    }

    // Notes a failure at `offset`.
    bool stop(walk_event &event, rib_reason reason, size_t offset)
    {
        if (event.reason == RIB_REASON_none)
            event.reason = reason;
        if (!failed()) {
            result_.status = status_of(reason);
            result_.reason = reason;
            result_.offset = offset;
            result_.tag_offset = event.tag_offset;
            result_.path = event.length_offset == event.tag_offset ? path_of(*event.in) : path_of(event);
        }
        return goes_on_;
    }

    bool stop_in_rest(walk_event &event, rib_reason reason, size_t offset)
    {
        event.part = walk_part::rest;
        event.end_offset = event.in->end;
        if (!stop(event, reason, offset))
            return false;
        emit(event);
        return true;
    }

    // False where the varint is cut off.
    bool read_varint(size_t &pos, size_t end, uint64_t &value) const
    {
        if (pos < end && bytes_[pos] < 128) {
            value = bytes_[pos++];
            return true;
        }
        return read_long_varint(pos, end, value);
    }

    bool read_long_varint(size_t &pos, size_t end, uint64_t &value) const
    {
        uint64_t bits = 0;
        for (size_t at = pos, shift = 0; at < end; shift += 7) {
            const uint8_t byte = bytes_[at++];
            if (shift < 64)
                bits |= static_cast<uint64_t>(byte & 127) << shift;
            if (byte < 128) {
                pos = at;
                value = bits;
                return true;
            }
        }
        return false;
    }

    // Reads the tag. False where it is cut off; the event then has no field, and is empty but for its place.
    bool begin_field(const open_message &in, size_t pos, walk_event &event) const
    {
        event.reason = RIB_REASON_none;
        event.is_cut = false;
        event.in = &in;
        event.field = nullptr;
        event.index = 0;
        event.raw = 0;
        event.value = 0;
        event.tag_offset = pos;
        event.replaces = no_offset;
        event.member = nullptr;
        uint64_t tag = 0;
        const bool is_whole = read_varint(pos, in.end, tag);
        event.tag = static_cast<uint32_t>(tag);
        event.number = event.tag >> 3;
        event.wire_type = event.tag & 7;
        event.length_offset = pos;
        event.value_offset = pos;
        return is_whole;
    }

    bool field(frame &in, walk_event &event)
    {
        event.field = in.find(event.number);
        if (event.field == nullptr)
            return skip(event);
        if (event.wire_type != wire_type_of(*event.field)) {
            event.index = event.field->repeated ? count_of(in, event) : 0;
            return stop(event, RIB_REASON_wrong_wire_type, event.tag_offset) && skip(event);
        }
        return event.field->repeated ? run(in, event) : singular(in, event);
    }

    // Of the elements so far.
    static uint32_t count_of(frame &in, const walk_event &event)
    {
        return in.has(*event.field) ? static_cast<uint32_t>(in.place(*event.field)) : 0;
    }

    bool singular(frame &in, walk_event &event)
    {
        const field_descriptor &field = *event.field;
        if (in.has(field)) {
            const bool is_filled_once = field.type == kind::string || field.type == kind::bytes;
            if (!is_filled_once)
                event.replaces = in.place(field);
            else if (!stop(event, RIB_REASON_second_value, event.tag_offset))
                return false;
        }
        event.member = member_of(in.msg, field, 0);
        in.note(field, event.tag_offset);
        return value(event);
    }

    bool run(frame &in, walk_event &event)
    {
        const field_descriptor *const field = event.field;
        event.index = count_of(in, event);
        if (in.has(*field)) {
            if (!stop(event, RIB_REASON_second_run, event.tag_offset))
                return false;
        } else if (!failed() && !count(event)) {
            return false;
        }
        for (uint32_t index = event.index;;) {
            event.index = index++;
            event.member = member_of(in.msg, *field, event.index);
            in.note(*field, index);
            if (!value(event))
                return false;
            walk_event next;
            if (event.end_offset >= in.msg.end || !begin_field(in.msg, event.end_offset, next) ||
                next.number != field->number)
                return true;
            event = next;
            event.field = field;
        }
    }

    // Goes through a run's elements before the first is read.
    bool count(const walk_event &first)
    {
        walk_event event = first;
        for (uint64_t elements = 1;; ++elements) {
            if (!measure(event))
                return goes_on_;
            if (event.end_offset >= event.in->end)
                return elements <= UINT32_MAX || stop_at_count(first);
            if (!begin_field(*event.in, event.end_offset, event))
                return stop(event, RIB_REASON_cut_off, event.tag_offset);
            if (event.number != first.number)
                return elements <= UINT32_MAX || stop_at_count(first);
            event.field = first.field;
            event.index = static_cast<uint32_t>(elements);
        }
    }

    bool stop_at_count(walk_event event) { return stop(event, RIB_REASON_too_many_elements, event.tag_offset); }

    // Where an element ends; false, with the failure noted, where it does not.
    bool measure(walk_event &event)
    {
        size_t pos = event.length_offset;
        if (!read_varint(pos, event.in->end, event.raw)) {
            stop(event, RIB_REASON_cut_off, event.length_offset);
            return false;
        }
        event.end_offset = pos;
        if (!is_delimited(*event.field))
            return true;
        const uint32_t len = static_cast<uint32_t>(event.raw);
        if (len > event.in->end - pos) {
            stop(event, RIB_REASON_past_the_end, event.length_offset);
            return false;
        }
        event.end_offset = pos + len;
        return true;
    }

    // A value of the field's own kind, whatever the tag says of it.
    bool value(walk_event &event)
    {
        event.part = walk_part::value;
        if (is_delimited(*event.field))
            return delimited_value(event);
        size_t pos = event.value_offset;
        if (event.field->type == kind::fixed32) {
            if (event.in->end - pos < 4)
                return stop_in_rest(event, RIB_REASON_cut_off, pos);
            event.raw = load<uint32_t>(bytes_ + pos);
            pos += 4;
        } else if (!read_varint(pos, event.in->end, event.raw)) {
            return stop_in_rest(event, RIB_REASON_cut_off, pos);
        }
        event.value = kept_value(*event.field, event.raw);
        event.end_offset = pos;
        emit(event);
        return true;
    }

    bool delimited_value(walk_event &event)
    {
        if (!read_length(event))
            return stop_in_rest(event, RIB_REASON_cut_off, event.length_offset);
        if (event.is_cut && !stop(event, RIB_REASON_past_the_end, event.length_offset))
            return false;
        if (event.field->message == nullptr) {
            emit(event);
            return true;
        }
        event.part = walk_part::enter;
        emit(event);
        if (!message({event.in, event.field->message, event.field, event.index, event.in->depth + 1, event.value_offset,
                      event.end_offset, event.member}))
            return false;
        event.part = walk_part::leave;
        emit(event);
        return true;
    }

    // The length and where the value ends, which is the message's end at most. False where the length is cut off.
    bool read_length(walk_event &event) const
    {
        if (!read_varint(event.value_offset, event.in->end, event.raw))
            return false;
        event.value = static_cast<uint32_t>(event.raw);
        clip(event, event.value);
        return true;
    }

    static void clip(walk_event &event, uint64_t len)
    {
        const size_t left = event.in->end - event.value_offset;
        event.is_cut = len > left;
        event.end_offset = event.is_cut ? event.in->end : event.value_offset + len;
    }

    // A value that reaches past the end ends the message, and that is no failure.
    bool skip(walk_event &event)
    {
        event.part = walk_part::skipped;
        switch (event.wire_type) {
        case varint:
            event.end_offset = event.value_offset;
            if (!read_varint(event.end_offset, event.in->end, event.raw))
                return stop_in_rest(event, RIB_REASON_cut_off, event.value_offset);
            event.value = event.raw;
            break;
        case delimited:
            if (!read_length(event))
                return stop_in_rest(event, RIB_REASON_cut_off, event.length_offset);
            break;
        case fixed64:
            clip(event, 8);
            if (!event.is_cut)
                event.raw = event.value = load<uint64_t>(bytes_ + event.value_offset);
            break;
        case fixed32:
            clip(event, 4);
            if (!event.is_cut)
                event.raw = event.value = load<uint32_t>(bytes_ + event.value_offset);
            break;
        default:
            return stop_in_rest(event, RIB_REASON_unknown_wire_type, event.tag_offset);
        }
        emit(event);
        return true;
    }

    const uint8_t *const bytes_;
    const bool goes_on_;
    const walk_visitor visit_;
    void *const context_;
    walk_result result_;
};

} // namespace

walk_result walk(const walk_input &input, walk_visitor visit, void *context)
{
    walker walker(input, visit, context);
    walker.message({nullptr, input.type, nullptr, 0, 0, 0, input.bytes.size(), input.record});
    return walker.result();
}

field_path path_of(const open_message &msg)
{
    field_path path;
    path.depth = msg.depth;
    for (const open_message *at = &msg; at->outer != nullptr; at = at->outer)
        path.steps[at->depth - 1] = {at->field, at->field->number, at->index};
    return path;
}

field_path path_of(const walk_event &event)
{
    field_path path = path_of(*event.in);
    path.steps[path.depth++] = {event.field, event.number, event.index};
    return path;
}

bool is_delimited(const field_descriptor &field)
{
    return field.type == kind::string || field.type == kind::bytes || field.type == kind::message;
}

wire_type wire_type_of(const field_descriptor &field)
{
    if (is_delimited(field))
        return delimited;
    return field.type == kind::fixed32 ? fixed32 : varint;
}

uint64_t kept_value(const field_descriptor &field, uint64_t raw)
{
    switch (field.type) {
    case kind::u8:
        return static_cast<uint8_t>(raw);
    case kind::boolean:
        return raw != 0;
    case kind::u64:
        return raw;
    case kind::sint64:
        return raw >> 1 ^ (0 - (raw & 1));
    case kind::u32:
    case kind::fixed32:
    case kind::string:
    case kind::bytes:
    case kind::message:
        break;
    }
    return static_cast<uint32_t>(raw);
}

size_t element_size(const field_descriptor &field)
{
    switch (field.type) {
    case kind::u8:
    case kind::boolean:
        return 1;
    case kind::u32:
    case kind::fixed32:
        return 4;
    case kind::u64:
    case kind::sint64:
        return 8;
    case kind::string:
        return sizeof(char *);
    case kind::bytes:
        return sizeof(zidl_bytes);
    case kind::message:
        return field.message->size;
    }
    return 0;
}

} // namespace rib_inspect
