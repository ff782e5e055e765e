// record<T>: what its setters are given, the encoding has. And what views, spans and the arena's copies make of it.

#include "rib.hpp"
#include "tests/codec/support.hpp"

#include <array>
#include <csignal>
#include <span>
#include <stdexcept>
#include <string>

namespace
{

using rib_test::bytes;
using zidl::record;

template <class Encodable>
bytes encoded(const Encodable &msg)
{
    bytes out;
    msg.append_to(out);
    return out;
}

const bytes named_protocol = {
    0x08, 0x14,                // 1 proto_id = 20
    0x22, 0x03, 'b', 'g', 'p', // 4 proto_name
};

TEST(cpp_record, constant_strings_and_bytes_need_no_cast)
{
    EXPECT_EQ(encoded(record<zidl_ip_rib_proto_update>().set_proto_id(20).set_proto_name("bgp")), named_protocol);
    const std::string name = "bgp";
    EXPECT_EQ(encoded(record<zidl_ip_rib_proto_update>().set_proto_id(20).set_proto_name(name)), named_protocol);
    static const uint8_t block[] = {1, 2};
    EXPECT_EQ(encoded(record<zidl_ip_rib_opaque>().set_first_block(block)), (bytes{0x2a, 0x02, 1, 2}));
}

TEST(cpp_record, present_and_empty_is_not_absent)
{
    EXPECT_EQ(encoded(record<zidl_ip_rib_opaque>().set_first_block({})), (bytes{0x2a, 0x00}));
    EXPECT_EQ(encoded(record<zidl_ip_rib_opaque>()), bytes());
    EXPECT_FALSE(record<zidl_ip_rib_proto_update>().set_proto_name("bgp").set_proto_name(nullptr).has_proto_name());
}

TEST(cpp_record, arrays_are_of_numbers_blocks_and_records)
{
    const std::array<uint32_t, 2> labels = {16, 300};
    EXPECT_EQ(encoded(record<zidl_rib_encap_id_path_key_label>().set_labels(labels)),
              (bytes{0x10, 0x10, 0x10, 0xac, 0x02}));
    const uint8_t entry[] = {5, 6};
    const std::vector<zidl_bytes> entries = {zidl::block_of(entry), zidl::block_of({})};
    record<zidl_rib_encap_id_path_key_srv6> key;
    key.set_entries(entries);
    EXPECT_EQ(encoded(key), (bytes{0x12, 0x02, 5, 6, 0x12, 0x00}));
    ASSERT_EQ(key.entries().size(), 2u);
    EXPECT_EQ(key.entries()[0][1], 6);
    std::vector<record<zidl_rib_nnh>> hops(2);
    hops[1].set_nnh_value_1(3);
    record<zidl_rib_path> path;
    path.set_nnh_entries(hops);
    ASSERT_EQ(path.nnh_entries().size(), 2u);
    EXPECT_EQ(path.nnh_entries().back().nnh_value_1(), 3u);
    EXPECT_EQ(path.nnh_entries().records().data(), &*hops[0]);
}

TEST(cpp_record, what_a_getter_returns_the_setter_of_its_name_borrows)
{
    const uint8_t entry[] = {5, 6};
    const zidl_bytes entries[] = {zidl::block_of(entry)};
    record<zidl_rib_encap_id_path_key_srv6> key;
    key.set_entries(entries);
    record<zidl_rib_encap_id_path_key_srv6> other_key;
    other_key.set_entries(key.entries());
    EXPECT_EQ(other_key.entries().records().data(), entries);
    EXPECT_EQ(encoded(other_key), encoded(key));

    const uint32_t labels[] = {16, 17};
    record<zidl_rib_path> paths[2];
    paths[1].set_path_values_9(labels);
    record<zidl_rib_route> route;
    route.set_paths(paths).edit_route_prefix().set_prefix_len(24);
    record<zidl_rib_route> other;
    other.set_paths(route.paths()).set_route_prefix(*route.route_prefix());
    EXPECT_EQ(other->paths, route->paths);
    EXPECT_EQ(other.route_prefix().prefix_len(), 24u);
    other.set_paths(zidl::views<zidl_rib_path>(route.paths().records().first(1)));
    EXPECT_EQ(other.paths().size(), 1u);
    paths[0].set_path_values_9(paths[1].path_values_9());
    EXPECT_EQ(paths[0].path_values_9().data(), labels);

    record<zidl_ip_rib_opaque> opaque;
    opaque.set_first_block(entry).set_second_block(opaque.first_block());
    EXPECT_EQ(opaque->second_block, entry);
}

TEST(cpp_record, an_embedded_message_is_edited_set_marked_and_cleared)
{
    record<zidl_rib_prefix> prefix;
    prefix.edit_address().set_family(1);
    EXPECT_EQ(encoded(prefix), (bytes{0x0a, 0x02, 0x08, 0x01}));
    record<zidl_rib_address> address;
    address.set_ipv4(2);
    prefix.set_address(*address);
    EXPECT_EQ(encoded(prefix), (bytes{0x0a, 0x02, 0x10, 0x02}));
    EXPECT_EQ(prefix.address().ipv4(), 2u);
    EXPECT_EQ(encoded(prefix.clear_address()), bytes());
    EXPECT_EQ(encoded(prefix.mark_address()), (bytes{0x0a, 0x00}));
}

TEST(cpp_record, what_is_cleared_is_absent_and_null)
{
    record<zidl_ip_rib_opaque> opaque;
    static const uint8_t block[] = {1};
    opaque.set_first_block(block).set_opaque_id(5).clear_first_block();
    EXPECT_EQ(encoded(opaque), (bytes{0x10, 0x05}));
    EXPECT_EQ(opaque->first_block, nullptr);
    EXPECT_EQ(opaque->first_block_size, 0u);
}

TEST(cpp_record, one_made_of_a_message_changes_without_it)
{
    zidl::message<zidl_ip_rib_proto_update> received;
    ASSERT_TRUE(received.decode(named_protocol));
    record<zidl_ip_rib_proto_update> changed(*received);
    changed.set_proto_id(21);
    EXPECT_EQ(encoded(changed), (bytes{0x08, 0x15, 0x22, 0x03, 'b', 'g', 'p'}));
    EXPECT_EQ(received.proto_id(), 20u);
}

TEST(cpp_record, encoding_tells_its_length_where_it_does_not_fit)
{
    record<zidl_ip_rib_proto_update> proto;
    proto.set_proto_id(20).set_proto_name("bgp");
    uint8_t room[7] = {};
    EXPECT_EQ(proto.encoded_size(), 7u);
    EXPECT_EQ(proto.encode({room, 3}), 7u);
    EXPECT_EQ(proto.encode(room), 7u);
    EXPECT_EQ(bytes(room, room + 7), named_protocol);
    std::string text = "x";
    proto.append_to(text);
    EXPECT_EQ(text, "x\x08\x14\x22\x03"
                    "bgp");
}

TEST(cpp_record, an_array_of_more_elements_than_its_count_holds_ends_the_process)
{
    const uint32_t label = 16;
    record<zidl_rib_path> path;
    EXPECT_EQ(path.set_path_values_9({&label, UINT32_MAX}).path_values_9().size(), UINT32_MAX);
    if constexpr (SIZE_MAX > UINT32_MAX) {
        EXPECT_EXIT(path.set_path_values_9({&label, static_cast<size_t>(UINT32_MAX + uint64_t{1})}),
                    testing::KilledBySignal(SIGABRT), "");
    }
}

// Says that it is nearly as long as can be, and keeps none of it.
struct full_container {
    uint8_t *data() { return nullptr; }
    size_t size() const { return SIZE_MAX - 3; }
    void resize(size_t size)
    {
        asked = size;
        throw std::length_error("full");
    }
    size_t asked = 0;
};

TEST(cpp_record, a_container_is_never_asked_for_less_than_it_is_to_hold)
{
    record<zidl_ip_rib_proto_update> proto;
    full_container container;
    EXPECT_THROW(proto.set_proto_name("bgp").append_to(container), std::length_error);
    EXPECT_EQ(container.asked, SIZE_MAX);
}

TEST(cpp_record, segments_lead_to_the_bytes_that_were_set)
{
    static const uint8_t block[] = {1, 2};
    record<zidl_ip_rib_opaque> opaque;
    opaque.set_opaque_id(5).set_first_block(block);
    uint8_t room[16];
    zidl_segment segments[4];
    uint32_t needed = 0;
    EXPECT_EQ(opaque.encode_segments(room, segments, needed), 4u); // without the contents
    bytes joined;
    for (const zidl_segment &segment : zidl::span(segments).first(needed))
        joined.insert(joined.end(), segment.base, segment.base + segment.len);
    EXPECT_EQ(joined, (bytes{0x10, 0x05, 0x2a, 0x02, 1, 2}));
    EXPECT_EQ(segments[1].base, block);
    EXPECT_EQ(opaque.encode_segments(room, {}, needed), 4u);
    EXPECT_EQ(needed, 2u);
}

TEST(cpp_record, the_arena_makes_text_and_elements_last)
{
    zidl::arena arena;
    record<zidl_ip_rib_proto_update> proto;
    proto.set_proto_id(20).set_proto_name(zidl::copy(arena, std::string("bgpx").substr(0, 3)));
    EXPECT_EQ(encoded(proto), named_protocol);
    const zidl::span<uint32_t> labels = zidl::copy(arena, zidl::span<const uint32_t>(std::vector<uint32_t>{16, 300}));
    EXPECT_EQ(encoded(record<zidl_rib_encap_id_path_key_label>().set_labels(labels)),
              (bytes{0x10, 0x10, 0x10, 0xac, 0x02}));
    EXPECT_TRUE(zidl::copy(arena, zidl::span<const uint32_t>()).empty());
}

TEST(cpp_record, a_span_is_a_std_span_and_the_other_way)
{
    bytes input = {1, 2, 3};
    const std::span<const uint8_t> standard = zidl::bytes(input);
    EXPECT_EQ(standard.size(), 3u);
    const zidl::bytes back = standard;
    EXPECT_EQ(back.data(), input.data());
    EXPECT_EQ(back.without_first(5).size(), 0u);
    EXPECT_EQ(back.first(2).back(), 2);
    record<zidl_ip_rib_opaque> opaque;
    opaque.set_first_block(std::span(input).first(2)); // it owns no elements: one that ends here is no matter
    EXPECT_EQ(opaque->first_block, input.data());
}

// A temporary may lend what it does not own.
static_assert(std::is_convertible_v<std::span<const uint8_t>, zidl::borrowed<uint8_t>> &&
              std::is_convertible_v<std::span<uint8_t, 2>, zidl::borrowed<uint8_t>> &&
              !std::is_convertible_v<std::array<uint8_t, 2>, zidl::borrowed<uint8_t>> &&
              !std::is_convertible_v<std::span<const uint16_t>, zidl::borrowed<uint8_t>>);
static_assert(std::is_convertible_v<zidl::views<zidl_rib_path>, zidl::borrowed<zidl_rib_path>> &&
              !std::is_convertible_v<zidl::views<zidl_rib_nnh>, zidl::borrowed<zidl_rib_path>> &&
              !std::is_convertible_v<zidl::blocks, zidl::borrowed<uint8_t>>);

// An array of records is taken as the array of C records that it is.
static_assert(std::is_standard_layout_v<record<zidl_rib_path>> &&
              sizeof(record<zidl_rib_path>) == sizeof(zidl_rib_path));
static_assert(std::is_trivially_copyable_v<record<zidl_rib_path>>);

} // namespace
