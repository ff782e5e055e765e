// What follows from a declaration.

#include "tools/zidlc/derived_facts.hpp"

#include <algorithm>
#include <functional>

namespace zidlc
{

namespace
{

using fields = std::span<const field>;

// How many neighbours make a run: an encoder takes it in a loop over the presence bits, a decoder in a loop over the tags.
constexpr std::size_t shortest_run = 4; // of three: docs/performance.md

// How many fields a small message has at most, and one with varied values.
constexpr std::size_t few_fields = 6;
constexpr std::size_t few_varied_fields = 8;

unsigned presence_width(std::size_t bits)
{
    for (const unsigned width : {8u, 16u, 32u}) {
        if (bits <= width)
            return width;
    }
    return 64;
}

// The length of an embedded message that owns memory can take any size.
unsigned most_length_size(const message &m)
{
    return varint_size(m.owns_memory ? UINT32_MAX : m.fixed_bound);
}

uint64_t fixed_bound(const field &f)
{
    if (f.is_pointer)
        return 0;
    return f.tag_size + (f.nested ? most_length_size(*f.nested) + f.nested->fixed_bound : f.type->most_bytes);
}

// How many of the fields make a run with the first one: numbers one after another, tags that differ in their first byte
// alone.
std::size_t run_length(fields rest)
{
    const field &first = rest.front();
    const auto after = std::find_if_not(rest.begin(), rest.end(), [&](const field &f) {
        return f.type->makes_runs && f.type == first.type && !f.repeated && f.number / 16 == first.number / 16 &&
               f.tag_size <= 2 && f.number - first.number == f.bit - first.bit;
    });
    return static_cast<std::size_t>(after - rest.begin());
}

std::size_t embedded_length(fields rest)
{
    return static_cast<std::size_t>(std::find_if_not(rest.begin(), rest.end(), std::mem_fn(&field::is_embedded)) -
                                    rest.begin());
}

// The block at the start of the fields. Neighbouring embedded messages are mostly absent together.
block first_block(fields rest, bool joins_embedded)
{
    if (const std::size_t length = run_length(rest); length >= shortest_run)
        return {block::form::run, rest.first(length)};
    if (const std::size_t length = embedded_length(rest); joins_embedded && length >= 2)
        return {block::form::embedded, rest.first(length)};
    return {block::form::single, rest.first(1)};
}

std::vector<block> blocks(fields all, bool joins_embedded)
{
    std::vector<block> result;
    for (fields rest = all; !rest.empty(); rest = rest.subspan(result.back().fields.size()))
        result.push_back(first_block(rest, joins_embedded));
    return result;
}

uint64_t sum_of_bounds(fields all)
{
    uint64_t sum = 0;
    for (const field &f : all)
        sum += f.fixed_bound;
    return sum;
}

// The fields from the first on that own memory, or that do not, as the first one.
fields first_stretch(fields rest)
{
    const auto end = std::find_if(rest.begin(), rest.end(),
                                  [&](const field &f) { return f.owns_memory != rest.front().owns_memory; });
    return rest.first(static_cast<std::size_t>(end - rest.begin()));
}

// A message of fixed bound is written only where there is room for all of it.
std::vector<stretch> stretches(const message &m)
{
    if (!m.owns_memory)
        return {{0, blocks(m.fields, true)}};
    std::vector<stretch> result;
    for (fields rest = m.fields; !rest.empty();) {
        const fields together = first_stretch(rest);
        result.push_back({together.front().owns_memory ? 0 : sum_of_bounds(together), blocks(together, true)});
        rest = rest.subspan(together.size());
    }
    return result;
}

// Messages with runs are many-sided. The small ones, an address or an id, look the same nearly every time.
bool is_varied(const message &m)
{
    return std::any_of(m.reads.begin(), m.reads.end(),
                       [](const block &each) { return each.taken_as == block::form::run; });
}

// A few singular fields with short tags, and no memory where there is a run among them. What is rare is not worth it.
bool is_small(const message &m)
{
    if (m.rare || (m.is_varied && m.owns_memory))
        return false;
    return m.fields.size() <= (m.is_varied ? few_varied_fields : few_fields) &&
           std::all_of(m.fields.begin(), m.fields.end(), [](const field &f) {
               return !f.repeated && f.tag_size <= 2 && (!f.nested || f.nested->is_small);
           });
}

bool is_bounded(const message &m)
{
    return !m.owns_memory ||
           (m.fields.size() <= few_fields && std::all_of(m.fields.begin(), m.fields.end(), [](const field &f) {
                return !f.repeated && f.type->held != storage::text && (!f.nested || f.nested->is_bounded);
            }));
}

void choose_helpers(field &f, bool is_varied)
{
    f.writer = f.repeated ? f.type->array : is_varied ? f.type->varied_writer : f.type->writer;
    f.reader = f.repeated ? f.type->array : is_varied ? f.type->varied_reader : f.type->reader;
}

} // namespace

void derive(field &f)
{
    f.wire_type = f.type->wire.number;
    f.tag = f.number << 3 | f.wire_type;
    f.tag_size = varint_size(f.tag);
    f.is_scalar = f.type->held == storage::value;
    f.is_embedded = f.nested && !f.repeated;
    f.is_pointer = f.repeated || f.type->held == storage::text || f.type->held == storage::block;
    f.is_value = f.is_scalar && !f.repeated;
    f.holds_bytes = f.type->held == storage::block || (f.nested && f.nested->holds_bytes);
    f.owns_memory = f.is_pointer || (f.nested && f.nested->owns_memory);
    f.fixed_bound = fixed_bound(f);
}

void derive(message &m)
{
    m.presence_bits = presence_width(m.fields.size());
    for (const field &f : m.fields) {
        m.presence_mask |= uint64_t{1} << f.bit;
        m.presence_words += f.is_embedded ? f.nested->presence_words : 0;
        m.holds_bytes |= f.holds_bytes;
        m.owns_memory |= f.owns_memory;
        m.fixed_bound += f.fixed_bound;
    }
    m.reads = blocks(m.fields, false);
    m.is_varied = is_varied(m);
    m.is_bounded = is_bounded(m);
    m.rare = m.rare && !m.is_bounded; // what is bounded is written within the messages around it
    m.is_small = is_small(m);
    m.writes = stretches(m);
    for (field &f : m.fields)
        choose_helpers(f, m.is_varied);
}

} // namespace zidlc
