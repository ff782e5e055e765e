// The table of update types: each row's entry point takes the updates of its code.

#include "tools/ribtool/generate/update_stream.hpp"
#include "tools/ribtool/library/update_types.hpp"

#include "tools/ribtool/library/assertion_guard.hpp"
#include "tools/ribtool/library/older_route_client.hpp"

#include <initializer_list>
#include <map>

#include <gtest/gtest.h>

namespace ribtool
{

namespace
{

struct outcome {
    uint64_t updates = 0;
    uint64_t refused = 0;
    uint64_t callbacks = 0;
    uint64_t stopped = 0;
};

// Without its frame.
void hand_over(const update_type &type, byte_vector payload, outcome &counts)
{
    ++counts.updates;
    if (!type.violation(payload).empty()) {
        ++counts.refused;
        return;
    }
    delivery to;
    entry_call call = {{}, payload, &to};
    call.update.payload = payload.data();
    call.update.stripped = 1;
    call.update.tlv_type = type.code;
    call.update.payload_len = static_cast<uint32_t>(payload.size());
    counts.stopped += run_guarded(type.parse, call).has_value();
    counts.callbacks += to.callbacks;
    forget_older_routes();
}

} // namespace

TEST(update_types, each_has_an_entry_point_that_delivers_updates_of_its_code)
{
    std::map<uint16_t, outcome> outcomes;
    update_stream stream(*find_profile("mixed"), 1);
    for (int made = 0; made < 2000; ++made) {
        update drawn = stream.next();
        const update_type *type = find_update_type(drawn.code);
        ASSERT_NE(type, nullptr) << drawn.code;
        hand_over(*type, std::move(drawn.payload), outcomes[drawn.code]);
    }
    for (const update_type &type : update_types()) {
        const outcome &counts = outcomes[type.code];
        EXPECT_GT(counts.updates, 0u) << type.name;
        EXPECT_EQ(counts.refused, 0u) << type.name;
        EXPECT_EQ(counts.stopped, 0u) << type.name;
        // A few next-hop IDs are there to be dropped.
        EXPECT_GE(counts.callbacks, counts.updates - counts.updates / 16) << type.name;
    }
}

TEST(update_types, codes_that_nobody_knows_and_delimiters_have_no_type)
{
    for (const uint16_t code : std::initializer_list<uint16_t>{0, 1, 36, 39, 48, 52, 65535})
        EXPECT_EQ(find_update_type(code), nullptr) << code;
    EXPECT_EQ(find_update_type(51)->name, "route");
    EXPECT_EQ(find_update_type(3)->name, "route, older form");
}

} // namespace ribtool
