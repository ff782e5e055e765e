// The JSON lines of updates written by hand, to the letter.

#include "tests/ribtool/run_ribtool.hpp"

namespace ribtool_test
{

class replay_records : public tool_test
{
protected:
    // The lines for one update, stripped and framed.
    lines both_forms(uint16_t code, const bytes &payload) const
    {
        const run_result result = ribtool({"replay", write("stream", frame(code, payload)), "--both"});
        EXPECT_EQ(result.exit_code, 0) << result.err;
        return result.out_lines();
    }

    // The record alone.
    std::string record_of(uint16_t code, const bytes &payload, const lines &options) const
    {
        lines arguments = {"replay", write("stream", frame(code, payload))};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const run_result result = ribtool(arguments);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        const std::string before = "\"record\":";
        const size_t begin = result.out.find(before) + before.size();
        return result.out.substr(begin, result.out.rfind("}\n") - begin);
    }

    std::string compact(uint16_t code, const bytes &payload) const { return record_of(code, payload, {"--compact"}); }

    std::string fields_of(const bytes &route, const std::string &names,
                          const std::string &option = "--unstripped") const
    {
        return record_of(51, route, {"--fields", names, option});
    }

    static lines expected_lines(uint16_t code, const std::string &rest)
    {
        const std::string start = R"({"frame":1,"type":)" + std::to_string(code) + R"(,"form":")";
        return {start + "unstripped\"," + rest, start + "stripped\"," + rest};
    }
};

TEST_F(replay_records, a_protocol_update_shows_its_map)
{
    const bytes payload = {
        0x08, 0x81, 0x80, 0x04,            // 1 proto_id = 65537, of which the client gets 1
        0x10, 0x02,                        // 2 proto_sub_id = 2
        0x18, 0x83, 0x01,                  // 3 proto_value = 131
        0x22, 0x04, 'o',  's',  'p',  'f', // 4 proto_name
        0x2a, 0x03, '"',  0xc3, 0x28,      // 5 proto_extra_name: a quote, and a byte that is no UTF-8
    };
    EXPECT_EQ(both_forms(47, payload),
              expected_lines(47, "\"update_id\":1,\"record\":{\"proto_id\":1,\"proto_sub_id\":2,\"proto_value\":131,"
                                 "\"proto_name\":\"ospf\",\"proto_extra_name\":\"\\\"\xef\xbf\xbd(\"}}"));
}

TEST_F(replay_records, a_long_name_shows_where_it_runs_on)
{
    bytes payload = {0x08, 0x07, 0x22, 50}; // 1 proto_id = 7, 4 proto_name of 50 characters
    for (int index = 0; index < 50; ++index)
        payload.push_back(static_cast<uint8_t>('0' + index % 10));
    EXPECT_EQ(both_forms(47, payload),
              expected_lines(47, R"("update_id":1,"record":{"proto_id":7,"proto_sub_id":0,"proto_value":0,)"
                                 R"("proto_name":"01234567890123456789012345678901234567890",)"
                                 R"("proto_extra_name":"123456789"}})"));
}

TEST_F(replay_records, an_older_protocol_update_shows_its_map)
{
    bytes payload = {
        0x01, 0x02,             // identifier
        0x03, 0x04,             // second identifier
        0x05, 0x06, 0x07, 0x08, // value
        'b',  'g',  'p',        // name
    };
    payload.resize(8 + 41);
    payload.push_back('x'); // extra name
    payload.resize(92);
    EXPECT_EQ(both_forms(38, payload),
              expected_lines(38, R"("update_id":1,"record":{"proto_id":258,"proto_sub_id":772,"proto_value":84281096,)"
                                 R"("proto_name":"bgp","proto_extra_name":"x"}})"));
}

TEST_F(replay_records, an_opaque_update_shows_its_blocks)
{
    const bytes payload = {
        0x08, 0x05,             // 1 opaque_type = 5
        0x10, 0x06,             // 2 opaque_id = 6
        0x18, 0x07,             // 3 opaque_sub_id = 7
        0x20, 0x08,             // 4 opaque_value = 8
        0x2a, 0x02, 0x0a, 0xff, // 5 first_block
        0x32, 0x00,             // 6 second_block, empty
    };
    EXPECT_EQ(both_forms(50, payload),
              expected_lines(50, R"("update_id":1,"sub_id":7,"record":{"opaque_type":5,"opaque_id":6,"first_len":2,)"
                                 R"("second_len":0,"opaque_value":8,"first_block":"0aff","second_block":""}})"));
}

