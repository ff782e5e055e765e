// The route entry point: encoded routes (code 51) to the client's own callback, older-form routes (code 3) through its
// converter.

#include "tests/client/recorder.hpp"
#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// Everything that the client was called with, in order.
struct route_call {
    std::string who;
    uint32_t update_id = 0;
    const void *route = nullptr;
    void *ctx = nullptr;
    const rib_tlv_t *header = nullptr;
    uchar_t **cursor_address = nullptr;
    const uchar_t *cursor = nullptr;
    uint16_t value_2 = 0;
    uint16_t path_count = 0;
};

std::vector<route_call> calls;
rib_routetype_ legacy_record;
rib_routetype_ *converter_result;

int encoded_route(uint32_t update_id, rib_routetype_ *route, void *ctx)
{
    route_call call;
    call.who = "encoded";
    call.update_id = update_id;
    call.route = route;
    call.ctx = ctx;
    call.value_2 = route->rt_value_2;
    call.path_count = route->rt_path_count;
    calls.push_back(call);
    return 1;
}

int legacy_route(uint32_t update_id, rib_routetype_ *route, void *ctx)
{
    route_call call;
    call.who = "callback";
    call.update_id = update_id;
    call.route = route;
    call.ctx = ctx;
    calls.push_back(call);
    return 1;
}

rib_routetype_ *convert(rib_tlv_t *header, uchar_t **cursor)
{
    route_call call;
    call.who = "convert";
    call.header = header;
    call.cursor_address = cursor;
    call.cursor = *cursor;
    calls.push_back(call);
    return converter_result;
}

void release(rib_routetype_ *route)
{
    route_call call;
    call.who = "release";
    call.route = route;
    calls.push_back(call);
}

std::string order()
{
    std::string names;
    for (const route_call &call : calls)
        names += call.who + " ";
    return names;
}

class route_entry : public testing::Test
{
protected:
    route_entry()
    {
        calls.clear();
        platform = {};
        converter_result = &legacy_record;
    }

    // Parses an encoded route that nobody may write to.
    void parse(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        guarded.forbid_writing();
        updatetype_local update = stripped_update(ENCODED_ROUTE, guarded);
        rib_lib_pvt_parse_route_update(&update, legacy_route, convert, release, 0, &client);
    }

    int context = 0;
    rib_route_client client = {&context, nullptr, encoded_route};
};

// ---- Encoded routes ----

TEST_F(route_entry, context_is_a_value_then_an_unused_pointer_then_the_callback)
{
    EXPECT_EQ(offsetof(rib_route_client, context), 0u);
    EXPECT_EQ(offsetof(rib_route_client, encoded_route), 2 * sizeof(void *));
}

TEST_F(route_entry, encoded_route_reaches_the_callback_of_the_context)
{
    parse(bytes{0x10, 0x07} + path_field({}) + path_field({})); // 2 route_value_2 = 7
    ASSERT_EQ(order(), "encoded ");
    EXPECT_EQ(calls[0].update_id, 0xC0FFEE01u);
    EXPECT_EQ(calls[0].ctx, &context);
    EXPECT_EQ(calls[0].value_2, 7);
    EXPECT_EQ(calls[0].path_count, 2);
}

TEST_F(route_entry, null_context_value_is_handed_on)
{
    client.context = nullptr;
    parse({});
    ASSERT_EQ(order(), "encoded ");
    EXPECT_EQ(calls[0].ctx, nullptr);
}

TEST_F(route_entry, null_callback_is_not_called)
{
    client.encoded_route = nullptr;
    parse({0x10, 0x07});
    EXPECT_EQ(order(), "");
}

TEST_F(route_entry, encoded_route_without_a_client_is_dropped)
{
    guarded_bytes payload({0x10, 0x07}); // 2 route_value_2 = 7
    updatetype_local update = stripped_update(ENCODED_ROUTE, payload);
    update.update_kind = 2;
    rib_lib_pvt_parse_route_update(&update, legacy_route, convert, release, 0, nullptr);
    EXPECT_EQ(order(), "");
    EXPECT_TRUE(platform.failures.empty());
}

TEST_F(route_entry, high_water_mark_rises_for_a_route_without_a_client)
{
    const bytes longer = repeat(rib_lib_route_payload_high_water() / 2 + 1, {0x10, 0x07});
    guarded_bytes payload(longer);
    updatetype_local update = stripped_update(ENCODED_ROUTE, payload);
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, nullptr);
    EXPECT_EQ(rib_lib_route_payload_high_water(), longer.size());
}

