// Threads that parse different updates at once. Built once more with the thread sanitizer, library and all.

#include "tests/client/grid_support.hpp"

#include <atomic>
#include <thread>

using namespace rib_test;

namespace
{

constexpr int THREADS = 4;
constexpr int ROUNDS = 200;

// What one thread parses and what its callbacks made of it. Nothing in it is shared.
struct worker {
    explicit worker(int thread) : number(static_cast<uint8_t>(thread + 1)) {}

    uint8_t number;
    int delivered = 0;
    int wrong = 0;
    rib_route_client route = {this, nullptr, on_route};

    void saw(bool right)
    {
        delivered++;
        wrong += right ? 0 : 1;
    }

    static int on_proto(uint32_t, rib_protoid_map *map, void *ctx)
    {
        auto *self = static_cast<worker *>(ctx);
        self->saw(map->proto_id == self->number && std::string(map->proto_name) == "name");
        return 0;
    }

    static int on_opaque(uint32_t, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
    {
        auto *self = static_cast<worker *>(ctx);
        self->saw(sub_id == self->number && opaque->first_len == 2 && opaque->first_block[0] == self->number);
        return 0;
    }

    static int on_route(uint32_t, rib_routetype_ *record, void *ctx)
    {
        auto *self = static_cast<worker *>(ctx);
        self->saw(record->rt_value_2 == self->number && record->rt_path_count == 2 &&
                  rib_route_next_path(rib_route_first_path(record))->pe_value_1 == self->number);
        return 0;
    }

    static int on_grid(void *record, void *ctx, uint32_t tlv_type)
    {
        auto *self = static_cast<worker *>(ctx);
        if (tlv_type == NHID) {
            self->saw(static_cast<const nhid_update_local *>(record)->nhid == self->number);
        } else {
            const auto *list = static_cast<const grid_sync_list *>(record);
            self->saw(list->count == 1 && list->encap_ids[0] == self->number);
        }
        return 0;
    }

    void parse_all(size_t filling)
    {
        const bytes name = field({0x22}, text("name"));
        bytes proto = bytes{0x08, number} + name;
        updatetype_local update = stripped_update(ENCODED_PROTO, proto.data(), proto.size());
        rib_lib_pvt_parse_proto_update(on_proto, &update, this);

        bytes older_proto = bytes{0x00, number} + bytes(6, 0) + text("name") + bytes(80, 0);
        update = stripped_update(LEGACY_PROTO, older_proto.data(), older_proto.size());
        rib_lib_pvt_parse_proto_update(on_proto, &update, this);

        bytes opaque = bytes{0x18, number} + field({0x2A}, {number, 0xA2});
        update = stripped_update(ENCODED_OPAQUE, opaque.data(), opaque.size());
        rib_lib_pvt_parse_opaque_update(on_opaque, &update, this);

        bytes older_opaque = bytes(9, 0) + bytes{0x02, 0x00, number} + bytes(12, 0) + bytes{number, 0xA2};
        update = stripped_update(LEGACY_OPAQUE, older_opaque.data(), older_opaque.size());
        rib_lib_pvt_parse_opaque_update(on_opaque, &update, this);

        // The payload grows from round to round: every thread raises the high-water mark.
        bytes encoded_route = bytes{0x10, number} + field({0xD2, 0x01}, field({0xD2, 0x01}, {0x10, 0x0A})) +
                              field({0xD2, 0x01}, {0x08, number}) + repeat(filling, {0x18, 0x01});
        update = stripped_update(ENCODED_ROUTE, encoded_route.data(), encoded_route.size());
        rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &route);

        bytes list = id_field(number) + key_field(plain_key) + multi_key_set;
        update = stripped_update(GRID_LIST, list.data(), list.size());
        rib_lib_pvt_parse_grid_update(on_grid, &update, this);

        bytes nhid = {0x08, 0x01, 0x18, number};
        update = stripped_update(NHID, nhid.data(), nhid.size());
        rib_lib_pvt_parse_grid_update(on_grid, &update, this);
    }
};

TEST(threads, parse_different_updates_at_once)
{
    std::vector<std::unique_ptr<worker>> workers;
    for (int i = 0; i < THREADS; i++)
        workers.push_back(std::make_unique<worker>(i));
    std::vector<std::thread> running;
    for (auto &one : workers)
        running.emplace_back([&one] {
            for (size_t round = 0; round < ROUNDS; round++)
                one->parse_all(round);
        });
    for (std::thread &thread : running)
        thread.join();
    for (const auto &one : workers) {
        EXPECT_EQ(one->delivered, 7 * ROUNDS);
        EXPECT_EQ(one->wrong, 0);
    }
}

TEST(threads, see_the_high_water_mark_only_rise)
{
    std::atomic<bool> done = false;
    uint32_t falls = 0;
    std::thread reader([&] {
        uint32_t last = 0;
        while (!done) {
            const uint32_t mark = rib_lib_route_payload_high_water();
            falls += mark < last ? 1 : 0;
            last = mark;
        }
    });
    std::vector<std::thread> writers;
    for (size_t thread = 0; thread < THREADS; thread++)
        writers.emplace_back([thread] {
            rib_route_client client = {nullptr, nullptr, nullptr};
            for (size_t round = 1; round <= ROUNDS; round++) {
                bytes payload = repeat(round * THREADS + thread, {0x18, 0x01});
                updatetype_local update = stripped_update(ENCODED_ROUTE, payload.data(), payload.size());
                rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
            }
        });
    for (std::thread &thread : writers)
        thread.join();
    done = true;
    reader.join();
    EXPECT_EQ(falls, 0u);
    EXPECT_GE(rib_lib_route_payload_high_water(), 2 * (ROUNDS * THREADS + THREADS - 1));
}

} // namespace
