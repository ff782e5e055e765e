// What the client tests share: payloads that end where memory ends, update records, and what the platform functions and
// failed assertions recorded. Nothing here knows how an update is converted.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace rib_test
{

using bytes = std::vector<uint8_t>;

inline bytes operator+(bytes first, const bytes &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The same bytes `count` times.
inline bytes repeat(size_t count, const bytes &element)
{
    bytes all;
    all.reserve(count * element.size());
    for (size_t i = 0; i < count; i++)
        all.insert(all.end(), element.begin(), element.end());
    return all;
}

inline bytes text(const char *characters)
{
    return bytes(characters, characters + std::strlen(characters));
}

inline bytes varint(uint64_t value)
{
    bytes out;
    for (; value > 127; value >>= 7)
        out.push_back(static_cast<uint8_t>(value | 0x80));
    out.push_back(static_cast<uint8_t>(value));
    return out;
}

// A length-delimited field: the tag as given, then length and body.
inline bytes field(const bytes &tag, const bytes &body)
{
    return tag + varint(body.size()) + body;
}

// A scalar field: the tag as given, then the value.
inline bytes number(const bytes &tag, uint64_t value)
{
    return tag + varint(value);
}

// The contents of an empty message.
inline const bytes no_fields;

// A copy of bytes whose end (or, with `at_start`, whose first byte) borders on a page that cannot be touched, so that
// reading or writing past it ends the process.
class guarded_bytes
{
public:
    explicit guarded_bytes(const bytes &content, bool at_start = false) : len(content.size())
    {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        room = (len + page - 1) / page * page;
        mapped = room + 2 * page;
        base = static_cast<uint8_t *>(mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (base == MAP_FAILED)
            std::abort();
        inner = base + page;
        set_protection(PROT_READ | PROT_WRITE);
        first = at_start ? inner : inner + room - len;
        if (len > 0)
            std::memcpy(first, content.data(), len);
    }
    guarded_bytes(const guarded_bytes &) = delete;
    guarded_bytes &operator=(const guarded_bytes &) = delete;
    ~guarded_bytes() { munmap(base, mapped); }

    // From now on writing to the bytes ends the process too.
    void forbid_writing() { set_protection(PROT_READ); }

    uint8_t *data() { return first; }
    size_t size() const { return len; }
    bytes content() const { return bytes(first, first + len); }

private:
    void set_protection(int protection)
    {
        if (room > 0 && mprotect(inner, room, protection) != 0)
            std::abort();
    }

    size_t len;
    size_t room;
    size_t mapped;
    uint8_t *base;
    uint8_t *inner;
    uint8_t *first;
};

// The type codes of updates.
enum : uint32_t {
    LEGACY_ROUTE = 3,
    LEGACY_OPAQUE = 37,
    LEGACY_PROTO = 38,
    GRID_LIST = 46,
    ENCODED_PROTO = 47,
    NHID = 49,
    ENCODED_OPAQUE = 50,
    ENCODED_ROUTE = 51,
};

inline constexpr uint32_t ALL_CODES[] = {3, 37, 38, 46, 47, 49, 50, 51};

// An update whose frame has been removed.
inline updatetype_local stripped_update(uint32_t tlv_type, uint8_t *payload, size_t len)
{
    updatetype_local update = {};
    update.update_id = 0xC0FFEE01;
    update.tlv_type = tlv_type;
    update.stripped = 1;
    update.payload_len = static_cast<uint32_t>(len);
    update.payload = payload;
    return update;
}

inline updatetype_local stripped_update(uint32_t tlv_type, guarded_bytes &payload)
{
    return stripped_update(tlv_type, payload.data(), payload.size());
}

// An update that still has its frame: everything but id and payload is what the entry point has to fill in.
inline updatetype_local framed_update(uint8_t *frame)
{
    updatetype_local update = {};
    update.update_id = 0xC0FFEE02;
    update.payload = frame;
    return update;
}

} // namespace rib_test
