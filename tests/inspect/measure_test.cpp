// Where values land in the client's record, as measured.

#include "inspect/measure/measure.hpp"
#include "inspect/wire/hex.hpp"
#include "tests/client/random_update.hpp"
#include "tests/inspect/explain_support.hpp"
#include "tests/messages/exhaustive.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>
#include <string>

namespace rib_test
{

namespace
{

using rib_inspect::measure;
using rib_inspect::measured_value;
using rib_inspect::measurement;
using rib_inspect::measuring;
using rib_inspect::no_offset;

// "offset path -> landing", one each.
std::vector<std::string> landings(uint32_t code, const bytes &payload)
{
    std::vector<std::string> out;
    for (const measured_value &each : measure(code, payload).values)
        out.push_back("+" + std::to_string(each.tag_offset) + " " + to_string(each.path) + " -> " +
                      to_string(each.lands));
    return out;
}

using list = std::vector<std::string>;

TEST(measure, a_copied_number_lands_in_its_member)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE,
                       {
                           0x48, 0x05,       // route_value_9 = 5
                           0xD2, 0x01, 0x02, // paths[0]
                           0x08, 0x07,       //   path_value_1 = 7
                       }),
              (list{"+0 route_value_9 -> rt_value_9", "+5 paths[0].path_value_1 -> pe_value_1"}));
}

TEST(measure, bits_that_the_member_has_no_room_for_are_lost)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE, {0x10, 0x05}), // route_value_2 = 5
              (list{"+0 route_value_2 -> rt_value_2, bits 16 to 31 lost"}));
}

TEST(measure, bits_that_the_codec_does_not_keep_are_lost)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE, {0x48, 0x85, 0x80, 0x80, 0x80, 0x10}), // route_value_9 = 2^32 + 5
              (list{"+0 route_value_9 -> rt_value_9, bits 32 to 63 lost"}));
}

TEST(measure, bits_that_are_masked_are_lost)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE, {0xD2, 0x01, 0x02, 0x18, 0x01}), // paths[0].path_value_3 = 1
              (list{"+3 paths[0].path_value_3 -> pe_value_3, bits 11 and 28 to 31 lost"}));
}

TEST(measure, a_value_that_no_member_takes_lands_in_nothing)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE, {0xD2, 0x01, 0x02, 0x70, 0x05}), // paths[0].path_value_14 = 5
              (list{"+3 paths[0].path_value_14 -> nothing"}));
}

TEST(measure, a_field_that_keeps_its_path_out_decides)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE,
                       {
                           0xD2, 0x01, 0x05, // paths[0]
                           0x08, 0x07,       //   path_value_1 = 7, in a path that nobody sees
                           0xD8, 0x01, 0x01, //   path_value_27 = 1
                       }),
              (list{"+3 paths[0].path_value_1 -> nothing", "+5 paths[0].path_value_27 -> decides"}));
}

TEST(measure, a_value_that_others_need_lands_and_decides)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE,
                       {
                           0xD2, 0x01, 0x07, // paths[0]
                           0xEA, 0x01, 0x04, //   iid_attr
                           0x08, 0x05,       //     iid_attr_value_1 = 5
                           0x20, 0x06,       //     iid_attr_value_4 = 6
                       }),
              (list{"+6 paths[0].iid_attr.iid_attr_value_1 -> pe_iid_value_1, decides",
                    "+8 paths[0].iid_attr.iid_attr_value_4 -> pe_iid_value_4"}));
}

TEST(measure, elements_of_a_list_land_in_their_places)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE, {0xD2, 0x01, 0x04, 0x48, 0x10, 0x48, 0x11}), // paths[0].path_values_9 = 16, 17
              (list{"+3 paths[0].path_values_9[0] -> pe_labels[0]", "+5 paths[0].path_values_9[1] -> pe_labels[1]"}));
}

TEST(measure, a_value_may_land_in_two_members)
{
    EXPECT_EQ(landings(RIB_TLV_ROUTE,
                       {
                           0xC0, 0x01, 0x04, // route_flags: bit 2
                           0x98, 0x02, 0x09, // route_value_35 = 9
                       }),
              (list{"+0 route_flags -> rt_flags, bits 4 and 14 to 63 lost, decides",
                    "+3 route_value_35 -> rt_value_35, rt_value_35_copy, bits 8 to 31 lost"}));
}