TEST_F(replay_records, an_opaque_update_without_blocks_shows_null)
{
    EXPECT_EQ(both_forms(50, {}),
              expected_lines(50, R"("update_id":1,"sub_id":0,"record":{"opaque_type":0,"opaque_id":0,"first_len":0,)"
                                 R"("second_len":0,"opaque_value":0,"first_block":null,"second_block":null}})"));
}

TEST_F(replay_records, an_older_opaque_update_shows_its_blocks)
{
    const bytes payload = {
        0x00, 0x05,             // type
        0xff, 0xff,             // not used
        0x00, 0x00, 0x01, 0x00, // identifier
        0x00, 0x02,             // length of the first block
        0x00, 0x09,             // sub-identifier
        0x00, 0x00, 0x00, 0x08, // value
        0x00, 0x00, 0x00, 0x01, // length of the second block
        0xff, 0xff, 0xff, 0xff, // not used
        0xaa, 0xbb,             // first block
        0xcc,                   // second block
    };
    EXPECT_EQ(both_forms(37, payload),
              expected_lines(37, R"("update_id":1,"sub_id":9,"record":{"opaque_type":5,"opaque_id":256,"first_len":2,)"
                                 R"("second_len":1,"opaque_value":8,"first_block":"aabb","second_block":"cc"}})"));
}

TEST_F(replay_records, block_lengths_that_wrap_are_shown_but_never_read_beyond_the_payload)
{
    bytes payload(24 + 8, 0xee);
    const bytes fixed = {
        0,    0,                // type
        0,    0,                // not used
        0,    0,    0,    0,    // identifier
        0,    4,                // length of the first block
        0,    0,                // sub-identifier
        0,    0,    0,    0,    // value
        0xff, 0xff, 0xff, 0xfd, // length of the second block: with the first it wraps to 1
        0,    0,    0,    0,    // not used
    };
    std::copy(fixed.begin(), fixed.end(), payload.begin());
    EXPECT_EQ(both_forms(37, payload),
              expected_lines(37, R"("update_id":1,"sub_id":0,"record":{"opaque_type":0,"opaque_id":0,"first_len":4,)"
                                 R"("second_len":4294967293,"opaque_value":0,"first_block":"eeeeeeee",)"
                                 R"("second_block":"eeeeeeee"}})"));
}

TEST_F(replay_records, a_next_hop_id_shows_its_address)
{
    const bytes payload = {
        0x08, 0x01,                   // 1 nhid_update_value_1 = 1
        0x12, 0x0f,                   // 2 nhid_encap_key, 15 bytes
        0x08, 0x02,                   //   1 nhid_key_value_1 = 2
        0x12, 0x07,                   //   2 nhid_key_address, 7 bytes
        0x08, 0x01,                   //     1 family = 1, IPv4
        0x10, 0x81, 0x80, 0x80, 0x50, //     2 ipv4 = 10.0.0.1
        0x18, 0x03,                   //   3 nhid_key_value_3 = 3
        0x20, 0x04,                   //   4 nhid_key_value_4 = 4
        0x18, 0x05,                   // 3 nhid = 5
    };
    EXPECT_EQ(both_forms(49, payload),
              expected_lines(49, R"("record":{"address_family":1,"address":"10.0.0.1","key_value_3":3,"key_value_1":2,)"
                                 R"("key_value_4":4,"nhid":"5","update_value_1":1}})"));
}

TEST_F(replay_records, a_next_hop_id_without_a_number_shows_the_number_that_means_none)
{
    EXPECT_EQ(both_forms(49, {0x08, 0x00}),
              expected_lines(49, R"("record":{"address_family":0,"address":"00000000000000000000000000000000",)"
                                 R"("key_value_3":0,"key_value_1":0,"key_value_4":0,"nhid":"18446744073709551614",)"
                                 R"("update_value_1":0}})"));
}

