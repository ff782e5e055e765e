// Every assertion that an update or a caller can reach, with the C library's own message on stderr.

#include "tests/client/grid_support.hpp"

#include <csignal>

using namespace rib_test;

namespace
{

// A regular expression that matches the text itself.
std::string quoted(const std::string &text)
{
    std::string out;
    for (const char character : text) {
        if (std::strchr("\\^$.|?*+()[]{}", character) != nullptr)
            out += '\\';
        out += character;
    }
    return out;
}

// The line that the C library prints, from behind the program's name to the end.
std::string message(const char *file, int line, const char *function, const char *expression)
{
    return quoted(std::string(": ") + file + ":" + std::to_string(line) + ": " + function + ": Assertion `" +
                  expression + "' failed.\n");
}

constexpr const char *PARSE_FILE = "ip/rib/lib/src/rib_lib_api_parse";
constexpr const char *GRID_FILE = "ip/rib/lib/src/rib_lib_grid_dec";

constexpr const char *PROTO = "void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, "
                              "void *)";
constexpr const char *OPAQUE = "void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer, updatetype_local "
                               "*, void *)";
constexpr const char *ROUTE = "void rib_lib_pvt_parse_route_update(updatetype_local *, rib_route_func_pointer, struct "
                              "rib_routetype_ *(*)(rib_tlv_t *, uchar_t **), void (*)(struct rib_routetype_ *), int, "
                              "void *)";
constexpr const char *GRID = "void rib_lib_pvt_parse_grid_update(rib_grid_update_func_pointer, updatetype_local *, "
                             "void *)";
constexpr const char *GRID_LIST_DECODER = "zerrno rib_server_decode_grid_list_update(void *, size_t, grid_sync_list *)";

class assertion_death : public testing::Test
{
protected:
    assertion_death() { testing::FLAGS_gtest_death_test_style = "fast"; }

    updatetype_local update_of(uint32_t tlv_type, const bytes &payload)
    {
        content = payload;
        return stripped_update(tlv_type, content.data(), content.size());
    }

    bytes content;
};

#define EXPECT_ABORT(statement, text) EXPECT_EXIT(statement, testing::KilledBySignal(SIGABRT), text)

TEST_F(assertion_death, unknown_code_of_a_protocol_update)
{
    updatetype_local update = update_of(99, {});
    EXPECT_ABORT(rib_lib_pvt_parse_proto_update(nullptr, &update, nullptr), message(PARSE_FILE, 188, PROTO, "0"));
}

TEST_F(assertion_death, unknown_code_of_an_opaque_update)
{
    updatetype_local update = update_of(99, {});
    EXPECT_ABORT(rib_lib_pvt_parse_opaque_update(nullptr, &update, nullptr), message(PARSE_FILE, 337, OPAQUE, "0"));
}

TEST_F(assertion_death, unknown_code_of_a_route_update)
{
    updatetype_local update = update_of(99, {});
    EXPECT_ABORT(rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, nullptr),
                 message(PARSE_FILE, 264, ROUTE, "0"));
}

TEST_F(assertion_death, unknown_code_of_a_grid_update)
{
    updatetype_local update = update_of(99, {});
    EXPECT_ABORT(rib_lib_pvt_parse_grid_update(nullptr, &update, nullptr), message(PARSE_FILE, 127, GRID, "0"));
}

TEST_F(assertion_death, protocol_update_without_proto_id)
{
    updatetype_local update = update_of(ENCODED_PROTO, {0x10, 0x01}); // 2 proto_sub_id = 1
    EXPECT_ABORT(rib_lib_pvt_parse_proto_update(nullptr, &update, nullptr),
                 message(PARSE_FILE, 168, PROTO, "zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)"));
}

TEST_F(assertion_death, grid_update_with_an_empty_payload)
{
    updatetype_local update = update_of(GRID_LIST, {});
    EXPECT_ABORT(rib_lib_pvt_parse_grid_update(nullptr, &update, nullptr),
                 message(GRID_FILE, 512, GRID_LIST_DECODER, "buf && buf_len > 0 && rib_grid_list"));
}

TEST_F(assertion_death, grid_list_into_a_null_list)
{
    bytes payload = one_key_list(plain_key);
    EXPECT_ABORT(rib_server_decode_grid_list_update(payload.data(), payload.size(), nullptr),
                 message(GRID_FILE, 512, GRID_LIST_DECODER, "buf && buf_len > 0 && rib_grid_list"));
}

TEST_F(assertion_death, grid_list_with_other_than_one_id_per_key)
{
    updatetype_local update = update_of(GRID_LIST, repeat(2, id_field(9)) + key_field(plain_key) + multi_key_set);
    EXPECT_ABORT(rib_lib_pvt_parse_grid_update(nullptr, &update, nullptr),
                 message(GRID_FILE, 443,
                         "zerrno rib_server_decode_encap_ids_and_keys(struct zidl_rib_grid_sync_list *, "
                         "grid_sync_list *)",
                         "num_keys == num_ids"));
}

TEST_F(assertion_death, grid_list_into_a_null_key_array)
{
    bytes payload = one_key_list(plain_key);
    grid_sync_list list = {};
    EXPECT_ABORT(rib_server_decode_grid_list_update(payload.data(), payload.size(), &list),
                 message(GRID_FILE, 386,
                         "zerrno rib_server_decode_encap_id_key_internal(const struct zidl_rib_encap_id_key *, "
                         "rib_encap_id_path_key_t *)",
                         "zidl_rib_key && rib_key"));
}

TEST_F(assertion_death, grid_key_without_its_second_prefix)
{
    updatetype_local update = update_of(GRID_LIST, one_key_list(required_but_type + bytes{0x28, 0x01}));
    EXPECT_ABORT(rib_lib_pvt_parse_grid_update(nullptr, &update, nullptr),
                 message(GRID_FILE, 43,
                         "zerrno rib_server_decode_ip_addr(struct ip_addr *, const struct zidl_rib_msg_prefix *)",
                         "zidl_prefix && rib_prefix"));
}

} // namespace
