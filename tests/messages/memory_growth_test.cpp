// How much memory an input can make a decode ask for, by its length: what docs/ownership.md and docs/client-guide.md tell
// those who decode input of others.

#include "messages/descriptors.hpp"
#include "messages/rib_common.h"
#include "tests/reference/record_access.hpp"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace
{

using namespace record_access;

constexpr double WORST = 187;

// What an element of an array costs by the shortest input that announces one: its tag and, for an integer, a byte of value,
// for all else a length of 0. Contents add input and memory of their own, which is no worse.
double cost_of_an_empty_element(const field_descriptor &field)
{
    const size_t tag_len = field.number < 16 ? 1 : 2;
    return static_cast<double>(element_size(field)) / static_cast<double>(tag_len + 1);
}

void *count_and_refuse(size_t size, void *total)
{
    *static_cast<size_t *>(total) += size;
    return nullptr;
}

std::string page(const char *name)
{
    std::ifstream file(std::string(RIB_DOCS) + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(memory_growth, no_array_costs_more_than_187_times_its_input)
{
    double worst = 0;
    for (size_t i = 0; i < zidl::message_count; ++i)
        for (const field_descriptor &field : fields_of(*zidl::all_messages[i]))
            if (field.repeated) {
                EXPECT_LE(cost_of_an_empty_element(field), WORST) << zidl::all_messages[i]->name << " " << field.member;
                worst = std::max(worst, cost_of_an_empty_element(field));
            }
    EXPECT_GT(worst, WORST - 1);
}

TEST(memory_growth, a_route_of_empty_paths_costs_187_times_its_input)
{
    std::vector<uint8_t> input;
    for (int i = 0; i < 1000; ++i)
        input.insert(input.end(), {0xd2, 0x01, 0x00}); // 26 paths, an empty one
    size_t total = 0;
    zidl_rib_route route = {};
    EXPECT_EQ(zidl_rib_route_decode_ext(&route, input.data(), input.size(), count_and_refuse, &total, 0),
              ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(total, 560000u); // 186.7 for every byte
}

TEST(memory_growth, both_pages_name_the_worst)
{
    EXPECT_NE(page("ownership.md").find("at worst 187 times its length"), std::string::npos);
    EXPECT_NE(page("client-guide.md").find("| 187 n (560 bytes for each path, which takes at least 3)"),
              std::string::npos);
}

} // namespace
