// The frame that the four entry points share: stripping it, choosing by type code, and the codes that stop the process.

#include "tests/client/recorder.hpp"
#include "tests/client/support.hpp"

using namespace rib_test;

namespace
{

int callbacks;

int proto_callback(uint32_t, rib_protoid_map *, void *)
{
    return ++callbacks;
}

int opaque_callback(uint32_t, uint32_t, rib_opaque_update *, void *)
{
    return ++callbacks;
}

int route_callback(uint32_t, rib_routetype_ *, void *)
{
    return ++callbacks;
}

int grid_callback(void *, void *, uint32_t)
{
    return ++callbacks;
}

// One entry point: what it knows, an update that it delivers, and how its assertion reads.
struct entry_point {
    const char *name;
    uint32_t known[2];
    uint32_t encoded_type;
    bytes encoded_payload;
    unsigned line;
    const char *prototype;
    void (*parse)(updatetype_local *update);
};

rib_route_client route_client = {nullptr, nullptr, route_callback};

void parse_proto(updatetype_local *update)
{
    rib_lib_pvt_parse_proto_update(proto_callback, update, nullptr);
}

void parse_opaque(updatetype_local *update)
{
    rib_lib_pvt_parse_opaque_update(opaque_callback, update, nullptr);
}

void parse_route(updatetype_local *update)
{
    rib_lib_pvt_parse_route_update(
        update, route_callback, [](rib_tlv_t *, uchar_t **) { return static_cast<rib_routetype_ *>(nullptr); },
        [](rib_routetype_ *) {}, 1, &route_client);
}

void parse_grid(updatetype_local *update)
{
    rib_lib_pvt_parse_grid_update(grid_callback, update, nullptr);
}

const entry_point entry_points[] = {
    {"proto",
     {38, 47},
     47,
     {0x08, 0x01}, // 1 proto_id = 1
     188,
     "void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *)",
     parse_proto},
    {"opaque",
     {37, 50},
     50,
     {0x10, 0x01}, // 2 opaque_id = 1
     337,
     "void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer, updatetype_local *, void *)",
     parse_opaque},
    {"route",
     {3, 51},
     51,
     {0x10, 0x01}, // 2 route_value_2 = 1
     264,
     "void rib_lib_pvt_parse_route_update(updatetype_local *, rib_route_func_pointer, struct rib_routetype_ "
     "*(*)(rib_tlv_t *, uchar_t **), void (*)(struct rib_routetype_ *), int, void *)",
     parse_route},
    {"grid",
     {46, 49},
     49,
     {0x08, 0x01}, // 1 nhid_update_value_1 = 1
     127,
     "void rib_lib_pvt_parse_grid_update(rib_grid_update_func_pointer, updatetype_local *, void *)",
     parse_grid},
};

bool knows(const entry_point &entry, uint32_t code)
{
    return entry.known[0] == code || entry.known[1] == code;
}

// Where gtest prints an entry point.
void PrintTo(const entry_point &entry, std::ostream *out)
{
    *out << entry.name;
}

class frame : public testing::TestWithParam<entry_point>
{
protected:
    frame()
    {
        callbacks = 0;
        platform = {};
    }

    void expect_unknown(updatetype_local &update)
    {
        platform.failures.clear();
        EXPECT_TRUE(asserts([&] { GetParam().parse(&update); })) << update.tlv_type;
        const failed_assertion expected = {"0", "ip/rib/lib/src/rib_lib_api_parse", GetParam().line,
                                           GetParam().prototype};
        ASSERT_EQ(platform.failures.size(), 1u);
        EXPECT_EQ(platform.failures[0], expected);
        EXPECT_EQ(callbacks, 0);
    }