TEST(measure, a_value_that_a_later_one_replaces_says_so)
{
    const bytes payload = {0x48, 0x05, 0x48, 0x06}; // route_value_9 = 5, then 6
    const measurement measured = measure(RIB_TLV_ROUTE, payload);
    ASSERT_EQ(measured.values.size(), 2u);
    EXPECT_EQ(measured.values[0].replaced_by, 2u);
    EXPECT_EQ(measured.values[1].replaced_by, no_offset);
    EXPECT_EQ(to_string(measured.values[1].lands), "rt_value_9");
}

TEST(measure, the_ends_of_long_lists_are_not_measured_when_enough_was_converted)
{
    bytes ecomm;
    for (uint8_t i = 0; i < 20; ++i)
        ecomm.insert(ecomm.end(), {0x10, i}); // ecomm_values[i]
    bytes path = {0xD2, 0x01, static_cast<uint8_t>(ecomm.size())};
    path.insert(path.end(), ecomm.begin(), ecomm.end());
    path.insert(path.end(), {0xE0, 0x01, 0x07}); // path_value_28 = 7, behind the list
    bytes payload = {0xD2, 0x01, static_cast<uint8_t>(path.size())};
    payload.insert(payload.end(), path.begin(), path.end());

    std::set<std::string> met;
    for (size_t bound = 0; bound < 200 * payload.size(); bound += payload.size() / 2) {
        std::string marks;
        for (const measured_value &each : measure(RIB_TLV_ROUTE, payload, measuring::reduced, bound).values)
            marks += each.is_measured ? 'm' : '-';
        met.insert(marks);
    }
    EXPECT_EQ(*met.begin(), "---------------------");
    EXPECT_EQ(met.count("mmmmmmmmmmmmmmmm----m"), 1u) << "sixteen of the list, and what stands behind it";
    EXPECT_EQ(met.count("mmmmmmmmmmmmmmmmm----"), 0u);
    EXPECT_EQ(*met.rbegin(), "mmmmmmmmmmmmmmmmmmmmm");
}

TEST(measure, nothing_is_guessed_of_an_update_that_is_not_delivered)
{
    const bytes marked = {0x48, 0x05, 0x90, 0x02, 0x01}; // route_value_9 = 5, route_value_34 = 1
    EXPECT_EQ(measure(RIB_TLV_ROUTE, marked).outcome, RIB_DROPPED);
    EXPECT_TRUE(measure(RIB_TLV_ROUTE, marked).values.empty());
    EXPECT_EQ(measure(RIB_TLV_PROTO, {}).outcome, RIB_STOPPED);
    EXPECT_EQ(measure(99, marked).outcome, RIB_REFUSED);
}

TEST(measure, paths_behind_the_last_that_is_taken_land_in_nothing)
{
    bytes payload;
    for (int i = 0; i <= RIB_MAX_PATHS; ++i)
        payload.insert(payload.end(), {0xD2, 0x01, 0x02, 0x08, 0x07}); // paths[i].path_value_1 = 7
    const measurement measured = measure(RIB_TLV_ROUTE, payload);
    ASSERT_EQ(measured.values.size(), RIB_MAX_PATHS + 1u);
    EXPECT_EQ(to_string(measured.values[RIB_MAX_PATHS - 1].lands), "pe_value_1");
    EXPECT_EQ(to_string(measured.values[RIB_MAX_PATHS].lands), "nothing");
}

TEST(measure, the_characters_of_a_name_that_is_cut_are_lost)
{
    bytes payload = {0x08, 0x01, 0x2A, 44}; // proto_id = 1; proto_extra_name of 44 characters
    payload.insert(payload.end(), 44, 'x');
    EXPECT_EQ(landings(RIB_TLV_PROTO, payload)[1], "+2 proto_extra_name -> proto_extra_name, bytes 42 and 43 lost");
}

TEST(measure, the_type_of_a_key_lands_and_decides)
{
    const bytes payload = {
        0x0A, 0x02, 0x08, 0x09,             // encap_ids[0].encap_id = 9
        0x12, 0x0E,                         // keys[0]
        0x08, 0x01, 0x10, 0x02,             //   key_value_1 = 1, key_value_2 = 2
        0x1A, 0x04, 0x08, 0x02, 0x10, 0x18, //   key_prefix: family 2, 24 bits
        0x20, 0x04, 0x28, 0x03,             //   key_value_4 = 4, key_type = 3
        0x20, 0x01,                         // multi_key = 1
    };
    EXPECT_EQ(landings(RIB_TLV_GRID, payload),
              (list{"+2 encap_ids[0].encap_id -> encap_ids", "+6 keys[0].key_value_1 -> key_value_1, decides",
                    "+8 keys[0].key_value_2 -> key_value_2, decides", "+12 keys[0].key_prefix.family -> decides",
                    "+14 keys[0].key_prefix.prefix_len -> key_prefix.prefix_len, bits 8 to 31 lost, decides",
                    "+16 keys[0].key_value_4 -> key_value_4, bits 8 to 31 lost, decides",
                    "+18 keys[0].key_type -> key_type, decides", "+20 multi_key -> multi_key, decides"}));
}

