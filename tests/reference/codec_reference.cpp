// Byte loops and recursion over the descriptors. Nothing here is shared with the library.

#include "tests/reference/codec_reference.hpp"

#include "tests/reference/record_access.hpp"

namespace codec_reference
{
namespace
{

using namespace record_access;

enum wire_type : uint32_t { varint = 0, eight_bytes = 1, delimited = 2, four_bytes = 5 };

wire_type wire_type_of(const field_descriptor &field)
{
    if (field.type == kind::fixed32)
        return four_bytes;
    return is_number(field) ? varint : delimited;
}

bool is_zero_copy(uint32_t flags)
{
    return (flags & ZIDL_ZERO_COPY) != 0;
}

void copy(uint8_t *to, const uint8_t *from, uint64_t len)
{
    for (uint64_t i = 0; i < len; ++i)
        to[i] = from[i];
}

// ---- encode

struct output {
    uint8_t *buf;
    size_t buflen;
    uint64_t pos;       // sizes have 64 bits, also where addresses have 32
    uint64_t run_start; // of the in-buffer bytes that no segment covers yet
    zidl_segment *segs;
    bool lists_segments;
    uint32_t capacity;
    uint32_t count;
    uint32_t flags;
};

void put_byte(output &out, uint8_t byte)
{
    if (out.pos < out.buflen)
        out.buf[out.pos] = byte;
    ++out.pos;
}

void put_varint(output &out, uint64_t value)
{
    while (value > 127) {
        put_byte(out, static_cast<uint8_t>((value & 127) | 128));
        value >>= 7;
    }
    put_byte(out, static_cast<uint8_t>(value));
}

void put_tag(output &out, const field_descriptor &field)
{
    put_varint(out, field.number << 3 | wire_type_of(field));
}

void put_length(output &out, uint64_t len)
{
    put_varint(out, static_cast<uint32_t>(len));
}

// Whole or not at all; the position moves either way.
void put_contents(output &out, const uint8_t *data, uint64_t len)
{
    const uint64_t end = out.pos + len;
    const bool wraps = end < len;
    if (!wraps && end <= out.buflen)
        copy(out.buf + out.pos, data, len);
    out.pos = end;
}

void put_segment(output &out, const uint8_t *base, uint64_t len)
{
    if (out.count < out.capacity)
        out.segs[out.count] = {base, len};
    ++out.count;
}

// The address is computed as an integer: there may be no buffer, and the run may lie beyond its end.
void put_run_segment(output &out)
{
    const uintptr_t start = reinterpret_cast<uintptr_t>(out.buf) + static_cast<uintptr_t>(out.run_start);
    put_segment(out, reinterpret_cast<const uint8_t *>(start), out.pos - out.run_start);
}

void put_string(output &out, const field_descriptor &field, const uint8_t *text)
{
    size_t len = 0;
    while (text[len] != 0)
        ++len;
    put_tag(out, field);
    put_length(out, len);
    put_contents(out, text, len);
}

void put_bytes(output &out, const field_descriptor &field, const uint8_t *data, uint64_t size)
{
    put_tag(out, field);
    put_length(out, size);
    if (!is_zero_copy(out.flags)) {
        put_contents(out, data, size);
    } else if (out.lists_segments && size > 0) {
        put_run_segment(out);
        put_segment(out, data, size);
        out.run_start = out.pos;
    }
}

void put_number(output &out, const field_descriptor &field, const void *at)
{
    const uint64_t value = load_number(field, at);
    put_tag(out, field);
    if (field.type == kind::boolean) {
        put_byte(out, static_cast<uint8_t>(value));
    } else if (field.type == kind::fixed32) {
        for (int shift = 0; shift < 32; shift += 8)
            put_byte(out, static_cast<uint8_t>(value >> shift));
    } else if (field.type == kind::sint64) {
        const bool negative = value >> 63 != 0;
        put_varint(out, negative ? ~value * 2 + 1 : value * 2);
    } else {
        put_varint(out, value);
    }
}

uint64_t encode_message(const message_descriptor &type, const void *msg, uint8_t *buf, size_t buflen,
                        zidl_segment *segs, uint32_t *nsegs, uint32_t flags);

uint64_t encoded_size(const message_descriptor &type, const void *msg, uint32_t flags)
{
    return encode_message(type, msg, nullptr, 0, nullptr, nullptr, flags);
}

// The body goes to what is left of the buffer, its segments to what is left of the list.
void put_body(output &out, const message_descriptor &type, const void *msg)
{
    const bool has_room = out.pos < out.buflen;
    const bool has_entries = out.count < out.capacity;
    uint32_t body_count = has_entries ? out.capacity - out.count : 0;
    encode_message(type, msg, has_room ? out.buf + out.pos : nullptr,
                   has_room ? static_cast<size_t>(out.buflen - out.pos) : 0,
                   has_entries ? out.segs + out.count : nullptr, out.lists_segments ? &body_count : nullptr, out.flags);
    if (out.lists_segments)
        out.count += body_count;
}

void put_message(output &out, const field_descriptor &field, const void *msg)
{
    const uint64_t len = encoded_size(*field.message, msg, out.flags);
    put_tag(out, field);
    put_length(out, len);
    // A body that neither stores nor lists anything is not walked again: this keeps sizing linear in the depth.
    if (out.buflen > 0 || out.lists_segments)
        put_body(out, *field.message, msg);
    out.pos += len;
}

void put_element(output &out, const field_descriptor &field, const uint8_t *at)
{
    if (is_message(field))
        return put_message(out, field, at);
    if (field.type == kind::bytes) {
        const auto element = load<zidl_bytes>(at);
        return put_bytes(out, field, element.data, element.size);
    }
    put_number(out, field, at);
}

void put_array(output &out, const field_descriptor &field, const void *msg)
{
    const uint32_t count = load_count(field, msg);
    for (uint32_t i = 0; i < count; ++i)
        put_element(out, field, load_pointer(field, msg) + i * element_size(field));
}

void put_field(output &out, const message_descriptor &type, const field_descriptor &field, const void *msg)
{
    const uint8_t *member = member_address(field, msg);
    const bool present = has(type, field, msg);
    if (is_singular(field, kind::message)) {
        if (present || encoded_size(*field.message, member, out.flags) > 0)
            put_message(out, field, member);
        return;
    }
    if (!present)
        return;
    if (field.repeated) {
        put_array(out, field, msg);
    } else if (field.type == kind::string) {
        if (load_pointer(field, msg) != nullptr)
            put_string(out, field, load_pointer(field, msg));
    } else if (field.type == kind::bytes) {
        put_bytes(out, field, load_pointer(field, msg), load_size(field, msg));
    } else {
        put_number(out, field, member);
    }
}

uint64_t encode_message(const message_descriptor &type, const void *msg, uint8_t *buf, size_t buflen,
                        zidl_segment *segs, uint32_t *nsegs, uint32_t flags)
{
    output out = {.buf = buf,
                  .buflen = buflen,
                  .pos = 0,
                  .run_start = 0,
                  .segs = segs,
                  .lists_segments = nsegs != nullptr,
                  .capacity = nsegs == nullptr || segs == nullptr ? 0 : *nsegs,
                  .count = 0,
                  .flags = flags};
    for (const field_descriptor &field : fields_of(type))
        put_field(out, type, field, msg);
    if (nsegs != nullptr) {
        if (out.pos > out.run_start)
            put_run_segment(out);
        *nsegs = out.count;
    }
    return out.pos;
}

// ---- decode

struct memory {
    zidl_alloc_fn alloc_fn;
    void *alloc_ctx;

