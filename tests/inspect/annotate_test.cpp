// What each byte of an update is, line by line.

#include "inspect/measure/annotate.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace rib_test
{

namespace
{

using bytes = std::vector<uint8_t>;
using list = std::vector<std::string>;
using rib_inspect::annotate_message;
using rib_inspect::annotate_update;
using rib_inspect::annotated_bytes;
using rib_inspect::annotated_line;

// "offset-end kind value path > lands ! wrong", the last two where there is something.
list lines(const annotated_bytes &of)
{
    list out;
    for (const annotated_line &line : of.lines) {
        std::string text = std::to_string(line.offset) + "-" + std::to_string(line.end) + " " + line.kind + " " +
                           line.value + " " + line.path;
        if (!line.lands.empty())
            text += " > " + line.lands;
        if (!line.wrong.empty())
            text += " ! " + line.wrong;
        out.push_back(text);
    }
    return out;
}

TEST(annotate, each_value_has_a_line_with_its_bytes_and_where_they_land)
{
    const annotated_bytes annotated = annotate_update(RIB_TLV_ROUTE, bytes{
                                                                         0x48, 0x05,       // route_value_9 = 5
                                                                         0xD2, 0x01, 0x0C, // paths[0]
                                                                         0x70, 0x03,       //   path_value_14 = 3
                                                                         0x2A, 0x08,       //   path_address_5
                                                                         0x08, 0x01,       //     family = 1
                                                                         0x10, 0x81, 0x84, 0x80, 0x80, 0x0C, // ipv4
                                                                     });
    EXPECT_EQ(annotated.verdict, "delivered, 1 loss");
    EXPECT_EQ(lines(annotated), (list{"0-2 varint 5 route_value_9 > rt_value_9", "2-5 message 12 bytes paths[0]",
                                      "5-7 varint 3 paths[0].path_value_14 > nothing: ignored",
                                      "7-9 message 192.0.2.1 paths[0].path_address_5",
                                      "9-11 varint 1 paths[0].path_address_5.family > decides",
                                      "11-17 varint 3221225985 paths[0].path_address_5.ipv4 > pe_addr_5, decides"}));
}

TEST(annotate, bytes_behind_a_failure_are_shown_without_saying_where_they_would_land)
{
    const annotated_bytes annotated = annotate_update(RIB_TLV_ROUTE, bytes{
                                                                         0x48, 0x05, // route_value_9 = 5
                                                                         0x52, 0x00, // route_value_10 as bytes
                                                                         0x60, 0x07, // route_value_12 = 7
                                                                     });
    EXPECT_EQ(annotated.verdict, "dropped: wrong_wire_type at route_value_10 +0x2");
    EXPECT_FALSE(annotated.is_good);
    EXPECT_EQ(lines(annotated),
              (list{"0-2 varint 5 route_value_9", "2-4 bytes 0 bytes route_value_10 ! wrong_wire_type",
                    "4-6 varint 7 route_value_12"}));
}

TEST(annotate, what_lengths_do_not_allow_to_read_is_the_rest)
{
    const annotated_bytes annotated = annotate_update(RIB_TLV_ROUTE, bytes{0x48, 0x05, 0x48, 0x80, 0x80});
    EXPECT_EQ(lines(annotated), (list{"0-2 varint 5 route_value_9", "2-5 rest 3 bytes route_value_9 ! cut_off"}));
}

TEST(annotate, an_update_that_the_conversion_drops_names_the_field)
{
    const annotated_bytes marked = annotate_update(RIB_TLV_ROUTE, bytes{0x90, 0x02, 0x01}); // route_value_34
    EXPECT_EQ(marked.verdict, "dropped: marked_unsupported at route_value_34 +0x2");
    EXPECT_EQ(lines(marked), (list{"0-3 varint 1 route_value_34 ! marked_unsupported"}));

    const annotated_bytes stopped = annotate_update(RIB_TLV_PROTO, bytes{0x10, 0x05}); // without proto_id
    EXPECT_EQ(stopped.verdict, "stopped: missing_proto_id at proto_id +0x0");
    EXPECT_EQ(lines(stopped), (list{"0-2 varint 5 proto_sub_id"}));
}

TEST(annotate, replaced_and_unknown_values_say_so)
{
    EXPECT_EQ(lines(annotate_update(RIB_TLV_ROUTE,
                                    bytes{
                                        0x48, 0x05,       // route_value_9 = 5
                                        0x48, 0x06,       // and 6
                                        0xF8, 0x07, 0x01, // field 127
                                    })),
              (list{"0-2 varint 5 route_value_9 > replaced by +0x2", "2-4 varint 6 route_value_9 > rt_value_9",
                    "4-7 varint 1 127 > skipped"}));
}

TEST(annotate, a_message_that_no_entry_point_takes_has_no_arrows)
{
    const annotated_bytes annotated = annotate_message(*zidl::find_message("rib_path"), bytes{0x08, 0x07});
    EXPECT_EQ(annotated.verdict, "decoded");
    EXPECT_EQ(lines(annotated), (list{"0-2 varint 7 path_value_1"}));
    EXPECT_EQ(annotate_message(*zidl::find_message("rib_path"), bytes{0x08}).verdict,
              "not decoded: cut_off at path_value_1 +0x1");
}

TEST(annotate, the_message_of_an_update_is_annotated_as_that)
{
    EXPECT_EQ(lines(annotate_message(*zidl::find_message("rib_nhid_update"), bytes{0x08, 0x07})),
              (list{"0-2 varint 7 nhid_update_value_1 > update_value_1, decides"}));
}

TEST(annotate, older_forms_have_a_line_for_each_number)
{
    const annotated_bytes annotated =
        annotate_update(RIB_TLV_OLD_OPAQUE, bytes{
                                                0x00, 0x05,             // opaque_type = 5
                                                0xFF, 0xFF,             // not used
                                                0x00, 0x00, 0x00, 0x06, // opaque_id = 6
                                                0x00, 0x01,             // 1 byte in the first block
                                                0x00, 0x07,             // opaque_sub_id = 7
                                                0x00, 0x00, 0x00, 0x08, // opaque_value = 8
                                                0x00, 0x00, 0x00, 0x00, // no second block
                                                0x00, 0x00, 0x00, 0x00, // not used
                                                0xAA,                   // first_block
                                            });
    const list all = lines(annotated);
    ASSERT_EQ(all.size(), 9u);
    EXPECT_EQ(all[0], "0-2 u16 5 opaque_type > opaque_type");
    EXPECT_EQ(all[1], "2-4 bytes 2 bytes  > not used");
    EXPECT_EQ(all[8], "24-25 bytes 1 byte first_block > first_block");
}

TEST(annotate, what_has_no_layout_is_shown_as_bytes)
{
    const annotated_bytes annotated = annotate_update(99, bytes(18, 'a'));
    EXPECT_EQ(annotated.verdict, "refused: not_tried_unknown_code");
    EXPECT_EQ(lines(annotated), (list{"0-16 bytes \"aaaaaaaaaaaaaaaa\" ", "16-18 bytes \"aa\" "}));
}

TEST(annotate, lines_follow_one_another_without_a_gap)
{
    // A valid beginning, then every byte value: whatever it is, each byte belongs to one line.
    for (unsigned seed = 0; seed < 256; ++seed) {
        bytes payload = {0x48, 0x05, 0xD2, 0x01, 0x04};
        for (unsigned i = 0; i < 12; ++i)
            payload.push_back(static_cast<uint8_t>(seed * 37 + i * i * seed));
        size_t at = 0;
        for (const annotated_line &line : annotate_update(RIB_TLV_ROUTE, payload).lines) {
            EXPECT_EQ(line.offset, at);
            at = line.end;
        }
        EXPECT_EQ(at, payload.size());
    }
}

} // namespace

} // namespace rib_test
