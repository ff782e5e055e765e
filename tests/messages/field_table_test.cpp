// The generated descriptors against the hand-typed field table, both ways.

#include "messages/descriptors.hpp"
#include "messages/rib_common.h"
#include "tests/messages/field_table.hpp"

#include <cstddef>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace
{

using field_table::message_row;

std::string kind_name(const zidl::field_descriptor &field)
{
    const std::string repeated = field.repeated ? "repeated " : "";
    switch (field.type) {
    case zidl::kind::u8:
        return repeated + "uint8";
    case zidl::kind::u32:
        return repeated + "uint32";
    case zidl::kind::u64:
        return repeated + "uint64";
    case zidl::kind::sint64:
        return repeated + "sint64";
    case zidl::kind::boolean:
        return repeated + "bool";
    case zidl::kind::fixed32:
        return repeated + "fixed32";
    case zidl::kind::string:
        return repeated + "string";
    case zidl::kind::bytes:
        return repeated + "bytes";
    case zidl::kind::message:
        return repeated + "message " + field.message->name;
    }
    return "a kind that does not exist";
}

uint32_t wire_type(zidl::kind type)
{
    switch (type) {
    case zidl::kind::string:
    case zidl::kind::bytes:
    case zidl::kind::message:
        return 2;
    case zidl::kind::fixed32:
        return 5;
    case zidl::kind::u8:
    case zidl::kind::u32:
    case zidl::kind::u64:
    case zidl::kind::sint64:
    case zidl::kind::boolean:
        return 0;
    }
    return 7;
}

TEST(field_table, lists_76_messages)
{
    EXPECT_EQ(field_table::messages().size(), 76u);
}

TEST(field_table, lists_376_fields)
{
    size_t rows = 0;
    for (const message_row &message : field_table::messages())
        rows += message.fields.size();
    EXPECT_EQ(rows, 376u);
}

TEST(field_table, every_row_stands_below_its_message)
{
    for (const message_row &message : field_table::messages())
        for (const field_table::field_row &row : message.fields)
            EXPECT_EQ(row.message, message.name) << row.member;
}

TEST(field_table, every_listed_message_exists_in_its_group)
{
    for (const message_row &message : field_table::messages()) {
        const zidl::message_descriptor *found = zidl::find_message(message.name.c_str());
        ASSERT_NE(found, nullptr) << message.name;
        EXPECT_EQ(found->name, message.name);
        EXPECT_EQ(found->group, message.group) << message.name;
    }
}

TEST(field_table, no_message_exists_beside_the_listed_ones)
{
    std::set<std::string> listed;
    for (const message_row &message : field_table::messages())
        listed.insert(message.name);
    ASSERT_EQ(zidl::message_count, listed.size());
    for (size_t i = 0; i < zidl::message_count; i++)
        EXPECT_EQ(listed.erase(zidl::all_messages[i]->name), 1u) << zidl::all_messages[i]->name;
}

TEST(field_table, no_name_outside_the_table_is_found)
{
    EXPECT_EQ(zidl::find_message("rib_"), nullptr);
    EXPECT_EQ(zidl::find_message("rib_paths"), nullptr);
}

TEST(field_table, every_message_has_exactly_the_listed_fields_in_the_listed_order)
{
    for (const message_row &message : field_table::messages()) {
        const zidl::message_descriptor *found = zidl::find_message(message.name.c_str());
        ASSERT_NE(found, nullptr) << message.name;
        ASSERT_EQ(found->field_count, message.fields.size()) << message.name;
        for (size_t i = 0; i < message.fields.size(); i++) {
            const field_table::field_row &row = message.fields[i];
            const zidl::field_descriptor &field = found->fields[i];
            SCOPED_TRACE(message.name + " field " + std::to_string(row.number));
            EXPECT_EQ(field.number, row.number);
            EXPECT_EQ(field.member, row.member);
            EXPECT_EQ(kind_name(field), row.kind);
            EXPECT_EQ(wire_type(field.type), row.wire_type);
            EXPECT_EQ(field.bit, row.bit);
        }
    }
}

TEST(field_table, only_message_fields_have_a_nested_type)
{
    for (const message_row &message : field_table::messages()) {
        const zidl::message_descriptor *found = zidl::find_message(message.name.c_str());
        ASSERT_NE(found, nullptr) << message.name;
        for (uint32_t i = 0; i < found->field_count; i++)
            EXPECT_EQ(found->fields[i].message != nullptr, found->fields[i].type == zidl::kind::message)
                << message.name << "." << found->fields[i].member;
    }
}

TEST(field_table, every_presence_member_has_the_listed_width)
{
    for (const message_row &message : field_table::messages()) {
        const zidl::message_descriptor *found = zidl::find_message(message.name.c_str());
        ASSERT_NE(found, nullptr) << message.name;
        EXPECT_EQ(found->presence_size * 8, message.presence_bits) << message.name;
    }
}

TEST(field_table, members_stand_in_the_records_in_the_listed_order_and_the_presence_member_is_last)
{
    for (const message_row &message : field_table::messages()) {
        const zidl::message_descriptor *found = zidl::find_message(message.name.c_str());
        ASSERT_NE(found, nullptr) << message.name;
        ASSERT_EQ(found->field_count, message.fields.size()) << message.name;
        for (uint32_t i = 1; i < found->field_count; i++)
            EXPECT_LT(found->fields[i - 1].offset, found->fields[i].offset)
                << message.name << "." << found->fields[i].member;
        EXPECT_EQ(found->fields[0].offset, 0u) << message.name;
        EXPECT_GT(found->presence_offset, found->fields[found->field_count - 1].offset) << message.name;
        EXPECT_LE(found->presence_offset + found->presence_size, found->size) << message.name;
    }
}

TEST(field_table, counts_and_sizes_stand_right_behind_their_pointers)
{
    for (const message_row &message : field_table::messages()) {
        const zidl::message_descriptor *found = zidl::find_message(message.name.c_str());
        ASSERT_NE(found, nullptr) << message.name;
        for (uint32_t i = 0; i < found->field_count; i++) {
            const zidl::field_descriptor &field = found->fields[i];
            const bool has_extent = field.repeated || field.type == zidl::kind::bytes;
            EXPECT_EQ(field.extent_offset, has_extent ? field.offset + 8 : 0u) << message.name << "." << field.member;
        }
    }
}

// The one count that is not named after its member.
TEST(field_table, the_extended_communities_are_counted_by_ecomm_count)
{
    const zidl::message_descriptor *found = zidl::find_message("rib_ecomm_array");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->fields[1].extent_offset, offsetof(zidl_rib_ecomm_array, ecomm_count));
}

} // namespace