    uint8_t *allocate(size_t size) const
    {
        return alloc_fn == nullptr ? nullptr : static_cast<uint8_t *>(alloc_fn(size, alloc_ctx));
    }
};

struct input {
    const uint8_t *buf;
    uint64_t len;
    uint64_t pos; // what is unknown may claim to go on behind the end, by more than an address has bits
    memory mem;
    uint32_t flags;
};

// The low 64 bits of a varint of any length.
bool take_varint(input &in, uint64_t &value)
{
    value = 0;
    for (unsigned shift = 0; in.pos < in.len; shift += 7) {
        const uint8_t byte = in.buf[in.pos++];
        if (shift < 64)
            value |= static_cast<uint64_t>(byte & 127) << shift;
        if (byte < 128)
            return true;
    }
    return false;
}

// Tags and lengths: the low 32 bits.
bool take_short_varint(input &in, uint32_t &value)
{
    uint64_t wide = 0;
    const bool complete = take_varint(in, wide);
    value = static_cast<uint32_t>(wide);
    return complete;
}

// A length prefix whose contents lie within the input.
bool take_length(input &in, uint32_t &len)
{
    return take_short_varint(in, len) && len <= in.len - in.pos;
}

void reset(const message_descriptor &type, void *msg);

void reset_field(const field_descriptor &field, void *msg)
{
    uint8_t *member = member_address(field, msg);
    if (field.repeated) {
        store_pointer(field, msg, nullptr);
        store_count(field, msg, 0);
    } else if (is_message(field)) {
        reset(*field.message, member);
    } else if (field.type == kind::bytes) {
        store_pointer(field, msg, nullptr);
        store_size(field, msg, 0);
    } else if (field.type == kind::string) {
        store_pointer(field, msg, nullptr);
    } else {
        store_number(field, member, 0);
    }
}

void reset(const message_descriptor &type, void *msg)
{
    for (const field_descriptor &field : fields_of(type)) {
        reset_field(field, msg);
        set_presence(type, field, msg, false);
    }
}

int32_t take_fixed32(input &in, const field_descriptor &field, void *at)
{
    if (in.len - in.pos < 4)
        return ZIDL_ERR_MALFORMED;
    uint64_t value = 0;
    for (int shift = 0; shift < 32; shift += 8)
        value |= static_cast<uint64_t>(in.buf[in.pos++]) << shift;
    store_number(field, at, value);
    return ZIDL_OK;
}

int32_t take_number(input &in, const field_descriptor &field, void *at)
{
    if (field.type == kind::fixed32)
        return take_fixed32(in, field, at);
    uint64_t value = 0;
    if (!take_varint(in, value))
        return ZIDL_ERR_MALFORMED;
    if (field.type == kind::boolean)
        value = value != 0;
    else if (field.type == kind::sint64)
        value = value % 2 != 0 ? ~(value / 2) : value / 2;
    store_number(field, at, value);
    return ZIDL_OK;
}

int32_t take_message(input &in, const message_descriptor &type, void *msg)
{
    uint32_t len = 0;
    if (!take_length(in, len))
        return ZIDL_ERR_MALFORMED;
    const uint8_t *body = in.buf + in.pos;
    in.pos += len;
    return decode(type, msg, body, len, in.mem.alloc_fn, in.mem.alloc_ctx, in.flags);
}

int32_t take_string(input &in, const field_descriptor &field, void *msg)
{
    if (load_pointer(field, msg) != nullptr)
        return ZIDL_ERR_MALFORMED;
    if (in.mem.alloc_fn == nullptr)
        return ZIDL_ERR_NO_MEMORY;
    uint32_t len = 0;
    if (!take_length(in, len))
        return ZIDL_ERR_MALFORMED;
    uint8_t *text = in.mem.allocate(size_t{len} + 1);
    if (text == nullptr)
        return ZIDL_ERR_NO_MEMORY;
    store_pointer(field, msg, text);
    copy(text, in.buf + in.pos, len);
    text[len] = 0;
    in.pos += len;
    return ZIDL_OK;
}

// The value of a bytes member or element: borrowed or copied.
int32_t take_bytes_value(input &in, zidl_bytes &value)
{
    uint32_t len = 0;
    if (!take_length(in, len))
        return ZIDL_ERR_MALFORMED;
    const uint8_t *contents = in.buf + in.pos;
    in.pos += len;
    if (is_zero_copy(in.flags)) {
        value = {const_cast<uint8_t *>(contents), len};
        return ZIDL_OK;
    }
    uint8_t *data = in.mem.allocate(len);
    if (data == nullptr)
        return ZIDL_ERR_NO_MEMORY;
    copy(data, contents, len);
    value = {data, len};
    return ZIDL_OK;
}

int32_t take_bytes(input &in, const field_descriptor &field, void *msg)
{
    if (load_pointer(field, msg) != nullptr)
        return ZIDL_ERR_MALFORMED;
    if (in.mem.alloc_fn == nullptr && !is_zero_copy(in.flags))
        return ZIDL_ERR_NO_MEMORY;
    zidl_bytes value = {nullptr, 0};
    const int32_t status = take_bytes_value(in, value);
    if (status == ZIDL_OK) {
        store_pointer(field, msg, value.data);
        store_size(field, msg, value.size);
    }
    return status;
}

bool skip_element(input &in, const field_descriptor &field)
{
    if (is_number(field)) {
        uint64_t ignored = 0;
        return take_varint(in, ignored);
    }
    uint32_t len = 0;
    const bool fits = take_length(in, len);
    if (fits)
        in.pos += len;
    return fits;
}

// How many elements follow one another from here: a look ahead, on a copy of the position.
bool count_run(input in, const field_descriptor &field, uint32_t &count)
{
    uint32_t tag = 0;
    count = 0;
    do {
        if (!skip_element(in, field))
            return false;
        ++count;
        if (in.pos >= in.len)
            return true;
        if (!take_short_varint(in, tag))
            return false;
    } while (tag >> 3 == field.number);
    return true;
}

int32_t take_element(input &in, const field_descriptor &field, uint8_t *at)
{
    if (is_message(field))
        return take_message(in, *field.message, at);
    if (is_number(field))
        return take_number(in, field, at);
    zidl_bytes value = {nullptr, 0};
    const int32_t status = take_bytes_value(in, value);
    store(at, value);
    return status;
}

int32_t fill_array(input &in, const field_descriptor &field, uint8_t *array, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t tag = 0;
        if (i > 0 && !take_short_varint(in, tag))
            return ZIDL_ERR_MALFORMED;
        const int32_t status = take_element(in, field, array + i * element_size(field));
        if (status != ZIDL_OK)
            return status;
    }
    return ZIDL_OK;
}

int32_t take_array(input &in, const field_descriptor &field, void *msg)
{
    if (load_pointer(field, msg) != nullptr)
        return ZIDL_ERR_MALFORMED;
    if (in.mem.alloc_fn == nullptr)
        return ZIDL_ERR_NO_MEMORY;
    uint32_t count = 0;
    if (!count_run(in, field, count))
        return ZIDL_ERR_MALFORMED;
    const size_t size = count * element_size(field);
    uint8_t *array = in.mem.allocate(size);
    if (array == nullptr)
        return ZIDL_ERR_NO_MEMORY;
    if (!is_number(field))
        std::memset(array, 0, size);
    store_pointer(field, msg, array);
    store_count(field, msg, count);
    return fill_array(in, field, array, count);
}

int32_t take_field(input &in, const field_descriptor &field, void *msg)
{
    if (field.repeated)
        return take_array(in, field, msg);
    if (is_message(field))
        return take_message(in, *field.message, member_address(field, msg));
    if (field.type == kind::string)
        return take_string(in, field, msg);
    if (field.type == kind::bytes)
        return take_bytes(in, field, msg);
    return take_number(in, field, member_address(field, msg));
}

// Skipping checks nothing but varints: a step past the end of the input ends the decode well.
int32_t skip_unknown(input &in, uint32_t wire)
{
    uint64_t value = 0;
    uint32_t len = 0;
    switch (wire) {
    case varint:
        return take_varint(in, value) ? ZIDL_OK : ZIDL_ERR_MALFORMED;
    case eight_bytes:
        in.pos += 8;
        return ZIDL_OK;
    case delimited:
        if (!take_short_varint(in, len))
            return ZIDL_ERR_MALFORMED;
        in.pos += len;
        return ZIDL_OK;
    case four_bytes:
        in.pos += 4;
        return ZIDL_OK;
    default:
        return ZIDL_ERR_WIRE_TYPE;
    }
}

const field_descriptor *find_field(const message_descriptor &type, uint32_t number)
{
    for (const field_descriptor &field : fields_of(type))
        if (field.number == number)
            return &field;
    return nullptr;
}

int32_t take_tagged_field(input &in, const message_descriptor &type, void *msg)
{
    uint32_t tag = 0;
    if (!take_short_varint(in, tag))
        return ZIDL_ERR_MALFORMED;
    const field_descriptor *field = find_field(type, tag >> 3);
    if (field == nullptr)
        return skip_unknown(in, tag & 7);
    if ((tag & 7) != wire_type_of(*field))
        return ZIDL_ERR_FIELD_TYPE;
    const int32_t status = take_field(in, *field, msg);
    if (status == ZIDL_OK)
        set_presence(type, *field, msg, true);
    return status;
}

// ---- duplicate: every helper answers whether all memory could be had

bool duplicate_contents(const memory &mem, zidl_bytes &dst, const uint8_t *data, uint64_t size)
{
    dst = {nullptr, 0};
    if (size == 0)
        return true;
    const size_t request = static_cast<size_t>(size);
    uint8_t *contents = request == size ? mem.allocate(request) : nullptr;
    if (contents == nullptr)
        return false;
    copy(contents, data, size);
    dst = {contents, size};
    return true;
}

bool duplicate_string(const memory &mem, const field_descriptor &field, void *dst, const void *src)
{
    const char *text = load_pointer<char>(field, src);
    zidl_bytes contents = {nullptr, 0};
    const bool complete = text == nullptr || duplicate_contents(mem, contents, reinterpret_cast<const uint8_t *>(text),
                                                                std::strlen(text) + 1);
    store_pointer(field, dst, contents.data);
    return complete;
}

bool duplicate_bytes(const memory &mem, const field_descriptor &field, void *dst, const void *src)
{
    zidl_bytes contents = {nullptr, 0};
    const bool complete = duplicate_contents(mem, contents, load_pointer(field, src), load_size(field, src));
    store_pointer(field, dst, contents.data);
    store_size(field, dst, contents.size);
    return complete;
}

bool duplicate_message(const memory &mem, const message_descriptor &type, void *dst, const void *src)
{
    return duplicate(type, dst, src, mem.alloc_fn, mem.alloc_ctx) == ZIDL_OK;
}

bool duplicate_element(const memory &mem, const field_descriptor &field, uint8_t *dst, const uint8_t *src)
{
    if (is_message(field))
        return duplicate_message(mem, *field.message, dst, src);
    if (field.type == kind::bytes) {
        const auto element = load<zidl_bytes>(src);
        zidl_bytes contents = {nullptr, 0};
        const bool complete = duplicate_contents(mem, contents, element.data, element.size);
        store(dst, contents);
        return complete;
    }
    copy(dst, src, element_size(field));
    return true;
}

bool duplicate_elements(const memory &mem, const field_descriptor &field, uint8_t *dst, const void *src)
{
    bool complete = true;
    for (uint32_t i = 0; i < load_count(field, src); ++i) {
        const size_t at = i * element_size(field);
        complete = duplicate_element(mem, field, dst + at, load_pointer(field, src) + at) && complete;
    }
    return complete;
}

// `attached` tells whether the member came over; an array whose elements are incomplete still did.
bool duplicate_array(const memory &mem, const field_descriptor &field, void *dst, const void *src, bool &attached)
{
    const uint32_t count = load_count(field, src);
    uint8_t *array = count == 0 ? nullptr : mem.allocate(count * element_size(field));
    attached = count == 0 || array != nullptr;
    store_pointer(field, dst, array);
    store_count(field, dst, attached ? count : 0);
    return attached && (count == 0 || duplicate_elements(mem, field, array, src));
}

bool duplicate_field(const memory &mem, const message_descriptor &type, const field_descriptor &field, void *dst,
                     const void *src)
{
    bool complete = true;
    bool attached = true;
    if (field.repeated) {
        complete = duplicate_array(mem, field, dst, src, attached);
    } else if (is_message(field)) {
        complete = duplicate_message(mem, *field.message, member_address(field, dst), member_address(field, src));
    } else if (field.type == kind::string) {
        complete = attached = duplicate_string(mem, field, dst, src);
    } else if (field.type == kind::bytes) {
        complete = attached = duplicate_bytes(mem, field, dst, src);
    } else {
        copy(member_address(field, dst), member_address(field, src), element_size(field));
    }
    set_presence(type, field, dst, attached && has(type, field, src));
    return complete;
}

// ---- release

struct releaser {
    zidl_free_fn free_fn;
    void *free_ctx;
    uint32_t flags;