TEST_F(replay_records, a_grid_list_shows_keys_of_each_type)
{
    const bytes payload = {
        0x0a, 0x02, 0x08, 0x65,                         // 1 encap_ids[0] = 101
        0x0a, 0x02, 0x08, 0x66,                         // 1 encap_ids[1] = 102
        0x0a, 0x02, 0x08, 0x67,                         // 1 encap_ids[2] = 103
        0x12, 0x25,                                     // 2 keys[0], 37 bytes
        0x08, 0x01, 0x10, 0x02,                         //   1 key_value_1 = 1, 2 key_value_2 = 2
        0x1a, 0x09,                                     //   3 key_prefix, 9 bytes
        0x08, 0x02, 0x10, 0x08,                         //     1 family = 2, 2 prefix_len = 8
        0x18, 0x80, 0x80, 0x80, 0x50,                   //     3 ipv4 = 10.0.0.0
        0x20, 0x04, 0x28, 0x01,                         //   4 key_value_4 = 4, 5 key_type = 1: label
        0x3a, 0x06, 0x08, 0x02, 0x10, 0x00, 0x18, 0x00, //   7 key_second_prefix 0.0.0.0/0
        0x52, 0x08,                                     //   10 label_key, 8 bytes
        0x08, 0x07, 0x10, 0x10, 0x10, 0x11, 0x10, 0x12, //     1 label_key_value = 7, 2 labels = 16, 17, 18
        0x12, 0x41,                                     // 2 keys[1], 65 bytes
        0x08, 0x01, 0x10, 0x02,                         //   1 key_value_1 = 1, 2 key_value_2 = 2
        0x1a, 0x16,                                     //   3 key_prefix, 22 bytes
        0x08, 0x0a, 0x10, 0x40,                         //     1 family = 10, 2 prefix_len = 64
        0x22, 0x10, 0x20, 0x01, 0x0d, 0xb8,             //     4 ipv6 = 2001:db8::
        0,    0,    0,    0,    0,    0,    0,    0,
        0,    0,    0,    0,    0x20, 0x04, 0x28, 0x02, //   4 key_value_4 = 4, 5 key_type = 2: SRv6
        0x3a, 0x06, 0x08, 0x02, 0x10, 0x00, 0x18, 0x00, //   7 key_second_prefix 0.0.0.0/0
        0x72, 0x12,                                     //   14 srv6_carriers, 18 bytes
        0x0a, 0x06, 0x08, 0x01, 0x10, 0x03, 0x18, 0x04, //     1 oper_type: selector true, 3 when set, 4 when clear
        0x12, 0x08, 0x08, 0x09, 0x10, 0x0a, //     2 carriers[0]: 1 carrier_value_1 = 9, 2 carrier_value_2 = 10
        0x1a, 0x02, 0xab, 0xcd,             //       3 carrier_bytes
        0xa2, 0x01, 0x02, 0x0e, 0x0f,       //   20 key_bytes_20
        0x12, 0x10,                         // 2 keys[2], 16 bytes
        0x08, 0x01, 0x10, 0x02,             //   1 key_value_1 = 1, 2 key_value_2 = 2
        0x1a, 0x06, 0x08, 0x02, 0x10, 0x20, 0x18, 0x01, //   3 key_prefix 0.0.0.1/32
        0x20, 0x04, 0x28, 0x03,                         //   4 key_value_4 = 4, 5 key_type = 3
        0x20, 0x01,                                     // 4 multi_key = true
    };
    const std::string none = R"({"family":0,"prefix_len":0,"addr":"00000000000000000000000000000000"})";
    const std::string zero = R"({"family":2,"prefix_len":0,"addr":"0.0.0.0"})";
    const std::string label_key =
        R"({"key_value_1":1,"key_value_2":2,"key_prefix":{"family":2,"prefix_len":8,"addr":"10.0.0.0"},"key_value_4":4,)"
        R"("key_value_6":0,"key_value_13":0,"key_second_prefix":)" +
        zero +
        R"(,"key_value_8":0,"key_extra_prefixes":[],"key_extra_prefix_count":0,"key_type":1,"key_value_15":1048577,)"
        R"("key_value_16":0,"key_value_17":0,"key_value_18":0,"key_value_19":0,)"
        R"("label":{"label_key_value":7,"label_count":3,"labels":[16,17,18]},)"
        R"("key_bytes_20":"00000000000000000000000000000000","key_value_12":0})";
    const std::string srv6_key =
        R"({"key_value_1":1,"key_value_2":2,"key_prefix":{"family":10,"prefix_len":64,"addr":"2001:db8::"},"key_value_4":4,)"
        R"("key_value_6":0,"key_value_13":0,"key_second_prefix":)" +
        zero +
        R"(,"key_value_8":0,"key_extra_prefixes":[],"key_extra_prefix_count":0,"key_type":2,"key_value_15":1048577,)"
        R"("key_value_16":0,"key_value_17":0,"key_value_18":0,"key_value_19":0,)"
        R"("srv6":{"oper_selector":1,"oper":3,"carrier_count":1,"carriers":[{"carrier_value_1":9,"carrier_value_2":10,)"
        R"("carrier_bytes":"abcd0000000000000000000000000000"}]},)"
        R"("key_bytes_20":"0e0f0000000000000000000000000000","key_value_12":0})";
    const std::string plain_key =
        R"({"key_value_1":1,"key_value_2":2,"key_prefix":{"family":2,"prefix_len":32,"addr":"0.0.0.1"},"key_value_4":4,)"
        R"("key_value_6":0,"key_value_13":0,"key_second_prefix":)" +
        none +
        R"(,"key_value_8":0,"key_extra_prefixes":[],"key_extra_prefix_count":0,"key_type":3,"key_value_15":0,)"
        R"("key_value_16":0,"key_value_17":0,"key_value_18":0,"key_value_19":0,)"
        R"("key_bytes_20":"00000000000000000000000000000000","key_value_12":0})";
    EXPECT_EQ(both_forms(46, payload),
              expected_lines(46, R"("record":{"encap_ids":["101","102","103"],"keys":[)" + label_key + "," + srv6_key +
                                     "," + plain_key + R"(],"count":3,"multi_key":1}})"));
}

