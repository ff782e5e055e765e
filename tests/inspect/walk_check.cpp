// See walk_check.hpp.

#include "tests/inspect/walk_check.hpp"

#include "codec/zidl_arena.h"
#include "inspect/wire/walk.hpp"

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>
#include <vector>

namespace
{

using namespace rib_inspect;
using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;
using byte_string = std::vector<uint8_t>;

template <class T>
T load(const void *at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// An event that may be kept: without the messages around it, which live as long as the walk is in them.
struct noted_event : walk_event {
    std::string path;
    const void *record;
    size_t begin_of_message;
    size_t end_of_message;
};

noted_event noted(const walk_event &event)
{
    const bool has_tag = event.length_offset != event.tag_offset;
    noted_event note{event, to_string(has_tag ? path_of(event) : path_of(*event.in)), event.in->record, event.in->begin,
                     event.in->end};
    note.in = nullptr;
    return note;
}

// The record that the decoder makes of the bytes, which lie in a block of their own size.
struct decoded {
    decoded(const message_descriptor &type, std::span<const uint8_t> input)
        : block(new uint8_t[input.size()]), record(type.size / sizeof(uint64_t) + 1)
    {
        std::copy(input.begin(), input.end(), block.get());
        zidl_arena_init(&arena, nullptr, 0);
        status = type.decode(record.data(), block.get(), input.size(), zidl_arena_alloc, &arena, 0);
    }
    ~decoded() { zidl_arena_destroy(&arena); }
    decoded(const decoded &) = delete;
    decoded &operator=(const decoded &) = delete;

    std::unique_ptr<uint8_t[]> block;
    std::vector<uint64_t> record;
    zidl_arena arena;
    int32_t status;
};

struct walked {
    walk_result result;
    std::vector<noted_event> events;
};

walked walk_all(const walk_input &input)
{
    walked all;
    all.result = walk(input, [&](const walk_event &event) { all.events.push_back(noted(event)); });
    return all;
}

bool has_presence(const message_descriptor &type, const field_descriptor &field, const void *record)
{
    uint64_t word = 0;
    std::memcpy(&word, static_cast<const uint8_t *>(record) + type.presence_offset, type.presence_size);
    return (word >> field.bit & 1) != 0;
}

// How many values and messages a record holds.
size_t values_in(const message_descriptor &type, const uint8_t *record)
{
    size_t values = 0;
    for (const field_descriptor &field : std::span(type.fields, type.field_count)) {
        if (!has_presence(type, field, record))
            continue;
        const uint32_t count = field.repeated ? load<uint32_t>(record + field.extent_offset) : 1;
        const uint8_t *const at = field.repeated ? load<const uint8_t *>(record + field.offset) : record + field.offset;
        values += count;
        for (uint32_t i = 0; field.message != nullptr && i < count; ++i)
            values += values_in(*field.message, at + i * size_t{field.message->size});
    }
    return values;
}

// The events whose values are still in the record when the walk ends: without what was replaced, and what lies in it.
std::vector<const noted_event *> lasting(const std::vector<noted_event> &events)
{
    std::set<size_t> replaced;
    for (const noted_event &event : events) {
        if (event.part != walk_part::leave && event.replaces != no_offset)
            replaced.insert(event.replaces);
    }
    std::vector<const noted_event *> rest;
    size_t gone_until = 0;
    for (const noted_event &event : events) {
        if (replaced.contains(event.tag_offset))
            gone_until = std::max(gone_until, event.end_offset);
        if (event.tag_offset >= gone_until)
            rest.push_back(&event);
    }
    return rest;
}

bool holds_block(const uint8_t *data, uint64_t size, std::span<const uint8_t> wanted)
{
    return size == wanted.size() && (size == 0 || std::memcmp(data, wanted.data(), size) == 0);
}

bool is_held(const noted_event &event, std::span<const uint8_t> bytes)
{
    const field_descriptor &field = *event.field;
    const auto contents = bytes.subspan(event.value_offset, event.end_offset - event.value_offset);
    switch (field.type) {
    case kind::u8:
    case kind::boolean:
        return load<uint8_t>(event.member) == event.value;
    case kind::u32:
    case kind::fixed32:
        return load<uint32_t>(event.member) == event.value;
    case kind::u64:
    case kind::sint64:
        return load<uint64_t>(event.member) == event.value;
    case kind::string: {
        const uint8_t *const text = load<const uint8_t *>(event.member);
        return holds_block(text, contents.size(), contents) && text[contents.size()] == '\0';
    }
    case kind::bytes: {
        if (field.repeated) {
            const auto block = load<zidl_bytes>(event.member);
            return holds_block(block.data, block.size, contents);
        }
        const auto size = load<uint64_t>(static_cast<const uint8_t *>(event.record) + field.extent_offset);
        return holds_block(load<const uint8_t *>(event.member), size, contents);
    }
    case kind::message:
        return true;
    }
    return false;
}

std::string check_values(const message_descriptor &type, const walked &all, const decoded &real,
                         std::span<const uint8_t> bytes)
{
    const std::vector<const noted_event *> events = lasting(all.events);
    size_t values = 0;
    for (const noted_event *event : events) {
        if (!event->is_read)
            return event->path + " is not read, before the failure";
        if (event->part != walk_part::value && event->part != walk_part::enter)
            continue;
        ++values;
        if (event->member == nullptr)
            return event->path + " has no member";
        if (!is_held(*event, bytes))
            return event->path + " has another value in the record";
    }
    const auto *const record = reinterpret_cast<const uint8_t *>(real.record.data());
    if (real.status == ZIDL_OK && values != values_in(type, record))
        return "the record has another number of values";
    return {};
}

// Varints that are in no way odd, written by hand: the walk's own reader is under test.
void put_varint(byte_string &out, uint64_t value)
{
    for (; value > 127; value >>= 7)
        out.push_back(static_cast<uint8_t>(value | 128));
    out.push_back(static_cast<uint8_t>(value));
}

// The messages that the walk was in when it ended, the innermost last.
std::vector<const noted_event *> open_at_end(const std::vector<noted_event> &events)
{
    std::vector<const noted_event *> open;
    for (const noted_event &event : events) {
        if (event.part == walk_part::enter)
            open.push_back(&event);
        else if (event.part == walk_part::leave)
            open.pop_back();
    }
    return open;
}

// The input up to `end`, with the lengths of the messages that are open there made to fit.
byte_string cut_at(std::span<const uint8_t> bytes, const std::vector<const noted_event *> &open, size_t end)
{
    byte_string contents;
    for (size_t i = open.size() + 1; i-- > 0;) {
        const size_t begin = i == 0 ? 0 : open[i - 1]->value_offset;
        byte_string whole(bytes.begin() + static_cast<ptrdiff_t>(begin),
                          bytes.begin() + static_cast<ptrdiff_t>(i == open.size() ? end : open[i]->length_offset));
        if (i != open.size())
            put_varint(whole, contents.size());
        whole.insert(whole.end(), contents.begin(), contents.end());
        contents = std::move(whole);
    }
    return contents;
}

// Behind the varint at `begin`, or `end`.
size_t behind_varint(std::span<const uint8_t> bytes, size_t begin, size_t end)
{
    while (begin < end && bytes[begin] > 127)
        ++begin;
    return std::min(begin + 1, end);
}

size_t end_of_failing(const walk_result &result, std::span<const uint8_t> bytes, size_t end_of_message)
{
    if (result.reason == RIB_REASON_cut_off)
        return end_of_message;
    return behind_varint(bytes, result.offset, end_of_message);
}

// The offset of the failure, by what may stand there.
std::string check_offset(const walk_result &result, std::span<const uint8_t> bytes, size_t end)
{
    const size_t behind_tag = behind_varint(bytes, result.tag_offset, end);
    const bool has_tag = bytes[behind_tag - 1] < 128;
    const auto rest = bytes.subspan(result.offset, end - result.offset);
    const bool ends_no_varint = std::all_of(rest.begin(), rest.end(), [](uint8_t byte) { return byte > 127; });
    switch (static_cast<int>(result.reason)) {
    case RIB_REASON_cut_off: {
        const bool is_fixed = has_tag && (bytes[result.tag_offset] & 7) == fixed32;
        if (result.offset != (has_tag ? behind_tag : result.tag_offset) ||
            !(ends_no_varint || (is_fixed && rest.size() < 4)))
            return "the offset is not that of something cut off";
        return {};
    }
    case RIB_REASON_past_the_end:
        return result.offset == behind_tag && !ends_no_varint ? "" : "the offset is not that of a length";
    default:
        return result.offset == result.tag_offset && has_tag ? "" : "the offset is not that of a tag";
    }
}

// Parts, kinds and values, but not where they stand.
bool are_alike(const noted_event &a, const noted_event &b)
{
    return a.part == b.part && a.path == b.path && a.tag == b.tag && a.raw == b.raw && a.value == b.value;
}

std::string check_failure(const message_descriptor &type, const walked &all, std::span<const uint8_t> bytes)
{
    const walk_result &result = all.result;
    const std::vector<const noted_event *> open = open_at_end(all.events);
    const size_t end_of_message = open.empty() ? bytes.size() : open.back()->end_offset;
    if (result.tag_offset > result.offset || result.offset > end_of_message || result.tag_offset >= end_of_message)
        return "the offset does not lie in the message that fails";
    if (std::string difference = check_offset(result, bytes, end_of_message); !difference.empty())
        return difference;

    const byte_string with = cut_at(bytes, open, end_of_failing(result, bytes, end_of_message));
    const decoded again(type, with);
    const walked walked_again = walk_all({&type, with});
    if (again.status != result.status)
        return "what ends with the failing piece has another status";
    if (walked_again.result.reason != result.reason || !(walked_again.result.path == result.path))
        return "what ends with the failing piece fails for another reason";

    const byte_string without = cut_at(bytes, open, result.tag_offset);
    if (std::string difference = check_walk(type, without); !difference.empty())
        return difference + ", without the failing field";
    const walked before = walk_all({&type, without});
    // Elements before the one that cannot be counted are not looked at, and may fail by themselves.
    const noted_event *const last = all.events.empty() ? nullptr : &all.events.back();
    const size_t reached = last == nullptr ? 0 : last->part == walk_part::enter ? last->value_offset : last->end_offset;
    if (reached == result.tag_offset && before.result.status != ZIDL_OK)
        return "the message fails without its failing field, too";
    // Nested messages have other lengths, and end.
    for (size_t i = 0; i < all.events.size(); ++i) {
        const noted_event &event = all.events[i];
        const bool is_open = std::find(open.begin(), open.end(), &event) != open.end();
        if (i >= before.events.size() || event.path != before.events[i].path ||
            (!is_open && !are_alike(event, before.events[i])))
            return event.path + " is another without the failing field";
    }
    return {};
}

// Going on behind a failure: the same up to there, nothing read behind it, and every byte told once.
std::string check_going_on(const message_descriptor &type, const walked &all, std::span<const uint8_t> bytes)
{
    const walked more = walk_all({&type, bytes, nullptr, true});
    if (more.result.status != all.result.status || more.result.offset != all.result.offset ||
        more.result.tag_offset != all.result.tag_offset || more.result.reason != all.result.reason ||
        !(more.result.path == all.result.path))
        return "another failure when it goes on";
    if (more.events.size() < all.events.size())
        return "fewer events when it goes on";
    size_t told = 0;
    for (size_t i = 0; i < more.events.size(); ++i) {
        const noted_event &event = more.events[i];
        const bool is_before = i < all.events.size();
        if (event.is_read != is_before || (is_before && !are_alike(event, all.events[i])))
            return event.path + " is another when it goes on";
        if (event.tag_offset > event.length_offset || event.length_offset > event.value_offset ||
            event.value_offset > event.end_offset || event.end_offset > event.end_of_message)
            return event.path + " has no order in its places";
        if (event.part == walk_part::leave ? told != event.end_offset : told != event.tag_offset)
            return event.path + " leaves a gap";
        told = event.part == walk_part::enter ? event.value_offset : event.end_offset;
    }
    return told == bytes.size() ? "" : "bytes at the end are not told";
}

} // namespace

std::string check_walk(const message_descriptor &type, std::span<const uint8_t> bytes)
{
    decoded real(type, bytes);
    const std::span<const uint8_t> exact(real.block.get(), bytes.size());
    const walked all = walk_all({&type, exact, real.record.data()});
    if (all.result.status != real.status)
        return "status " + std::to_string(all.result.status) + " instead of " + std::to_string(real.status);
    if ((all.result.status == ZIDL_OK) != (all.result.reason == RIB_REASON_none))
        return "status and reason do not belong together";
    std::string difference = check_values(type, all, real, bytes);
    if (difference.empty() && real.status != ZIDL_OK)
        difference = check_failure(type, all, bytes);
    return difference.empty() ? check_going_on(type, all, bytes) : difference;
}
