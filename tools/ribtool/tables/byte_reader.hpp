// Numbers and pieces of a message in network byte order, never beyond its end.

#pragma once

#include "tools/ribtool/frames/frame.hpp"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace ribtool
{

// Thrown where bytes are not what they should be. Whoever knows the file makes a failure of it.
struct malformed_bytes {
    const uint8_t *at;
    std::string text;
};

class byte_reader
{
public:
    // `name` is that of the piece, for what is said of one that is too short; it outlives the reader.
    byte_reader(byte_span bytes, std::string_view name) : left_(bytes), name_(name) {}

    bool is_at_end() const { return left_.empty(); }
    byte_span left() const { return left_; }

    uint8_t u8() { return *take(1).data(); }
    uint16_t be16() { return read_be16(take(2).data()); }
    uint32_t be32() { return read_be32(take(4).data()); }

    byte_span take(size_t len)
    {
        if (len > left_.size())
            fail("{}: {} bytes needed, {} left", name_, len, left_.size());
        const byte_span taken = left_.first(len);
        left_ = left_.subspan(len);
        return taken;
    }

    // Says so of the bytes in front of which the reader stands.
    template <class... Arguments>
    [[noreturn]] void fail(fmt::format_string<Arguments...> format, Arguments &&...arguments) const
    {
        throw malformed_bytes{left_.data(), fmt::format(format, std::forward<Arguments>(arguments)...)};
    }

private:
    byte_span left_;
    std::string_view name_;
};

} // namespace ribtool