TEST_F(replay_records, an_older_route_shows_what_ribtools_own_layout_holds)
{
    const bytes payload = {
        1,    24,                                                             // family IPv4, prefix length
        0,    1,                                                              // update kind: current
        0,    0,  1,    4,                                                    // metric 260
        10,   1,  2,    0,                                                    // address 10.1.2.0
        0,    0,  0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 1,                   // one path
        0,    0,                                                              // not used
        0,    0,  0,    2,                                                    // family of the next hop: IPv6
        0x20, 1,  0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 7, // metric of the path
    };
    const lines shown = both_forms(3, payload);
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(
        shown[0].substr(0, 114),
        R"({"frame":1,"type":3,"form":"unstripped","update_id":1,"released":false,"record":{"rt_family":1,"rt_prefix_len":24,)");
    EXPECT_NE(shown[0].find(R"("rt_value_2":1,)"), std::string::npos);
    EXPECT_NE(shown[0].find(R"("rt_dest":"10.1.2.0","rt_value_9":260,)"), std::string::npos);
    EXPECT_NE(shown[0].find(R"("rt_path_count":1,)"), std::string::npos);
    EXPECT_NE(shown[0].find(R"("pe_addr_5":"2001:db8::9","pe_addr_5_family":2,)"), std::string::npos);
    EXPECT_NE(shown[0].find(R"("pe_value_10":7,)"), std::string::npos);
    EXPECT_EQ(shown[1].substr(0, 40), R"({"frame":1,"type":3,"form":"stripped","u)");
    EXPECT_EQ(shown[1].substr(shown[1].find("update_id")), shown[0].substr(shown[0].find("update_id")));
}

TEST_F(replay_records, a_withdrawn_older_route_is_released_before_its_callback)
{
    bytes payload(28);
    payload[0] = 1; // IPv4
    payload[3] = 2; // update kind: withdrawn
    const lines shown = both_forms(3, payload);
    ASSERT_EQ(shown.size(), 2u);
    for (const std::string &line : shown)
        EXPECT_NE(line.find(R"("released":true,"record":{"rt_family":1,)"), std::string::npos) << line;
}

TEST_F(replay_records, an_empty_route_shows_every_default)
{
    EXPECT_EQ(
        both_forms(51, {}),
        expected_lines(
            51,
            R"("update_id":1,"record":{"rt_family":0,"rt_prefix_len":0,"rt_value_4":0,"rt_value_5":0,"rt_value_19":0,)"
            R"("rt_value_2":0,"rt_value_3":0,"rt_path_count":0,"rt_value_6":0,"rt_value_7":0,"rt_value_8":0,)"
            R"("rt_dest":"00000000000000000000000000000000","rt_value_9":0,"rt_value_10":0,"rt_value_11":0,)"
            R"("rt_value_38":0,"rt_value_12":0,"rt_value_37":0,"rt_value_13":0,"rt_value_14":0,"rt_value_15":0,)"
            R"("rt_value_16":0,"rt_value_40":"0","rt_value_41":"0","rt_algo_labels":[],"rt_value_18":0,"rt_value_20":0,)"
            R"("rt_value_21":0,"rt_value_22":0,"rt_flags":"0","rt_value_25":0,"rt_l2_value":0,"rt_aft_id":"0",)"
            R"("rt_aft_value_6":0,"rt_aft_value_7":"0","rt_aft_valid":0,"rt_value_35":0,"rt_value_35_copy":0,)"
            R"("rt_algo_label_count":0,"rt_advertisement":null,"rt_first_ecomm":null,)"
            R"("rt_attr_blocks":[null,null,null,null,null,null],"paths":[]}})"));
}

