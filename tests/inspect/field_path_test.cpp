#include "inspect/wire/field_path.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace rib_inspect;

const zidl::message_descriptor &route = *zidl::find_message("rib_route");

// The path, written again.
std::string again(std::string_view text)
{
    const auto path = parse_path(route, text);
    return path ? to_string(*path) : "none";
}

// The first character that does not fit.
size_t bad_place(std::string_view text)
{
    size_t bad = std::string_view::npos;
    EXPECT_FALSE(parse_path(route, text, &bad)) << text;
    return bad;
}

TEST(field_path, names_fields_elements_and_unknown_fields)
{
    EXPECT_EQ(again("paths[3].ecomm.ecomm_values[2]"), "paths[3].ecomm.ecomm_values[2]");
    EXPECT_EQ(again("route_prefix.address.ipv6.half0"), "route_prefix.address.ipv6.half0");
    EXPECT_EQ(again("paths[4294967295].77"), "paths[4294967295].77");
    EXPECT_EQ(again("route_value_16"), "route_value_16");
}

TEST(field_path, has_index_0_where_the_last_ones_is_left_out)
{
    EXPECT_EQ(again("paths"), "paths[0]");
}

TEST(field_path, holds_the_steps_to_the_field)
{
    const auto path = parse_path(route, "paths[3].path_prefix.99");
    ASSERT_TRUE(path);
    ASSERT_EQ(path->depth, 3u);
    EXPECT_STREQ(path->steps[0].field->member, "paths");
    EXPECT_EQ(path->steps[0].index, 3u);
    EXPECT_STREQ(path->steps[1].field->member, "path_prefix");
    EXPECT_EQ(path->steps[2].field, nullptr);
    EXPECT_EQ(path->steps[2].number, 99u);
}

TEST(field_path, ends_where_a_text_does_not_fit)
{
    EXPECT_EQ(bad_place(""), 0u);
    EXPECT_EQ(bad_place("path[3]"), 0u);
    EXPECT_EQ(bad_place("paths.ecomm"), 5u); // an element is meant, but which
    EXPECT_EQ(bad_place("paths[].ecomm"), 6u);
    EXPECT_EQ(bad_place("paths[4294967296]"), 6u);
    EXPECT_EQ(bad_place("paths[3"), 7u);
    EXPECT_EQ(bad_place("paths[3]."), 9u);
    EXPECT_EQ(bad_place("route_prefix[0]"), 12u);       // not repeated
    EXPECT_EQ(bad_place("route_value_16.family"), 15u); // no message
    EXPECT_EQ(bad_place("77.1"), 3u);                   // nobody knows what is in there
}

TEST(field_path, has_one_name_for_each_field)
{
    EXPECT_EQ(bad_place("26"), 2u); // paths
}

} // namespace
