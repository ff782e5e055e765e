// Two builds of the library in one process: each must be itself.

#include "bench/interleaved/loaded_library.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace
{

using bench::loaded_library;

class two_libraries : public testing::Test
{
protected:
    loaded_library first{RIB_LIBRARY, 'A'};
    loaded_library second{RIB_LIBRARY, 'B'};
};

using encode_function = decltype(&zidl_rib_route_encode_ext);

TEST_F(two_libraries, loaded_from_one_file_have_functions_of_their_own)
{
    const auto ours = first.function<encode_function>("zidl_rib_route_encode_ext");
    const auto theirs = second.function<encode_function>("zidl_rib_route_encode_ext");
    EXPECT_NE(ours, theirs);
    EXPECT_NE(ours, zidl_rib_route_encode_ext);
    EXPECT_NE(theirs, zidl_rib_route_encode_ext);
}

TEST_F(two_libraries, loaded_from_one_file_have_state_of_their_own)
{
    uint8_t payload[] = {0xF8, 0x02, 0x01}; // 47, unknown, = 1
    updatetype_local update = {};
    update.stripped = 1;
    update.tlv_type = RIB_TLV_ROUTE;
    update.payload = payload;
    update.payload_len = sizeof payload;
    const auto parse = first.function<decltype(&rib_lib_pvt_parse_route_update)>("rib_lib_pvt_parse_route_update");
    parse(&update, nullptr, nullptr, nullptr, 0, nullptr);
    using mark_function = decltype(&rib_lib_route_payload_high_water);
    EXPECT_EQ(first.function<mark_function>("rib_lib_route_payload_high_water")(), sizeof payload);
    EXPECT_EQ(second.function<mark_function>("rib_lib_route_payload_high_water")(), 0u);
    EXPECT_EQ(rib_lib_route_payload_high_water(), 0u);
}

TEST_F(two_libraries, operations_of_a_type_are_those_of_the_library)
{
    const zidl::message_descriptor &type = *zidl::find_message("ip_rib_opaque");
    const bench::codec_functions codec(second, type);
    EXPECT_EQ(codec.encode, second.function<decltype(codec.encode)>("zidl_ip_rib_opaque_encode_ext"));
    EXPECT_EQ(codec.decode, second.function<decltype(codec.decode)>("zidl_ip_rib_opaque_decode_ext"));
    EXPECT_EQ(codec.duplicate, second.function<decltype(codec.duplicate)>("zidl_ip_rib_opaque_duplicate"));
    EXPECT_EQ(codec.release, second.function<decltype(codec.release)>("zidl_ip_rib_opaque_free_ext"));
}

TEST(loaded_library, function_that_is_not_there_is_refused)
{
    const loaded_library library(RIB_LIBRARY, 'A');
    EXPECT_THROW(library.function<void *>("zidl_no_such_message_encode_ext"), std::runtime_error);
}

TEST(loaded_library, file_that_is_no_library_is_refused)
{
    EXPECT_THROW(loaded_library("/proc/self/exe", 'A'), std::runtime_error);
}

} // namespace
