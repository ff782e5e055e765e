// message<T>: what it owns, and that it gives back exactly that, whatever happens to it.

#include "rib.hpp"
#include "tests/codec/support.hpp"

#include <string>
#include <type_traits>

namespace
{

using rib_test::bytes;
using rib_test::memory;
using zidl::message;

using route_message = message<zidl_rib_route, zidl::functions>;
using opaque_message = message<zidl_ip_rib_opaque, zidl::functions>;
using proto_message = message<zidl_ip_rib_proto_update, zidl::functions>;

zidl::functions of(memory &from)
{
    return {memory::allocate, memory::release, &from};
}

const bytes named_protocol = {
    0x08, 0x14,                // 1 proto_id = 20
    0x22, 0x03, 'b', 'g', 'p', // 4 proto_name
};
const bytes opaque_blocks = {
    0x2a, 0x02, 7, 8, // 5 first_block
    0x32, 0x01, 9,    // 6 second_block
};

// Blocks: two paths, their labels.
bytes route_with_paths()
{
    const uint32_t labels[] = {16, 17};
    zidl::record<zidl_rib_path> paths[2];
    paths[0].set_path_value_1(1).set_path_values_9(labels);
    paths[1].set_path_value_1(2).set_path_values_9(labels);
    zidl::record<zidl_rib_route> route;
    route.set_route_value_2(5).set_paths(paths);
    bytes encoded;
    route.append_to(encoded);
    return encoded;
}

size_t held(const memory &from)
{
    return static_cast<size_t>(
        std::count_if(from.blocks.begin(), from.blocks.end(), [](void *block) { return block != nullptr; }));
}

template <class Message>
bool is_empty(const Message &msg)
{
    return msg->presence == 0 && msg.encoded_size() == 0;
}

TEST(cpp_message, what_was_decoded_is_released_at_the_end)
{
    memory from;
    {
        route_message route(of(from));
        ASSERT_TRUE(route.decode(route_with_paths()));
        EXPECT_EQ(held(from), 3u);
        EXPECT_EQ(route.paths()[1].path_values_9()[1], 17u);
    }
    EXPECT_EQ(held(from), 0u);
    EXPECT_EQ(from.releases.size(), 3u);
}

TEST(cpp_message, every_input_that_breaks_off_leaves_it_empty_and_nothing_allocated)
{
    const bytes whole = route_with_paths();
    memory from;
    route_message route(of(from));
    for (size_t len = 0; len < whole.size(); ++len) {
        if (route.decode({whole.data(), len}))
            continue;
        EXPECT_EQ(held(from), 0u) << len;
        EXPECT_TRUE(is_empty(route)) << len;
    }
    EXPECT_EQ(route.decode({whole.data(), whole.size() - 1}).code(), ZIDL_ERR_MALFORMED);
}

TEST(cpp_message, every_refused_allocation_leaves_it_empty_and_nothing_allocated)
{
    message<zidl_rib_route> source;
    ASSERT_TRUE(source.decode(route_with_paths()));
    for (size_t refused = 0; refused < 3; ++refused) {
        memory for_decode(refused);
        route_message decoded(of(for_decode));
        EXPECT_EQ(decoded.decode(route_with_paths()).code(), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(held(for_decode), 0u);
        EXPECT_TRUE(is_empty(decoded));

        memory for_duplicate(refused);
        route_message copy(of(for_duplicate));
        EXPECT_EQ(copy.duplicate(*source).code(), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(held(for_duplicate), 0u);
        EXPECT_TRUE(is_empty(copy));
    }
}

TEST(cpp_message, decoding_again_releases_what_it_held)
{
    memory from;
    proto_message proto(of(from));
    ASSERT_TRUE(proto.decode(named_protocol));
    ASSERT_TRUE(proto.decode(named_protocol));
    EXPECT_EQ(held(from), 1u);
    ASSERT_FALSE(proto.decode(bytes{0x22, 0x03, 'b'}));
    EXPECT_EQ(held(from), 0u);
    ASSERT_TRUE(proto.duplicate(*[] {
        static zidl::record<zidl_ip_rib_proto_update> ospf;
        ospf.set_proto_name("ospf");
        return &ospf;
    }()
                                     ->
                                     operator->()));
    EXPECT_EQ(proto.proto_name(), "ospf");
    EXPECT_EQ(held(from), 1u);
}

TEST(cpp_message, one_that_has_been_moved_from_is_empty_and_can_be_used_again)
{
    memory from;
    proto_message first(of(from));
    ASSERT_TRUE(first.decode(named_protocol));
    proto_message second = std::move(first);
    EXPECT_TRUE(is_empty(first));
    EXPECT_EQ(first.proto_name(), "");
    EXPECT_EQ(second.proto_name(), "bgp");
    ASSERT_TRUE(first.decode(named_protocol));
    EXPECT_EQ(held(from), 2u);
    second = std::move(first); // releases what `second` held
    EXPECT_EQ(held(from), 1u);
    EXPECT_EQ(second.proto_name(), "bgp");
    second = std::move(*&second); // itself
    EXPECT_EQ(second.proto_name(), "bgp");
    EXPECT_EQ(held(from), 1u);
}

TEST(cpp_message, a_zero_copy_decode_borrows_the_input_and_releases_none_of_it)
{
    memory from;
    const bytes input = opaque_blocks;
    {
        opaque_message opaque(of(from));
        ASSERT_TRUE(opaque.decode_zero_copy(input));
        EXPECT_EQ(opaque.first_block().data(), input.data() + 2);
        EXPECT_EQ(opaque.second_block().size(), 1u);
        opaque_message copy(of(from));
        ASSERT_TRUE(copy.duplicate(*opaque));
        EXPECT_EQ(held(from), 2u);
        EXPECT_NE(copy.first_block().data(), opaque.first_block().data());
        ASSERT_TRUE(opaque.decode(input)); // now a copy
        EXPECT_EQ(held(from), 4u);
    }
    EXPECT_EQ(held(from), 0u);
}

TEST(cpp_message, a_copy_of_itself_owns_what_it_borrowed)
{
    memory from;
    bytes input = opaque_blocks;
    opaque_message opaque(of(from));
    ASSERT_TRUE(opaque.decode_zero_copy(input));
    ASSERT_TRUE(opaque.duplicate(*opaque));
    input.assign(input.size(), 0);
    EXPECT_EQ(opaque.first_block()[1], 8);
    EXPECT_EQ(held(from), 2u);
}

TEST(cpp_message, a_copy_of_a_record_that_borrows_from_it_is_whole)
{
    memory from;
    proto_message proto(of(from));
    ASSERT_TRUE(proto.decode(named_protocol));
    zidl::record<zidl_ip_rib_proto_update> changed(*proto);
    changed.set_proto_id(21);
    ASSERT_TRUE(proto.duplicate(*changed));
    EXPECT_EQ(proto.proto_id(), 21u);
    EXPECT_EQ(proto.proto_name(), "bgp");
    EXPECT_EQ(held(from), 1u);

    memory for_one(1);
    proto_message full(of(for_one));
    ASSERT_TRUE(full.decode(named_protocol));
    EXPECT_EQ(full.duplicate(*proto).code(), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(held(for_one), 0u);
    EXPECT_TRUE(is_empty(full));
}

TEST(cpp_message, a_status_has_the_name_of_its_code)
{
    proto_message proto(zidl::functions(nullptr, nullptr, nullptr));
    EXPECT_STREQ(proto.decode(bytes{0x08}).name(), "ZIDL_ERR_MALFORMED");
    EXPECT_STREQ(zidl::status().name(), "ZIDL_OK");
}

TEST(cpp_message, one_in_an_arena_may_outlive_it)
{
    auto *const arena = new zidl::arena;
    zidl::arena_message<zidl_rib_route> route(*arena);
    ASSERT_TRUE(route.decode(route_with_paths()));
    EXPECT_EQ(route.paths().size(), 2u);
    delete arena; // under the address sanitizer, a touch of it or of its blocks would be the end
}

TEST(cpp_message, types_that_go_without_arguments_work_alike)
{
    memory from;
    message<zidl_rib_encap_id_path_key_label, zidl::functions> key(of(from)); // decodes without flags
    const bytes labels = {0x10, 0x10, 0x10, 0xac, 0x02};                      // 2 labels = 16, 300
    ASSERT_TRUE(key.decode_zero_copy(labels));
    EXPECT_EQ(key.labels()[1], 300u);
    EXPECT_EQ(key.release_flags(), 0u);
    message<zidl_rib_srv6_oper_type> oper; // decodes and duplicates without memory
    ASSERT_TRUE(oper.decode(bytes{0x08, 0x01, 0x10, 0x05}));
    message<zidl_rib_srv6_oper_type> copy;
    ASSERT_TRUE(copy.duplicate(*oper));
    EXPECT_TRUE(copy.oper_selector());
    EXPECT_EQ(copy.oper_when_set(), 5u);
}

TEST(cpp_message, a_record_is_handed_over_to_c_and_taken_back)
{
    memory from;
    const bytes input = opaque_blocks;
    opaque_message opaque(of(from));
    ASSERT_TRUE(opaque.decode(input));
    const uint32_t flags = opaque.release_flags();
    const zidl_ip_rib_opaque record = opaque.detach();
    EXPECT_TRUE(is_empty(opaque));
    EXPECT_EQ(held(from), 2u);
    opaque.adopt(record, flags);
    EXPECT_EQ(opaque.first_block()[0], 7);
    opaque.clear();
    EXPECT_EQ(held(from), 0u);
}

TEST(cpp_message, what_is_absent_reads_as_nothing)
{
    const message<zidl_rib_route> route;
    EXPECT_FALSE(route.has_route_value_2());
    EXPECT_EQ(route.route_value_2(), 0u);
    EXPECT_TRUE(route.paths().empty());
    EXPECT_FALSE(route.has_route_prefix());
    EXPECT_FALSE(route.route_prefix().address().has_ipv4());
    const message<zidl_ip_rib_proto_update> proto;
    EXPECT_FALSE(proto.has_proto_name());
    EXPECT_EQ(proto.proto_name().data(), nullptr);
    const message<zidl_ip_rib_opaque> opaque;
    EXPECT_TRUE(opaque.first_block().empty());
    zidl_rib_path stale = {}; // a member without its bit
    stale.path_value_1 = 5;
    EXPECT_EQ(zidl::view(stale).path_value_1(), 0u);
}

// Nothing is freed twice, and of what would end too soon, containers, strings, arenas and records do not compile.
static_assert(!std::is_copy_constructible_v<route_message> && !std::is_copy_assignable_v<route_message>);
static_assert(std::is_nothrow_move_constructible_v<route_message> && std::is_nothrow_move_assignable_v<route_message>);
static_assert(!std::is_constructible_v<zidl::arena_message<zidl_rib_route>, zidl::arena>);
static_assert(!std::is_convertible_v<bytes, zidl::borrowed<uint8_t>> &&
              std::is_convertible_v<bytes &, zidl::borrowed<uint8_t>>);
static_assert(std::is_convertible_v<bytes, zidl::bytes>);
static_assert(!std::is_convertible_v<std::string, zidl::text> && std::is_convertible_v<std::string &, zidl::text>);
static_assert(!std::is_convertible_v<std::string_view, zidl::text>);
// {0, 1} as the elements of an array, and false as a status, would say something else.
static_assert(!std::is_constructible_v<zidl::bytes, int, size_t> &&
              !std::is_constructible_v<zidl::borrowed<uint32_t>, int, size_t>);
static_assert(std::is_constructible_v<zidl::bytes, std::nullptr_t, size_t>);
static_assert(!std::is_convertible_v<bool, zidl::status> && std::is_convertible_v<int, zidl::status>);
static_assert(!std::is_convertible_v<route_message, zidl::view<zidl_rib_route>>);
template <class Message, class = void>
struct shows_its_record : std::false_type {
};
template <class Message>
struct shows_its_record<Message, std::void_t<decltype(std::declval<Message>().operator->())>> : std::true_type {
};
static_assert(!shows_its_record<route_message>::value && !shows_its_record<const route_message>::value);
static_assert(shows_its_record<route_message &>::value && shows_its_record<const route_message &>::value);
static_assert(!std::is_convertible_v<zidl::record<zidl_rib_route>, zidl::view<zidl_rib_route>> &&
              !std::is_constructible_v<zidl::view<zidl_rib_route>, zidl_rib_route>);
static_assert(!std::is_assignable_v<decltype(*std::declval<route_message &>()), zidl_rib_route>, "read only");

} // namespace
