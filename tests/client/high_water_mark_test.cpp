// The high-water mark of the lengths of encoded routes: what raises it, and that nothing lowers it. A process has one, so
// that each test begins with what the ones before it left.

#include "tests/client/recorder.hpp"
#include "tests/client/route_support.hpp"

#include <algorithm>

using namespace rib_test;

namespace
{

// A route of `len` bytes, an even number.
bytes route_of(size_t len)
{
    return repeat(len / 2, {0x10, 0x07}); // 2 route_value_2 = 7
}

// The frame of a route of `len` bytes, numbers in host order as strip leaves them.
bytes frame_of(size_t len)
{
    return bytes{
               0x00,
               0x00,
               0x00,
               0x00, // not read
               0x33,
               0x00, // type 51
               static_cast<uint8_t>(len),
               static_cast<uint8_t>(len >> 8),
           } +
           route_of(len);
}

class high_water_mark : public testing::Test
{
protected:
    high_water_mark() { platform = {}; }

    void parse(updatetype_local update)
    {
        rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    }

    void parse_stripped(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        parse(stripped_update(ENCODED_ROUTE, guarded));
    }

    void parse_framed(const bytes &frame)
    {
        guarded_bytes guarded(frame);
        parse(framed_update(guarded.data()));
    }

    static int count(uint32_t, rib_routetype_ *, void *context)
    {
        static_cast<high_water_mark *>(context)->delivered++;
        return 0;
    }

    int delivered = 0;
    rib_route_client client = {this, nullptr, count};

    // A length above 1000 and above the mark. Even, like all lengths here.
    const uint32_t longest = (std::max(rib_lib_route_payload_high_water(), 1000u) | 1) + 1;
};

TEST_F(high_water_mark, rises_to_the_length_of_a_stripped_payload)
{
    parse_stripped(route_of(longest));
    EXPECT_EQ(rib_lib_route_payload_high_water(), longest);
}

TEST_F(high_water_mark, rises_to_the_length_in_the_header_of_a_framed_payload)
{
    guarded_bytes frame(frame_of(longest));
    updatetype_local update = framed_update(frame.data());
    update.payload_len = longest + 1000; // left from the update before
    parse(update);
    EXPECT_EQ(rib_lib_route_payload_high_water(), longest);
}

TEST_F(high_water_mark, never_falls_to_the_length_of_a_stripped_payload)
{
    parse_stripped(route_of(longest));
    for (const uint32_t shorter : {longest - 2, 256u, 2u, 0u}) {
        parse_stripped(route_of(shorter));
        EXPECT_EQ(rib_lib_route_payload_high_water(), longest) << shorter;
    }
    EXPECT_EQ(delivered, 5);
}

TEST_F(high_water_mark, never_falls_to_the_length_of_a_framed_payload)
{
    parse_framed(frame_of(longest));
    for (const uint32_t shorter : {longest - 2, 256u, 2u, 0u}) {
        parse_framed(frame_of(shorter));
        EXPECT_EQ(rib_lib_route_payload_high_water(), longest) << shorter;
    }
    EXPECT_EQ(delivered, 5);
}

TEST_F(high_water_mark, never_falls_for_a_route_that_does_not_decode)
{
    parse_stripped(route_of(longest));
    parse_stripped({0x10}); // 2 route_value_2, cut off
    EXPECT_EQ(rib_lib_route_payload_high_water(), longest);
    EXPECT_EQ(delivered, 1);
}

TEST_F(high_water_mark, stays_for_a_payload_of_the_same_length)
{
    parse_stripped(route_of(longest));
    parse_stripped(route_of(longest));
    parse_framed(frame_of(longest));
    EXPECT_EQ(rib_lib_route_payload_high_water(), longest);
}

TEST_F(high_water_mark, rises_for_a_route_that_does_not_decode)
{
    parse_stripped(route_of(longest) + bytes{0x10}); // cut off at the end
    EXPECT_EQ(delivered, 0);
    EXPECT_EQ(rib_lib_route_payload_high_water(), longest + 1);
}

TEST_F(high_water_mark, is_not_touched_by_older_form_routes)
{
    const uint32_t before = rib_lib_route_payload_high_water();
    guarded_bytes payload(bytes(longest, 0));
    updatetype_local update = stripped_update(LEGACY_ROUTE, payload);
    rib_lib_pvt_parse_route_update(
        &update, [](uint32_t, rib_routetype_ *, void *) { return 0; },
        [](rib_tlv_t *, uchar_t **) { return static_cast<rib_routetype_ *>(nullptr); }, [](rib_routetype_ *) {}, 1,
        &client);
    EXPECT_EQ(rib_lib_route_payload_high_water(), before);
}

TEST_F(high_water_mark, is_not_touched_by_the_conversion_alone)
{
    const uint32_t before = rib_lib_route_payload_high_water();
    const converted_route route(route_of(longest));
    EXPECT_EQ(route.status, 0u);
    EXPECT_EQ(rib_lib_route_payload_high_water(), before);
}

TEST_F(high_water_mark, has_risen_when_the_callback_runs)
{
    uint32_t seen = 0;
    client.context = &seen;
    client.encoded_route = [](uint32_t, rib_routetype_ *, void *context) {
        *static_cast<uint32_t *>(context) = rib_lib_route_payload_high_water();
        return 0;
    };
    parse_stripped(route_of(longest));
    EXPECT_EQ(seen, longest);
}

} // namespace
