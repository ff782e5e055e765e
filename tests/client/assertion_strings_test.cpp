// The texts of every assertion, those that no input can reach included, as they stand in the built library.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace
{

std::string library_bytes()
{
    std::ifstream file(RIB_LIBRARY_FILE, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << RIB_LIBRARY_FILE;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

const std::string &library()
{
    static const std::string content = library_bytes();
    return content;
}

bool is_text(char byte)
{
    return byte >= ' ' && byte <= '~';
}

// Whether the text stands in the library as a string of its own: what is before it may be other data, but no text.
bool holds(const std::string &text)
{
    const std::string with_end = text + '\0';
    size_t at = library().find(with_end);
    while (at != std::string::npos && at > 0 && is_text(library()[at - 1]))
        at = library().find(with_end, at + 1);
    return at != std::string::npos;
}

// The same for a text that can be no other string's end, wherever the string starts.
bool holds_prototype(const std::string &text)
{
    return library().find(text + '\0') != std::string::npos;
}

TEST(assertion_strings, library_does_not_hold_just_anything)
{
    EXPECT_FALSE(holds("zidl_rib_keys && zidl_rib_ids"));
}

TEST(assertion_strings, library_names_its_source_files_without_their_extension)
{
    EXPECT_TRUE(holds("ip/rib/lib/src/rib_lib_api_parse"));
    EXPECT_TRUE(holds("ip/rib/lib/src/rib_lib_route_decode"));
    EXPECT_TRUE(holds("ip/rib/lib/src/rib_lib_grid_dec"));
    EXPECT_FALSE(holds("ip/rib/lib/src/rib_lib_api_parse.cpp"));
}

TEST(assertion_strings, missing_key_array_has_its_text)
{
    EXPECT_TRUE(holds("zidl_rib_keys"));
}

TEST(assertion_strings, missing_id_array_has_its_text)
{
    EXPECT_TRUE(holds("zidl_rib_ids"));
}

TEST(assertion_strings, wrong_attribute_block_length_has_its_text)
{
    EXPECT_TRUE(holds("(size_t)(ptr - (uint8_t*)attr_array) == size"));
    EXPECT_TRUE(
        holds_prototype("zerrno rib_lib_route_generic_attributes_unpack(const struct zidl_rib_generic_attr_array *, "
                        "uint32_t, void **)"));
}

TEST(assertion_strings, texts_that_input_can_reach_are_there_too)
{
    EXPECT_TRUE(holds("zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)"));
    EXPECT_TRUE(holds("buf && buf_len > 0 && rib_grid_list"));
    EXPECT_TRUE(holds("num_keys == num_ids"));
    EXPECT_TRUE(holds("zidl_rib_key && rib_key"));
    EXPECT_TRUE(holds("zidl_prefix && rib_prefix"));
}

TEST(assertion_strings, prototypes_are_spelled_in_full)
{
    EXPECT_TRUE(holds_prototype(
        "void rib_lib_pvt_parse_grid_update(rib_grid_update_func_pointer, updatetype_local *, void *)"));
    EXPECT_TRUE(holds_prototype(
        "void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *)"));
    EXPECT_TRUE(holds_prototype(
        "void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer, updatetype_local *, void *)"));
    EXPECT_TRUE(holds_prototype(
        "void rib_lib_pvt_parse_route_update(updatetype_local *, rib_route_func_pointer, struct "
        "rib_routetype_ *(*)(rib_tlv_t *, uchar_t **), void (*)(struct rib_routetype_ *), int, void *)"));
    EXPECT_TRUE(holds_prototype("zerrno rib_server_decode_grid_list_update(void *, size_t, grid_sync_list *)"));
    EXPECT_TRUE(holds_prototype("zerrno rib_server_decode_encap_ids_and_keys(struct zidl_rib_grid_sync_list *, "
                                "grid_sync_list *)"));
    EXPECT_TRUE(holds_prototype("zerrno rib_server_decode_encap_id_key_internal(const struct zidl_rib_encap_id_key *, "
                                "rib_encap_id_path_key_t *)"));
    EXPECT_TRUE(
        holds_prototype("zerrno rib_server_decode_ip_addr(struct ip_addr *, const struct zidl_rib_msg_prefix *)"));
}

} // namespace
