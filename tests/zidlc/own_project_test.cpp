// The way of another project: a schema of its own, compiled by zidlc while building, and used from C++ like from C.
// The schemas are golden/schema/ and schema/, the code was generated into the build folder.

#include "messages/descriptors.hpp"
#include "messages/far.h"
#include "messages/far.message.hpp"
#include "messages/weather.h"
#include "messages/weather.message.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace
{

using bytes = std::vector<uint8_t>;

void *allocate(size_t size, void *)
{
    return malloc(size);
}

void give_back(void *ptr, void *)
{
    free(ptr);
}

// A reading with every kind of member.
const bytes encoded_reading = {
    0x08, 0x07,                         // 1 station = 7
    0x12, 0x0a,                         // 2 position, 10 bytes
    0x0d, 0x04, 0x03, 0x02, 0x01,       //     1 latitude = 0x01020304
    0x15, 0xff, 0xff, 0xff, 0xff,       //     2 longitude = 0xffffffff
    0x18, 0x80, 0x01,                   // 3 taken_at = 128
    0x22, 0x09,                         // 4 instruments[0], 9 bytes
    0x08, 0xc8, 0x01,                   //     1 channel = 200
    0x10, 0x01,                         //     2 working = 1
    0x1a, 0x02, 'n',  'e',              //     3 label = "ne"
    0x22, 0x00,                         // 4 instruments[1], empty
    0x78, 0x05,                         // 15 levels[0] = 5
    0x78, 0xff, 0x01,                   // 15 levels[1] = 255
    0x9a, 0x01, 0x02, 'o',  'k',        // 19 comment = "ok", before 17
    0x88, 0x01, 0x01,                   // 17 samples[0] = 1
    0x88, 0x01, 0xac, 0x02,             // 17 samples[1] = 300
    0x92, 0x01, 0x03, 0xaa, 0xbb, 0xcc, // 18 raw, 3 bytes
};

bytes encoded(const zidl_reading &msg)
{
    bytes out(zidl_reading_encode_ext(&msg, nullptr, 0, nullptr, nullptr, 0));
    EXPECT_EQ(zidl_reading_encode_ext(&msg, out.data(), out.size(), nullptr, nullptr, 0), out.size());
    return out;
}

} // namespace

TEST(zidlc_own_project, decoding_fills_every_kind_of_member)
{
    zidl_reading msg = {};
    ASSERT_EQ(zidl_reading_decode_ext(&msg, encoded_reading.data(), encoded_reading.size(), allocate, nullptr, 0),
              ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xff);
    EXPECT_EQ(msg.station, 7u);
    EXPECT_EQ(msg.position.latitude, 0x01020304u);
    EXPECT_EQ(msg.position.longitude, 0xffffffffu);
    EXPECT_EQ(msg.taken_at, 128u);
    ASSERT_EQ(msg.instruments_count, 2u);
    EXPECT_EQ(msg.instruments[0].channel, 200);
    EXPECT_EQ(msg.instruments[0].working, 1);
    EXPECT_STREQ(msg.instruments[0].label, "ne");
    EXPECT_EQ(msg.instruments[1].presence, 0);
    ASSERT_EQ(msg.levels_count, 2u);
    EXPECT_EQ(msg.levels[1], 255);
    ASSERT_EQ(msg.sample_total, 2u);
    EXPECT_EQ(msg.samples[1], 300u);
    EXPECT_STREQ(msg.comment, "ok");
    ASSERT_EQ(msg.raw_size, 3u);
    EXPECT_EQ(msg.raw[2], 0xcc);
    zidl_reading_free_ext(&msg, give_back, nullptr, 0);
    EXPECT_EQ(msg.instruments, nullptr);
    EXPECT_EQ(msg.comment, nullptr);
}

TEST(zidlc_own_project, encoding_gives_the_bytes_back)
{
    zidl_reading msg = {};
    ASSERT_EQ(zidl_reading_decode_ext(&msg, encoded_reading.data(), encoded_reading.size(), allocate, nullptr, 0),
              ZIDL_OK);
    EXPECT_EQ(encoded(msg), encoded_reading);
    zidl_reading_free_ext(&msg, give_back, nullptr, 0);
}

