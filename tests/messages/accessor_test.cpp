// The accessors and members that the public headers offer, against the hand-typed field table.

#include "tests/messages/field_kinds.hpp"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <type_traits>

namespace
{

using namespace field_table::kinds;

#define MESSAGE(group, message, width)                                                                                 \
    static_assert(sizeof(zidl_##message::presence) * 8 == width, #message);                                            \
    static_assert(std::is_unsigned_v<decltype(zidl_##message::presence)>, #message);
#define SCALAR(message, number, wire_type, member, kind, bit)                                                          \
    static_assert(std::is_same_v<decltype(zidl_##message::member), kind::in_record>, #message "." #member);
#define COMPOUND SCALAR
#include "tests/messages/field_table.def"

template <class Record>
void expect_one_bit(bool (*has)(const Record *), unsigned bit, const char *field)
{
    for (unsigned other = 0; other < 8 * sizeof(Record::presence); other++) {
        Record msg = {};
        msg.presence = static_cast<decltype(msg.presence)>(uint64_t{1} << other);
        EXPECT_EQ(has(&msg), other == bit) << field << ", presence bit " << other;
    }
}

TEST(accessors, has_tells_the_bit_of_its_field_alone)
{
#define SCALAR(message, number, wire_type, member, kind, bit)                                                          \
    expect_one_bit(zidl_##message##_has_##member, bit, #message "." #member);
#define COMPOUND SCALAR
#include "tests/messages/field_table.def"
}

TEST(accessors, set_stores_the_value_and_its_bit_and_no_other){
#define SCALAR(message, number, wire_type, member, kind, bit)                                                          \
    {                                                                                                                  \
        zidl_##message msg = {};                                                                                       \
        zidl_##message##_set_##member(&msg, 1);                                                                        \
        EXPECT_EQ(msg.member, 1u) << #message "." #member;                                                             \
        EXPECT_EQ(msg.presence, uint64_t{1} << bit) << #message "." #member;                                           \
        zidl_##message expected = {};                                                                                  \
        expected.member = 1;                                                                                           \
        expected.presence = msg.presence;                                                                              \
        EXPECT_EQ(std::memcmp(&msg, &expected, sizeof msg), 0) << #message "." #member;                                \
    }
#include "tests/messages/field_table.def"
}

TEST(accessors, set_keeps_the_other_bits){
#define SCALAR(message, number, wire_type, member, kind, bit)                                                          \
    {                                                                                                                  \
        zidl_##message msg = {};                                                                                       \
        msg.presence = static_cast<decltype(msg.presence)>(~(uint64_t{1} << bit));                                     \
        zidl_##message##_set_##member(&msg, 0);                                                                        \
        EXPECT_EQ(msg.presence, static_cast<decltype(msg.presence)>(~uint64_t{0})) << #message "." #member;            \
    }
#include "tests/messages/field_table.def"
}

TEST(accessors, mark_sets_the_bit_of_its_field_and_no_other){
#define COMPOUND(message, number, wire_type, member, kind, bit)                                                        \
    {                                                                                                                  \
        zidl_##message msg = {};                                                                                       \
        zidl_##message##_mark_##member(&msg);                                                                          \
        zidl_##message expected = {};                                                                                  \
        expected.presence = static_cast<decltype(msg.presence)>(uint64_t{1} << bit);                                   \
        EXPECT_EQ(std::memcmp(&msg, &expected, sizeof msg), 0) << #message "." #member;                                \
    }
#include "tests/messages/field_table.def"
}

TEST(accessors, mark_keeps_the_other_bits)
{
#define COMPOUND(message, number, wire_type, member, kind, bit)                                                        \
    {                                                                                                                  \
        zidl_##message msg = {};                                                                                       \
        msg.presence = static_cast<decltype(msg.presence)>(~(uint64_t{1} << bit));                                     \
        zidl_##message##_mark_##member(&msg);                                                                          \
        EXPECT_EQ(msg.presence, static_cast<decltype(msg.presence)>(~uint64_t{0})) << #message "." #member;            \
    }
#include "tests/messages/field_table.def"
}

// The bytes of the count behind an array's pointer, or of the size behind that of bytes.
template <class Kind>
struct count_of {
    using type = void;
    static constexpr size_t bytes = 0;
};
template <>
struct count_of<bytes> {
    using type = uint64_t;
    static constexpr size_t bytes = sizeof(type);
};
template <class Kind>
struct count_of<repeated<Kind>> {
    using type = uint32_t;
    static constexpr size_t bytes = sizeof(type);
};

template <class Record>
void set_presence(Record &msg, uint64_t bits)
{
    msg.presence = static_cast<decltype(msg.presence)>(bits);
}

alignas(8) const uint8_t not_writable[8] = {};

// Embedded messages have no setter: nothing is called for them.
template <class Record, class Kind, class Setter>
void expect_pointer_set(Setter set, size_t offset, unsigned bit, const char *field)
{
    using member = typename Kind::in_record;
    using count = typename count_of<Kind>::type;
    if constexpr (std::is_pointer_v<member>) {
        const auto *value = reinterpret_cast<const std::remove_pointer_t<member> *>(not_writable);
        Record msg = {};
        Record expected = {};
        set_presence(msg, ~(uint64_t{1} << bit));
        set_presence(expected, ~uint64_t{0});
        std::memcpy(reinterpret_cast<uint8_t *>(&expected) + offset, &value, sizeof value);
        if constexpr (std::is_void_v<count>) {
            set(&msg, value);
        } else {
            const count elements = 7;
            set(&msg, value, elements);
            std::memcpy(reinterpret_cast<uint8_t *>(&expected) + offset + sizeof value, &elements, sizeof elements);
        }
        EXPECT_EQ(std::memcmp(&msg, &expected, sizeof msg), 0) << field;
    }
}

TEST(accessors, set_stores_pointer_and_count_and_the_bit_and_nothing_else)
{
#define COMPOUND(message, number, wire_type, member, kind, bit)                                                        \
    expect_pointer_set<zidl_##message, kind>(                                                                          \
        [](auto *msg, auto... value) { zidl_##message##_set_##member(msg, value...); },                                \
        offsetof(zidl_##message, member), bit, #message "." #member);
#include "tests/messages/field_table.def"
}

// Of a record whose bytes are all ones, those of the member and its count become 0, and its bit.
template <class Record, class Kind>
void expect_cleared(void (*clear)(Record *), size_t offset, unsigned bit, const char *field)
{
    Record msg;
    std::memset(&msg, 0xff, sizeof msg);
    Record expected = msg;
    set_presence(expected, ~(uint64_t{1} << bit));
    std::memset(reinterpret_cast<uint8_t *>(&expected) + offset, 0,
                sizeof(typename Kind::in_record) + count_of<Kind>::bytes);
    clear(&msg);
    EXPECT_EQ(std::memcmp(&msg, &expected, sizeof msg), 0) << field;
}

TEST(accessors, clear_takes_away_the_member_its_count_and_its_bit_and_nothing_else)
{
#define SCALAR(message, number, wire_type, member, kind, bit)                                                          \
    expect_cleared<zidl_##message, kind>(zidl_##message##_clear_##member, offsetof(zidl_##message, member), bit,       \
                                         #message "." #member);
#define COMPOUND SCALAR
#include "tests/messages/field_table.def"
}

} // namespace
