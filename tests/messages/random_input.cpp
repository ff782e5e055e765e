// See random_input.hpp.

#include "tests/messages/random_input.hpp"

#include "tests/reference/record_access.hpp"

#include <algorithm>

namespace
{

using namespace record_access;

class field_writer
{
public:
    explicit field_writer(random_source &random)
        : random_(random), faults_(random.percent(50) ? 0 : 1), fields_left_(2 + random.below(60))
    {
    }

    void write_message(const message_descriptor &type, byte_string &out, unsigned depth)
    {
        const size_t count = random_.below(depth == 0 ? 16 : 7);
        for (size_t i = 0; i < count && fields_left_ > 0; ++i)
            write_some_field(type, out, depth);
    }

private:
    void write_some_field(const message_descriptor &type, byte_string &out, unsigned depth)
    {
        --fields_left_;
        if (random_.percent(8))
            return write_unknown_field(type, out);
        const field_descriptor &field = type.fields[random_.below(type.field_count)];
        const size_t run = field.repeated ? 1 + random_.below(4) : 1;
        for (size_t i = 0; i < run; ++i)
            write_field(field, out, depth);
    }

    void write_field(const field_descriptor &field, byte_string &out, unsigned depth)
    {
        put_varint(out, field.number << 3 | (fault() ? random_.below(8) : wire_type(field)));
        if (field.type == kind::fixed32) {
            put_noise(out, 4);
        } else if (is_number(field)) {
            put_varint(out, random_.number());
        } else {
            const size_t start = out.size();
            write_contents(field, out, depth);
            insert_length(out, start);
        }
    }

    static uint32_t wire_type(const field_descriptor &field)
    {
        if (field.type == kind::fixed32)
            return 5;
        return is_number(field) ? 0 : 2;
    }

    void write_contents(const field_descriptor &field, byte_string &out, unsigned depth)
    {
        if (is_message(field))
            write_message(*field.message, out, depth + 1);
        else
            put_noise(out, random_.below(random_.percent(5) ? 200 : 12));
    }

    void write_unknown_field(const message_descriptor &type, byte_string &out)
    {
        const uint32_t beyond = type.fields[type.field_count - 1].number + 1;
        const auto number =
            static_cast<uint32_t>(random_.percent(50) ? random_.below(16) : beyond + random_.below(1000));
        const size_t wire = fault() ? random_.below(8) : size_t{WIRE_TYPES[random_.below(4)]};
        put_varint(out, number << 3 | wire);
        if (wire == 0)
            return put_varint(out, random_.number());
        const size_t size = wire == 1 ? 8 : wire == 5 ? 4 : random_.below(6);
        if (wire == 2)
            put_varint(out, size);
        put_noise(out, size);
    }

    void insert_length(byte_string &out, size_t start)
    {
        byte_string prefix;
        put_varint(prefix, fault() ? random_.number() : out.size() - start);
        out.insert(out.begin() + static_cast<std::ptrdiff_t>(start), prefix.begin(), prefix.end());
    }

    // Overlong forms carry groups beyond the value's last, up to and beyond the ten bytes of 64 bits.
    void put_varint(byte_string &out, uint64_t value)
    {
        for (; value > 127; value >>= 7)
            out.push_back(static_cast<uint8_t>(value | 128));
        if (!random_.percent(4)) {
            out.push_back(static_cast<uint8_t>(value));
            return;
        }
        out.push_back(static_cast<uint8_t>(value | 128));
        for (size_t more = random_.below(12); more > 0; --more)
            out.push_back(random_.percent(90) ? 128 : random_.byte() | 128);
        out.push_back(random_.percent(90) ? 0 : random_.byte() & 127);
    }

    void put_noise(byte_string &out, size_t size)
    {
        for (size_t i = 0; i < size; ++i)
            out.push_back(random_.byte());
    }

    bool fault() { return faults_ > 0 && random_.percent(3); }

    static constexpr uint8_t WIRE_TYPES[] = {0, 1, 2, 5};

    random_source &random_;
    unsigned faults_;
    size_t fields_left_;
};

std::ptrdiff_t place(const byte_string &bytes, random_source &random)
{
    return static_cast<std::ptrdiff_t>(random.below(bytes.size() + 1));
}

byte_string piece_of(const byte_string &bytes, random_source &random)
{
    const auto from = place(bytes, random);
    const auto left = bytes.size() - static_cast<size_t>(from);
    const auto size = static_cast<std::ptrdiff_t>(std::min(left, random.below(32)));
    return {bytes.begin() + from, bytes.begin() + from + size};
}

void insert_piece(byte_string &bytes, const byte_string &piece, random_source &random)
{
    bytes.insert(bytes.begin() + place(bytes, random), piece.begin(), piece.end());
}

void remove_piece(byte_string &bytes, random_source &random)
{
    const auto from = place(bytes, random);
    const auto left = bytes.size() - static_cast<size_t>(from);
    const auto size = static_cast<std::ptrdiff_t>(std::min(left, 1 + random.below(8)));
    bytes.erase(bytes.begin() + from, bytes.begin() + from + size);
}

void change_byte(byte_string &bytes, random_source &random)
{
    if (bytes.empty())
        return;
    uint8_t &byte = bytes[random.below(bytes.size())];
    byte = random.percent(50) ? random.byte() : byte ^ static_cast<uint8_t>(1u << random.below(8));
}

void splice(byte_string &bytes, const byte_string &other, random_source &random)
{
    const auto cut = place(bytes, random);
    const auto from = place(other, random);
    bytes.resize(static_cast<size_t>(cut));
    bytes.insert(bytes.end(), other.begin() + from, other.end());
}

void mutate_once(byte_string &bytes, const byte_string &other, random_source &random)
{
    switch (random.below(8)) {
    case 0:
        return bytes.resize(static_cast<size_t>(place(bytes, random)));
    case 1:
    case 2:
        return change_byte(bytes, random);
    case 3:
        return insert_piece(bytes, {random.byte()}, random);
    case 4:
        return remove_piece(bytes, random);
    case 5:
        return insert_piece(bytes, piece_of(bytes, random), random);
    case 6:
        return splice(bytes, other, random);
    default: // the same fields again
        bytes.insert(bytes.end(), other.begin(), other.end());
        return;
    }
}

} // namespace

byte_string random_fields(const message_descriptor &type, random_source &random)
{
    byte_string bytes;
    field_writer(random).write_message(type, bytes, 0);
    return bytes;
}

byte_string random_noise(random_source &random)
{
    byte_string bytes(random.below(40));
    std::generate(bytes.begin(), bytes.end(), [&random] { return random.byte(); });
    return bytes;
}

void mutate(byte_string &bytes, const byte_string &other, random_source &random)
{
    for (size_t times = 1 + random.below(3); times > 0; --times)
        mutate_once(bytes, other, random);
}