TEST_F(route_entry, encoded_route_needs_none_of_the_older_forms_functions)
{
    guarded_bytes payload({0x10, 0x07});
    updatetype_local update = stripped_update(ENCODED_ROUTE, payload);
    update.update_kind = 2;
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    EXPECT_EQ(order(), "encoded ");
}

TEST_F(route_entry, route_that_does_not_decode_is_dropped)
{
    parse({0x10}); // 2 route_value_2, cut off
    EXPECT_EQ(order(), "");
    EXPECT_TRUE(platform.failures.empty());
}

TEST_F(route_entry, route_that_does_not_decode_never_looks_into_the_context)
{
    guarded_bytes payload({0x10}); // 2 route_value_2, cut off
    updatetype_local update = stripped_update(ENCODED_ROUTE, payload);
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, nullptr);
    EXPECT_EQ(order(), "");
}

TEST_F(route_entry, route_with_value_34_is_dropped)
{
    parse({0x90, 0x02, 0x01}); // 34 route_value_34 = 1
    EXPECT_EQ(order(), "");
}

TEST_F(route_entry, route_with_a_malformed_prefix_is_dropped)
{
    parse({
        0x0A, 0x02, // 1 route_prefix, 2 bytes
        0x0A, 0x00, //   1 address, empty
    });
    EXPECT_EQ(order(), "");
}

TEST_F(route_entry, route_with_a_null_attribute_block_is_delivered)
{
    parse(field({0xEA, 0x01}, field({0x12}, field({0x12}, bytes(7, 0xDD)))) + bytes{0x10, 0x07}); // 29, 7 data bytes
    ASSERT_EQ(order(), "encoded ");
    EXPECT_EQ(calls[0].value_2, 7);
}

TEST_F(route_entry, empty_encoded_route_is_delivered)
{
    parse({});
    EXPECT_EQ(order(), "encoded ");
}

TEST_F(route_entry, encoded_route_leaves_the_update_record_as_it_was)
{
    guarded_bytes payload({0x10, 0x07});
    updatetype_local update = stripped_update(ENCODED_ROUTE, payload);
    update.update_kind = 9;
    rib_lib_pvt_parse_route_update(&update, legacy_route, convert, release, 0, &client);
    EXPECT_EQ(update.update_id, 0xC0FFEE01u);
    EXPECT_EQ(update.update_kind, 9);
    EXPECT_EQ(update.tlv_type, ENCODED_ROUTE);
    EXPECT_EQ(update.payload, payload.data());
    EXPECT_EQ(update.payload_len, 2u);
}

TEST_F(route_entry, encoded_route_is_not_followed_by_a_delimiter)
{
    parse({});
    EXPECT_TRUE(platform.delims.empty());
}

// ---- Older-form routes ----

// Parses a stripped older-form route and returns who was called in which order.
std::string parse_older(uint16_t update_kind, int keep, void *ctx)
{
    guarded_bytes payload({0x01, 0x02, 0x03});
    payload.forbid_writing();
    updatetype_local update = stripped_update(LEGACY_ROUTE, payload);
    update.update_kind = update_kind;
    rib_lib_pvt_parse_route_update(&update, legacy_route, convert, release, keep, ctx);
    return order();
}

TEST_F(route_entry, older_form_of_kind_2_that_is_not_kept_is_released_before_the_callback)
{
    EXPECT_EQ(parse_older(2, 0, &context), "convert release callback ");
    EXPECT_EQ(calls[1].route, &legacy_record);
    EXPECT_EQ(calls[2].route, &legacy_record);
    EXPECT_EQ(calls[2].update_id, 0xC0FFEE01u);
    EXPECT_EQ(calls[2].ctx, &context);
}

TEST_F(route_entry, older_form_that_is_kept_is_not_released)
{
    EXPECT_EQ(parse_older(2, 1, &context), "convert callback ");
}

TEST_F(route_entry, any_keep_but_0_keeps)
{
    EXPECT_EQ(parse_older(2, -1, &context), "convert callback ");
    calls.clear();
    EXPECT_EQ(parse_older(2, 0x100, &context), "convert callback ");
}