    // A frame around the entry point's encoded payload, type and length in host order as strip leaves them.
    static bytes framed_payload()
    {
        const auto type = static_cast<uint8_t>(GetParam().encoded_type);
        return bytes{
                   0xFF, 0xFE, 0xFD, 0xFC, // not read
                   type, 0x00,             // type code
                   0x02, 0x00,             // 2 bytes
               } +
               GetParam().encoded_payload;
    }
};

TEST_P(frame, stripped_update_is_used_as_it_is_without_a_call_of_strip)
{
    guarded_bytes payload(GetParam().encoded_payload);
    updatetype_local update = stripped_update(GetParam().encoded_type, payload);
    GetParam().parse(&update);
    EXPECT_EQ(callbacks, 1);
    EXPECT_TRUE(platform.strips.empty());
    EXPECT_EQ(update.tlv_type, GetParam().encoded_type);
    EXPECT_EQ(update.payload, payload.data());
    EXPECT_EQ(update.payload_len, 2u);
}

TEST_P(frame, any_non_zero_stripped_counts)
{
    for (const uint32_t stripped : {2u, 0x100u, 0x80000000u}) {
        guarded_bytes payload(GetParam().encoded_payload);
        updatetype_local update = stripped_update(GetParam().encoded_type, payload);
        update.stripped = stripped;
        callbacks = 0;
        GetParam().parse(&update);
        EXPECT_EQ(callbacks, 1);
        EXPECT_EQ(update.stripped, stripped);
    }
    EXPECT_TRUE(platform.strips.empty());
}

TEST_P(frame, framed_update_is_stripped_once_with_a_cursor_at_the_frame)
{
    guarded_bytes framed(framed_payload());
    updatetype_local update = framed_update(framed.data());
    GetParam().parse(&update);
    EXPECT_EQ(callbacks, 1);
    ASSERT_EQ(platform.strips.size(), 1u);
    EXPECT_EQ(platform.strips[0].cursor, framed.data());
    EXPECT_NE(platform.strips[0].cursor_address, &update.payload);
}

TEST_P(frame, type_payload_and_length_come_from_the_header)
{
    guarded_bytes framed(framed_payload());
    updatetype_local update = framed_update(framed.data());
    update.tlv_type = 0xAAAAAAAA;
    update.payload_len = 0xBBBBBBBB;
    GetParam().parse(&update);
    EXPECT_EQ(callbacks, 1);
    EXPECT_EQ(update.tlv_type, GetParam().encoded_type);
    EXPECT_EQ(update.payload, framed.data() + 8);
    EXPECT_EQ(update.payload_len, 2u);
}

TEST_P(frame, other_members_of_the_update_record_stay)
{
    guarded_bytes framed(framed_payload());
    updatetype_local update = framed_update(framed.data());
    update.update_kind = 0x1234;
    GetParam().parse(&update);
    EXPECT_EQ(update.update_id, 0xC0FFEE02u);
    EXPECT_EQ(update.update_kind, 0x1234);
    EXPECT_EQ(update.stripped, 0u);
}

TEST_P(frame, header_that_strip_returned_decides_not_the_cursor)
{
    guarded_bytes elsewhere(framed_payload());
    guarded_bytes other(bytes(24, 0xEE));
    platform.header = reinterpret_cast<rib_tlv_t *>(elsewhere.data());
    updatetype_local update = framed_update(other.data());
    GetParam().parse(&update);
    EXPECT_EQ(callbacks, 1);
    EXPECT_EQ(platform.strips[0].cursor, other.data());
    EXPECT_EQ(update.payload, elsewhere.data() + 8);
}

TEST_P(frame, payload_starts_behind_the_header_wherever_the_cursor_went)
{
    for (const size_t advance : {size_t{0}, size_t{4}, size_t{8}, size_t{10}}) {
        platform.strip_advance = advance;
        guarded_bytes framed(framed_payload());
        updatetype_local update = framed_update(framed.data());
        callbacks = 0;
        GetParam().parse(&update);
        EXPECT_EQ(callbacks, 1) << advance;
        EXPECT_EQ(update.payload, framed.data() + 8);
    }
}

TEST_P(frame, header_may_lie_at_an_odd_address)
{
    guarded_bytes framed(framed_payload() + bytes{0x00});
    ASSERT_EQ(reinterpret_cast<uintptr_t>(framed.data()) % 2, 1u);
    updatetype_local update = framed_update(framed.data());
    GetParam().parse(&update);
    EXPECT_EQ(callbacks, 1);
    EXPECT_EQ(update.payload_len, 2u);
}

TEST_P(frame, length_is_16_bits)
{
    bytes framed = framed_payload();
    framed[6] = 0xFF;
    framed[7] = 0xFF;
    guarded_bytes guarded(framed + bytes(0xFFFF, 0x00));
    updatetype_local update = framed_update(guarded.data());
    // The payload goes on with tags of field 0, wire type 0: each takes two of the zero bytes, the last one is cut off.
    GetParam().parse(&update);
    EXPECT_EQ(update.payload_len, 0xFFFFu);
    EXPECT_EQ(callbacks, 0);
}

TEST_P(frame, record_parsed_again_is_stripped_again_from_its_payload)
{
    guarded_bytes framed(framed_payload() + bytes(8, 0x00) + GetParam().encoded_payload);
    updatetype_local update = framed_update(framed.data());
    GetParam().parse(&update);
    EXPECT_EQ(callbacks, 1);
    // The payload becomes a header in its turn: behind it, the type code and the length that strip finds there.
    const bytes inner = framed_payload();
    std::memcpy(framed.data() + 8, inner.data(), inner.size());
    GetParam().parse(&update);
    ASSERT_EQ(platform.strips.size(), 2u);
    EXPECT_EQ(platform.strips[1].cursor, framed.data() + 8);
    EXPECT_EQ(update.payload, framed.data() + 16);
    EXPECT_EQ(callbacks, 2);
}

TEST_P(frame, codes_of_the_other_entry_points_stop_the_process)
{
    for (const uint32_t code : ALL_CODES) {
        if (knows(GetParam(), code))
            continue;
        guarded_bytes payload(GetParam().encoded_payload);
        updatetype_local update = stripped_update(code, payload);
        expect_unknown(update);
    }
}

TEST_P(frame, codes_that_nobody_knows_stop_the_process)
{
    for (const uint32_t code : {0u, 1u, 2u, 4u, 36u, 39u, 45u, 48u, 52u, 255u, 0xFFFFu, 0xFFFFFFFFu}) {
        guarded_bytes payload(GetParam().encoded_payload);
        updatetype_local update = stripped_update(code, payload);
        expect_unknown(update);
    }
}

TEST_P(frame, code_of_a_stripped_update_is_compared_at_32_bits)
{
    guarded_bytes payload(GetParam().encoded_payload);
    updatetype_local update = stripped_update(0x10000u + GetParam().encoded_type, payload);
    expect_unknown(update);
}

TEST_P(frame, unknown_code_in_a_header_stops_the_process_after_stripping)
{
    bytes framed = framed_payload();
    framed[5] = 0x01; // the code plus 256
    guarded_bytes guarded(framed);
    updatetype_local update = framed_update(guarded.data());
    expect_unknown(update);
    EXPECT_EQ(platform.strips.size(), 1u);
    EXPECT_EQ(update.tlv_type, GetParam().encoded_type + 256);
    EXPECT_EQ(update.payload, guarded.data() + 8);
}

TEST_P(frame, unknown_code_comes_before_a_malformed_payload)
{
    guarded_bytes payload({0x08}); // a tag without its value
    updatetype_local update = stripped_update(99, payload);
    expect_unknown(update);
}

INSTANTIATE_TEST_SUITE_P(entry_points, frame, testing::ValuesIn(entry_points),
                         [](const testing::TestParamInfo<entry_point> &one) { return one.param.name; });

} // namespace
