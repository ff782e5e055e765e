// What every release does alike: which blocks go back, in which order, and what the record holds afterwards.

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_iid_lss_ctx);
RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(ip_rib_proto_update);
RIB_TEST_CODEC(ip_rib_srv6_locator);
RIB_TEST_CODEC(ip_rib_srv6_sid_ctx);
RIB_TEST_CODEC(ip_rib_srv6_x_ctx);
RIB_TEST_CODEC(rib_client_advertisement);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6);
RIB_TEST_CODEC(rib_generic_attr_array);
RIB_TEST_CODEC(rib_route);

const bytes two_names = {
    0x08, 0x07,           // 1 proto_id = 7
    0x22, 0x01, 'a',      // 4 proto_name
    0x2A, 0x02, 'b', 'c', // 5 proto_extra_name
};

const bytes two_blocks = {
    0x2A, 0x02, 0xF1, 0xF2, // 5 first_block
    0x32, 0x01, 0x51,       // 6 second_block
};

const bytes three_entries = {
    0x12, 0x01, 0xA1, // 2 entries[0]
    0x12, 0x00,       // 2 entries[1], empty
    0x12, 0x01, 0xC1, // 2 entries[2]
};

const bytes two_attrs = {
    0x12, 0x03, 0x12, 0x01, 0xD1, // 2 attrs[0]: attr_data
    0x12, 0x03, 0x12, 0x01, 0xD2, // 2 attrs[1]: attr_data
};

TEST(contract_release, strings_go_back_and_become_null)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, two_names, mem), ZIDL_OK);
    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(msg.proto_extra_name, nullptr);
}

TEST(contract_release, strings_go_back_whatever_the_flags_say)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, two_names, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    release<ip_rib_proto_update>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

TEST(contract_release, scalars_and_presence_bits_stay)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, two_names, mem), ZIDL_OK);
    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(msg.proto_id, 7u);
    EXPECT_EQ(msg.presence, 0x19); // proto_id, proto_name, proto_extra_name
}

TEST(contract_release, string_goes_back_though_its_bit_is_clear)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, two_names, mem), ZIDL_OK);
    msg.presence = 0;
    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

TEST(contract_release, bytes_go_back_and_keep_their_length)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, two_blocks, mem), ZIDL_OK);
    release<ip_rib_opaque>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
    EXPECT_EQ(msg.first_block, nullptr);
    EXPECT_EQ(msg.first_block_size, 2u);
    EXPECT_EQ(msg.second_block, nullptr);
    EXPECT_EQ(msg.second_block_size, 1u);
}

TEST(contract_release, bytes_of_length_zero_go_back_too)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x00}, mem), ZIDL_OK);
    release<ip_rib_opaque>(msg, mem);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(msg.first_block, nullptr);
}

TEST(contract_release, borrowed_bytes_are_left_alone)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, two_blocks, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    release<ip_rib_opaque>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes{});
    EXPECT_EQ(msg.first_block, two_blocks.data() + 2);
    EXPECT_EQ(msg.first_block_size, 2u);
    EXPECT_EQ(msg.second_block, two_blocks.data() + 6);
}

TEST(contract_release, other_flags_than_zero_copy_are_ignored)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, two_blocks, mem), ZIDL_OK);
    release<ip_rib_opaque>(msg, mem, 0xFFFFFFFE);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

TEST(contract_release, array_of_integers_goes_back_and_keeps_its_count)
{
    memory mem;
    zidl_rib_client_advertisement msg = {};
    EXPECT_EQ(decode<rib_client_advertisement>(msg, {0x08, 0x01, 0x08, 0x02}, mem), ZIDL_OK);
    release<rib_client_advertisement>(msg, mem);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(msg.advertised_values, nullptr);
    EXPECT_EQ(msg.advertised_values_count, 2u);
    EXPECT_EQ(msg.presence, 0x01); // advertised_values
}