    void give_back(void *pointer) const
    {
        if (pointer != nullptr)
            free_fn(pointer, free_ctx);
    }
};

void release_member(const releaser &mem, const field_descriptor &field, void *msg)
{
    mem.give_back(load_pointer(field, msg));
    store_pointer(field, msg, nullptr);
}

void release_element(const releaser &mem, const field_descriptor &field, uint8_t *at)
{
    if (is_message(field))
        release(*field.message, at, mem.free_fn, mem.free_ctx, mem.flags);
    else if (field.type == kind::bytes && !is_zero_copy(mem.flags))
        mem.give_back(load<zidl_bytes>(at).data);
}

void release_array(const releaser &mem, const field_descriptor &field, void *msg)
{
    uint8_t *array = load_pointer(field, msg);
    if (array == nullptr)
        return;
    for (uint32_t i = 0; i < load_count(field, msg); ++i)
        release_element(mem, field, array + i * element_size(field));
    release_member(mem, field, msg);
    if (!is_number(field)) // the count of an array of integers stays
        store_count(field, msg, 0);
}

void release_field(const releaser &mem, const field_descriptor &field, void *msg)
{
    if (field.repeated)
        release_array(mem, field, msg);
    else if (is_message(field))
        release(*field.message, member_address(field, msg), mem.free_fn, mem.free_ctx, mem.flags);
    else if (field.type == kind::string || (field.type == kind::bytes && !is_zero_copy(mem.flags)))
        release_member(mem, field, msg);
}

} // namespace

