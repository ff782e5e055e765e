// The frame of an update as it travels: an 8-byte header in network byte order, then the payload.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ribtool
{

using byte_span = std::span<const uint8_t>;
using byte_vector = std::vector<uint8_t>;

// 4 bytes that nobody reads, 16-bit type code, 16-bit payload length.
constexpr size_t FRAME_HEADER_LEN = 8;
constexpr size_t MAX_PAYLOAD_LEN = 65535;

// Frames of this type separate updates in a raw stream and carry nothing. update_types.hpp has the other codes.
constexpr uint16_t DELIMITER_CODE = 0;

inline void append_be16(byte_vector &out, uint16_t value)
{
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

inline void append_be32(byte_vector &out, uint32_t value)
{
    append_be16(out, static_cast<uint16_t>(value >> 16));
    append_be16(out, static_cast<uint16_t>(value));
}

inline void append_bytes(byte_vector &out, byte_span bytes)
{
    out.insert(out.end(), bytes.begin(), bytes.end());
}

inline uint16_t read_be16(const uint8_t *bytes)
{
    return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline uint32_t read_be32(const uint8_t *bytes)
{
    return static_cast<uint32_t>(read_be16(bytes)) << 16 | read_be16(bytes + 2);
}

struct update {
    uint16_t code = 0;
    byte_vector payload;
};

// The payload holds at most MAX_PAYLOAD_LEN bytes.
inline byte_vector framed(uint16_t code, byte_span payload)
{
    byte_vector frame;
    frame.reserve(FRAME_HEADER_LEN + payload.size());
    append_be32(frame, 0);
    append_be16(frame, code);
    append_be16(frame, static_cast<uint16_t>(payload.size()));
    append_bytes(frame, payload);
    return frame;
}

inline uint16_t frame_code(byte_span frame)
{
    return read_be16(frame.data() + 4);
}
inline size_t frame_payload_len(byte_span frame)
{
    return read_be16(frame.data() + 6);
}

} // namespace ribtool