TEST_F(route_entry, older_form_of_another_kind_is_not_released)
{
    for (const uint16_t kind : std::vector<uint16_t>{0, 1, 3, 0x0200, 0xFFFF}) {
        calls.clear();
        EXPECT_EQ(parse_older(kind, 0, &context), "convert callback ") << kind;
    }
}

// A client may know its update record without being handed it.
updatetype_local *converted_update;
uint16_t converted_kind;

rib_routetype_ *convert_and_set_kind(rib_tlv_t *header, uchar_t **cursor)
{
    converted_update->update_kind = converted_kind;
    return convert(header, cursor);
}

// Parses an older-form route of one kind whose converter makes it another.
std::string parse_changing_kind(uint16_t from, uint16_t to, decltype(&release) releaser)
{
    calls.clear();
    guarded_bytes payload({0x01, 0x02, 0x03});
    updatetype_local update = stripped_update(LEGACY_ROUTE, payload);
    update.update_kind = from;
    converted_update = &update;
    converted_kind = to;
    rib_lib_pvt_parse_route_update(&update, legacy_route, convert_and_set_kind, releaser, 0, nullptr);
    return order();
}

TEST_F(route_entry, kind_that_the_converter_leaves_behind_decides_about_the_release)
{
    EXPECT_EQ(parse_changing_kind(1, 2, release), "convert release callback ");
    EXPECT_EQ(parse_changing_kind(2, 1, release), "convert callback ");
}

TEST_F(route_entry, converter_that_makes_a_route_one_to_release_needs_no_release)
{
    EXPECT_EQ(parse_changing_kind(1, 2, nullptr), "convert callback ");
}

TEST_F(route_entry, null_result_of_the_converter_is_handed_on)
{
    converter_result = nullptr;
    EXPECT_EQ(parse_older(2, 0, &context), "convert release callback ");
    EXPECT_EQ(calls[1].route, nullptr);
    EXPECT_EQ(calls[2].route, nullptr);
}

TEST_F(route_entry, converter_of_a_stripped_update_gets_no_header_and_a_cursor_at_the_payload)
{
    guarded_bytes payload({0x01, 0x02, 0x03});
    updatetype_local update = stripped_update(LEGACY_ROUTE, payload);
    rib_lib_pvt_parse_route_update(&update, legacy_route, convert, release, 1, &context);
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls[0].header, nullptr);
    ASSERT_NE(calls[0].cursor_address, nullptr);
    EXPECT_EQ(calls[0].cursor, payload.data());
}

TEST_F(route_entry, converter_of_a_framed_update_gets_the_header_and_the_cursor_that_was_stripped)
{
    guarded_bytes framed({
        0x00, 0x00, 0x00, 0x00, // not read
        0x03, 0x00,             // type 3, host order
        0x01, 0x00,             // 1 byte
        0xAA,                   // payload
    });
    updatetype_local update = framed_update(framed.data());
    rib_lib_pvt_parse_route_update(&update, legacy_route, convert, release, 1, &context);
    ASSERT_EQ(order(), "convert callback ");
    ASSERT_EQ(platform.strips.size(), 1u);
    EXPECT_EQ(static_cast<const void *>(calls[0].header), framed.data());
    EXPECT_EQ(calls[0].cursor_address, platform.strips[0].cursor_address);
    EXPECT_EQ(calls[0].cursor, framed.data() + 8);
    EXPECT_EQ(calls[1].update_id, 0xC0FFEE02u);
}

TEST_F(route_entry, converter_gets_the_header_that_strip_returned)
{
    guarded_bytes elsewhere({
        0x00, 0x00, 0x00, 0x00, // not read
        0x03, 0x00,             // type 3, host order
        0x00, 0x00,             // no payload
    });
    guarded_bytes framed(bytes(16, 0xEE));
    platform.header = reinterpret_cast<rib_tlv_t *>(elsewhere.data());
    platform.strip_advance = 5;
    updatetype_local update = framed_update(framed.data());
    rib_lib_pvt_parse_route_update(&update, legacy_route, convert, release, 1, &context);
    ASSERT_EQ(order(), "convert callback ");
    EXPECT_EQ(static_cast<const void *>(calls[0].header), elsewhere.data());
    EXPECT_EQ(calls[0].cursor, framed.data() + 5);
}

TEST_F(route_entry, older_form_never_looks_into_the_context)
{
    EXPECT_EQ(parse_older(2, 0, nullptr), "convert release callback ");
    EXPECT_EQ(calls[2].ctx, nullptr);
}

