// How much stack the client library takes, held against docs/client-guide.md.

#include "messages/descriptors.hpp"
#include "rib.h"
#include "tests/client/random_update.hpp"
#include "tests/painted_stack.hpp"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

static jmp_buf end_of_work;

extern "C" void __assert_fail(const char *, const char *, unsigned int, const char *) noexcept
{
    longjmp(end_of_work, 1);
}

namespace
{

using rib_test::bytes;

int take_proto(uint32_t, rib_protoid_map *, void *)
{
    return 0;
}

int take_opaque(uint32_t, uint32_t, rib_opaque_update *, void *)
{
    return 0;
}

int take_route(uint32_t, struct rib_routetype_ *, void *)
{
    return 0;
}

int take_grid(void *, void *, uint32_t)
{
    return 0;
}

struct stack_of_client : testing::Test {
    rib_test::painted_stack stack{size_t{1} << 20};
    size_t most = 0;

    // Twice: the first call of a function may take the dynamic linker's stack, too. A failed assertion comes back here.
    template <class Work>
    void run(const Work &work)
    {
        const auto survive = [&] {
            if (setjmp(end_of_work) == 0)
                work();
        };
        stack.used_by(survive);
        most = std::max(most, stack.used_by(survive));
    }

    // Valid updates of a kind, and broken ones.
    template <class Work>
    void each_update(const char *message, const Work &work)
    {
        rib_test::random_source random(5);
        for (int i = 0; i < 300; i++) {
            bytes payload = random_message(random, *zidl::find_message(message));
            if (i % 3 == 2)
                payload = mutated(random, payload);
            if (payload.size() > UINT16_MAX)
                continue;
            run([&] { work(payload); });
        }
    }

    // The same as an entry point takes them.
    template <class Parse>
    void each_stripped(const char *message, uint32_t code, const Parse &parse)
    {
        each_update(message, [&](bytes &payload) {
            updatetype_local update = {};
            update.stripped = 1;
            update.tlv_type = code;
            update.payload = payload.data();
            update.payload_len = static_cast<uint32_t>(payload.size());
            parse(update);
        });
    }

    template <class Work>
    void each_path(const Work &work)
    {
        rib_test::random_source random(6);
        for (int i = 0; i < 300; i++) {
            const bytes encoded = random_message(random, *zidl::find_message("rib_path"));
            zidl_rib_path path = {};
            const auto allocate = [](size_t size, void *) { return std::malloc(size); };
            if (zidl_rib_path_decode_ext(&path, encoded.data(), encoded.size(), allocate, nullptr, 0) == ZIDL_OK)
                run([&] { work(path); });
            zidl_rib_path_free_ext(
                &path, [](void *block, void *) { std::free(block); }, nullptr, 0);
        }
    }

    void expect_documented(const char *row)
    {
        const size_t limit = rib_test::documented_bytes(RIB_DOCS "client-guide.md", row);
        std::printf("%s: %zu bytes, documented %zu\n", row, most, limit);
        EXPECT_LE(most, limit);
        EXPECT_GE(3 * most + 1024, limit) << "the page claims far more than is used";
    }
};

TEST_F(stack_of_client, route_update_takes_no_more_than_documented)
{
    rib_route_client client = {nullptr, nullptr, take_route};
    each_stripped("rib_route", RIB_TLV_ROUTE, [&](updatetype_local &update) {
        rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    });
    expect_documented("route update");
}

TEST_F(stack_of_client, protocol_update_takes_no_more_than_documented)
{
    each_stripped("ip_rib_proto_update", RIB_TLV_PROTO,
                  [](updatetype_local &update) { rib_lib_pvt_parse_proto_update(take_proto, &update, nullptr); });
    expect_documented("protocol update");
}

TEST_F(stack_of_client, opaque_update_takes_no_more_than_documented)
{
    each_stripped("ip_rib_opaque", RIB_TLV_OPAQUE,
                  [](updatetype_local &update) { rib_lib_pvt_parse_opaque_update(take_opaque, &update, nullptr); });
    expect_documented("opaque update");
}

TEST_F(stack_of_client, grid_list_takes_no_more_than_documented)
{
    each_stripped("rib_grid_sync_list", RIB_TLV_GRID,
                  [](updatetype_local &update) { rib_lib_pvt_parse_grid_update(take_grid, &update, nullptr); });
    expect_documented("grid list");
}

TEST_F(stack_of_client, next_hop_id_takes_no_more_than_documented)
{
    each_stripped("rib_nhid_update", RIB_TLV_NHID,
                  [](updatetype_local &update) { rib_lib_pvt_parse_grid_update(take_grid, &update, nullptr); });
    expect_documented("next-hop ID");
}

// The functions that clients call themselves.
TEST_F(stack_of_client, conversions_take_no_more_than_documented)
{
    each_update("rib_route", [](bytes &payload) {
        struct rib_routetype_ *record = nullptr;
        rib_lib_route_decode(payload.data(), static_cast<uint32_t>(payload.size()), &record);
        std::free(record);
    });
    static uint64_t ids[GRID_MAX_KEYS];
    static rib_encap_id_path_key_t keys[GRID_MAX_KEYS];
    each_update("rib_grid_sync_list", [](bytes &payload) {
        grid_sync_list list = {};
        list.encap_ids = ids;
        list.keys = keys;
        rib_server_decode_grid_list_update(payload.data(), payload.size(), &list);
    });
    each_path([](const zidl_rib_path &path) {
        void *slot = nullptr;
        rib_lib_route_path_unpack(&path, &slot, nullptr);
        std::free(slot);
        rib_address_bytes address;
        rib_lib_route_address_unpack(&path.path_address_4, address, nullptr);
    });
    expect_documented("conversion function (called by itself)");
}

} // namespace