TEST_F(replay_records, a_route_shows_its_blocks_and_an_empty_path_its_defaults)
{
    const bytes payload = {
        0x0a, 0x0b,                                        // 1 route_prefix, 11 bytes
        0x0a, 0x07, 0x08, 0x01,                            //   1 address: 1 family = 1
        0x10, 0x80, 0x80, 0x80, 0x50,                      //     2 ipv4 = 10.0.0.0
        0x10, 0x08,                                        //   2 prefix_len = 8
        0x8a, 0x01, 0x07,                                  // 17 algo_labels[0], 7 bytes
        0x08, 0x10, 0x10, 0x80, 0x01, 0x20, 0x03,          //   1 label = 16, 2 algorithm = 128, 4 extra = 3
        0xd2, 0x01, 0x00,                                  // 26 paths[0], empty
        0xda, 0x01, 0x04, 0x08, 0x05, 0x08, 0x06,          // 27 client_advertisement: 1 values = 5, 6
        0xea, 0x01, 0x10, 0x08, 0x02,                      // 29 generic_attrs_29, 16 bytes: 1 array_type = 2
        0x12, 0x0c, 0x08, 0x03,                            //   2 attrs[0], 12 bytes: 1 attr_type = 3
        0x12, 0x08, 1,    2,    3,    4,    5,    6, 7, 8, //     2 attr_data
    };
    const std::string path =
        R"({"pe_value_1":0,"pe_value_2":0,"pe_value_3":0,"pe_addr_4":"00000000000000000000000000000000",)"
        R"("pe_addr_5":"00000000000000000000000000000000","pe_addr_5_family":0,)"
        R"("pe_prefix":"00000000000000000000000000000000","pe_prefix_len":4294967295,"pe_value_8":0,)"
        R"("pe_labels":[1048577,1048577,1048577,1048577,1048577,1048577,1048577,1048577,1048577,1048577],)"
        R"("pe_value_10":0,"pe_value_11":0,"pe_value_12":0,"pe_value_13":0,"pe_label_count":0,"pe_address_count":0,)"
        R"("pe_value_28":0,"pe_sid_info_count":0,"pe_value_16":0,"pe_addresses":[],"pe_ipv6":"::",)"
        R"("pe_value_19":1048577,"pe_via_sid":"::","pe_via_sid_value":1,"pe_nnh_count":0,"pe_nnh":[],"pe_value_22":0,)"
        R"("pe_sid_infos":[],"pe_value_25":0,"pe_value_31":0,"pe_iid_value_1":0,)"
        R"("pe_iid_prefix":"00000000000000000000000000000000","pe_iid_prefix_family":0,"pe_iid_prefix_len":0,)"
        R"("pe_iid_value_4":0,"pe_l2_5":0,"pe_l2_6":0,"pe_l2_7":0,"pe_l2_8":0,"pe_grouping_2":0,"pe_tunnel_flags":0,)"
        R"("pe_tunnel_7":0,"pe_tunnel_9":0,"pe_tunnel_8":0,"pe_tunnel_10":"0","pe_via_aft_id":"0","pe_aft_6":0,)"
        R"("pe_aft_7":0,"pe_sl_kind":0,"pe_sl_value":0,"pe_ecomm_count":0,"pe_ecomm_value_1":0,"pe_ecomm_values":[]})";
    EXPECT_EQ(
        both_forms(51, payload),
        expected_lines(
            51,
            R"("update_id":1,"record":{"rt_family":1,"rt_prefix_len":8,"rt_value_4":0,"rt_value_5":0,"rt_value_19":0,)"
            R"("rt_value_2":0,"rt_value_3":0,"rt_path_count":1,"rt_value_6":0,"rt_value_7":0,"rt_value_8":0,)"
            R"("rt_dest":"10.0.0.0","rt_value_9":0,"rt_value_10":0,"rt_value_11":0,)"
            R"("rt_value_38":0,"rt_value_12":0,"rt_value_37":0,"rt_value_13":0,"rt_value_14":0,"rt_value_15":0,)"
            R"("rt_value_16":0,"rt_value_40":"0","rt_value_41":"0","rt_algo_labels":[{"algo":128,"label":16,"extra":3}],)"
            R"("rt_value_18":0,"rt_value_20":0,"rt_value_21":0,"rt_value_22":0,"rt_flags":"0","rt_value_25":0,)"
            R"("rt_l2_value":0,"rt_aft_id":"0","rt_aft_value_6":0,"rt_aft_value_7":"0","rt_aft_valid":0,"rt_value_35":0,)"
            R"("rt_value_35_copy":0,"rt_algo_label_count":1,"rt_advertisement":[5,6],"rt_first_ecomm":null,)"
            R"("rt_attr_blocks":[null,{"array_type":2,"attrs":[{"attr_type":3,"attr_data":"0102030405060708"}]},)"
            R"(null,null,null,null],"paths":[)" +
                path + "]}}"));
}

