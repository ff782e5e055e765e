// The table of the client's records against the list of all their bytes, and what is made from it.

#include "inspect/client_records.hpp"
#include "inspect/record_values.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

using namespace rib_inspect;

namespace
{

struct listed_member {
    size_t offset, size;
    std::string name;
};
using listed_record = std::vector<listed_member>;

// The records of tests/abi/records.txt without their padding, each ending in a row of its own size.
std::map<std::string, listed_record> listed_records()
{
    std::map<std::string, listed_record> records;
    std::ifstream file(ABI_RECORDS);
    listed_record *record = nullptr;
    for (std::string line; std::getline(file, line);) {
        const size_t colon = line.find(": ");
        if (!line.empty() && line[0] != ' ' && line[0] != '#') {
            record = &records[line.substr(0, colon)];
            record->push_back({std::stoul(line.substr(colon + 2)), 0, {}});
            continue;
        }
        std::istringstream row(line);
        listed_member member;
        if (row >> member.offset >> member.size >> member.name && member.name != "(padding)")
            record->insert(record->end() - 1, member);
    }
    return records;
}

// All types of record that lie in records or that their members point to, but for blocks without a name.
void add_types(std::map<std::string, const record_type *> &types, const record_type &type)
{
    if (!type.name.empty())
        types[std::string(type.name)] = &type;
    for (const record_member &member : type.members) {
        const record_type *inside = member.kind == member_kind::list ? member.element->type : member.type;
        if (inside != nullptr)
            add_types(types, *inside);
    }
}

std::map<std::string, const record_type *> all_types()
{
    std::map<std::string, const record_type *> types;
    for (const record_type *type : client_record_types())
        add_types(types, *type);
    return types;
}

// What the table says of a type, as the list has it. Both members of a union are that union.
listed_record as_listed(const record_type &type)
{
    listed_record members;
    std::set<size_t> unions;
    for (const record_member &member : type.members) {
        if (member.offset == type.size)
            continue; // behind the record
        if (member.only_when == 0)
            members.push_back({member.offset, member.size, std::string(member.name())});
        else if (unions.insert(member.offset).second)
            members.push_back({member.offset, member.size, "type_data"});
    }
    members.push_back({type.size, 0, {}});
    return members;
}

std::string text_of(const listed_record &members)
{
    std::ostringstream text;
    for (const listed_member &member : members)
        text << member.offset << ' ' << member.size << ' ' << member.name << '\n';
    return text.str();
}

size_t depth_of(const record_type &type)
{
    size_t deepest = 0;
    for (const record_member &member : type.members) {
        const record_type *inside = member.kind == member_kind::list ? member.element->type : member.type;
        deepest = std::max(deepest, 1 + (inside == nullptr ? 0 : depth_of(*inside)));
    }
    return deepest;
}

std::string content_of(const client_record &record)
{
    std::string text;
    for (const record_value &value : values_of(record)) {
        append_path(text, value.path);
        text += " = ";
        append_value(text, value);
        text += '\n';
    }
    return text;
}

} // namespace

TEST(client_records, each_byte_of_each_record_is_a_member_of_the_table_or_padding)
{
    const std::map<std::string, listed_record> listed = listed_records();
    const std::map<std::string, const record_type *> types = all_types();
    EXPECT_EQ(types.size(), 14u);
    for (const auto &[name, type] : types) {
        ASSERT_EQ(listed.count(name), 1u) << name;
        EXPECT_EQ(text_of(as_listed(*type)), text_of(listed.at(name))) << name;
    }
}

TEST(client_records, counts_and_families_are_members_of_the_same_record)
{
    for (const auto &[name, type] : all_types()) {
        for (const record_member &member : type->members) {
            if (member.extent.size == 0)
                continue;
            EXPECT_TRUE(std::ranges::any_of(type->members,
                                            [&](const record_member &other) {
                                                return other.kind == member_kind::number &&
                                                       other.offset == member.extent.offset &&
                                                       other.size == member.extent.size;
                                            }))
                << name << '.' << member.name();
        }
    }
}

TEST(client_records, no_record_is_deeper_than_a_path_has_steps)
{
    for (const record_type *type : client_record_types())
        EXPECT_LE(depth_of(*type), max_record_depth) << type->name;
}

