// What becomes of an update, by name.

#include "tests/inspect/explain_support.hpp"

#include <cstring>

namespace
{

using namespace rib_test;

TEST(explain_outcome, route_without_losses_is_delivered_with_its_record)
{
    const auto why = explain(RIB_TLV_ROUTE, {
                                                0x0A, 0x0A,             // 1 route_prefix, 10 bytes
                                                0x0A, 0x06,             //   1 address, 6 bytes
                                                0x08, 0x01,             //     1 family = 1
                                                0x10, 0x81, 0x82, 0x04, //     2 ipv4 = 65793
                                                0x10, 0x18,             //   2 prefix_len = 24
                                            });
    EXPECT_EQ(why->outcome, RIB_DELIVERED);
    EXPECT_EQ(place(*why), "none");
    EXPECT_STREQ(why->status_name, "OK");
    EXPECT_STREQ(why->message, "rib_route");
    EXPECT_EQ(why->tlv_type, RIB_TLV_ROUTE);
    EXPECT_EQ(losses(*why), std::vector<std::string>());
    ASSERT_EQ(why->record_kind, RIB_RECORD_ROUTE);
    EXPECT_EQ(static_cast<const struct rib_routetype_ *>(why->record)->rt_prefix_len, 24);
}

TEST(explain_outcome, route_of_an_unknown_family_is_dropped)
{
    const auto why = explain(RIB_TLV_ROUTE, {
                                                0x0A, 0x04, // 1 route_prefix, 4 bytes
                                                0x0A, 0x02, //   1 address, 2 bytes
                                                0x08, 0x03, //     1 family = 3
                                            });
    EXPECT_EQ(why->outcome, RIB_DROPPED);
    EXPECT_EQ(place(*why), "bad_family route_prefix.address.family +5");
    EXPECT_STREQ(why->status_name, "ZERRNO_MALFORMED");
    EXPECT_EQ(why->record, nullptr);
}

TEST(explain_outcome, protocol_without_identifier_is_stopped)
{
    const auto why = explain(RIB_TLV_PROTO, {
                                                0x18, 0x05, // 3 proto_value = 5
                                            });
    EXPECT_EQ(why->outcome, RIB_STOPPED);
    EXPECT_EQ(place(*why), "missing_proto_id proto_id +0");
    EXPECT_STREQ(why->assertion.expression, "zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)");
    EXPECT_STREQ(why->assertion.file, "ip/rib/lib/src/rib_lib_api_parse");
    EXPECT_EQ(why->assertion.line, 168U);
    EXPECT_STREQ(why->assertion.function,
                 "void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *)");
}

TEST(explain_outcome, what_only_the_client_can_tell_is_refused)
{
    EXPECT_EQ(explain(RIB_TLV_OLD_PROTO, bytes(91))->outcome, RIB_REFUSED);
    EXPECT_EQ(place(*explain(RIB_TLV_OLD_PROTO, bytes(91))), "not_tried_too_short");
    EXPECT_EQ(place(*explain(RIB_TLV_OLD_ROUTE, bytes(91))), "not_tried_converter");
    EXPECT_EQ(place(*explain(52, bytes(91))), "not_tried_unknown_code");
}

TEST(explain_outcome, frame_and_payload_stay_as_they_are)
{
    bytes frame(8 + 92);
    frame[5] = RIB_TLV_OLD_PROTO; // type
    frame[7] = 92;                // length
    frame[9] = 7;                 // proto_id, in network byte order
    const bytes before = frame;
    updatetype_local update = {};
    update.payload = frame.data();
    rib_explanation *out = nullptr;
    ASSERT_EQ(rib_explain_update(&update, nullptr, &out), ZIDL_OK);
    const explanation why(out);
    EXPECT_EQ(frame, before);
    EXPECT_EQ(update.payload, frame.data());
    EXPECT_EQ(update.tlv_type, 0U);
    EXPECT_EQ(why->outcome, RIB_DELIVERED);
    ASSERT_EQ(why->record_kind, RIB_RECORD_PROTO);
    rib_protoid_map map;
    std::memcpy(&map, why->record, sizeof map);
    EXPECT_EQ(map.proto_id, 7);
}

TEST(explain_outcome, message_that_no_entry_point_takes_is_decoded)
{
    const auto why = explain_message("rib_nnh", {
                                                    0x08, 0x02,       // 1 nnh_value_1 = 2
                                                    0x98, 0x06, 0x07, // 99 = 7, unknown
                                                });
    EXPECT_EQ(why->outcome, RIB_DELIVERED);
    EXPECT_EQ(why->record_kind, RIB_RECORD_MESSAGE);
    EXPECT_EQ(losses(*why), std::vector<std::string>{"unknown_field 99 +4 7 -> (none)"});
}

TEST(explain_outcome, text_of_a_bare_message_ends_at_its_first_nul)
{
    const auto why = explain_message("ip_rib_srv6_locator", {
                                                                0x0A, 0x03, 'a', 0x00, 'b', // 1 name
                                                            });
    EXPECT_EQ(why->outcome, RIB_DELIVERED);
    EXPECT_EQ(losses(*why), std::vector<std::string>{"name_cut name +2 a\\x00b -> a"});
}

TEST(explain_outcome, text_of_a_replaced_message_is_lost_as_a_whole)
{
    const auto why = explain_message("ip_rib_srv6_sid_ctx", {
                                                                0x1A, 0x03,      // 3 e_ctx, 3 bytes
                                                                0x1A, 0x01, 'a', //   3 name_3
                                                                0x1A, 0x00,      // 3 e_ctx, empty
                                                            });
    EXPECT_EQ(losses(*why), std::vector<std::string>{"replaced e_ctx.name_3 +4 a -> (none)"});
}

TEST(explain_outcome, unknown_message_is_an_error)
{
    rib_explanation *out = nullptr;
    EXPECT_EQ(rib_explain_message("rib_nothing", nullptr, 0, nullptr, &out), RIB_ERR_NO_SUCH_MESSAGE);
    EXPECT_EQ(out, nullptr);
}

} // namespace
