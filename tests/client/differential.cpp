// The client library against the second conversion: random routes, grid lists, next-hop IDs, protocol and opaque updates,
// and mutations of them, in memory whose neighbouring pages cannot be touched.
//
//     client_differential [--seed=N] [--routes=N] [--grids=N] [--nhids=N] [--others=N] [--mutations=N]
//
// Prints what was covered. Exits with 1 when anything differs (the update is printed in hex) and when a kind of outcome
// that the numbers ask for never came up.

#include "tests/client/heap.hpp"
#include "tests/client/random_update.hpp"
#include "tests/client/recorder.hpp"
#include "tests/client/support.hpp"
#include "tests/reference/grid_reference.hpp"
#include "tests/reference/route_reference.hpp"

#include "messages/ip_rib.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

using namespace rib_test;

namespace
{

#ifdef RIB_CLIENT_ARENA
constexpr bool ARENA = true;
#else
constexpr bool ARENA = false;
#endif

std::map<std::string, uint64_t> counts;
int failures = 0;
const bytes *current = nullptr; // the payload at work

void count(const char *what, uint64_t times = 1)
{
    counts[what] += times;
}

void report(const std::string &what)
{
    std::printf("%s\n  payload (%zu bytes):", what.c_str(), current->size());
    for (size_t i = 0; i < current->size() && i < 4000; i++)
        std::printf(" %02X", static_cast<unsigned>((*current)[i]));
    std::printf("\n");
    if (++failures >= 5)
        std::exit(1);
}

void expect(bool right, const char *what)
{
    if (!right)
        report(what);
}

void expect_same(const std::string &where, const std::string &differences)
{
    if (!differences.empty())
        report(where + ":\n" + differences);
}

// Memory between two pages that cannot be touched. A payload lies at its end, or at its start.
class guarded_room
{
public:
    guarded_room()
    {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        auto *base =
            static_cast<uint8_t *>(mmap(nullptr, room + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (base == MAP_FAILED || mprotect(base + page, room, PROT_READ | PROT_WRITE) != 0)
            std::abort();
        start = base + page;
    }

    uint8_t *place(const bytes &payload, bool at_start)
    {
        if (payload.size() > room)
            std::abort();
        uint8_t *place = at_start ? start : start + room - payload.size();
        if (!payload.empty())
            std::memcpy(place, payload.data(), payload.size());
        return place;
    }

private:
    static constexpr size_t room = size_t{8} << 20;
    uint8_t *start;
};

guarded_room room;

// Messages for the second conversion are decoded with memory of their own.
class message_memory
{
public:
    ~message_memory()
    {
        for (void *block : blocks)
            std::free(block);
    }

    static void *allocate(size_t size, void *ctx)
    {
        void *block = std::malloc(size == 0 ? 1 : size);
        static_cast<message_memory *>(ctx)->blocks.push_back(block);
        return block;
    }

    // How many blocks a decode that is given up leaves behind.
    uint64_t all() const { return ARENA ? 0 : blocks.size(); }

    // How many blocks nobody can release any more: a nested message that came twice has lost those of its first
    // occurrence. `release_all` is the message's own release.
    template <class Release>
    uint64_t lost(Release &&release_all)
    {
        uint64_t released = 0;
        release_all([](void *, void *ctx) { ++*static_cast<uint64_t *>(ctx); }, &released);
        return ARENA ? 0 : blocks.size() - released;
    }

private:
    std::vector<void *> blocks;
};

// ---- Routes ----

struct route_delivery {
    const rib_reference::route *expected;
    int calls;
};

int compare_route(uint32_t update_id, rib_routetype_ *record, void *ctx)
{
    auto *delivery = static_cast<route_delivery *>(ctx);
    delivery->calls++;
    expect(update_id == 0xC0FFEE01, "another update_id");
    expect_same("delivered route", rib_reference::differences(*delivery->expected, 0, record));

    // The walk that clients use.
    const rib_path_entry *entry = rib_route_first_path(record);
    for (const rib_reference::path &path : delivery->expected->paths) {
        const uint64_t *values = rib_path_ecomm_values(entry);
        for (size_t i = 0; i < path.ecomm_values.size(); i++)
            expect(values[i] == path.ecomm_values[i], "an ecomm value of the walk");
        expect_same("path of the walk", rib_reference::differences(path, entry));
        entry = rib_route_next_path(entry);
    }
    return 0;
}

// The record's own request, by size: the header and whatever the paths need.
bool asked_for(size_t size)
{
    for (const heap_request &request : heap().requests) {
        if (request.size == size)
            return true;
    }
    return false;
}

void check_route_decode(const bytes &payload, const rib_reference::route &expected, uint64_t left, bool at_start)
{
    const uint8_t *place = room.place(payload, at_start);
    rib_routetype_ *record = reinterpret_cast<rib_routetype_ *>(&failures);
    watch_heap();
    const zerrno status = rib_lib_route_decode(place, static_cast<uint32_t>(payload.size()), &record);
    expect_same("rib_lib_route_decode", rib_reference::differences(expected, status, record));
    uint64_t live = 0;
    if (expected.has_record) {
        expect(asked_for(expected.record_size), "the size of the record");
        live = 1 + (expected.advertisement ? 1 : 0);
        for (const auto &block : expected.attr_blocks)
            live += block ? 1 : 0;
    }
    expect(heap().foreign_releases == 0, "a pointer released twice");
    expect(end_watch() == live + left, "the blocks left by rib_lib_route_decode");
    expect(payload.empty() || std::memcmp(place, payload.data(), payload.size()) == 0, "the payload was changed");
}

void check_route_entry(const bytes &payload, const rib_reference::route &expected, uint64_t left, bool at_start)
{
    route_delivery delivery = {&expected, 0};
    rib_route_client client = {&delivery, nullptr, compare_route};
    updatetype_local update = stripped_update(ENCODED_ROUTE, room.place(payload, at_start), payload.size());
    watch_heap();
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    expect(heap().foreign_releases == 0, "a pointer released twice");
    expect(end_watch() == left, "the blocks left by the route entry point");
    expect(delivery.calls == (expected.status == 0 ? 1 : 0), "the number of route callbacks");
}

void check_path(const zidl_rib_path &message)
{
    const std::optional<rib_reference::path> expected = rib_reference::convert_path(message);
    const bool dropped_at_once = message.presence >> 21 & 1;
    const size_t values = expected ? expected->ecomm_values.size() : message.ecomm.ecomm_count;
    const size_t size = sizeof(rib_path_entry) + 8 * values;

    // Into a place that is full of 0x5A, with 64 bytes behind it.
    std::vector<uint64_t> dirty((size + 64) / 8, 0x5A5A5A5A5A5A5A5A);
    void *slot = dirty.data();
    void *ecomm = nullptr;
    expect(rib_lib_route_path_unpack(&message, &slot, &ecomm) == (expected ? size : 0), "the size of a path");
    expect(slot == dirty.data(), "the slot of a path");
    for (size_t i = dropped_at_once ? 0 : size / 8; i < dirty.size(); i++)
        expect(dirty[i] == 0x5A5A5A5A5A5A5A5A, "memory behind a path");
    if (expected) {
        const auto *entry = reinterpret_cast<const rib_path_entry *>(dirty.data());
        expect_same("rib_lib_route_path_unpack", rib_reference::differences(*expected, entry));
        expect(ecomm == (expected->has_ecomm ? static_cast<const void *>(&entry->pe_ecomm_count) : nullptr),
               "the ecomm block of a path");
        count("paths converted");
    } else {
        count("paths left out");
    }

    // Into a block of its own.
    slot = nullptr;
    watch_heap();
    expect(rib_lib_route_path_unpack(&message, &slot, nullptr) == (expected ? size : 0), "the size of an own path");
    expect((slot == nullptr) == dropped_at_once, "the block of an own path");
    expect(heap().requests.size() == (dropped_at_once ? 0 : 1), "the requests of an own path");
    if (expected)
        expect_same("rib_lib_route_path_unpack, null slot",
                    rib_reference::differences(*expected, static_cast<const rib_path_entry *>(slot)));
    expect(end_watch() == (dropped_at_once ? 0 : 1), "the blocks left by an own path");
}

void check_attributes(const zidl_rib_generic_attr_array &array)
{
    for (const uint32_t size : {8u, 12u, 24u, 7u}) {
        const std::optional<rib_reference::block> expected = rib_reference::convert_attributes(array, size);
        void *block = &failures;
        watch_heap();
        const zerrno status = rib_lib_route_generic_attributes_unpack(&array, size, &block);
        expect(status == (expected ? 0 : ZERRNO_MALFORMED), "the status of an attribute array");
        expect((block != nullptr) == expected.has_value(), "the block of an attribute array");
        if (expected && block != nullptr) {
            expect(std::memcmp(block, expected->data(), expected->size()) == 0, "an attribute block");
            expect(heap().requests[0].size == expected->size(), "the size of an attribute block");
        }
        expect(end_watch() == (expected ? 1 : 0), "the blocks left by an attribute array");
    }
}

void check_route(const bytes &payload, bool at_start)
{
    zidl_rib_route message;
    message_memory memory;
    const int32_t decoded =
        zidl_rib_route_decode_ext(&message, payload.data(), payload.size(), message_memory::allocate, &memory, 0);
    const rib_reference::route expected = rib_reference::convert_route(decoded, message);
    count(decoded != 0                            ? "routes that do not decode"
          : expected.status == ZERRNO_UNSUPPORTED ? "routes with value 34"
          : expected.status == ZERRNO_MALFORMED   ? "routes with a malformed prefix"
          : expected.paths.size() == 1024         ? "routes of 1024 paths"
                                                  : "routes converted");
    if (expected.first_ecomm >= 0)
        count("routes with an ecomm block");
    for (const auto &block : expected.attr_blocks)
        count("attribute blocks", block ? 1 : 0);

    if (decoded == 0) {
        for (uint32_t i = 0; i < message.paths_count && i < 40; i++)
            check_path(message.paths[i]);
        check_attributes(message.generic_attrs_29);
        check_attributes(message.addr_generic_attrs);
    }
    const uint64_t lost =
        memory.lost([&](zidl_free_fn free_fn, void *ctx) { zidl_rib_route_free_ext(&message, free_fn, ctx, 0); });
    const uint64_t left = expected.status == 0 ? lost : memory.all();
    check_route_decode(payload, expected, left, at_start);
    check_route_entry(payload, expected, left, !at_start);
}

// ---- Grids ----

// Elements in front that are set afresh for each list; only long lists use the rest.
constexpr size_t FRESH_KEYS = 12;

class client_arrays
{
public:
    client_arrays() { refresh(GRID_MAX_KEYS); }

    void refresh(size_t elements)
    {
        std::memset(keys, 0x5A, elements * sizeof keys[0]);
        std::memset(ids, 0x5A, elements * sizeof ids[0]);
        std::memset(&list, 0x5A, sizeof list);
        list.keys = keys;
        list.encap_ids = ids;
    }

    rib_encap_id_path_key_t keys[GRID_MAX_KEYS];
    uint64_t ids[GRID_MAX_KEYS];
    grid_sync_list list;
};

void compare_list(const rib_reference::grid_list &expected, const rib_encap_id_path_key_t &untouched,
                  const client_arrays &arrays)
{
    expect(arrays.list.keys == arrays.keys && arrays.list.encap_ids == arrays.ids, "the pointers of a list");
    expect(arrays.list.multi_key == expected.multi_key.value_or(0x5A), "multi_key");
    expect(arrays.list.count == expected.count.value_or(0x5A5A5A5A), "the count of a list");
    for (size_t i = 0; i < expected.ids.size(); i++)
        expect(arrays.ids[i] == expected.ids[i], "an ID");
    for (size_t i = expected.ids.size(); i < expected.ids.size() + 4 && i < GRID_MAX_KEYS; i++)
        expect(arrays.ids[i] == 0x5A5A5A5A5A5A5A5A, "an ID behind the list");
    for (size_t i = 0; i < expected.keys.size(); i++)
        expect_same("key " + std::to_string(i), rib_reference::differences(expected.keys[i], arrays.keys[i]));
    const size_t behind = expected.keys.size() + (expected.open_key ? 1 : 0);
    for (size_t i = behind; i < behind + 4 && i < GRID_MAX_KEYS; i++)
        expect_same("key behind the list", rib_reference::differences(untouched, arrays.keys[i]));
}

struct grid_delivery {
    const rib_reference::grid_list *expected;
    int calls;
};

int compare_delivered_list(void *record, void *ctx, uint32_t tlv_type)
{
    auto *delivery = static_cast<grid_delivery *>(ctx);
    delivery->calls++;
    const auto *list = static_cast<const grid_sync_list *>(record);
    const rib_reference::grid_list &expected = *delivery->expected;
    expect(tlv_type == GRID_LIST, "the type of a grid callback");
    expect(list->count == expected.count && list->multi_key == expected.multi_key, "the delivered list");
    for (size_t i = 0; i < expected.ids.size(); i++)
        expect(list->encap_ids[i] == expected.ids[i], "a delivered ID");
    for (size_t i = expected.ids.size(); i < GRID_MAX_KEYS; i++)
        expect(list->encap_ids[i] == 0, "an ID behind the delivered list");
    for (size_t i = 0; i < expected.keys.size(); i++)
        expect_same("delivered key", rib_reference::differences(expected.keys[i], list->keys[i]));
    return 0;
}

void check_grid_decode(const bytes &payload, const zidl_rib_grid_sync_list &message, bool at_start, size_t &left)
{
    static const auto arrays = std::make_unique<client_arrays>();
    arrays->refresh(message.keys_count + 4 > FRESH_KEYS ? size_t{GRID_MAX_KEYS} : FRESH_KEYS);
    static const rib_encap_id_path_key_t untouched = arrays->keys[0];
    const rib_reference::grid_list expected = rib_reference::convert_grid_list(message, untouched);
    count(expected.failed_line == 443   ? "grid lists with other than one ID per key"
          : expected.failed_line == 43  ? "grid lists with a missing second prefix"
          : expected.status != 0        ? "grid lists refused"
          : expected.keys.size() > 1000 ? "grid lists of 1026 keys"
                                        : "grid lists converted");
    count("keys converted", expected.keys.size());

    uint8_t *place = room.place(payload, at_start);
    zerrno status = 0;
    platform.failures.clear();
    watch_heap();
    const bool stopped =
        asserts([&] { status = rib_server_decode_grid_list_update(place, payload.size(), &arrays->list); });
    left = end_watch();
    if (payload.empty()) {
        expect(stopped && platform.failures[0].line == 512, "the assertion of an empty list");
        return;
    }
    expect(stopped == (expected.failed_line != 0), "whether a list stops the process");
    if (stopped)
        expect(platform.failures[0].line == expected.failed_line, "the line of an assertion");
    else
        expect(status == expected.status, "the status of a list");
    expect(std::memcmp(place, payload.data(), payload.size()) == 0, "the payload was changed");
    compare_list(expected, untouched, *arrays);
}

void check_grid(const bytes &payload, bool at_start)
{
    zidl_rib_grid_sync_list message;
    message_memory memory;
    (void)zidl_rib_grid_sync_list_decode_ext(&message, payload.data(), payload.size(), message_memory::allocate,
                                             &memory, 0);
    size_t left_by_decode;
    check_grid_decode(payload, message, at_start, left_by_decode);

    const rib_encap_id_path_key_t zeros = {};
    const rib_reference::grid_list expected = rib_reference::convert_grid_list(message, zeros);
    grid_delivery delivery = {&expected, 0};
    updatetype_local update = stripped_update(GRID_LIST, room.place(payload, !at_start), payload.size());
    watch_heap();
    const bool stopped = asserts([&] { rib_lib_pvt_parse_grid_update(compare_delivered_list, &update, &delivery); });
    expect(stopped == (payload.empty() || expected.failed_line != 0), "whether a grid update stops the process");
    expect(delivery.calls == (expected.status == 0 ? 1 : 0), "the number of grid callbacks");
    const size_t left_by_entry = end_watch();
    const uint64_t lost = memory.lost(
        [&](zidl_free_fn free_fn, void *ctx) { zidl_rib_grid_sync_list_free_ext(&message, free_fn, ctx, 0); });
    expect(stopped || left_by_decode == lost, "the blocks left by a list");
    expect(stopped || left_by_entry == lost, "the blocks left by a grid update");
}

// ---- Next-hop IDs ----

struct nhid_delivery {
    const std::optional<nhid_update_local> *expected;
    int calls;
};

int compare_nhid(void *record, void *ctx, uint32_t tlv_type)
{
    auto *delivery = static_cast<nhid_delivery *>(ctx);
    delivery->calls++;
    expect(tlv_type == NHID, "the type of a next-hop-ID callback");
    if (delivery->expected->has_value())
        expect_same("next-hop ID",
                    rib_reference::differences(**delivery->expected, *static_cast<const nhid_update_local *>(record)));
    return 0;
}

void check_nhid(const bytes &payload, bool at_start)
{
    zidl_rib_nhid_update message;
    const int32_t decoded =
        zidl_rib_nhid_update_decode_ext(&message, payload.data(), payload.size(), nullptr, nullptr, 0);
    const std::optional<nhid_update_local> expected = rib_reference::convert_nhid(decoded, message);
    count(expected ? "next-hop IDs delivered" : "next-hop IDs dropped");
    nhid_delivery delivery = {&expected, 0};
    updatetype_local update = stripped_update(NHID, room.place(payload, at_start), payload.size());
    watch_heap();
    rib_lib_pvt_parse_grid_update(compare_nhid, &update, &delivery);
    expect(end_watch() == 0, "the blocks left by a next-hop ID");
    expect(delivery.calls == (expected ? 1 : 0), "the number of next-hop-ID callbacks");
}

// ---- Protocol and opaque updates ----

struct proto_delivery {
    rib_protoid_map expected;
    int calls;
};

int compare_proto(uint32_t, rib_protoid_map *map, void *ctx)
{
    auto *delivery = static_cast<proto_delivery *>(ctx);
    delivery->calls++;
    expect(std::memcmp(map, &delivery->expected, sizeof *map) == 0, "a protocol map");
    return 0;
}

void check_proto(const bytes &payload, bool at_start)
{
    zidl_ip_rib_proto_update message;
    message_memory memory;
    const int32_t decoded = zidl_ip_rib_proto_update_decode_ext(&message, payload.data(), payload.size(),
                                                                message_memory::allocate, &memory, 0);
    proto_delivery delivery = {};
    rib_protoid_map &map = delivery.expected;
    map.proto_id = static_cast<uint16_t>(message.proto_id);
    map.proto_sub_id = static_cast<uint16_t>(message.proto_sub_id);
    map.proto_value = static_cast<uint32_t>(message.proto_value);
    // The first name may take the room of both.
    char names[84] = {};
    if (message.proto_name != nullptr)
        std::snprintf(names, 84, "%s", message.proto_name);
    if (message.proto_extra_name != nullptr)
        std::snprintf(names + 41, 43, "%s", message.proto_extra_name);
    std::memcpy(&map.proto_name, names, sizeof names);

    const bool lacks_id = (message.presence & 1) == 0;
    count(decoded != 0 ? "protocol updates dropped"
          : lacks_id   ? "protocol updates without an ID"
                       : "protocol updates delivered");
    updatetype_local update = stripped_update(ENCODED_PROTO, room.place(payload, at_start), payload.size());
    platform.copies.clear();
    watch_heap();
    const bool stopped = asserts([&] { rib_lib_pvt_parse_proto_update(compare_proto, &update, &delivery); });
    const size_t left = end_watch();
    expect(stopped == (decoded == 0 && lacks_id), "whether a protocol update stops the process");
    expect(delivery.calls == (decoded == 0 && !lacks_id ? 1 : 0), "the number of protocol callbacks");
    expect(stopped || left == (decoded == 0 ? 0 : memory.all()), "the blocks left by a protocol update");
}

struct opaque_delivery {
    const zidl_ip_rib_opaque *message;
    int calls;
};

bool same_block(const uint8_t *expected, uint64_t size, const uint8_t *actual, uint32_t len)
{
    if ((expected == nullptr) != (actual == nullptr) || size != len)
        return false;
    return size == 0 || std::memcmp(expected, actual, size) == 0;
}

int compare_opaque(uint32_t, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    auto *delivery = static_cast<opaque_delivery *>(ctx);
    delivery->calls++;
    const zidl_ip_rib_opaque &message = *delivery->message;
    expect(sub_id == message.opaque_sub_id, "a sub-identifier");
    expect(opaque->opaque_type == message.opaque_type % 65536 && opaque->opaque_id == message.opaque_id &&
               opaque->opaque_value == message.opaque_value,
           "the numbers of an opaque update");
    expect(same_block(message.first_block, message.first_block_size, opaque->first_block, opaque->first_len) &&
               same_block(message.second_block, message.second_block_size, opaque->second_block, opaque->second_len),
           "the blocks of an opaque update");
    return 0;
}

void check_opaque(const bytes &payload, bool at_start)
{
    zidl_ip_rib_opaque message;
    message_memory memory;
    const int32_t decoded =
        zidl_ip_rib_opaque_decode_ext(&message, payload.data(), payload.size(), message_memory::allocate, &memory, 0);
    count(decoded != 0 ? "opaque updates dropped" : "opaque updates delivered");
    opaque_delivery delivery = {&message, 0};
    updatetype_local update = stripped_update(ENCODED_OPAQUE, room.place(payload, at_start), payload.size());
    watch_heap();
    rib_lib_pvt_parse_opaque_update(compare_opaque, &update, &delivery);
    expect(end_watch() == (decoded == 0 ? 0 : memory.all()), "the blocks left by an opaque update");
    expect(delivery.calls == (decoded == 0 ? 1 : 0), "the number of opaque callbacks");
}

// ---- The older forms, over any bytes ----

struct older_delivery {
    const uint8_t *payload;
    const bytes *before;
    int calls;
};

uint32_t big_endian(const bytes &payload, size_t at, size_t size)
{
    uint32_t value = 0;
    for (size_t i = 0; i < size; i++)
        value = value << 8 | payload[at + i];
    return value;
}

int compare_older_opaque(uint32_t, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    auto *delivery = static_cast<older_delivery *>(ctx);
    delivery->calls++;
    const bytes &before = *delivery->before;
    const uint32_t first_len = big_endian(before, 8, 2);
    const uint32_t second_len = big_endian(before, 16, 4);
    expect(opaque->opaque_type == big_endian(before, 0, 2) && opaque->opaque_id == big_endian(before, 4, 4) &&
               opaque->first_len == first_len && sub_id == big_endian(before, 10, 2) &&
               opaque->opaque_value == big_endian(before, 12, 4) && opaque->second_len == second_len,
           "the numbers of an older-form opaque update");
    expect(opaque->first_block == delivery->payload + 24, "the first block of an older form");
    expect(opaque->second_block == (second_len != 0 ? delivery->payload + 24 + first_len : nullptr),
           "the second block of an older form");
    return 0;
}

// The payload with each of the six numbers reversed that lies wholly inside it.
bytes swapped_older_opaque(bytes payload)
{
    const size_t numbers[][2] = {{0, 2}, {4, 4}, {8, 2}, {10, 2}, {12, 4}, {16, 4}}; // offset, size
    for (const auto &[offset, size] : numbers)
        if (offset + size <= payload.size())
            std::reverse(payload.begin() + static_cast<std::ptrdiff_t>(offset),
                         payload.begin() + static_cast<std::ptrdiff_t>(offset + size));
    return payload;
}

void check_older_opaque(const bytes &payload, bool at_start)
{
    uint8_t *place = room.place(payload, at_start);
    older_delivery delivery = {place, &payload, 0};
    updatetype_local update = stripped_update(LEGACY_OPAQUE, place, payload.size());
    platform.delims.clear();
    platform.delim_reads_payload = false;
    rib_lib_pvt_parse_opaque_update(compare_older_opaque, &update, &delivery);
    bool fits = false;
    if (payload.size() >= 24) {
        const uint32_t sum = big_endian(payload, 8, 2) + big_endian(payload, 16, 4);
        fits = uint64_t{24} + sum <= payload.size();
    }
    count(fits ? "older-form opaque updates delivered" : "older-form opaque updates dropped");
    expect(delivery.calls == (fits ? 1 : 0), "the number of older-form opaque callbacks");
    expect(platform.delims.size() == 1, "the delimiter of an older form");
    expect(bytes(place, place + payload.size()) == swapped_older_opaque(payload), "an older form after its conversion");
}

int compare_older_proto(uint32_t, rib_protoid_map *map, void *ctx)
{
    auto *delivery = static_cast<older_delivery *>(ctx);
    delivery->calls++;
    const bytes &before = *delivery->before;
    uint16_t ids[2];
    uint32_t value;
    std::memcpy(ids, map, 4);
    std::memcpy(&value, delivery->payload + 4, 4);
    expect(static_cast<const void *>(map) == delivery->payload, "the record of an older-form protocol update");
    expect(ids[0] == big_endian(before, 0, 2) && ids[1] == big_endian(before, 2, 2) &&
               value == big_endian(before, 4, 4),
           "the numbers of an older-form protocol update");
    return 0;
}

// By contract a whole record of 92 bytes, whatever the length says.
void check_older_proto(bytes payload, bool at_start)
{
    const size_t stated = payload.size();
    if (payload.size() < 92)
        payload.resize(92, 0);
    uint8_t *place = room.place(payload, at_start);
    older_delivery delivery = {place, &payload, 0};
    updatetype_local update = stripped_update(LEGACY_PROTO, place, stated);
    rib_lib_pvt_parse_proto_update(compare_older_proto, &update, &delivery);
    count("older-form protocol updates delivered");
    expect(delivery.calls == 1, "the number of older-form protocol callbacks");
    expect(std::memcmp(place + 8, payload.data() + 8, payload.size() - 8) == 0,
           "an older-form protocol update behind its numbers");
}

// ---- The run ----

using check = void (*)(const bytes &payload, bool at_start);

void run_valid(random_source &random, const char *message_name, uint64_t rounds, check one)
{
    const zidl::message_descriptor &message = *zidl::find_message(message_name);
    for (uint64_t i = 0; i < rounds; i++) {
        const bytes payload = random_message(random, message);
        current = &payload;
        one(payload, random.one_in(2));
    }
}

void run_mutated(random_source &random, uint64_t rounds)
{
    static constexpr const char *sources[] = {"rib_route",          "rib_route",       "rib_grid_sync_list",
                                              "rib_grid_sync_list", "rib_nhid_update", "ip_rib_proto_update",
                                              "ip_rib_opaque"};
    for (uint64_t i = 0; i < rounds; i++) {
        const char *source = sources[random.below(std::size(sources))];
        const bytes payload = mutated(random, random_message(random, *zidl::find_message(source)));
        current = &payload;
        const bool at_start = random.one_in(2);
        // Whatever it was made from, every entry point gets it.
        check_route(payload, at_start);
        check_grid(payload, at_start);
        check_nhid(payload, at_start);
        check_proto(payload, at_start);
        check_opaque(payload, at_start);
        check_older_opaque(payload, at_start);
        check_older_proto(payload, at_start);
        count("mutated payloads");
    }
}

// Older-form opaque updates whose lengths are near the payload's own.
void run_older_opaque(random_source &random, uint64_t rounds)
{
    for (uint64_t i = 0; i < rounds; i++) {
        bytes payload;
        for (uint64_t byte = 24 + random.below(40); byte > 0; byte--)
            payload.push_back(static_cast<uint8_t>(random.next()));
        const uint64_t blocks = payload.size() - 24;
        const uint64_t first = random.below(blocks + 2);
        const uint64_t second =
            random.one_in(20) ? 0xFFFFFFF0 + random.below(16) : blocks + 1 - first + random.below(2);
        payload[8] = 0;
        payload[9] = static_cast<uint8_t>(first);
        for (unsigned byte = 0; byte < 4; byte++)
            payload[16 + byte] = static_cast<uint8_t>((second - 1) >> (24 - 8 * byte));
        current = &payload;
        check_older_opaque(payload, random.one_in(2));
    }
}

uint64_t option(int argc, char **argv, const std::string &name, uint64_t otherwise)
{
    const std::string prefix = "--" + name + "=";
    for (int i = 1; i < argc; i++) {
        if (std::string(argv[i]).rfind(prefix, 0) == 0)
            return std::strtoull(argv[i] + prefix.size(), nullptr, 0);
    }
    return otherwise;
}

// Every outcome that the rules know, or the run shows less than it says.
int missing_outcomes()
{
    static constexpr const char *outcomes[] = {
        "routes converted",
        "routes of 1024 paths",
        "routes that do not decode",
        "routes with value 34",
        "routes with a malformed prefix",
        "routes with an ecomm block",
        "attribute blocks",
        "paths converted",
        "paths left out",
        "grid lists converted",
        "grid lists of 1026 keys",
        "grid lists refused",
        "grid lists with other than one ID per key",
        "grid lists with a missing second prefix",
        "keys converted",
        "next-hop IDs delivered",
        "next-hop IDs dropped",
        "protocol updates delivered",
        "protocol updates dropped",
        "protocol updates without an ID",
        "opaque updates delivered",
        "opaque updates dropped",
        "older-form opaque updates delivered",
        "older-form opaque updates dropped",
        "older-form protocol updates delivered",
    };
    int missing = 0;
    for (const char *outcome : outcomes) {
        if (counts[outcome] == 0) {
            std::printf("never came up: %s\n", outcome);
            missing++;
        }
    }
    return missing;
}

} // namespace

int main(int argc, char **argv)
{
    const uint64_t seed = option(argc, argv, "seed", 20211);
    random_source random(seed);
    run_valid(random, "rib_route", option(argc, argv, "routes", 20000), check_route);
    run_valid(random, "rib_grid_sync_list", option(argc, argv, "grids", 20000), check_grid);
    run_valid(random, "rib_nhid_update", option(argc, argv, "nhids", 20000), check_nhid);
    const uint64_t others = option(argc, argv, "others", 5000);
    run_valid(random, "ip_rib_proto_update", others, check_proto);
    run_valid(random, "ip_rib_opaque", others, check_opaque);
    run_older_opaque(random, others);
    run_mutated(random, option(argc, argv, "mutations", 10000));

    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    for (const auto &[what, times] : counts)
        std::printf("%10llu %s\n", static_cast<unsigned long long>(times), what.c_str());
    const int missing = missing_outcomes();
    std::printf("%d differences\n", failures);
    return failures == 0 && missing == 0 ? 0 : 1;
}
