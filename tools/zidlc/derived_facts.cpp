// What follows from a declaration.

#include "tools/zidlc/derived_facts.hpp"

#include "tools/zidlc/names.hpp"

namespace zidlc
{

namespace
{

// An embedded message with its tag and length. The length of a variable one can take any size.
uint64_t embedded_bound(const field &f)
{
    const unsigned length_size = varint_size(f.nested->is_variable ? UINT32_MAX : f.nested->fixed_bound);
    return f.tag_size + length_size + f.nested->fixed_bound;
}

unsigned presence_width(std::size_t fields)
{
    for (const unsigned width : {8u, 16u, 32u}) {
        if (fields <= width)
            return width;
    }
    return 64;
}

} // namespace

uint64_t fixed_bound(const field &f)
{
    if (is_pointer(f))
        return 0;
    return f.nested ? embedded_bound(f) : f.tag_size + f.type->most_bytes;
}

bool holds_bytes(const field &f)
{
    return f.type->held == storage::block || (f.nested && f.nested->has_bytes);
}

bool owns_memory(const field &f)
{
    return is_pointer(f) || (f.nested && f.nested->owns_memory);
}

void derive(field &f)
{
    f.wire_type = f.type->wire.number;
    f.tag = f.number << 3 | f.wire_type;
    f.tag_size = varint_size(f.tag);
}

void derive(message &m)
{
    m.presence_bits = presence_width(m.fields.size());
    for (const field &f : m.fields) {
        m.presence_mask |= uint64_t{1} << f.bit;
        m.has_bytes |= holds_bytes(f);
        m.owns_memory |= owns_memory(f);
        m.fixed_bound += fixed_bound(f);
    }
    m.is_variable = m.owns_memory;
}

} // namespace zidlc
