// The bump allocator: what it hands out, when it grows, what a reset keeps.

#include "codec/zidl_arena.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace
{

struct arena_guard {
    zidl_arena arena;

    arena_guard(void *block, size_t size) { zidl_arena_init(&arena, block, size); }
    ~arena_guard() { zidl_arena_destroy(&arena); }
    arena_guard(const arena_guard &) = delete;
    arena_guard &operator=(const arena_guard &) = delete;

    uint8_t *alloc(size_t size) { return static_cast<uint8_t *>(zidl_arena_alloc(size, &arena)); }
};

bool lies_in(const void *pointer, const void *block, size_t size)
{
    const auto address = reinterpret_cast<uintptr_t>(pointer);
    const auto begin = reinterpret_cast<uintptr_t>(block);
    return address >= begin && address <= begin + size;
}

TEST(zidl_arena, callers_block_is_used_first)
{
    uint64_t block[8];
    arena_guard guard(block, sizeof block);
    EXPECT_EQ(guard.alloc(40), reinterpret_cast<uint8_t *>(block));
    EXPECT_EQ(guard.alloc(24), reinterpret_cast<uint8_t *>(block) + 40);
    EXPECT_EQ(guard.arena.newest, nullptr);
}

TEST(zidl_arena, memory_is_aligned_to_eight_bytes)
{
    alignas(8) uint8_t block[128];
    arena_guard guard(block + 3, sizeof block - 3);
    for (const size_t size : {1U, 7U, 8U, 9U, 13U})
        EXPECT_EQ(reinterpret_cast<uintptr_t>(guard.alloc(size)) % 8, 0U);
}

TEST(zidl_arena, block_too_small_to_be_aligned_is_not_used)
{
    alignas(8) uint8_t block[16];
    arena_guard guard(block + 1, 7);
    EXPECT_FALSE(lies_in(guard.alloc(1), block, sizeof block));
}

TEST(zidl_arena, what_does_not_fit_the_callers_block_comes_from_malloc)
{
    uint64_t block[2];
    arena_guard guard(block, sizeof block);
    uint8_t *const memory = guard.alloc(17);
    ASSERT_NE(memory, nullptr);
    EXPECT_FALSE(lies_in(memory, block, sizeof block));
    memset(memory, 1, 17);
}

TEST(zidl_arena, works_without_a_callers_block)
{
    arena_guard guard(nullptr, 0);
    uint8_t *const memory = guard.alloc(100);
    ASSERT_NE(memory, nullptr);
    memset(memory, 1, 100);
}

TEST(zidl_arena, size_of_zero_yields_memory)
{
    arena_guard guard(nullptr, 0);
    EXPECT_NE(guard.alloc(0), nullptr);
}

TEST(zidl_arena, blocks_at_least_double)
{
    arena_guard guard(nullptr, 0);
    guard.alloc(1);
    const size_t first = guard.arena.newest->size;
    EXPECT_EQ(first, size_t{ZIDL_ARENA_FIRST_GROWTH});
    guard.alloc(first);
    EXPECT_EQ(guard.arena.newest->size, 2 * first);
    guard.alloc(100 * first);
    EXPECT_EQ(guard.arena.newest->size, 100 * first);
}

TEST(zidl_arena, memory_handed_out_does_not_overlap)
{
    arena_guard guard(nullptr, 0);
    std::vector<std::pair<uint8_t *, size_t>> blocks;
    for (size_t size = 1; size < 3000; size += 37) {
        uint8_t *const memory = guard.alloc(size);
        ASSERT_NE(memory, nullptr);
        memset(memory, static_cast<int>(blocks.size()), size);
        blocks.emplace_back(memory, size);
    }
    for (size_t i = 0; i < blocks.size(); ++i)
        for (size_t j = 0; j < blocks[i].second; ++j)
            ASSERT_EQ(blocks[i].first[j], static_cast<uint8_t>(i)) << "block " << i;
}

TEST(zidl_arena, reset_starts_over_in_the_callers_block)
{
    uint64_t block[4];
    arena_guard guard(block, sizeof block);
    uint8_t *const before = guard.alloc(16);
    zidl_arena_reset(&guard.arena);
    EXPECT_EQ(guard.alloc(16), before);
}

TEST(zidl_arena, reset_keeps_the_largest_block_and_needs_no_malloc_again)
{
    arena_guard guard(nullptr, 0);
    guard.alloc(5000);
    guard.alloc(20000);
    zidl_arena_block *const largest = guard.arena.newest;
    zidl_arena_reset(&guard.arena);
    EXPECT_EQ(guard.arena.spare, largest);
    EXPECT_TRUE(lies_in(guard.alloc(20000), largest + 1, largest->size));
    EXPECT_EQ(guard.arena.newest, largest);
    EXPECT_EQ(largest->older, nullptr);
}

TEST(zidl_arena, callers_block_is_used_first_again_after_it_did_not_suffice)
{
    uint64_t block[8];
    arena_guard guard(block, sizeof block);
    guard.alloc(1000);
    zidl_arena_block *const grown = guard.arena.newest;
    zidl_arena_reset(&guard.arena);
    EXPECT_EQ(guard.alloc(64), reinterpret_cast<uint8_t *>(block));
    EXPECT_TRUE(lies_in(guard.alloc(8), grown + 1, grown->size));
}

TEST(zidl_arena, spare_block_that_is_too_small_makes_way_for_a_larger_one)
{
    arena_guard guard(nullptr, 0);
    guard.alloc(100);
    zidl_arena_reset(&guard.arena);
    guard.alloc(3 * size_t{ZIDL_ARENA_FIRST_GROWTH});
    zidl_arena_reset(&guard.arena);
    ASSERT_NE(guard.arena.spare, nullptr);
    EXPECT_EQ(guard.arena.spare->size, 3 * size_t{ZIDL_ARENA_FIRST_GROWTH});
}

TEST(zidl_arena, destroyed_arena_is_ready_again)
{
    uint64_t block[4];
    arena_guard guard(block, sizeof block);
    guard.alloc(1000);
    zidl_arena_destroy(&guard.arena);
    EXPECT_EQ(guard.arena.newest, nullptr);
    EXPECT_EQ(guard.alloc(8), reinterpret_cast<uint8_t *>(block));
}

TEST(zidl_arena, absurd_sizes_are_refused)
{
    arena_guard guard(nullptr, 0);
    EXPECT_EQ(guard.alloc(std::numeric_limits<size_t>::max()), nullptr);
    EXPECT_EQ(guard.alloc(std::numeric_limits<size_t>::max() - 3), nullptr);
    EXPECT_EQ(guard.alloc(std::numeric_limits<size_t>::max() / 2), nullptr);
}

TEST(zidl_arena, decoded_record_lies_in_the_arena_and_survives_its_release)
{
    const uint8_t input[] = {
        0x12, 0x03,       // 2 keys[0], 3 bytes
        0xa2, 0x01, 0x00, //   20 key_bytes_20, empty
        0x12, 0x02,       // 2 keys[1], 2 bytes
        0x08, 0x07,       //   1 key_value_1 = 7
    };
    uint64_t block[512];
    arena_guard guard(block, sizeof block);
    zidl_rib_grid_sync_list list{};
    ASSERT_EQ(zidl_rib_grid_sync_list_decode_ext(&list, input, sizeof input, zidl_arena_alloc, &guard.arena, 0),
              ZIDL_OK);
    ASSERT_EQ(list.keys_count, 2U);
    EXPECT_TRUE(lies_in(list.keys, block, sizeof block));
    EXPECT_NE(list.keys[0].key_bytes_20, nullptr);
    EXPECT_EQ(list.keys[1].key_value_1, 7U);
    zidl_rib_grid_sync_list_free_ext(&list, zidl_arena_free, &guard.arena, 0);
    EXPECT_EQ(list.keys, nullptr);
}

TEST(zidl_arena, rest_of_a_block_that_is_no_multiple_of_eight_is_not_used)
{
    alignas(8) uint8_t block[16];
    arena_guard guard(block, 15);
    EXPECT_EQ(guard.alloc(8), block);
    EXPECT_FALSE(lies_in(guard.alloc(7), block, sizeof block));
}

TEST(zidl_arena, size_of_zero_needs_no_malloc_even_where_nothing_is_left)
{
    uint64_t block[1];
    arena_guard guard(block, sizeof block);
    guard.alloc(8);
    EXPECT_NE(guard.alloc(0), nullptr);
    EXPECT_EQ(guard.arena.newest, nullptr);
}

TEST(zidl_arena, refused_size_leaves_the_room_to_others)
{
    uint64_t block[2];
    arena_guard guard(block, sizeof block);
    EXPECT_EQ(guard.alloc(std::numeric_limits<size_t>::max()), nullptr);
    EXPECT_EQ(guard.alloc(std::numeric_limits<size_t>::max() / 4), nullptr);
    EXPECT_EQ(guard.alloc(16), reinterpret_cast<uint8_t *>(block));
    EXPECT_EQ(guard.arena.newest, nullptr);
}

TEST(zidl_arena, smaller_spare_block_does_not_follow_a_larger_one)
{
    arena_guard guard(nullptr, 0);
    guard.alloc(100);
    zidl_arena_reset(&guard.arena);
    guard.alloc(3 * size_t{ZIDL_ARENA_FIRST_GROWTH}); // beyond the spare block
    guard.alloc(100);                                 // the spare block would do
    ASSERT_NE(guard.arena.newest, nullptr);
    EXPECT_EQ(guard.arena.newest->size, 6 * size_t{ZIDL_ARENA_FIRST_GROWTH});
    zidl_arena_reset(&guard.arena);
    ASSERT_NE(guard.arena.spare, nullptr);
    EXPECT_EQ(guard.arena.spare->size, 6 * size_t{ZIDL_ARENA_FIRST_GROWTH});
}

} // namespace
