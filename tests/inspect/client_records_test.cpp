// The table of the client's records against the list of all their bytes, and what is made from it.

#include "inspect/records/client_records.hpp"
#include "inspect/records/record_json.hpp"

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

std::string json_of(const client_record &record)
{
    std::string text;
    append_json(text, record);
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

TEST(client_records, an_array_of_characters_ends_where_it_ends)
{
    rib_protoid_map map = {};
    map.proto_id = 7;
    map.proto_value = 0xffffffff;
    std::memset(map.proto_name, 'x', sizeof map.proto_name); // without a NUL
    map.proto_extra_name[0] = '"';
    EXPECT_EQ(json_of(view_of(map)), "{\"proto_id\":7,\"proto_sub_id\":0,\"proto_value\":4294967295,\"proto_name\":\"" +
                                         std::string(41, 'x') + "\",\"proto_extra_name\":\"\\\"\"}");
}

TEST(client_records, records_may_lie_at_any_address)
{
    std::vector<uint8_t> bytes(1 + sizeof(nhid_update_local));
    nhid_update_local update = {};
    update.address_family = RIB_FAMILY_IPV6;
    update.address[15] = 9;
    update.nhid = RIB_NO_NHID;
    std::memcpy(bytes.data() + 1, &update, sizeof update);
    EXPECT_EQ(json_of({&NHID_UPDATE, bytes.data() + 1}),
              R"({"address_family":2,"address":"::9","key_value_3":0,"key_value_1":0,"key_value_4":0,)"
              R"("nhid":"18446744073709551614","update_value_1":0})");
}

TEST(client_records, a_block_is_not_read_beyond_the_payload)
{
    uint8_t bytes[] = {1, 2, 3};
    rib_opaque_update opaque = {};
    opaque.first_len = 0xfffffff0;
    opaque.first_block = bytes + 1;
    opaque.second_len = 4;
    opaque.second_block = bytes + 3;
    EXPECT_EQ(json_of(view_of(opaque, bytes + 3)),
              R"({"opaque_type":0,"opaque_id":0,"first_len":4294967280,"second_len":4,"opaque_value":0,)"
              R"("first_block":"0203","second_block":""})");
}

TEST(client_records, a_count_beyond_its_array_is_not_followed)
{
    std::vector<rib_encap_id_path_key_t> keys(1);
    keys[0].key_type = 2;
    keys[0].key_extra_prefix_count = 200;
    keys[0].type_data.srv6.carrier_count = 255;
    uint64_t id = 1;
    const std::string json = json_of(view_of(grid_sync_list{&id, keys.data(), 1, 0}));
    const auto count = [&](std::string_view member) {
        size_t found = 0;
        for (size_t at = 0; (at = json.find(member, at)) != std::string::npos; ++at)
            ++found;
        return found;
    };
    EXPECT_EQ(count("\"carrier_value_1\""), size_t{GRID_MAX_CARRIERS});
    EXPECT_EQ(count("\"prefix_len\""), size_t{2 + GRID_MAX_EXTRA_PREFIXES});
}