TEST(zidlc_own_project, setters_and_marks_make_a_message)
{
    static const uint32_t samples[] = {1};
    zidl_reading msg = {};
    zidl_reading_set_station(&msg, 7);
    zidl_reading_set_comment(&msg, "ok");
    zidl_reading_set_samples(&msg, samples, 1); // counted by sample_total
    zidl_reading_mark_position(&msg);
    EXPECT_TRUE(zidl_reading_has_station(&msg));
    EXPECT_TRUE(zidl_reading_has_comment(&msg));
    EXPECT_FALSE(zidl_reading_has_raw(&msg));
    EXPECT_EQ(encoded(msg), (bytes{
                                0x08, 0x07,                 // 1 station = 7
                                0x12, 0x00,                 // 2 position, empty
                                0x9a, 0x01, 0x02, 'o', 'k', // 19 comment = "ok"
                                0x88, 0x01, 0x01,           // 17 samples[0] = 1
                            }));
    zidl_reading_clear_station(&msg);
    zidl_reading_clear_position(&msg);
    zidl_reading_clear_samples(&msg);
    EXPECT_EQ(encoded(msg), (bytes{
                                0x9a, 0x01, 0x02, 'o', 'k', // 19 comment = "ok"
                            }));
}

TEST(zidlc_own_project, a_copy_owns_what_it_holds)
{
    zidl_reading msg = {};
    zidl_reading copy = {};
    ASSERT_EQ(zidl_reading_decode_ext(&msg, encoded_reading.data(), encoded_reading.size(), allocate, nullptr, 0),
              ZIDL_OK);
    ASSERT_EQ(zidl_reading_duplicate(&copy, &msg, allocate, nullptr), ZIDL_OK);
    zidl_reading_free_ext(&msg, give_back, nullptr, 0);
    EXPECT_EQ(encoded(copy), encoded_reading);
    zidl_reading_free_ext(&copy, give_back, nullptr, 0);
}

TEST(zidlc_own_project, signed_numbers_are_short_whatever_their_sign)
{
    const std::vector<std::pair<int64_t, bytes>> examples = {
        {0, {0x20, 0x00}}, // 4 drift
        {-1, {0x20, 0x01}},
        {1, {0x20, 0x02}},
        {-64, {0x20, 0x7f}},
        {64, {0x20, 0x80, 0x01}},
        {-150, {0x20, 0xab, 0x02}},
        {INT64_MAX, {0x20, 0xfe, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01}},
        {INT64_MIN, {0x20, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01}},
    };
    for (const auto &[value, encoding] : examples) {
        zidl_instrument msg = {};
        zidl_instrument_set_drift(&msg, value);
        bytes out(encoding.size());
        EXPECT_EQ(zidl_instrument_encode_ext(&msg, out.data(), out.size(), nullptr, nullptr, 0), encoding.size())
            << value;
        EXPECT_EQ(out, encoding) << value;
        zidl_instrument back = {};
        ASSERT_EQ(zidl_instrument_decode_ext(&back, encoding.data(), encoding.size(), nullptr, nullptr, 0), ZIDL_OK);
        EXPECT_TRUE(zidl_instrument_has_drift(&back));
        EXPECT_EQ(back.drift, value);
    }
}

TEST(zidlc_own_project, signed_numbers_are_read_before_and_behind_other_fields)
{
    const bytes drift_first = {
        0x20, 0x03, // 4 drift = -2
        0x08, 0x07, // 1 channel = 7
        0x20, 0x05, // 4 drift = -3, the last one counts
    };
    zidl_instrument msg = {};
    ASSERT_EQ(zidl_instrument_decode_ext(&msg, drift_first.data(), drift_first.size(), nullptr, nullptr, 0), ZIDL_OK);
    EXPECT_EQ(msg.drift, -3);
    const bytes beside_a_run = {
        0x08, 0x01,             // 1 first = 1
        0x90, 0x80, 0x01, 0x05, // 2050 either_sign = -3
    };
    zidl_far_sample far = {};
    ASSERT_EQ(zidl_far_sample_decode_ext(&far, beside_a_run.data(), beside_a_run.size(), nullptr, nullptr, 0), ZIDL_OK);
    EXPECT_EQ(far.either_sign, -3);
    EXPECT_EQ(zidl_far_sample_encode_ext(&far, nullptr, 0, nullptr, nullptr, 0), beside_a_run.size());
}

TEST(zidlc_own_project, omitted_arguments_are_omitted)
{
    const bytes input = {
        0x0d, 0x01, 0x00, 0x00, 0x00, // 1 latitude = 1
    };
    zidl_geo_position msg = {};
    ASSERT_EQ(zidl_geo_position_decode_ext(&msg, input.data(), input.size()), ZIDL_OK);
    zidl_geo_position copy = {};
    ASSERT_EQ(zidl_geo_position_duplicate(&copy, &msg), ZIDL_OK);
    uint8_t out[8] = {};
    ASSERT_EQ(zidl_geo_position_encode_ext(&copy, out, sizeof out, nullptr, nullptr), input.size());
    EXPECT_EQ(memcmp(out, input.data(), input.size()), 0);
}

