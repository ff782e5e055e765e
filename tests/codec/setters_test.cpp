// Messages made by setters alone: what a setter is given, the encoding has; what is cleared, it has not.

#include "messages/ip_rib.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

#include <cstdint>
#include <iterator>

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(ip_rib_proto_update);
RIB_TEST_CODEC(rib_encap_id_path_key_label);
RIB_TEST_CODEC(rib_path);
RIB_TEST_CODEC(rib_route);

TEST(setters, a_constant_string_needs_no_cast_and_no_mark)
{
    zidl_ip_rib_proto_update msg = {};
    zidl_ip_rib_proto_update_set_proto_id(&msg, 20);
    zidl_ip_rib_proto_update_set_proto_name(&msg, "bgp");
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), (bytes{
                                                    0x08, 0x14,                // 1 proto_id = 20
                                                    0x22, 0x03, 'b', 'g', 'p', // 4 proto_name
                                                }));
}

TEST(setters, a_null_string_is_not_encoded)
{
    zidl_ip_rib_proto_update msg = {};
    zidl_ip_rib_proto_update_set_proto_name(&msg, nullptr);
    EXPECT_TRUE(zidl_ip_rib_proto_update_has_proto_name(&msg));
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), bytes());
}

TEST(setters, bytes_come_with_their_size)
{
    static const uint8_t block[] = {1, 2, 3};
    zidl_ip_rib_opaque msg = {};
    zidl_ip_rib_opaque_set_first_block(&msg, block, sizeof block);
    zidl_ip_rib_opaque_set_second_block(&msg, nullptr, 0);
    EXPECT_EQ(encode<ip_rib_opaque>(msg), (bytes{
                                              0x2a, 0x03, 1, 2, 3, // 5 first_block
                                              0x32, 0x00,          // 6 second_block, empty
                                          }));
}

TEST(setters, an_array_of_numbers_comes_with_its_count)
{
    static const uint32_t labels[] = {16, 300};
    zidl_rib_encap_id_path_key_label msg = {};
    zidl_rib_encap_id_path_key_label_set_labels(&msg, labels, std::size(labels));
    EXPECT_EQ(encode<rib_encap_id_path_key_label>(msg), (bytes{
                                                            0x10, 0x10,       // 2 labels[0] = 16
                                                            0x10, 0xac, 0x02, // 2 labels[1] = 300
                                                        }));
}

TEST(setters, an_array_of_messages_comes_with_its_count)
{
    zidl_rib_path paths[2] = {};
    zidl_rib_path_set_path_value_1(&paths[0], 1);
    zidl_rib_path_set_path_value_1(&paths[1], 2);
    zidl_rib_route msg = {};
    zidl_rib_route_set_paths(&msg, paths, std::size(paths));
    EXPECT_EQ(encode<rib_route>(msg), (bytes{
                                          0xd2, 0x01, 0x02, // 26 paths[0], 2 bytes
                                          0x08, 0x01,       //    1 path_value_1 = 1
                                          0xd2, 0x01, 0x02, // 26 paths[1], 2 bytes
                                          0x08, 0x02,       //    1 path_value_1 = 2
                                      }));
}

TEST(setters, the_last_value_counts)
{
    zidl_ip_rib_proto_update msg = {};
    zidl_ip_rib_proto_update_set_proto_name(&msg, "static");
    zidl_ip_rib_proto_update_set_proto_name(&msg, "bgp");
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), (bytes{
                                                    0x22, 0x03, 'b', 'g', 'p', // 4 proto_name
                                                }));
}

TEST(setters, what_is_cleared_is_not_encoded)
{
    static const uint8_t block[] = {1, 2, 3};
    zidl_ip_rib_opaque msg = {};
    zidl_ip_rib_opaque_set_opaque_id(&msg, 300);
    zidl_ip_rib_opaque_set_first_block(&msg, block, sizeof block);
    zidl_ip_rib_opaque_set_second_block(&msg, block, 1);
    zidl_ip_rib_opaque_clear_opaque_id(&msg);
    zidl_ip_rib_opaque_clear_first_block(&msg);
    EXPECT_FALSE(zidl_ip_rib_opaque_has_opaque_id(&msg));
    EXPECT_EQ(msg.opaque_id, 0u);
    EXPECT_EQ(msg.first_block, nullptr);
    EXPECT_EQ(msg.first_block_size, 0u);
    EXPECT_EQ(encode<ip_rib_opaque>(msg), (bytes{
                                              0x32, 0x01, 1, // 6 second_block
                                          }));
}

// Its own presence bits would have it encoded without that of the field.
TEST(setters, an_embedded_message_is_cleared_with_all_that_it_holds)
{
    zidl_rib_path msg = {};
    zidl_rib_path_set_path_value_1(&msg, 1);
    zidl_rib_path_mark_path_address_4(&msg);
    zidl_rib_address_set_family(&msg.path_address_4, 2);
    zidl_rib_ipv6_address_set_half1(&msg.path_address_4.ipv6, 1);
    zidl_rib_path_clear_path_address_4(&msg);
    EXPECT_EQ(encode<rib_path>(msg), (bytes{
                                         0x08, 0x01, // 1 path_value_1 = 1
                                     }));
}

TEST(setters, a_cleared_member_leaves_its_memory_to_the_caller)
{
    memory heap;
    const bytes input = {0x22, 0x03, 'b', 'g', 'p'}; // 4 proto_name
    zidl_ip_rib_proto_update msg = {};
    ASSERT_EQ(zidl_ip_rib_proto_update_decode_ext(&msg, input.data(), input.size(), memory::allocate, &heap, 0),
              ZIDL_OK);
    char *const name = msg.proto_name;
    zidl_ip_rib_proto_update_clear_proto_name(&msg);
    zidl_ip_rib_proto_update_free_ext(&msg, memory::release, &heap, 0);
    EXPECT_EQ(heap.releases, sizes()) << "what was cleared was released with the message";
    memory::release(name, &heap);
    EXPECT_EQ(heap.releases, sizes({0}));
}

} // namespace
