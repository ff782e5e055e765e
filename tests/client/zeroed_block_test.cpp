// Memory for records, by each of the ways to clear it that this processor has.

#include "ip/rib/lib/src/zeroed_block.hpp"

#include "ip/rib/lib/src/rib_lib.h"
#include "tests/client/heap.hpp"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

using namespace rib_test;

namespace
{

constexpr size_t sizes[] = {
    sizeof(rib_routetype_),                              // the smallest record
    sizeof(rib_routetype_) + sizeof(rib_path_entry),     // of one path,
    sizeof(rib_routetype_) + sizeof(rib_path_entry) + 8, // with an ecomm value,
    sizeof(rib_routetype_) + 4 * sizeof(rib_path_entry) + 56,
    sizeof(rib_path_entry), // of a path alone
    131071,
    131072,
    131073,
    1000000, // around the size that calloc clears, and above
};

#if defined(__x86_64__)

using namespace zidl::detail::processor;

TEST(zeroed_block, loop_over_words_clears_every_byte_and_none_beside_them)
{
    if (!__builtin_cpu_supports("avx2"))
        GTEST_SKIP() << "no AVX2";
    for (size_t from = 0; from < 64; from++) {
        for (size_t size = 64; size < 600; size++) {
            std::vector<uint8_t> memory(1024, 0xA5);
            rib_client::clear_by_word(memory.data() + from, size);
            const auto begin = memory.begin() + static_cast<std::ptrdiff_t>(from);
            const auto end = begin + static_cast<std::ptrdiff_t>(size);
            ASSERT_EQ(static_cast<size_t>(std::count(memory.begin(), begin, 0xA5)), from)
                << size << " bytes at " << from;
            ASSERT_EQ(static_cast<size_t>(std::count(begin, end, 0)), size) << size << " bytes at " << from;
            ASSERT_EQ(static_cast<size_t>(std::count(end, memory.end(), 0xA5)), 1024 - from - size)
                << size << " bytes at " << from;
        }
    }
}

// Makes the library take one way or the other, for as long as it lives.
class zeroed_block_by : public testing::TestWithParam<uint32_t>
{
protected:
    void SetUp() override
    {
        if (GetParam() == fills_by_word && !__builtin_cpu_supports("avx2"))
            GTEST_SKIP() << "no AVX2";
        abilities = known | GetParam();
    }
    void TearDown() override
    {
        end_watch();
        abilities = before_;
    }

private:
    const uint32_t before_ = abilities;
};

INSTANTIATE_TEST_SUITE_P(ways, zeroed_block_by, testing::Values(known, fills_by_word));

TEST_P(zeroed_block_by, is_one_block_of_the_size_asked_for_and_zero_everywhere)
{
    for (const size_t size : sizes) {
        watch_heap();
        const auto *block = static_cast<const uint8_t *>(rib_client::zeroed_block(size));
        ASSERT_EQ(heap().requests.size(), 1u);
        EXPECT_EQ(heap().requests[0].size, size);
        EXPECT_EQ(heap().requests[0].block, block);
        EXPECT_EQ(static_cast<size_t>(std::count(block, block + size, 0)), size);
        end_watch();
    }
}

TEST_P(zeroed_block_by, is_null_without_memory)
{
    for (const size_t size : sizes) {
        watch_heap(0);
        EXPECT_EQ(rib_client::zeroed_block(size), nullptr);
        end_watch();
    }
}

TEST_P(zeroed_block_by, leaves_large_blocks_to_calloc_which_knows_fresh_pages)
{
    for (const size_t size : {size_t{131072}, size_t{1000000}}) {
        watch_heap();
        EXPECT_NE(rib_client::zeroed_block(size), nullptr);
        EXPECT_TRUE(heap().requests.at(0).zeroed) << size;
        end_watch();
    }
}

#endif

} // namespace