TEST(contract_release, array_of_8_bit_integers_keeps_its_count)
{
    memory mem;
    zidl_ip_rib_srv6_sid_ctx msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, {0x10, 0x01, 0x10, 0x02}, mem), ZIDL_OK);
    release<ip_rib_srv6_sid_ctx>(msg, mem);
    EXPECT_EQ(msg.values_2, nullptr);
    EXPECT_EQ(msg.values_2_count, 2u);
}

TEST(contract_release, array_of_integers_goes_back_whatever_the_flags_say)
{
    memory mem;
    zidl_rib_client_advertisement msg = {};
    EXPECT_EQ(decode<rib_client_advertisement>(msg, {0x08, 0x01}, mem), ZIDL_OK);
    release<rib_client_advertisement>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes{0});
}

TEST(contract_release, elements_of_repeated_bytes_go_back_before_their_array)
{
    memory mem;
    zidl_rib_encap_id_path_key_srv6 msg = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, three_entries, mem), ZIDL_OK);
    release<rib_encap_id_path_key_srv6>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 2, 3, 0}));
    EXPECT_EQ(msg.entries, nullptr);
    EXPECT_EQ(msg.entries_count, 0u);
}

TEST(contract_release, borrowed_elements_of_repeated_bytes_are_left_alone_and_their_array_goes_back)
{
    memory mem;
    zidl_rib_encap_id_path_key_srv6 msg = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, three_entries, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    release<rib_encap_id_path_key_srv6>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(msg.entries, nullptr);
    EXPECT_EQ(msg.entries_count, 0u);
}

TEST(contract_release, null_elements_of_repeated_bytes_are_passed_over)
{
    memory mem(1); // the first element's block
    zidl_rib_encap_id_path_key_srv6 msg = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, three_entries, mem), ZIDL_ERR_NO_MEMORY);
    release<rib_encap_id_path_key_srv6>(msg, mem);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(msg.entries_count, 0u);
}

TEST(contract_release, what_message_elements_own_goes_back_before_their_array)
{
    memory mem;
    zidl_rib_generic_attr_array msg = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, two_attrs, mem), ZIDL_OK);
    release<rib_generic_attr_array>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 2, 0}));
    EXPECT_EQ(msg.attrs, nullptr);
    EXPECT_EQ(msg.attrs_count, 0u);
    EXPECT_EQ(msg.presence, 0x02); // attrs
}

TEST(contract_release, flags_reach_the_message_elements)
{
    memory mem;
    zidl_rib_generic_attr_array msg = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, two_attrs, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    release<rib_generic_attr_array>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(msg.attrs, nullptr);
}

TEST(contract_release, flags_reach_nested_records)
{
    const bytes input = {
        0x22, 0x03, 0x0A, 0x01, 0xF1, // 4 context_prefix: prefix
        0x2A, 0x01, 'n',              // 5 name_5
    };
    memory mem;
    zidl_ip_rib_srv6_x_ctx msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    release<ip_rib_srv6_x_ctx>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes{0}); // name_5
    EXPECT_EQ(msg.context_prefix.prefix, input.data() + 4);
}

TEST(contract_release, members_go_back_in_declaration_order_whatever_the_order_of_the_input)
{
    const bytes input = {
        0x62, 0x05, 0x1A, 0x03, 0x0A, 0x01, 0xF3, // 12 sids[0]: sid: prefix          requests 0 and 1
        0x1A, 0x03, 0x0A, 0x01, 0xF2,             // 3 second_prefix: prefix          request 2
        0x12, 0x03, 0x0A, 0x01, 0xF1,             // 2 locator_prefix: prefix         request 3
        0x0A, 0x01, 'n',                          // 1 name                           request 4
    };
    memory mem;
    zidl_ip_rib_srv6_locator msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_locator>(msg, input, mem), ZIDL_OK);
    release<ip_rib_srv6_locator>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{
                                4, // name
                                3, // locator_prefix
                                2, // second_prefix
                                1, // sids[0].sid
                                0, // sids
                            }));
}

