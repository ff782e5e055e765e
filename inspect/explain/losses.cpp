#include "inspect/explain/losses.hpp"

#include "inspect/wire/hex.hpp"
#include "inspect/wire/load_store.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;

namespace
{

const uint8_t *element_zero(const walk_event &event)
{
    return static_cast<const uint8_t *>(event.member) - event.index * element_size(*event.field);
}

// ---- The place of an exit ----

class exit_finder
{
public:
    exit_finder(const noted_message &msg, const note &exit) : exit_(exit) { enter(msg.record, *msg.type, {}, 0); }

    void operator()(const walk_event &event)
    {
        if (event.member == nullptr)
            return;
        if (event.part == walk_part::enter)
            enter(event.member, *event.field->message, path_of(event), event.value_offset);
        else if (event.part == walk_part::value && exit_.size == notes::of_member && event.member == exit_.place)
            found(path_of(event), event.value_offset);
    }

    payload_place result()
    {
        if (is_exact_)
            text_ = to_string(path_);
        else
            name_member();
        return {text_, offset_};
    }

private:
    // The innermost message that holds the place is the last one that is entered.
    void enter(const void *record, const zidl::message_descriptor &type, const field_path &path, size_t begin)
    {
        const auto base = reinterpret_cast<uintptr_t>(record);
        const auto place = reinterpret_cast<uintptr_t>(exit_.place);
        if (place - base >= type.size)
            return;
        found(path, begin);
        is_exact_ = place == base && exit_.size == type.size;
        holder_ = &type;
        inside_ = static_cast<uint32_t>(place - base);
    }

    void found(const field_path &path, size_t offset)
    {
        path_ = path;
        offset_ = offset;
        is_exact_ = true;
    }

    // What is absent, and what is about a whole list, has no value of its own: the way to it is that of what holds it.
    void name_member()
    {
        text_ = to_string(path_);
        if (holder_ == nullptr)
            return;
        const auto *const end = holder_->fields + holder_->field_count;
        const auto *const field =
            std::find_if(holder_->fields, end, [&](const field_descriptor &one) { return one.offset == inside_; });
        if (field == end)
            return;
        if (!text_.empty())
            text_ += '.';
        text_ += field->member;
    }

    const note exit_;
    field_path path_ = {};
    std::string text_;
    size_t offset_ = RIB_NO_OFFSET;
    bool is_exact_ = false;
    const zidl::message_descriptor *holder_ = nullptr;
    uint32_t inside_ = 0;
};

// ---- Losses ----

// What the record has of a value.
struct kept_value {
    enum { nothing, number, text, all } kind;
    uint64_t value; // a number, or the length of a text
    rib_reason reason;
};

// Of the message that the walk is in.
struct message_state {
    rib_reason left_out; // none: it is not
    rib_reason unseen;   // of what the record does not show
};

// Of the strings of a message: they end at their first NUL.
constexpr uint64_t ROOM_FOR_ANY = UINT32_MAX;

class loss_finder
{
public:
    loss_finder(const noted_message &msg, call_memory &memory, const std::vector<size_t> &replaced)
        : bytes_(msg.bytes), call_(msg.call), memory_(memory), replaced_(replaced)
    {
        states_[0] = {RIB_REASON_none, RIB_REASON_ignored};
        if (call_ != nullptr)
            states_[0] = state_of({RIB_REASON_none, RIB_REASON_ignored}, msg.record, msg.type->size);
    }

    void operator()(const walk_event &event)
    {
        switch (event.part) {
        case walk_part::enter:
            states_[event.in->depth + 1] = state_inside(event);
            return;
        case walk_part::value:
            value(event);
            return;
        case walk_part::skipped:
            lose(event, RIB_REASON_unknown_field, nullptr);
            return;
        case walk_part::leave:
        case walk_part::rest:
            return;
        }
    }

    std::vector<rib_loss> losses;
    std::vector<size_t> found_replaced; // tags

private:
    bool is_replaced(const walk_event &event) const
    {
        return !replaced_.empty() && std::binary_search(replaced_.begin(), replaced_.end(), event.tag_offset);
    }