TEST(zidlc_own_project, descriptors_tell_the_layout_of_the_records)
{
    EXPECT_EQ(zidl::message_count, 9u);
    EXPECT_EQ(zidl::find_message("nothing"), nullptr);
    const zidl::message_descriptor *reading = zidl::find_message("reading");
    ASSERT_NE(reading, nullptr);
    EXPECT_STREQ(reading->group, "weather");
    EXPECT_EQ(reading->size, sizeof(zidl_reading));
    EXPECT_EQ(reading->presence_offset, offsetof(zidl_reading, presence));
    EXPECT_EQ(reading->presence_size, 1u);
    ASSERT_EQ(reading->field_count, 8u);
    const zidl::field_descriptor &samples = reading->fields[6];
    EXPECT_STREQ(samples.member, "samples");
    EXPECT_EQ(samples.number, 17u);
    EXPECT_EQ(samples.type, zidl::kind::u32);
    EXPECT_TRUE(samples.repeated);
    EXPECT_EQ(samples.bit, 6);
    EXPECT_EQ(samples.offset, offsetof(zidl_reading, samples));
    EXPECT_EQ(samples.extent_offset, offsetof(zidl_reading, sample_total));
    EXPECT_EQ(samples.message, nullptr);
    EXPECT_EQ(reading->fields[1].message, zidl::find_message("geo_position"));
}

TEST(zidlc_own_project, descriptors_call_the_operations_whatever_their_arguments)
{
    const bytes input = {
        0x0d, 0x01, 0x00, 0x00, 0x00, // 1 latitude = 1
    };
    const zidl::message_descriptor &position = *zidl::find_message("geo_position");
    zidl_geo_position msg = {};
    ASSERT_EQ(position.decode(&msg, input.data(), input.size(), nullptr, nullptr, 0), ZIDL_OK);
    EXPECT_EQ(msg.latitude, 1u);
    zidl_geo_position copy = {};
    ASSERT_EQ(position.duplicate(&copy, &msg, nullptr, nullptr), ZIDL_OK);
    EXPECT_EQ(position.encode(&copy, nullptr, 0, nullptr, nullptr, 0), input.size());
    position.release(&copy, nullptr, nullptr, 0);
    EXPECT_EQ(copy.latitude, 1u);
}

TEST(zidlc_own_project, tags_of_three_bytes_beside_a_run_are_written_and_read)
{
    const bytes expected = {
        0x08, 0x80, 0x01,             // 1 first = 128
        0x20, 0x07,                   // 4 fourth = 7
        0xf8, 0x7f, 0xac, 0x02,       // 2047 last_of_two_bytes = 300
        0x80, 0x80, 0x01, 0xad, 0x02, // 2048 first_of_three_bytes = 301
        0x88, 0x80, 0x01, 0x05,       // 2049 wide = 5
    };
    zidl_far_sample msg = {};
    ASSERT_EQ(zidl_far_sample_decode_ext(&msg, expected.data(), expected.size(), allocate, nullptr, 0), ZIDL_OK);
    EXPECT_EQ(msg.first, 128u);
    EXPECT_EQ(msg.fourth, 7u);
    EXPECT_EQ(msg.last_of_two_bytes, 300u);
    EXPECT_EQ(msg.first_of_three_bytes, 301u);
    EXPECT_EQ(msg.wide, 5u);
    bytes large(5000, 0xee);
    const size_t len = zidl_far_sample_encode_ext(&msg, large.data(), large.size(), nullptr, nullptr, 0);
    ASSERT_EQ(len, expected.size());
    EXPECT_EQ(bytes(large.begin(), large.begin() + static_cast<ptrdiff_t>(len)), expected);
    EXPECT_EQ(large[len], 0xee) << "nothing is stored behind the encoding";
}

