// Tables of updates and the store of their payloads, against the containers of the standard library.

#include "tools/ribtool/generate/random.hpp"
#include "tools/ribtool/state/state_table.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <vector>

#include <gtest/gtest.h>

namespace ribtool
{

namespace
{

byte_vector random_payload(random_source &random)
{
    byte_vector payload(random.below(20) == 0 ? random.below(MAX_PAYLOAD_LEN + 1) : random.below(200));
    for (uint8_t &byte : payload)
        byte = static_cast<uint8_t>(random.next());
    return payload;
}

} // namespace

TEST(payload_store, payloads_stay_until_they_are_given_back)
{
    payload_store store;
    random_source random(1);
    std::vector<std::pair<uint64_t, byte_vector>> kept;
    for (int step = 0; step < 3000; ++step) {
        if (!kept.empty() && random.below(2) == 0) {
            std::swap(kept[random.below(static_cast<uint32_t>(kept.size()))], kept.back());
            const auto &[place, payload] = kept.back();
            ASSERT_TRUE(std::ranges::equal(store.at(place, payload.size()), payload));
            store.give_back(place, payload.size());
            kept.pop_back();
        } else {
            const byte_vector payload = random_payload(random);
            kept.emplace_back(store.keep(payload), payload);
        }
    }
    for (const auto &[place, payload] : kept)
        ASSERT_TRUE(std::ranges::equal(store.at(place, payload.size()), payload));
}

TEST(payload_store, a_place_that_was_given_back_serves_the_next_payload_of_its_size)
{
    payload_store store;
    const uint64_t first = store.keep(byte_vector(100));
    const uint64_t second = store.keep(byte_vector(100));
    store.give_back(first, 100);
    store.give_back(second, 100);
    EXPECT_EQ(store.keep(byte_vector(97)), second);
    EXPECT_EQ(store.keep(byte_vector(112)), first);
    EXPECT_NE(store.keep(byte_vector(100)), first);
}

TEST(payload_store, the_largest_payloads_fill_one_part_of_the_file_after_another)
{
    payload_store store;
    std::vector<uint64_t> places;
    for (int number = 0; number < 600; ++number) // 39 MB
        places.push_back(store.keep(byte_vector(MAX_PAYLOAD_LEN, static_cast<uint8_t>(number))));
    for (int number = 0; number < 600; ++number) {
        const byte_span payload = store.at(places[static_cast<size_t>(number)], MAX_PAYLOAD_LEN);
        ASSERT_EQ(payload.front(), static_cast<uint8_t>(number));
        ASSERT_EQ(payload.back(), static_cast<uint8_t>(number));
    }
}

TEST(state_table, has_the_last_update_of_each_key)
{
    state_table table;
    random_source random(2);
    std::map<update_key, std::pair<uint64_t, byte_vector>> expected;
    for (uint64_t step = 0; step < 20000; ++step) {
        const uint32_t number = random.below(3000);
        const update_key key = number % 2 == 0 ? next_hop_key(number) : opaque_key(number, number / 2);
        if (random.below(4) == 0) {
            table.withdraw(key);
            expected.erase(key);
        } else {
            const byte_vector payload(random.below(300), static_cast<uint8_t>(step));
            table.set(key, RIB_TLV_NHID, payload, step);
            expected[key] = {step, payload};
        }
        ASSERT_EQ(table.size(), expected.size());
    }
    size_t seen = 0;
    table.for_each([&](const kept_update &update) {
        const auto found = expected.find(update.key);
        ASSERT_NE(found, expected.end());
        ASSERT_EQ(update.frame, found->second.first);
        ASSERT_TRUE(std::ranges::equal(table.content(update), found->second.second));
        ASSERT_EQ(table.find(update.key), &update);
        ++seen;
    });
    EXPECT_EQ(seen, expected.size());
    EXPECT_EQ(table.find(next_hop_key(3000)), nullptr);
}

// Where such keys met in one slot, this would take minutes.
TEST(state_table, keys_of_one_second_half_do_not_meet)
{
    state_table table;
    constexpr uint64_t KEYS = 300000;
    // What a multiplier of many hashes, taken together with itself by an exclusive or, makes 0.
    std::array<uint8_t, 16> address = {0, 0, 0, 0, 0, 0, 0, 0, 0x15, 0x7c, 0x4a, 0x7f, 0xb9, 0x79, 0x37, 0x9e};
    for (uint64_t number = 0; number < KEYS; ++number) {
        std::memcpy(address.data(), &number, sizeof number);
        table.set(route_key(RIB_FAMILY_IPV6, address, 128), RIB_TLV_ROUTE, {}, number);
    }
    EXPECT_EQ(table.size(), KEYS);
}

} // namespace ribtool