TEST(measure, bytes_of_an_older_form_land_in_the_record_that_they_are)
{
    bytes payload = {
        0x00, 0x05,             // proto_id = 5
        0x00, 0x06,             // proto_sub_id = 6
        0x00, 0x00, 0x00, 0x07, // proto_value = 7
        'b',  'g',  'p',        // proto_name
    };
    payload.resize(sizeof(rib_protoid_map));
    const list all = landings(RIB_TLV_OLD_PROTO, payload);
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[0], "+0  -> proto_id");
    EXPECT_EQ(all[2], "+4  -> proto_value");
    EXPECT_EQ(all[3], "+8  -> proto_name, bytes 4 to 40 lost"); // behind the name's end
    EXPECT_EQ(measure(RIB_TLV_OLD_PROTO, bytes(91)).outcome, RIB_REFUSED);
}

TEST(measure, numbers_of_an_older_opaque_update_land_in_their_members)
{
    bytes payload = {
        0x00, 0x05,             // opaque_type = 5
        0x00, 0x00,             // not used
        0x00, 0x00, 0x00, 0x06, // opaque_id = 6
        0x00, 0x02,             // 2 bytes in the first block
        0x00, 0x07,             // opaque_sub_id = 7
        0x00, 0x00, 0x00, 0x08, // opaque_value = 8
        0x00, 0x00, 0x00, 0x01, // 1 byte in the second
        0x00, 0x00, 0x00, 0x00, // not used
        0xAA, 0xBB,             // first_block
        0xCC,                   // second_block
    };
    const list all = landings(RIB_TLV_OLD_OPAQUE, payload);
    ASSERT_EQ(all.size(), 10u);
    EXPECT_EQ(all[0], "+0  -> opaque_type");
    EXPECT_EQ(all[1], "+2  -> nothing");
    EXPECT_EQ(all[2], "+4  -> opaque_id");
    EXPECT_EQ(all[4], "+10  -> sub_id");
    EXPECT_EQ(all[5], "+12  -> opaque_value");
    EXPECT_EQ(all[8], "+24  -> first_block");
    EXPECT_EQ(all[9], "+26  -> second_block");
}

TEST(measure, lists_are_counted_by_members)
{
    const std::vector<rib_inspect::measured_list> lists =
        rib_inspect::measure_lists(RIB_TLV_ROUTE, bytes{0xD2, 0x01, 0x04, 0x48, 0x10, 0x48, 0x11}); // two labels
    ASSERT_EQ(lists.size(), 2u);
    EXPECT_EQ(to_string(lists[0].lands), "rt_path_count");
    EXPECT_EQ(to_string(lists[1].lands), "pe_label_count");
}

// ---- Random updates ----

class measured_update : public testing::TestWithParam<uint32_t>
{
protected:
    // `check(payload, measurement)` for delivered updates whose whole measurement is no work of minutes.
    template <class Check>
    void for_random_updates(uint64_t seed, Check &&check)
    {
        constexpr size_t most_bytes = 400;
        random_source random(seed + GetParam());
        const int wanted = exhaustive() ? 1000 : 12;
        for (int delivered = 0; delivered < wanted && !HasFailure();) {
            const bytes payload = random_message(random, *rib_inspect::message_of_code(GetParam()));
            if (payload.empty() || payload.size() > most_bytes)
                continue;
            const measurement measured = measure(GetParam(), payload);
            if (measured.outcome != RIB_DELIVERED)
                continue;
            ++delivered;
            check(payload, measured);
        }
    }
};

TEST_P(measured_update, lands_where_it_does_in_the_whole)
{
    for_random_updates(1, [&](const bytes &payload, const measurement &reduced) {
        const measurement whole = measure(GetParam(), payload, measuring::whole);
        ASSERT_EQ(reduced.values.size(), whole.values.size());
        for (size_t i = 0; i < whole.values.size(); ++i)
            EXPECT_EQ(to_string(reduced.values[i].lands), to_string(whole.values[i].lands))
                << to_string(whole.values[i].path) << " of " << rib_inspect::to_hex(payload);
    });
}