TEST(client_records, values_have_the_names_and_the_order_of_their_members)
{
    rib_protoid_map map = {};
    map.proto_id = 7;
    map.proto_value = 0xffffffff;
    std::memset(map.proto_name, 'x', sizeof map.proto_name); // without a NUL
    map.proto_extra_name[0] = '"';
    EXPECT_EQ(content_of(view_of(map)), "proto_id = 7\n"
                                        "proto_sub_id = 0\n"
                                        "proto_value = 4294967295\n"
                                        "proto_name = \"" +
                                            std::string(41, 'x') +
                                            "\"\n"
                                            "proto_extra_name = \"\\\"\"\n");
}

TEST(client_records, a_block_is_its_bytes_and_never_its_pointer)
{
    uint8_t bytes[] = {0x0a, 0xff};
    rib_opaque_update opaque = {};
    opaque.first_len = 2;
    opaque.first_block = bytes;
    EXPECT_EQ(content_of(view_of(opaque)), "opaque_type = 0\n"
                                           "opaque_id = 0\n"
                                           "first_len = 2\n"
                                           "second_len = 0\n"
                                           "opaque_value = 0\n"
                                           "first_block = 0aff\n"
                                           "second_block = null\n");
}

TEST(client_records, a_block_is_not_read_beyond_the_payload)
{
    uint8_t bytes[] = {1, 2, 3};
    rib_opaque_update opaque = {};
    opaque.first_len = 0xfffffff0;
    opaque.first_block = bytes + 1;
    opaque.second_len = 4;
    opaque.second_block = bytes + 3;
    const std::string content = content_of(view_of(opaque, bytes + 3));
    EXPECT_NE(content.find("first_block = 0203\nsecond_block = \n"), std::string::npos) << content;
}

TEST(client_records, a_route_has_its_paths_with_what_lies_behind_them)
{
    const uint8_t message[] = {
        0xd2, 0x01, 0x0d,       // 26 paths[0], 13 bytes
        0x48, 0x10, 0x48, 0x11, //   9 path_values_9 = 16, 17
        0x50, 0x09,             //   10 path_value_10 = 9
        0xd2, 0x01, 0x04,       //   26 ecomm, 4 bytes
        0x10, 0x07, 0x10, 0x08, //     2 ecomm_values = 7, 8
    };
    struct rib_routetype_ *route = nullptr;
    ASSERT_EQ(rib_lib_route_decode(message, sizeof message, &route), ZERRNO_OK);
    const std::string content = content_of(view_of(*route));
    std::free(route);
    for (const char *line :
         {"\nrt_path_count = 1\n", "\nrt_advertisement = null\n", "\nrt_first_ecomm.pe_ecomm_values[1] = 8\n",
          "\nrt_attr_blocks[5] = null\n", "\npaths[0].pe_labels[1] = 17\n", "\npaths[0].pe_labels[9] = 0\n",
          "\npaths[0].pe_value_10 = 9\n", "\npaths[0].pe_ecomm_values[0] = 7\n"})
        EXPECT_NE(content.find(line), std::string::npos) << line << content;
}

TEST(client_records, differences_name_what_changed_what_came_and_what_went)
{
    uint64_t ids[] = {1, 2};
    std::vector<rib_encap_id_path_key_t> keys(2);
    keys[0].key_type = 1;
    keys[0].type_data.label.label_count = 2;
    keys[0].type_data.label.labels[1] = 16;
    grid_sync_list list = {ids, keys.data(), 1, 0};
    const std::vector<record_value> before = values_of(view_of(list));
    EXPECT_TRUE(differences(before, values_of(view_of(list))).empty());

    ids[0] = 9;
    keys[0].type_data.label.label_count = 1;
    list.count = 2;
    const std::vector<record_value> after = values_of(view_of(list));
    std::string text;
    size_t of_second_key = 0;
    for (const record_difference &each : differences(before, after)) {
        if (to_string(each.path()).starts_with("keys[1].")) {
            ++of_second_key;
            EXPECT_EQ(each.before, nullptr);
            continue;
        }
        append_path(text, each.path());
        text += each.before == nullptr ? " came\n" : each.after == nullptr ? " went\n" : " changed\n";
    }
    EXPECT_EQ(text, "encap_ids[0] changed\n"
                    "encap_ids[1] came\n"
                    "keys[0].label.label_count changed\n"
                    "keys[0].label.labels[1] went\n"
                    "count changed\n");
    EXPECT_GT(of_second_key, 15u);
}