    void note_replacement(const walk_event &event)
    {
        if (event.replaces != no_offset)
            found_replaced.push_back(event.replaces);
    }

    message_state state_of(message_state outer, const void *record, uint32_t size) const
    {
        const note *const found = call_->find(record, size);
        if (found == nullptr)
            return outer;
        if (found->kind == note_kind::left_out && outer.left_out == RIB_REASON_none)
            outer.left_out = found->reason;
        outer.unseen = found->reason;
        return outer;
    }

    message_state state_inside(const walk_event &event)
    {
        note_replacement(event);
        message_state state = states_[event.in->depth];
        if (state.left_out != RIB_REASON_none)
            return state;
        if (is_replaced(event))
            return {RIB_REASON_replaced, RIB_REASON_replaced};
        if (call_ == nullptr || event.member == nullptr)
            return state;
        if (event.field->repeated && is_beyond(event, state.left_out))
            return state;
        return state_of(state, event.member, event.field->message->size);
    }

    // Whether the element is one that the conversion does not look at, and why.
    bool is_beyond(const walk_event &event, rib_reason &reason) const
    {
        const note *const taken = call_->find(element_zero(event), notes::of_array);
        if (taken == nullptr || event.index < taken->value)
            return false;
        reason = taken->reason;
        return true;
    }

    void value(const walk_event &event)
    {
        note_replacement(event);
        if (event.raw == 0)
            return;
        const message_state &state = states_[event.in->depth];
        if (state.left_out != RIB_REASON_none)
            return lose(event, state.left_out, nullptr);
        if (is_replaced(event))
            return lose(event, RIB_REASON_replaced, nullptr);
        compare(event, kept_of(event, state.unseen));
    }

    kept_value kept_of(const walk_event &event, rib_reason unseen) const
    {
        if (event.member == nullptr)
            return {kept_value::nothing, 0, unseen};
        if (call_ == nullptr && event.field->type == kind::string)
            return kept_of_text(event, ROOM_FOR_ANY << 32 | ROOM_FOR_ANY);
        if (call_ == nullptr)
            return {kept_value::all, event.value, RIB_REASON_narrowed};
        const note *const found = call_->find(event.member, notes::of_member);
        if (found == nullptr)
            return kept_of_run(event, unseen);
        switch (found->kind) {
        case note_kind::shown:
            return {kept_value::number, found->value, found->reason};
        case note_kind::shown_all:
            return {kept_value::all, event.value, RIB_REASON_narrowed};
        case note_kind::shown_text:
            return kept_of_text(event, found->value);
        default:
            return {kept_value::nothing, 0, found->reason};
        }
    }

    // An array that was copied as a whole, or a block of bytes.
    kept_value kept_of_run(const walk_event &event, rib_reason unseen) const
    {
        const field_descriptor &field = *event.field;
        const void *begin = nullptr;
        uint64_t end = 0; // of what the value takes of the run
        if (field.repeated) {
            if (is_beyond(event, unseen))
                return {kept_value::nothing, 0, unseen};
            begin = element_zero(event);
            end = (uint64_t{event.index} + 1) * element_size(field);
        } else if (field.type == kind::bytes) {
            begin = load<const void *>(event.member);
            end = event.value;
        }
        const note *const run = begin == nullptr ? nullptr : call_->find(begin, notes::of_run);
        if (run != nullptr && end <= run->value)
            return {kept_value::all, event.value, RIB_REASON_narrowed};
        return {kept_value::nothing, 0, unseen};
    }

    kept_value kept_of_text(const walk_event &event, uint64_t rooms) const
    {
        const size_t own_room = rooms >> 32;
        const size_t room = static_cast<uint32_t>(rooms);
        const char *const text = load<const char *>(event.member);
        if (text == nullptr) // of a nested message that a later one replaces
            return {kept_value::nothing, 0, RIB_REASON_replaced};
        const size_t len = std::strlen(text);
        if (len >= room || len < event.value)
            return {kept_value::text, std::min(len, own_room < room ? own_room : room - 1), RIB_REASON_name_cut};
        if (len >= own_room)
            return {kept_value::text, own_room, RIB_REASON_name_runs_on};
        return {kept_value::all, event.value, RIB_REASON_none};
    }