TEST_F(replay_records, a_path_shows_its_lists)
{
    const bytes payload = {
        0xd2, 0x01, 0x37,                         // 26 paths[0], 55 bytes
        0x2a, 0x07, 0x08, 0x01, 0x10, 0x81, 0x80, //   5 path_address_5: 1 family = 1, 2 ipv4 = 10.0.0.1
        0x80, 0x50, 0x48, 0x10, 0x48, 0x11,       //   9 path_values_9 = 16, 17
        0x8a, 0x01, 0x04, 0x08, 0x01, 0x10, 0x02, //   17 path_addresses[0]: 1 family = 1, 2 ipv4 = 2
        0xaa, 0x01, 0x04, 0x08, 0x01, 0x10, 0x05, //   21 nnh_entries[0]: 1 type = 1, 2 value = 5
        0xd2, 0x01, 0x06,                         //   26 ecomm, 6 bytes
        0x08, 0x02, 0x10, 0x07, 0x10, 0x08,       //     1 ecomm_value_1 = 2, 2 ecomm_values = 7, 8
        0x8a, 0x02, 0x10,                         //   33 srv6_sid_infos[0], 16 bytes
        0x12, 0x0c,                               //     2 sid_info_prefix, 12 bytes
        0x0a, 0x08, 0x08, 0x02,                   //       1 address: 1 family = 2
        0x1a, 0x04, 0x08, 0x05, 0x10, 0x06,       //         3 ipv6: 1 half0 = 5, 2 half1 = 6
        0x10, 0x30,                               //       2 prefix_len = 48
        0x18, 0x01,                               //     3 sid_info_value_3 = 1
    };
    const lines shown = both_forms(51, payload);
    ASSERT_EQ(shown.size(), 2u);
    for (const std::string &line : shown) {
        for (const char *member : {
                 R"("pe_addr_5":"10.0.0.1","pe_addr_5_family":1,)",
                 R"("pe_labels":[16,17,0,0,0,0,0,0,0,0],)",
                 R"("pe_label_count":2,"pe_address_count":1,)",
                 R"("pe_addresses":["02000000000000000000000000000000"],)",
                 R"("pe_nnh_count":1,"pe_nnh":[{"type":1,"value":5}],)",
                 R"("pe_sid_infos":[{"address":"05000000000000000600000000000000","prefix_len":48,"marker":"*"}],)",
                 R"("pe_ecomm_count":2,"pe_ecomm_value_1":2,"pe_ecomm_values":["7","8"]})",
                 R"("rt_first_ecomm":{"pe_ecomm_count":2,"pe_ecomm_value_1":2,"pe_ecomm_values":["7","8"]},)",
             })
            EXPECT_NE(line.find(member), std::string::npos) << member << "\n" << line;
    }
}

// ---- Which members, and which form ----

TEST_F(replay_records, each_update_is_replayed_once_with_its_frame)
{
    const run_result result = ribtool({"replay", write("stream", frame(47, {0x08, 0x07}))});
    EXPECT_EQ(result.out, R"({"frame":1,"type":47,"form":"unstripped","update_id":1,"record":{"proto_id":7,)"
                          R"("proto_sub_id":0,"proto_value":0,"proto_name":"","proto_extra_name":""}})"
                          "\n");
}

TEST_F(replay_records, numbers_of_64_bits_keep_their_last_digit)
{
    const bytes payload = {
        0xd2, 0x01, 0x0e,                                           // 26 paths[0], 14 bytes
        0xd2, 0x01, 0x0b,                                           //   26 ecomm, 11 bytes
        0x10, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, //     2 ecomm_values = 2^64 - 1,
        0x01,                                                       //       its tenth byte
    };
    EXPECT_NE(fields_of(payload, "paths.pe_ecomm_values").find(R"("pe_ecomm_values":["18446744073709551615"])"),
              std::string::npos);
}