TEST(contract_release, embedded_records_go_back_in_their_place_among_the_members)
{
    // The nested prefix is declared between the flag and the names.
    const bytes input = {
        0x32, 0x01, 'm',              // 6 name_6                 request 0
        0x2A, 0x01, 'n',              // 5 name_5                 request 1
        0x22, 0x03, 0x0A, 0x01, 0xF1, // 4 context_prefix: prefix request 2
    };
    memory mem;
    zidl_ip_rib_srv6_x_ctx msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(msg, input, mem), ZIDL_OK);
    release<ip_rib_srv6_x_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{
                                2, // context_prefix
                                1, // name_5
                                0, // name_6
                            }));
}

TEST(contract_release, bytes_go_back_before_an_array_that_is_declared_later)
{
    const bytes input = {
        0x32, 0x03, 0x0A, 0x01, 0xF1, // 6 lss_prefixes[0]: prefix  requests 0 and 1
        0x32, 0x03, 0x0A, 0x01, 0xF2, // 6 lss_prefixes[1]: prefix  request 2
        0x2A, 0x01, 0xF3,             // 5 lss_bytes                request 3
    };
    memory mem;
    zidl_ip_rib_iid_lss_ctx msg = {};
    EXPECT_EQ(decode<ip_rib_iid_lss_ctx>(msg, input, mem), ZIDL_OK);
    release<ip_rib_iid_lss_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{3, 1, 2, 0}));
}

TEST(contract_release, second_release_does_nothing)
{
    const bytes input = {
        0x8A, 0x01, 0x00,                               // 17 algo_labels[0]
        0xD2, 0x01, 0x02, 0x48, 0x0A,                   // 26 paths[0]: path_values_9[0] = 10
        0xDA, 0x01, 0x02, 0x08, 0x0E,                   // 27 client_advertisement: advertised_values[0] = 14
        0xE2, 0x01, 0x05, 0x12, 0x03, 0x12, 0x01, 0xD1, // 28 addr_generic_attrs: attrs[0]: attr_data
    };
    memory mem;
    zidl_rib_route msg = {};
    EXPECT_EQ(decode<rib_route>(msg, input, mem), ZIDL_OK);
    release<rib_route>(msg, mem);
    EXPECT_EQ(mem.releases.size(), 6u);
    release<rib_route>(msg, mem);
    EXPECT_EQ(mem.releases.size(), 6u);
}

TEST(contract_release, null_array_leaves_its_count_alone)
{
    memory mem;
    zidl_rib_route msg = {};
    msg.algo_labels_count = 3;
    msg.paths_count = 4;
    msg.client_advertisement.advertised_values_count = 5;
    msg.generic_attrs_29.attrs_count = 6;
    release<rib_route>(msg, mem);
    EXPECT_EQ(msg.algo_labels_count, 3u);
    EXPECT_EQ(msg.paths_count, 4u);
    EXPECT_EQ(msg.client_advertisement.advertised_values_count, 5u);
    EXPECT_EQ(msg.generic_attrs_29.attrs_count, 6u);
    EXPECT_EQ(mem.releases, sizes{});
}

TEST(contract_release, null_array_of_bytes_leaves_its_count_alone)
{
    memory mem;
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.entries_count = 3;
    release<rib_encap_id_path_key_srv6>(msg, mem);
    EXPECT_EQ(msg.entries_count, 3u);
}

TEST(contract_release, empty_record_needs_no_release_function)
{
    zidl_rib_route msg = {};
    zidl_rib_route_free_ext(&msg, nullptr, nullptr, 0);
    EXPECT_EQ(msg.presence, 0u);
}

TEST(contract_release, type_that_owns_nothing_releases_nothing)
{
    zidl_rib_prefix msg;
    std::memset(&msg, 0xA5, sizeof msg);
    zidl_rib_prefix_free_ext(&msg, nullptr, nullptr, 0);
    const uint8_t *record = reinterpret_cast<const uint8_t *>(&msg);
    EXPECT_EQ(bytes(record, record + sizeof msg), bytes(sizeof msg, 0xA5));
}

TEST(contract_release, record_left_by_a_failed_decode_is_released_whole)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 proto_name
        0x22, 0x01, 'b', // 4 proto_name, again
    };
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_ERR_MALFORMED);
    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(mem.releases, sizes{0});
}

} // namespace