    void compare(const walk_event &event, const kept_value &kept)
    {
        switch (kept.kind) {
        case kept_value::nothing:
            return lose(event, kept.reason, nullptr);
        case kept_value::text:
            return lose(event, kept.reason, kept.value == 0 ? nullptr : escaped(event.value_offset, kept.value));
        case kept_value::number:
        case kept_value::all:
            if (is_number(*event.field) && kept.value != whole(event))
                lose(event, kept.value == event.value ? RIB_REASON_narrowed : kept.reason,
                     kept.value == 0 ? nullptr : number(*event.field, kept.value));
            return;
        }
    }

    static bool is_number(const field_descriptor &field)
    {
        return field.type != kind::string && field.type != kind::bytes;
    }

    // The number as the sender means it.
    static uint64_t whole(const walk_event &event)
    {
        return event.field->type == kind::sint64 ? event.value : event.raw;
    }

    void lose(const walk_event &event, rib_reason reason, const char *kept)
    {
        path_.clear();
        append_path(path_, path_of(event));
        losses.push_back({reason, keep(path_), event.value_offset, text_of(event), kept});
    }

    // ---- Texts ----

    const char *text_of(const walk_event &event)
    {
        // Behind the first of a run any wire type may stand.
        if (event.field != nullptr ? is_delimited(*event.field) : event.wire_type == delimited) {
            if (event.field != nullptr && event.field->type == kind::string)
                return escaped(event.value_offset, event.end_offset - event.value_offset);
            return keep(to_hex(bytes_.subspan(event.value_offset, event.end_offset - event.value_offset)));
        }
        if (event.field == nullptr)
            return event.is_cut
                       ? keep(to_hex(bytes_.subspan(event.value_offset, event.end_offset - event.value_offset)))
                       : decimal(event.raw);
        return number(*event.field, whole(event));
    }

    const char *number(const field_descriptor &field, uint64_t value)
    {
        return field.type == kind::sint64 ? decimal(static_cast<int64_t>(value)) : decimal(value);
    }

    template <class Number>
    const char *decimal(Number value)
    {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        return keep({digits, static_cast<size_t>(end - digits)});
    }

    const char *escaped(size_t begin, size_t len)
    {
        std::string out;
        for (const uint8_t byte : bytes_.subspan(begin, len)) {
            if (byte >= ' ' && byte <= '~' && byte != '\\')
                out += static_cast<char>(byte);
            else
                out += "\\x" + to_hex(std::span(&byte, 1));
        }
        return keep(out);
    }

    const char *keep(std::string_view text)
    {
        char *const copy = static_cast<char *>(memory_.own(text.size() + 1));
        std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = '\0';
        return copy;
    }

    const bytes_view bytes_;
    const notes *const call_;
    call_memory &memory_;
    const std::vector<size_t> &replaced_;
    std::string path_;
    message_state states_[max_path_depth + 2];
};

} // namespace

payload_place place_of_exit(const noted_message &msg)
{
    if (msg.record == nullptr || msg.call->last_exit.place == nullptr)
        return {};
    exit_finder finder(msg, msg.call->last_exit);
    walk({msg.type, msg.bytes, msg.record}, finder);
    return finder.result();
}

std::vector<rib_loss> find_losses(const noted_message &msg, call_memory &memory)
{
    std::vector<size_t> replaced;
    loss_finder first(msg, memory, replaced);
    walk({msg.type, msg.bytes, msg.record}, first);
    if (first.found_replaced.empty())
        return std::move(first.losses);
    // Rare: what is replaced is known only now.
    replaced = std::move(first.found_replaced);
    std::sort(replaced.begin(), replaced.end());
    loss_finder second(msg, memory, replaced);
    walk({msg.type, msg.bytes, msg.record}, second);
    return std::move(second.losses);
}

} // namespace rib_inspect
