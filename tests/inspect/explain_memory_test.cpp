// What explaining leaves behind: nothing, whichever way it ends.

#include "tests/inspect/explain_support.hpp"
#include "tests/messages/exhaustive.hpp"

#include <malloc.h>

namespace
{

using namespace rib_test;

// A list with two IDs, one key and multi_key: stopped after it was decoded.
const bytes STOPPED = {
    0x0A, 0x02, 0x08, 0x07, // 1 encap_ids[0]: 1 encap_id = 7
    0x0A, 0x02, 0x08, 0x08, // 1 encap_ids[1]: 1 encap_id = 8
    0x12, 0x02, 0x08, 0x01, // 2 keys[0]: 1 key_value_1 = 1
    0x20, 0x01,             // 4 multi_key = 1
};

TEST(explain_memory, stopped_updates_leave_nothing_behind)
{
    const int times = exhaustive() ? 10'000'000 : 2'000;
    updatetype_local update = {};
    update.tlv_type = RIB_TLV_GRID;
    update.stripped = 1;
    update.payload = const_cast<uint8_t *>(STOPPED.data());
    update.payload_len = static_cast<uint32_t>(STOPPED.size());
    size_t in_use = 0;
    for (int i = 0; i < times; i++) {
        rib_explanation *why = nullptr;
        ASSERT_EQ(rib_explain_update(&update, nullptr, &why), ZIDL_OK);
        ASSERT_EQ(why->outcome, RIB_STOPPED);
        ASSERT_EQ(why->assertion.line, 443U);
        rib_explanation_free(why);
        if (i == 100)
            in_use = mallinfo2().uordblks;
    }
    EXPECT_EQ(mallinfo2().uordblks, in_use);
}

// The record of a route has five kilobytes for each path of the message, also for those that are left out.
TEST(explain_memory, conversion_takes_no_more_than_it_may)
{
    rib_explain_options options = {};
    options.memory = 64 * 1024;
    bytes paths;
    for (int i = 0; i < 20; i++)
        paths.insert(paths.end(), {0xD2, 0x01, 0x00}); // 26 paths[i], empty
    EXPECT_EQ(place(*explain(RIB_TLV_ROUTE, paths, options)), "no_memory +0");
    options.memory = 0;
    EXPECT_EQ(explain(RIB_TLV_ROUTE, paths, options)->outcome, RIB_DELIVERED);
}

} // namespace
