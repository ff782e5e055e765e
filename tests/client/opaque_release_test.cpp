// What the opaque entry point releases after the callback of an encoded update: the blocks that it decoded, whatever the
// callback wrote into the record, and only while the update's code is 50.

#include "tests/client/heap.hpp"
#include "tests/client/recorder.hpp"
#include "tests/client/support.hpp"

using namespace rib_test;

namespace
{

// What the callback was given.
std::vector<void *> blocks;

class opaque_release : public testing::Test
{
protected:
    opaque_release()
    {
        blocks.clear();
        platform = {};
    }

    // Parses an update with both blocks. The heap is watched until end_watch().
    template <class Callback>
    void parse(Callback callback)
    {
        watch_heap();
        rib_lib_pvt_parse_opaque_update(callback, &update, this);
    }

    static int change_code(uint32_t, uint32_t, rib_opaque_update *, void *ctx)
    {
        auto *self = static_cast<opaque_release *>(ctx);
        self->update.tlv_type = self->new_code;
        return 0;
    }

    guarded_bytes payload{{
        0x2A, 0x02, 0xA1, 0xA2, // 5 first_block, 2 bytes
        0x32, 0x01, 0xB1,       // 6 second_block, 1 byte
    }};
    updatetype_local update = stripped_update(ENCODED_OPAQUE, payload);
    uint32_t new_code = 0;
};

TEST_F(opaque_release, is_of_the_decoded_blocks_when_the_callback_puts_others_into_the_record)
{
    static uint8_t of_the_client[] = {0xC1};
    parse([](uint32_t, uint32_t, rib_opaque_update *opaque, void *) {
        blocks = {opaque->first_block, opaque->second_block};
        *opaque = {};
        opaque->first_block = of_the_client;
        opaque->second_block = of_the_client;
        return 0;
    });
    EXPECT_EQ(heap().releases, blocks);
    EXPECT_EQ(heap().foreign_releases, 0u);
    EXPECT_EQ(end_watch(), 0u);
}

TEST_F(opaque_release, is_of_the_decoded_blocks_when_the_callback_takes_them_out_of_the_record)
{
    parse([](uint32_t, uint32_t, rib_opaque_update *opaque, void *) {
        blocks = {opaque->first_block, opaque->second_block};
        opaque->first_block = nullptr;
        opaque->second_block = nullptr;
        return 0;
    });
    EXPECT_EQ(heap().releases, blocks);
    EXPECT_EQ(end_watch(), 0u);
}

TEST_F(opaque_release, happens_when_the_callback_sets_code_50_itself)
{
    new_code = 50;
    parse(change_code);
    EXPECT_EQ(heap().releases.size(), 2u);
    EXPECT_EQ(end_watch(), 0u);
}

TEST_F(opaque_release, does_not_happen_under_another_code)
{
    // Codes next to 50, the older form's, none, and some that are 50 in their low bits or but for one bit.
    for (const uint32_t code : {49u, 51u, 37u, 0u, 0x132u, 0x10032u, 0x80000032u}) {
        update.tlv_type = ENCODED_OPAQUE;
        new_code = code;
        parse(change_code);
        EXPECT_EQ(heap().releases.size(), 0u) << code;
        EXPECT_EQ(end_watch(), 2u) << code;
    }
}

} // namespace
