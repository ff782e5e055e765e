// The table itself. Rows run: field number, wire type, member, kind, presence bit.

#include "tests/messages/field_table.hpp"

namespace field_table
{

// clang-format off
const std::vector<message_row> &messages()
{
    static const std::vector<message_row> table = {

        // Addresses and prefixes

        {"rib_common", "rib_ipv6_address", 8, {
            { 1, 0, "half0", "uint64", 0},
            { 2, 0, "half1", "uint64", 1},
        }},
        {"rib_common", "rib_address", 8, {
            { 1, 0, "family", "uint32",                   0},
            { 2, 0, "ipv4",   "uint32",                   1},
            { 3, 2, "ipv6",   "message rib_ipv6_address", 2},
        }},
        {"rib_common", "rib_prefix", 8, {
            { 1, 2, "address",    "message rib_address", 0},
            { 2, 0, "prefix_len", "uint32",              1},
        }},
        {"rib_common", "rib_msg_prefix", 8, {
            { 1, 0, "family",     "uint32", 0},
            { 2, 0, "prefix_len", "uint32", 1},
            { 3, 0, "ipv4",       "uint32", 2},
            { 4, 2, "ipv6",       "bytes",  3},
        }},
        {"rib_common", "srv6_prefix", 8, {
            { 1, 2, "prefix",     "bytes",  0},
            { 2, 0, "prefix_len", "uint32", 1},
        }},
        {"rib_common", "ip_rib_srv6_prefix", 8, {
            { 1, 2, "prefix",     "bytes",  0},
            { 2, 0, "prefix_len", "uint32", 1},
        }},

        // Path attributes

        {"rib_common", "rib_nnh", 8, {
            { 1, 0, "nnh_value_1", "uint32", 0},
            { 2, 0, "nnh_value_2", "uint32", 1},
            { 3, 0, "nnh_value_3", "uint32", 2},
            { 4, 0, "nnh_value_4", "uint32", 3},
        }},
        {"rib_common", "rib_algo_label", 8, {
            { 1, 0, "algo_label_value_1", "uint32", 0},
            { 2, 0, "algo_label_value_2", "uint32", 1},
            { 3, 0, "algo_label_value_3", "uint32", 2},
            { 4, 0, "algo_label_value_4", "uint32", 3},
        }},
        {"rib_common", "rib_path_grouping_info", 8, {
            { 1, 0, "grouping_value_1", "uint32", 0},
            { 2, 0, "grouping_value_2", "uint32", 1},
        }},
        {"rib_common", "rib_path_sl_id_info", 8, {
            { 1, 0, "sl_id_value_1", "uint32", 0},
            { 2, 0, "sl_id_value_2", "uint32", 1},
            { 3, 0, "sl_id_value_3", "uint32", 2},
        }},
        {"rib_common", "rib_path_l2_info", 8, {
            { 1, 0, "l2_value_1", "uint32", 0},
            { 5, 0, "l2_value_5", "uint32", 1},
            { 6, 0, "l2_value_6", "uint32", 2},
            { 7, 0, "l2_value_7", "uint32", 3},
            { 8, 0, "l2_value_8", "uint32", 4},
        }},
        {"rib_common", "rib_path_via_aft_id", 8, {
            { 1, 0, "via_aft_value_1", "uint32", 0},
            { 5, 0, "via_aft_id",      "uint64", 1},
            { 6, 0, "via_aft_value_6", "uint32", 2},
            { 7, 0, "via_aft_value_7", "uint32", 3},
        }},
        {"rib_common", "rib_path_ip_tunnel_info", 8, {
            { 1, 0, "tunnel_value_1",  "uint32", 0},
            { 5, 0, "tunnel_flag",     "bool",   1},
            { 6, 0, "tunnel_value_6",  "uint32", 2},
            { 7, 0, "tunnel_value_7",  "uint32", 3},
            { 8, 0, "tunnel_value_8",  "uint32", 4},
            { 9, 0, "tunnel_value_9",  "uint32", 5},
            {10, 0, "tunnel_value_10", "uint64", 6},
        }},
        {"rib_common", "rib_path_iid_attr", 8, {
            { 1, 0, "iid_attr_value_1", "uint32",             0},
            { 2, 0, "iid_attr_value_2", "uint32",             1},
            { 3, 2, "iid_attr_prefix",  "message rib_prefix", 2},
            { 4, 0, "iid_attr_value_4", "uint32",             3},
        }},
        {"rib_common", "rib_path_via_srv6_sid", 8, {
            { 1, 0, "via_sid_value_1", "uint32",                   0},
            { 2, 2, "via_sid",         "message rib_ipv6_address", 1},
            { 3, 0, "via_sid_value_3", "uint32",                   2},
        }},
        {"rib_common", "rib_path_srv6_sid_info", 8, {
            { 1, 0, "sid_info_value_1", "uint32",             0},
            { 2, 2, "sid_info_prefix",  "message rib_prefix", 1},
            { 3, 0, "sid_info_value_3", "uint32",             2},
        }},
        {"rib_common", "rib_ecomm_array", 8, {
            { 1, 0, "ecomm_value_1", "uint32",          0},
            { 2, 0, "ecomm_values",  "repeated uint64", 1},
            { 3, 0, "ecomm_value_3", "uint32",          2},
        }},

        // Paths: field 40 stands before field 34

        {"rib_common", "rib_path", 32, {
            { 1, 0, "path_value_1",      "uint32",                                   0},
            { 2, 0, "path_value_2",      "uint32",                                   1},
            { 3, 0, "path_value_3",      "uint32",                                   2},
            { 4, 2, "path_address_4",    "message rib_address",                      3},
            { 5, 2, "path_address_5",    "message rib_address",                      4},
            { 6, 2, "path_prefix",       "message rib_prefix",                       5},
            { 8, 0, "path_value_8",      "uint32",                                   6},
            { 9, 0, "path_values_9",     "repeated uint32",                          7},
            {10, 0, "path_value_10",     "uint32",                                   8},
            {11, 0, "path_value_11",     "uint32",                                   9},
            {12, 0, "path_value_12",     "uint32",                                  10},
            {13, 0, "path_value_13",     "uint32",                                  11},
            {14, 0, "path_value_14",     "uint32",                                  12},
            {16, 0, "path_value_16",     "uint32",                                  13},
            {17, 2, "path_addresses",    "repeated message rib_address",            14},
            {18, 2, "path_ipv6_address", "message rib_ipv6_address",                15},
            {19, 0, "path_value_19",     "uint32",                                  16},
            {21, 2, "nnh_entries",       "repeated message rib_nnh",                17},
            {22, 0, "path_value_22",     "uint32",                                  18},
            {25, 0, "path_value_25",     "uint32",                                  19},
            {26, 2, "ecomm",             "message rib_ecomm_array",                 20},
            {27, 0, "path_value_27",     "uint32",                                  21},
            {28, 0, "path_value_28",     "uint32",                                  22},
            {29, 2, "iid_attr",          "message rib_path_iid_attr",               23},
            {30, 2, "l2_info",           "message rib_path_l2_info",                24},
            {31, 0, "path_value_31",     "uint32",                                  25},
            {32, 2, "via_srv6_sid",      "message rib_path_via_srv6_sid",           26},
            {33, 2, "srv6_sid_infos",    "repeated message rib_path_srv6_sid_info", 27},
            {40, 2, "grouping_info",     "message rib_path_grouping_info",          28},
            {34, 2, "ip_tunnel_info",    "message rib_path_ip_tunnel_info",         29},
            {35, 2, "via_aft_id",        "message rib_path_via_aft_id",             30},
            {36, 2, "sl_id_info",        "message rib_path_sl_id_info",             31},
        }},

        // Routes

        {"rib_common", "rib_route", 64, {
            { 1, 2, "route_prefix",         "message rib_prefix",               0},
            { 2, 0, "route_value_2",        "uint32",                           1},
            { 3, 0, "route_value_3",        "uint32",                           2},
            { 4, 0, "route_value_4",        "uint32",                           3},
            { 5, 0, "route_value_5",        "uint32",                           4},
            { 6, 0, "route_value_6",        "uint32",                           5},
            { 7, 0, "route_value_7",        "uint32",                           6},
            { 8, 0, "route_value_8",        "uint32",                           7},
            { 9, 0, "route_value_9",        "uint32",                           8},
            {10, 0, "route_value_10",       "uint32",                           9},
            {11, 0, "route_value_11",       "uint32",                          10},
            {12, 0, "route_value_12",       "uint32",                          11},
            {13, 0, "route_value_13",       "uint32",                          12},
            {14, 0, "route_value_14",       "uint32",                          13},
            {15, 0, "route_value_15",       "uint32",                          14},
            {16, 0, "route_value_16",       "uint32",                          15},
            {17, 2, "algo_labels",          "repeated message rib_algo_label", 16},
            {18, 0, "route_value_18",       "uint32",                          17},
            {19, 0, "route_value_19",       "uint32",                          18},
            {20, 0, "route_value_20",       "uint32",                          19},
            {21, 0, "route_value_21",       "uint32",                          20},
            {22, 0, "route_value_22",       "uint32",                          21},
            {23, 0, "route_value_23",       "uint32",                          22},
            {24, 0, "route_flags",          "uint64",                          23},
            {25, 0, "route_value_25",       "uint32",                          24},
            {26, 2, "paths",                "repeated message rib_path",       25},
            {27, 2, "client_advertisement", "message rib_client_advertisement", 26},
            {28, 2, "addr_generic_attrs",   "message rib_generic_attr_array",  27},
            {29, 2, "generic_attrs_29",     "message rib_generic_attr_array",  28},
            {30, 2, "generic_attrs_30",     "message rib_generic_attr_array",  29},
            {31, 2, "generic_attrs_31",     "message rib_generic_attr_array",  30},
            {32, 2, "generic_attrs_32",     "message rib_generic_attr_array",  31},
            {33, 2, "generic_attrs_33",     "message rib_generic_attr_array",  32},
            {34, 0, "route_value_34",       "uint32",                          33},
            {35, 0, "route_value_35",       "uint32",                          34},
            {36, 2, "route_l2_info",        "message rib_route_l2_info",       35},
            {37, 0, "route_value_37",       "uint32",                          36},
            {38, 0, "route_value_38",       "uint32",                          37},
            {39, 2, "route_aft_id",         "message rib_route_aft_id",        38},
            {40, 0, "route_value_40",       "uint64",                          39},
            {41, 0, "route_value_41",       "uint64",                          40},
        }},
        {"rib_common", "rib_route_l2_info", 8, {
            { 1, 0, "route_l2_value_1", "uint32", 0},
            { 5, 0, "route_l2_value_5", "uint32", 1},
        }},
        {"rib_common", "rib_route_aft_id", 8, {
            { 1, 0, "route_aft_value_1",  "uint32", 0},
            { 5, 0, "route_aft_id_value", "uint64", 1},
            { 6, 0, "route_aft_value_6",  "uint32", 2},
            { 7, 0, "route_aft_value_7",  "uint64", 3},
        }},
        {"rib_common", "rib_generic_attr_info", 8, {
            { 1, 0, "attr_type", "uint32", 0},
            { 2, 2, "attr_data", "bytes",  1},
        }},
        {"rib_common", "rib_generic_attr_array", 8, {
            { 1, 0, "array_type", "uint32",                                 0},
            { 2, 2, "attrs",      "repeated message rib_generic_attr_info", 1},
        }},
        {"rib_common", "rib_client_advertisement", 8, {
            { 1, 0, "advertised_values", "repeated uint32", 0},
        }},
        {"rib_common", "rib_bind_reply", 8, {
            { 1, 0, "bind_value", "uint32", 0},
        }},

        // Encapsulation keys

        {"rib_encap", "rib_srv6_oper_type", 8, {
            { 1, 0, "oper_selector",   "bool",   0},
            { 2, 0, "oper_when_set",   "uint32", 1},
            { 3, 0, "oper_when_clear", "uint32", 2},
        }},
        {"rib_encap", "rib_encap_id_path_key_label", 8, {
            { 1, 0, "label_key_value", "uint32",          0},
            { 2, 0, "labels",          "repeated uint32", 1},
        }},
        {"rib_encap", "rib_encap_id_path_key_srv6", 8, {
            { 1, 2, "oper_type", "message rib_srv6_oper_type", 0},
            { 2, 2, "entries",   "repeated bytes",             1},
        }},
        {"rib_encap", "rib_encap_id_path_key_srv6_carrier_info", 8, {
            { 1, 0, "carrier_value_1", "uint32", 0},
            { 2, 0, "carrier_value_2", "uint32", 1},
            { 3, 2, "carrier_bytes",   "bytes",  2},
        }},
        {"rib_encap", "rib_encap_id_path_key_srv6_carriers", 8, {
            { 1, 2, "oper_type", "message rib_srv6_oper_type",                               0},
            { 2, 2, "carriers",  "repeated message rib_encap_id_path_key_srv6_carrier_info", 1},
        }},
        {"rib_encap", "rib_encap_id_key", 32, {
            { 1, 0, "key_value_1",        "uint32",                                       0},
            { 2, 0, "key_value_2",        "uint32",                                       1},
            { 3, 2, "key_prefix",         "message rib_msg_prefix",                       2},
            { 4, 0, "key_value_4",        "uint32",                                       3},
            { 5, 0, "key_type",           "uint32",                                       4},
            { 6, 5, "key_value_6",        "fixed32",                                      5},
            { 7, 2, "key_second_prefix",  "message rib_msg_prefix",                       6},
            { 8, 0, "key_value_8",        "uint32",                                       7},
            { 9, 2, "key_extra_prefixes", "repeated message rib_msg_prefix",              8},
            {10, 2, "label_key",          "message rib_encap_id_path_key_label",          9},
            {11, 2, "srv6_key",           "message rib_encap_id_path_key_srv6",          10},
            {12, 0, "key_value_12",       "uint32",                                      11},
            {13, 0, "key_value_13",       "uint32",                                      12},
            {14, 2, "srv6_carriers",      "message rib_encap_id_path_key_srv6_carriers", 13},
            {15, 0, "key_value_15",       "uint32",                                      14},
            {16, 0, "key_value_16",       "uint32",                                      15},
            {17, 0, "key_value_17",       "uint32",                                      16},
            {18, 0, "key_value_18",       "uint32",                                      17},
            {19, 0, "key_value_19",       "uint32",                                      18},
            {20, 2, "key_bytes_20",       "bytes",                                       19},
        }},

        // Encapsulation IDs, grids and next-hop IDs

        {"rib_encap", "rib_encap_id", 8, {
            { 1, 0, "encap_id", "uint64", 0},
        }},
        {"rib_encap", "rib_grid_sync_list", 8, {
            { 1, 2, "encap_ids", "repeated message rib_encap_id",     0},
            { 2, 2, "keys",      "repeated message rib_encap_id_key", 1},
            { 4, 0, "multi_key", "bool",                              2},
        }},
        {"rib_encap", "rib_nhid_encap_key", 8, {
            { 1, 0, "nhid_key_value_1", "uint32",              0},
            { 2, 2, "nhid_key_address", "message rib_address", 1},
            { 3, 0, "nhid_key_value_3", "uint32",              2},
            { 4, 0, "nhid_key_value_4", "uint32",              3},
        }},
        {"rib_encap", "rib_nhid_update", 8, {
            { 1, 0, "nhid_update_value_1", "uint32",                     0},
            { 2, 2, "nhid_encap_key",      "message rib_nhid_encap_key", 1},
            { 3, 0, "nhid",                "uint64",                     2},
        }},

        // Protocol and opaque updates

        {"ip_rib", "ip_rib_proto_update", 8, {
            { 1, 0, "proto_id",         "uint32", 0},
            { 2, 0, "proto_sub_id",     "uint32", 1},
            { 3, 0, "proto_value",      "uint64", 2},
            { 4, 2, "proto_name",       "string", 3},
            { 5, 2, "proto_extra_name", "string", 4},
        }},
        {"ip_rib", "ip_rib_opaque", 8, {
            { 1, 0, "opaque_type",   "uint32", 0},
            { 2, 0, "opaque_id",     "uint32", 1},
            { 3, 0, "opaque_sub_id", "uint32", 2},
            { 4, 0, "opaque_value",  "uint32", 3},
            { 5, 2, "first_block",   "bytes",  4},
            { 6, 2, "second_block",  "bytes",  5},
        }},

        // Instance IDs

        {"ip_rib", "ip_rib_iid_evpn_vpws_ctx", 8, {
            { 1, 0, "vpws_value_1", "uint32", 0},
            { 2, 0, "vpws_value_2", "uint32", 1},
            { 3, 0, "vpws_value_3", "uint32", 2},
        }},
        {"ip_rib", "ip_rib_iid_evpn_elan_ctx", 8, {
            { 1, 0, "ctx_value_1", "uint32", 0},
            { 2, 2, "ctx_bytes_2", "bytes",  1},
            { 3, 0, "ctx_value_3", "uint32", 2},
            { 4, 0, "ctx_value_4", "uint32", 3},
            { 5, 2, "ctx_bytes_5", "bytes",  4},
            { 6, 0, "ctx_value_6", "uint32", 5},
            { 7, 0, "ctx_value_7", "uint32", 6},
        }},
        {"ip_rib", "ip_rib_iid_l2vpn_ip_tunnel_ctx", 8, {
            { 1, 0, "ctx_value_1", "uint32", 0},
            { 2, 2, "ctx_bytes_2", "bytes",  1},
            { 3, 0, "ctx_value_3", "uint32", 2},
            { 4, 0, "ctx_value_4", "uint32", 3},
            { 5, 2, "ctx_bytes_5", "bytes",  4},
            { 6, 0, "ctx_value_6", "uint32", 5},
            { 7, 0, "ctx_value_7", "uint32", 6},
        }},
        {"ip_rib", "ip_rib_iid_lss_ctx", 8, {
            { 1, 0, "lss_value_1",  "uint32",                       0},
            { 2, 0, "lss_value_2",  "uint32",                       1},
            { 3, 0, "lss_value_3",  "uint32",                       2},
            { 4, 0, "lss_value_4",  "uint32",                       3},
            { 5, 2, "lss_bytes",    "bytes",                        4},
            { 6, 2, "lss_prefixes", "repeated message srv6_prefix", 5},
        }},
        {"ip_rib", "ip_rib_iid_aft_nhg_ctx", 8, {
            { 1, 0, "aft_nhg_value_1", "uint32", 0},
            { 2, 0, "aft_nhg_id",      "uint64", 1},
        }},
        {"ip_rib", "ip_rib_iid_sl_id_ctx", 8, {
            { 1, 0, "sl_id_value_1", "uint32", 0},
            { 2, 0, "sl_id_value_2", "uint32", 1},
            { 3, 0, "sl_id_value_3", "uint32", 2},
            { 4, 2, "sl_id_name",    "string", 3},
        }},
        {"ip_rib", "ip_rib_iid_ctx", 8, {
            { 1, 0, "iid_ctx_kind",    "uint32",                                 0},
            { 2, 2, "evpn_vpws",       "message ip_rib_iid_evpn_vpws_ctx",       1},
            { 3, 2, "lss",             "message ip_rib_iid_lss_ctx",             2},
            { 4, 2, "evpn_elan",       "message ip_rib_iid_evpn_elan_ctx",       3},
            { 5, 2, "aft_nhg",         "message ip_rib_iid_aft_nhg_ctx",         4},
            { 6, 2, "l2vpn_ip_tunnel", "message ip_rib_iid_l2vpn_ip_tunnel_ctx", 5},
            { 7, 2, "sl_id",           "message ip_rib_iid_sl_id_ctx",           6},
        }},
        {"ip_rib", "ip_rib_iid_update", 8, {
            { 1, 2, "iid_ctx",            "message ip_rib_iid_ctx", 0},
            { 2, 0, "iid_update_flag_2",  "bool",                   1},
            { 3, 0, "iid_update_value_3", "uint32",                 2},
            { 4, 0, "iid_update_value_4", "uint32",                 3},
            { 5, 0, "iid_update_flag_5",  "bool",                   4},
        }},

        // SRv6 configuration

        {"ip_rib_srv6", "ip_rib_srv6_sid_info", 8, {
            { 1, 0, "value_1", "uint32",                     0},
            { 2, 0, "value_2", "uint32",                     1},
            { 3, 2, "sid",     "message ip_rib_srv6_prefix", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_lib_ranges", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 0, "value_3", "uint32", 2},
            { 4, 0, "value_4", "uint32", 3},
            { 5, 0, "value_5", "uint32", 4},
            { 6, 0, "value_6", "uint32", 5},
            { 7, 0, "value_7", "uint32", 6},
            { 8, 0, "value_8", "uint32", 7},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_locator", 16, {
            { 1, 2, "name",           "string",                                 0},
            { 2, 2, "locator_prefix", "message ip_rib_srv6_prefix",             1},
            { 3, 2, "second_prefix",  "message ip_rib_srv6_prefix",             2},
            { 4, 0, "value_4",        "uint32",                                 3},
            { 5, 0, "value_5",        "uint32",                                 4},
            { 6, 0, "value_6",        "uint32",                                 5},
            { 7, 0, "value_7",        "uint32",                                 6},
            { 8, 0, "value_8",        "uint32",                                 7},
            {10, 0, "flag_10",        "bool",                                   8},
            {11, 0, "value_11",       "uint32",                                 9},
            {12, 2, "sids",           "repeated message ip_rib_srv6_sid_info", 10},
            {13, 0, "value_13",       "uint32",                                11},
            {14, 2, "lib_ranges",     "message ip_rib_srv6_lib_ranges",        12},
            {15, 0, "flag_15",        "bool",                                  13},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_glb_encap_info", 16, {
            { 1, 2, "encap_prefix_1", "message ip_rib_srv6_prefix", 0},
            { 2, 2, "encap_prefix_2", "message ip_rib_srv6_prefix", 1},
            { 3, 0, "flag_3",         "bool",                       2},
            { 4, 0, "flag_4",         "bool",                       3},
            { 5, 0, "value_5",        "uint32",                     4},
            { 6, 0, "flag_6",         "bool",                       5},
            { 7, 0, "flag_7",         "bool",                       6},
            { 8, 0, "value_8",        "uint32",                     7},
            { 9, 0, "value_9",        "uint32",                     8},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_usid_lib_ranges", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_usid_wlib_ranges", 8, {
            { 1, 0, "value_1", "uint32", 0},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_mode_info", 8, {
            { 1, 0, "flag_1",      "bool",                       0},
            { 2, 2, "mode_prefix", "message ip_rib_srv6_prefix", 1},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_fmt_config_info", 8, {
            { 1, 0, "format",           "uint32",                               0},
            { 2, 2, "usid_lib_ranges",  "message ip_rib_srv6_usid_lib_ranges",  1},
            { 3, 2, "usid_wlib_ranges", "message ip_rib_srv6_usid_wlib_ranges", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_glb_info", 8, {
            { 1, 0, "value_1",    "uint32",                                       0},
            { 2, 0, "value_2",    "uint32",                                       1},
            { 4, 2, "encap_info", "message ip_rib_srv6_glb_encap_info",           2},
            { 6, 2, "modes",      "repeated message ip_rib_srv6_mode_info",       3},
            { 7, 0, "value_7",    "uint32",                                       4},
            { 8, 2, "formats",    "repeated message ip_rib_srv6_fmt_config_info", 5},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_cfg_update", 8, {
            { 1, 2, "global_info", "message ip_rib_srv6_glb_info",         0},
            { 2, 2, "locators",    "repeated message ip_rib_srv6_locator", 1},
        }},

        // SRv6 endpoint behaviours

        {"ip_rib_srv6", "ip_rib_srv6_e_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_x_ctx", 8, {
            { 1, 0, "flag_1",         "bool",                       0},
            { 2, 0, "value_2",        "uint32",                     1},
            { 3, 0, "value_3",        "uint32",                     2},
            { 4, 2, "context_prefix", "message ip_rib_srv6_prefix", 3},
            { 5, 2, "name_5",         "string",                     4},
            { 6, 2, "name_6",         "string",                     5},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_dx_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_dt_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 2, "name_2",  "string", 1},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_dx2_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_dt2u_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_dt2m_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_dt_named_ctx", 8, {
            { 1, 2, "name_1", "string", 0},
            { 2, 2, "name_2", "string", 1},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_un_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_ua_ctx", 8, {
            { 1, 0, "flag_1",         "bool",                       0},
            { 2, 0, "value_2",        "uint32",                     1},
            { 3, 0, "value_3",        "uint32",                     2},
            { 4, 2, "context_prefix", "message ip_rib_srv6_prefix", 3},
            { 5, 0, "value_5",        "uint32",                     4},
            { 6, 2, "name_6",         "string",                     5},
            { 7, 2, "name_7",         "string",                     6},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_udt_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 2, "name_2",  "string", 1},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_udt_named_ctx", 8, {
            { 1, 2, "name_1", "string", 0},
            { 2, 2, "name_2", "string", 1},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_ub6_ctx", 8, {
            { 1, 2, "name_1",         "string",                     0},
            { 2, 0, "value_2",        "uint32",                     1},
            { 3, 0, "value_3",        "uint32",                     2},
            { 4, 0, "value_4",        "uint32",                     3},
            { 5, 2, "context_prefix", "message ip_rib_srv6_prefix", 4},
            { 6, 2, "name_6",         "string",                     5},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_udx2_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_udt2u_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_udt2m_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_udx_ctx", 8, {
            { 1, 0, "value_1", "uint32", 0},
            { 2, 0, "value_2", "uint32", 1},
            { 3, 2, "name_3",  "string", 2},
        }},

        // SRv6 SIDs and updates

        {"ip_rib_srv6", "ip_rib_srv6_sid_ctx", 32, {
            { 1, 0, "value_1",       "uint32",                             0},
            { 2, 0, "values_2",      "repeated uint8",                     1},
            { 3, 2, "e_ctx",         "message ip_rib_srv6_e_ctx",          2},
            { 4, 2, "x_ctx",         "message ip_rib_srv6_x_ctx",          3},
            { 5, 2, "dx_ctx",        "message ip_rib_srv6_dx_ctx",         4},
            { 6, 2, "dt_ctx",        "message ip_rib_srv6_dt_ctx",         5},
            { 7, 2, "dx2_ctx",       "message ip_rib_srv6_dx2_ctx",        6},
            {10, 2, "un_ctx",        "message ip_rib_srv6_un_ctx",         7},
            {11, 2, "ua_ctx",        "message ip_rib_srv6_ua_ctx",         8},
            {12, 2, "udt_ctx",       "message ip_rib_srv6_udt_ctx",        9},
            {13, 2, "ub6_ctx",       "message ip_rib_srv6_ub6_ctx",       10},
            {14, 2, "udx2_ctx",      "message ip_rib_srv6_udx2_ctx",      11},
            {15, 2, "dt2u_ctx",      "message ip_rib_srv6_dt2u_ctx",      12},
            {16, 2, "dt2m_ctx",      "message ip_rib_srv6_dt2m_ctx",      13},
            {17, 2, "udt2u_ctx",     "message ip_rib_srv6_udt2u_ctx",     14},
            {18, 2, "udt2m_ctx",     "message ip_rib_srv6_udt2m_ctx",     15},
            {19, 2, "udx_ctx",       "message ip_rib_srv6_udx_ctx",       16},
            {20, 2, "udt_named_ctx", "message ip_rib_srv6_udt_named_ctx", 17},
            {21, 2, "dt_named_ctx",  "message ip_rib_srv6_dt_named_ctx",  18},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_opcode_update", 8, {
            { 1, 0, "value_1", "uint32",                      0},
            { 2, 0, "value_2", "uint32",                      1},
            { 3, 0, "value_3", "uint32",                      2},
            { 4, 2, "sid_ctx", "message ip_rib_srv6_sid_ctx", 3},
            { 5, 0, "flag_5",  "bool",                        4},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_static_endpoint_update", 8, {
            { 1, 2, "sid",     "message ip_rib_srv6_prefix",  0},
            { 2, 2, "sid_ctx", "message ip_rib_srv6_sid_ctx", 1},
            { 3, 0, "flag_3",  "bool",                        2},
            { 4, 0, "value_4", "uint32",                      3},
        }},
        {"ip_rib_srv6", "ip_rib_srv6_update", 8, {
            { 1, 0, "value_1",                "uint32",                                     0},
            { 2, 2, "cfg_update",             "message ip_rib_srv6_cfg_update",             1},
            { 3, 2, "opcode_update",          "message ip_rib_srv6_opcode_update",          2},
            { 4, 2, "static_endpoint_update", "message ip_rib_srv6_static_endpoint_update", 3},
        }},
    };
    return table;
}
// clang-format on

} // namespace field_table