TEST(zidlc_own_project, small_message_of_fixed32_and_u8_is_read_in_order_and_otherwise)
{
    const bytes latitude = {0x0d, 0x04, 0x03, 0x02, 0x01};        // 1 latitude = 0x01020304
    const bytes channel = {0x10, 0xc8, 0x03};                     // 2 channel = 456, whose low 8 bits count
    const bytes longitude = {0x85, 0x01, 0xff, 0xff, 0xff, 0x7f}; // 16 longitude = 0x7fffffff
    const std::vector<std::vector<bytes>> orders = {{latitude, channel, longitude},
                                                    {longitude, channel, latitude},
                                                    {channel, latitude, longitude},
                                                    {latitude, latitude, channel, longitude}};
    for (const std::vector<bytes> &order : orders) {
        bytes input;
        for (const bytes &field : order)
            input.insert(input.end(), field.begin(), field.end());
        zidl_far_kinds msg = {};
        ASSERT_EQ(zidl_far_kinds_decode_ext(&msg, input.data(), input.size(), nullptr, nullptr, 0), ZIDL_OK);
        EXPECT_EQ(msg.presence, 7);
        EXPECT_EQ(msg.latitude, 0x01020304u);
        EXPECT_EQ(msg.channel, 456 - 256);
        EXPECT_EQ(msg.longitude, 0x7fffffffu);
    }
}

TEST(zidlc_own_project, small_message_cut_off_inside_a_fixed32_is_malformed_and_keeps_what_stands_before)
{
    const bytes whole = {
        0x10, 0x07,                         // 2 channel = 7
        0x85, 0x01, 0x04, 0x03, 0x02, 0x01, // 16 longitude
    };
    for (size_t len = 3; len < whole.size(); ++len) {
        const bytes input(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len));
        zidl_far_kinds msg = {};
        EXPECT_EQ(zidl_far_kinds_decode_ext(&msg, input.data(), input.size(), nullptr, nullptr, 0), ZIDL_ERR_MALFORMED)
            << len;
        EXPECT_EQ(msg.presence, 2) << len;
        EXPECT_EQ(msg.channel, 7) << len;
        EXPECT_EQ(msg.longitude, 0u) << len;
    }
}

TEST(zidlc_own_project, messages_of_its_own_have_the_cpp_layer)
{
    const std::vector<uint8_t> levels = {0, 100};
    zidl::record<zidl_instrument> instrument[1];
    instrument[0].set_channel(3).set_working(true).set_label("mast").set_drift(-2);
    zidl::record<zidl_history> history;
    history.edit_latest().set_instruments(instrument).set_levels(levels).edit_position().set_latitude(5);
    bytes encoded;
    history.append_to(encoded);

    zidl::message<zidl_history> read;
    ASSERT_TRUE(read.decode(encoded));
    ASSERT_EQ(read.latest().instruments().size(), 1u);
    const zidl::view<zidl_instrument> first = read.latest().instruments().front();
    EXPECT_EQ(first.channel(), 3);
    EXPECT_TRUE(first.working());
    EXPECT_EQ(first.label(), "mast");
    EXPECT_EQ(first.drift(), -2);
    EXPECT_EQ(read.latest().levels()[1], 100);
    EXPECT_EQ(read.latest().position().latitude(), 5u);
    EXPECT_FALSE(read.latest().has_samples());
}

TEST(zidlc_own_project, members_called_like_what_the_cpp_layer_has_are_read_and_set)
{
    const uint8_t block[] = {7};
    const zidl_bytes blocks[] = {zidl::block_of(block)};
    const uint32_t numbers[] = {5, 6};
    zidl::record<zidl_far_kinds> kinds[1];
    kinds[0].set_channel(3);
    zidl::record<zidl_far_words> words;
    words.set_record(1).set_has_record(2).set_view(block).set_clear_view("x").set_decode(kinds).set_duplicate(numbers);
    words.set_data(8).set_size(9).set_std(10).set_zidl(11).set_self(blocks).edit_encode().set_channel(4);
    bytes encoded;
    words.append_to(encoded);

    zidl::message<zidl_far_words> owner;
    ASSERT_TRUE(owner.decode(encoded));
    const auto expect_all = [](const auto &read) {
        EXPECT_TRUE(read.has_record() && read.has_has_record());
        EXPECT_EQ(read.record_(), 1u);
        EXPECT_EQ(read.has_record_(), 2u);
        EXPECT_EQ(read.view_()[0], 7);
        EXPECT_EQ(read.clear_view_(), "x");
        EXPECT_EQ(read.encode_().channel(), 4);
        EXPECT_EQ(read.decode_().front().channel(), 3);
        EXPECT_EQ(read.duplicate_()[1], 6u);
        EXPECT_EQ(read.data(), 8);
        EXPECT_EQ(read.size(), 9u);
        EXPECT_EQ(read.std() + read.zidl(), 21u);
        EXPECT_EQ(read.self()[0][0], 7);
    };
    expect_all(owner);
    expect_all(words);
    expect_all(zidl::view(owner));
    expect_all(zidl::editor<zidl_far_words>(*words));
}
