// The accessors and members that the public headers offer, against the hand-typed field table.

#include "tests/messages/field_kinds.hpp"

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

} // namespace
