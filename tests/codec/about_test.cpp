// What the whole library says of itself: version, build options, names of the client library's statuses.

#include "ip/rib/lib/src/rib_lib_update.h"
#include "rib_version.h"

#include <gtest/gtest.h>

namespace
{

TEST(about, statuses_of_the_client_library_have_the_names_of_their_constants)
{
    EXPECT_STREQ(rib_zerrno_name(0), "ZERRNO_OK");
    EXPECT_STREQ(rib_zerrno_name(22), "ZERRNO_INVALID");
    EXPECT_STREQ(rib_zerrno_name(0xa2d28000), "ZERRNO_MALFORMED");
    EXPECT_STREQ(rib_zerrno_name(0xa2d28200), "ZERRNO_NO_MEMORY");
    EXPECT_STREQ(rib_zerrno_name(0xa2d28400), "ZERRNO_UNSUPPORTED");
}

TEST(about, what_is_no_status_of_the_client_library_is_called_unknown)
{
    for (const uint32_t status : {1u, 21u, 0xa2d28001u, 0xffffffffu})
        EXPECT_STREQ(rib_zerrno_name(status), "unknown") << status;
}

TEST(about, version_of_headers_project_and_library_is_the_same)
{
    EXPECT_STREQ(RIB_VERSION_STRING, PROJECT_VERSION);
    EXPECT_STREQ(rib_version(), PROJECT_VERSION);
}

TEST(about, later_versions_are_larger_numbers)
{
    static_assert(RIB_VERSION >= RIB_VERSION_NUMBER(1, 1, 0));
    static_assert(RIB_VERSION < RIB_VERSION_NUMBER(2, 0, 0));
    static_assert(RIB_VERSION_NUMBER(1, 1, 0) > RIB_VERSION_NUMBER(1, 0, 999));
    static_assert(RIB_VERSION_NUMBER(2, 0, 0) > RIB_VERSION_NUMBER(1, 999, 999));
    EXPECT_EQ(RIB_VERSION_NUMBER(1, 2, 3), 1002003);
}

TEST(about, build_options_are_those_that_the_library_was_built_with)
{
    EXPECT_EQ(RIB_BUILT_WITH_CLIENT_ARENA, 1);
    EXPECT_EQ(RIB_BUILT_WITH_DISPATCH, 2);
    EXPECT_EQ(rib_build_options(), (BUILT_WITH_CLIENT_ARENA ? 1u : 0u) | (BUILT_WITH_DISPATCH ? 2u : 0u));
}

} // namespace