bool has_lost_bits_of_its_own(rib_reason reason)
{
    return reason == RIB_REASON_narrowed || reason == RIB_REASON_masked;
}

// A value that is as good as lost because of what it is: another one in its place would land.
bool is_to_blame_itself(rib_reason reason)
{
    const bool is_of_family = reason == RIB_REASON_bad_family || reason == RIB_REASON_missing_field ||
                              reason == RIB_REASON_ipv6_without_first_half;
    return reason == RIB_REASON_out_of_range || reason == RIB_REASON_ruled_out || reason == RIB_REASON_reduced ||
           is_of_family;
}

uint64_t kept_bits(const measured_value &measured, uint64_t value)
{
    for (const uint32_t bit : measured.lands.lost)
        value &= ~(uint64_t{1} << bit);
    return value;
}

// What the witness in the converters says of a value, against what is measured without it.
void expect_the_same(const rib_inspect::walk_event &event, const measured_value &measured, const rib_loss *loss)
{
    const bool is_number = event.field->type != zidl::kind::string && event.field->type != zidl::kind::bytes;
    const bool is_counted = is_number && event.field->type != zidl::kind::boolean;
    const std::string said = loss == nullptr ? "shown" : std::string("lost: ") + rib_reason_name(loss->reason);
    SCOPED_TRACE(said + ", measured " + to_string(measured.lands));
    if (measured.replaced_by != no_offset) {
        EXPECT_TRUE(loss != nullptr && loss->kept == nullptr);
    } else if (loss == nullptr) {
        EXPECT_TRUE(!measured.lands.is_nothing());
        if (is_counted && measured.lands.members.size() == 1) {
            EXPECT_EQ(kept_bits(measured, event.raw), event.raw);
        }
    } else if (has_lost_bits_of_its_own(loss->reason)) {
        if (measured.lands.members.size() > 1) // the bits of a family say which address lands, too
            return;
        const uint64_t kept = loss->kept == nullptr ? 0 : std::strtoull(loss->kept, nullptr, 10);
        EXPECT_EQ(is_counted ? kept_bits(measured, event.raw) : kept, kept);
    } else if (loss->kept == nullptr) {
        EXPECT_TRUE(measured.lands.members.empty() || is_to_blame_itself(loss->reason));
    } else if (loss->reason == RIB_REASON_name_cut) {
        EXPECT_FALSE(measured.lands.lost.empty());
    }
}

bool is_zero(const rib_inspect::walk_event &event)
{
    return event.field->type == zidl::kind::string || event.field->type == zidl::kind::bytes
               ? event.value_offset == event.end_offset
               : event.raw == 0;
}

// The family of an address in a list is shown by the address alone, which may be zero in either.
bool may_be_seen_nowhere(const measured_value &measured)
{
    const std::string path = to_string(measured.path);
    const bool is_in_list =
        path.find("srv6_sid_infos") != std::string::npos || path.find("path_addresses") != std::string::npos;
    return is_in_list && path.ends_with(".family");
}

TEST_P(measured_update, lands_where_the_explanation_says_that_it_is_shown)
{
    for_random_updates(2, [&](const bytes &payload, const measurement &measured) {
        const explanation why = explain(GetParam(), payload);
        std::map<size_t, const rib_loss *> losses;
        for (size_t i = 0; i < why->loss_count; ++i)
            losses[why->losses[i].offset] = &why->losses[i];
        rib_inspect::walk({rib_inspect::message_of_code(GetParam()), payload},
                          [&](const rib_inspect::walk_event &event) {
                              const measured_value *value = measured.find(event.tag_offset);
                              if (event.part != rib_inspect::walk_part::value || value == nullptr || is_zero(event) ||
                                  may_be_seen_nowhere(*value))
                                  return;
                              SCOPED_TRACE(to_string(value->path) + " of " + rib_inspect::to_hex(payload));
                              const auto loss = losses.find(event.value_offset);
                              expect_the_same(event, *value, loss == losses.end() ? nullptr : loss->second);
                          });
    });
}

INSTANTIATE_TEST_SUITE_P(codes, measured_update,
                         testing::Values(RIB_TLV_ROUTE, RIB_TLV_GRID, RIB_TLV_NHID, RIB_TLV_PROTO, RIB_TLV_OPAQUE),
                         [](const auto &each) { return "code_" + std::to_string(each.param); });

} // namespace

} // namespace rib_test