size_t encode(const message_descriptor &type, const void *msg, uint8_t *buf, size_t buflen, zidl_segment *segs,
              uint32_t *nsegs, uint32_t flags)
{
    const uint64_t len = encode_message(type, msg, buf, buflen, segs, nsegs, flags);
    const size_t returned = static_cast<size_t>(len);
    return returned == len ? returned : SIZE_MAX; // more than any buffer where sizes have 32 bits
}

int32_t decode(const message_descriptor &type, void *msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn,
               void *alloc_ctx, uint32_t flags)
{
    input in = {.buf = buf, .len = len, .pos = 0, .mem = {alloc_fn, alloc_ctx}, .flags = flags};
    reset(type, msg);
    while (in.pos < in.len) {
        const int32_t status = take_tagged_field(in, type, msg);
        if (status != ZIDL_OK)
            return status;
    }
    return ZIDL_OK;
}

int32_t duplicate(const message_descriptor &type, void *dst, const void *src, zidl_alloc_fn alloc_fn, void *alloc_ctx)
{
    const memory mem = {alloc_fn, alloc_ctx};
    bool complete = true;
    for (const field_descriptor &field : fields_of(type))
        complete = duplicate_field(mem, type, field, dst, src) && complete;
    return complete ? ZIDL_OK : ZIDL_ERR_NO_MEMORY;
}

void release(const message_descriptor &type, void *msg, zidl_free_fn free_fn, void *free_ctx, uint32_t flags)
{
    const releaser mem = {free_fn, free_ctx, flags};
    for (const field_descriptor &field : fields_of(type))
        release_field(mem, field, msg);
}

} // namespace codec_reference