TEST_F(replay_records, a_compact_record_has_only_what_the_update_says)
{
    EXPECT_EQ(compact(51, {}), "{}");
    EXPECT_EQ(compact(51, {0xd2, 0x01, 0x00, 0xd2, 0x01, 0x02, 0x50, 0x07}), // 26 paths[0], empty; 26 paths[1]:
              R"({"rt_path_count":2,"paths":[{},{"pe_value_10":7}]})");      //   10 path_value_10 = 7
    EXPECT_EQ(compact(50, {}), "{}");
    EXPECT_EQ(compact(49, {0x08, 0x00}), "{}"); // 1 nhid_update_value_1 = 0
    EXPECT_EQ(compact(47, {0x08, 0x00}), "{}"); // 1 proto_id = 0
}

TEST_F(replay_records, a_compact_record_shows_zero_where_another_value_stands_for_none)
{
    const bytes zeros = {
        0xd2, 0x01, 0x05, // 26 paths[0], 5 bytes
        0x48, 0x00,       //   9 path_values_9 = 0
        0x98, 0x01, 0x00, //   19 path_value_19 = 0
    };
    EXPECT_EQ(compact(51, zeros),
              R"({"rt_path_count":1,"paths":[{"pe_labels":[0],"pe_label_count":1,"pe_value_19":0}]})");
    EXPECT_EQ(compact(49, {0x08, 0x00, 0x18, 0x00}), R"({"nhid":"0"})"); // 1 nhid_update_value_1 = 0, 3 nhid = 0
}

TEST_F(replay_records, a_compact_list_keeps_its_places)
{
    const bytes payload = {
        0xea, 0x01, 0x10, 0x08, 0x02,                // 29 generic_attrs_29, 16 bytes: 1 array_type = 2
        0x12, 0x0c, 0x08, 0x03,                      //   2 attrs[0], 12 bytes: 1 attr_type = 3
        0x12, 0x08, 1,    2,    3,    4, 5, 6, 7, 8, //     2 attr_data
    };
    EXPECT_EQ(compact(51, payload), R"({"rt_attr_blocks":[null,{"array_type":2,"attrs":[{"attr_type":3,)"
                                    R"("attr_data":"0102030405060708"}]},null,null,null,null]})");
}

TEST_F(replay_records, a_compact_opaque_update_tells_an_empty_block_from_none)
{
    EXPECT_EQ(compact(50, {0x2a, 0x00, 0x32, 0x01, 0x00}), // 5 first_block, empty; 6 second_block, one zero
              R"({"second_len":1,"first_block":"","second_block":"00"})");
}

TEST_F(replay_records, chosen_fields_are_shown_wherever_they_are)
{
    const bytes payload = {
        0x0a, 0x0b,                   // 1 route_prefix, 11 bytes
        0x0a, 0x07, 0x08, 0x01,       //   1 address: 1 family = 1
        0x10, 0x80, 0x80, 0x80, 0x50, //     2 ipv4 = 10.0.0.0
        0x10, 0x08,                   //   2 prefix_len = 8
        0xd2, 0x01, 0x08,             // 26 paths[0], 8 bytes
        0x50, 0x07,                   //   10 path_value_10 = 7
        0xd2, 0x01, 0x03,             //   26 ecomm, 3 bytes
        0x10, 0xac, 0x02,             //     2 ecomm_values = 300
    };
    EXPECT_EQ(fields_of(payload, "rt_dest"), R"({"rt_dest":"10.0.0.0"})");
    EXPECT_EQ(fields_of(payload, "pe_value_10,rt_prefix_len"), R"({"rt_prefix_len":8,"paths":[{"pe_value_10":7}]})");
    EXPECT_EQ(fields_of(payload, "pe_ecomm_values"),
              R"({"rt_first_ecomm":{"pe_ecomm_values":["300"]},"paths":[{"pe_ecomm_values":["300"]}]})");
    EXPECT_EQ(fields_of(payload, "paths.pe_ecomm_values"), R"({"paths":[{"pe_ecomm_values":["300"]}]})");
    EXPECT_EQ(fields_of(payload, "rt_first_ecomm"),
              R"({"rt_first_ecomm":{"pe_ecomm_count":1,"pe_ecomm_value_1":0,"pe_ecomm_values":["300"]}})");
    EXPECT_EQ(fields_of(payload, "nhid"), "{}");
    EXPECT_EQ(fields_of(payload, "rt_value_2,attrs", "--compact"), "{}");
}

TEST_F(replay_records, a_field_that_no_record_has_is_a_usage_error)
{
    const run_result result = ribtool({"replay", write("stream", frame(51, {})), "--fields", "rt_dest,dest"});
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_EQ(result.err, "ribtool: --fields: no client record has a member \"dest\" (see ribtool replay --help)\n");
}