// Parses a stripped older-form route with these of the client's functions, and returns who was called in which order.
std::string parse_older_with(rib_route_func_pointer callback, decltype(&convert) converter, decltype(&release) releaser,
                             uint16_t update_kind, int keep)
{
    calls.clear();
    guarded_bytes payload({0x01, 0x02, 0x03});
    payload.forbid_writing();
    updatetype_local update = stripped_update(LEGACY_ROUTE, payload);
    update.update_kind = update_kind;
    rib_lib_pvt_parse_route_update(&update, callback, converter, releaser, keep, nullptr);
    return order();
}

TEST_F(route_entry, older_form_without_a_converter_calls_nothing)
{
    EXPECT_EQ(parse_older_with(legacy_route, nullptr, release, 2, 0), "");
    EXPECT_EQ(parse_older_with(legacy_route, nullptr, release, 2, 1), "");
    EXPECT_EQ(parse_older_with(legacy_route, nullptr, release, 1, 0), "");
}

TEST_F(route_entry, older_form_without_a_callback_calls_nothing)
{
    EXPECT_EQ(parse_older_with(nullptr, convert, release, 2, 0), "");
    EXPECT_EQ(parse_older_with(nullptr, convert, release, 2, 1), "");
    EXPECT_EQ(parse_older_with(nullptr, convert, release, 1, 0), "");
}

TEST_F(route_entry, older_form_without_the_release_that_it_needs_calls_nothing)
{
    EXPECT_EQ(parse_older_with(legacy_route, convert, nullptr, 2, 0), "");
}

TEST_F(route_entry, older_form_that_is_not_released_needs_no_release)
{
    EXPECT_EQ(parse_older_with(legacy_route, convert, nullptr, 2, 1), "convert callback ");
    EXPECT_EQ(parse_older_with(legacy_route, convert, nullptr, 1, 0), "convert callback ");
}

TEST_F(route_entry, older_form_without_any_of_the_functions_calls_nothing)
{
    EXPECT_EQ(parse_older_with(nullptr, nullptr, nullptr, 2, 0), "");
    EXPECT_EQ(parse_older_with(nullptr, nullptr, nullptr, 1, 1), "");
    EXPECT_TRUE(platform.failures.empty());
}

TEST_F(route_entry, older_form_that_is_dropped_has_its_frame_stripped_once)
{
    guarded_bytes framed({
        0x00, 0x00, 0x00, 0x00, // not read
        0x03, 0x00,             // type 3, host order
        0x01, 0x00,             // 1 byte
        0xAA,                   // payload
    });
    updatetype_local update = framed_update(framed.data());
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    EXPECT_EQ(order(), "");
    EXPECT_EQ(platform.strips.size(), 1u);
    EXPECT_EQ(update.tlv_type, LEGACY_ROUTE);
    EXPECT_EQ(update.payload, framed.data() + 8);
    EXPECT_EQ(update.payload_len, 1u);
}

TEST_F(route_entry, older_form_handles_no_delimiter)
{
    parse_older(2, 0, &context);
    EXPECT_TRUE(platform.delims.empty());
}

// ---- A callback that parses ----

struct nested_parse {
    rib_route_client client;
    int depth;
    uint16_t seen_after;
};

TEST_F(route_entry, callback_may_parse_another_route)
{
    static guarded_bytes *inner_payload;
    guarded_bytes inner({0x10, 0x09}); // 2 route_value_2 = 9
    inner_payload = &inner;
    nested_parse nested = {};
    nested.client.context = &nested;
    nested.client.encoded_route = [](uint32_t, rib_routetype_ *route, void *ctx) {
        auto *self = static_cast<nested_parse *>(ctx);
        const uint16_t mine = route->rt_value_2;
        if (self->depth++ < 3) {
            updatetype_local update = stripped_update(ENCODED_ROUTE, *inner_payload);
            rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &self->client);
        }
        EXPECT_EQ(route->rt_value_2, mine) << "the outer record lives through the inner call";
        self->seen_after = route->rt_value_2;
        return 0;
    };
    guarded_bytes payload({0x10, 0x07}); // 2 route_value_2 = 7
    updatetype_local update = stripped_update(ENCODED_ROUTE, payload);
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &nested.client);
    EXPECT_EQ(nested.depth, 4);
    EXPECT_EQ(nested.seen_after, 7);
}

} // namespace