// ---- Which updates, and where to ----

TEST_F(replay_records, update_ids_are_frame_numbers)
{
    const bytes proto = frame(47, {0x08, 0x07});
    const run_result result = ribtool({"replay", write("stream", joined({proto, proto, proto})), "--stripped"});
    const lines shown = result.out_lines();
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown[2].substr(0, 61), R"({"frame":3,"type":47,"form":"stripped","update_id":3,"record")");
}

TEST_F(replay_records, a_limit_counts_updates)
{
    const bytes proto = frame(47, {0x08, 0x07});
    const std::string input = write("stream", joined({proto, frame(0, {}), proto, proto}));
    const run_result result = ribtool({"replay", input, "--stripped", "--limit", "2"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out_lines().size(), 2u);
    EXPECT_EQ(ribtool({"replay", input, "--limit", "0"}).out, "");
}

TEST_F(replay_records, a_sample_holds_the_first_records_of_each_code_and_form)
{
    const bytes proto = frame(47, {0x08, 0x07});
    const bytes nhid = frame(49, {0x08, 0x07});
    const bytes dropped = frame(49, {0x18, 0x05});
    const std::string input = write("stream", joined({proto, proto, dropped, nhid, proto, nhid}));
    const run_result result = ribtool({"replay", input, "--sample", "1", "--both"});
    lines starts;
    for (const std::string &line : result.out_lines())
        starts.push_back(line.substr(0, line.find(R"(",")") + 1));
    const lines expected = {
        R"({"frame":1,"type":47,"form":"unstripped")",
        R"({"frame":1,"type":47,"form":"stripped")",
        R"({"frame":4,"type":49,"form":"unstripped")",
        R"({"frame":4,"type":49,"form":"stripped")",
    };
    EXPECT_EQ(starts, expected);
    EXPECT_NE(result.err.find("10 callbacks"), std::string::npos);
}

TEST_F(replay_records, records_go_to_a_file_or_nowhere)
{
    const std::string input = write("stream", frame(47, {0x08, 0x07}));
    const run_result to_file = ribtool({"replay", input, "--stripped", "--json", path("records")});
    EXPECT_EQ(to_file.exit_code, 0);
    EXPECT_EQ(to_file.out, "");
    const bytes written = read("records");
    EXPECT_EQ(std::string(written.begin(), written.end()), ribtool({"replay", input, "--stripped"}).out);

    const run_result nowhere = ribtool({"replay", input, "--no-json"});
    EXPECT_EQ(nowhere.exit_code, 0);
    EXPECT_EQ(nowhere.out, "");
}

TEST_F(replay_records, the_standard_input_can_be_replayed)
{
    const bytes proto = frame(47, {0x08, 0x07});
    const std::string input(proto.begin(), proto.end());
    const run_result result = ribtool({"replay", "-", "--stripped"}, input);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, ribtool({"replay", write("stream", proto), "--stripped"}).out);
}

TEST_F(replay_records, the_summary_counts_each_code_of_each_form)
{
    const bytes stream = joined({
        frame(47, {0x08, 0x07}),
        frame(51, {0xd2, 0x01, 0x00, 0xd2, 0x01, 0x03, 0xd8, 0x01, 0x01}), // two paths, one with path_value_27
        frame(49, {0x18, 0x05}),                                           // dropped
    });
    const run_result result = ribtool({"replay", write("stream", stream), "--no-json", "--both"});
    lines counted;
    for (const std::string &line : run_result{0, squeezed(result.err), ""}.out_lines())
        counted.push_back(line.substr(0, line.rfind(' ')));
    const lines expected = {
        path("stream") + ": raw frames, 3",
        " form code update updates callbacks dropped refused stopped",
        " unstripped 47 protocol 1 1 0 0 0",
        " unstripped 49 next-hop ID 1 0 1 0 0",
        " unstripped 51 route 1 1 0 0 0",
        " unstripped all 3 2 1 0 0",
        " stripped 47 protocol 1 1 0 0 0",
        " stripped 49 next-hop ID 1 0 1 0 0",
        " stripped 51 route 1 1 0 0 0",
        " stripped all 3 2 1 0 0",
        " 2 routes with 2 paths; 2 of 4 paths of encoded routes not",
        " 4 callbacks, 2 silent drops, 0 refused, 0 stopped by an",
    };
    EXPECT_EQ(counted, expected);
}

} // namespace ribtool_test
