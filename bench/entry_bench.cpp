// The four entry points of the client library: framed updates in, callbacks out, on one and on two threads. Each thread
// has updates of its own. The time is the threads' processor time. Built twice: with the default client library, and
// with the one that decodes out of an arena.

#include "bench/client_updates.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <stdexcept>

namespace
{

using bench::bytes;

constexpr size_t header_size = 8;

#ifdef RIB_CLIENT_ARENA
constexpr const char *build = "_arena";
#else
constexpr const char *build = "";
#endif

uint64_t &delivered()
{
    thread_local uint64_t count = 0;
    return count;
}

int on_proto(uint32_t, rib_protoid_map *map, void *)
{
    benchmark::DoNotOptimize(map);
    ++delivered();
    return 0;
}

int on_opaque(uint32_t, uint32_t, rib_opaque_update *opaque, void *)
{
    benchmark::DoNotOptimize(opaque);
    ++delivered();
    return 0;
}

int on_route(uint32_t, struct rib_routetype_ *route, void *)
{
    benchmark::DoNotOptimize(route);
    ++delivered();
    return 0;
}

int on_grid(void *record, void *, uint32_t)
{
    benchmark::DoNotOptimize(record);
    ++delivered();
    return 0;
}

void parse(updatetype_local &update, uint16_t code)
{
    static rib_route_client route_client = {nullptr, nullptr, on_route};
    switch (code) {
    case RIB_TLV_PROTO:
        return rib_lib_pvt_parse_proto_update(on_proto, &update, nullptr);
    case RIB_TLV_OPAQUE:
        return rib_lib_pvt_parse_opaque_update(on_opaque, &update, nullptr);
    case RIB_TLV_ROUTE:
        return rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &route_client);
    default:
        return rib_lib_pvt_parse_grid_update(on_grid, &update, nullptr);
    }
}

// The updates as they arrive: a header in network byte order, the payload right behind it.
struct framed_updates {
    explicit framed_updates(std::string_view kind)
    {
        const bench::client_updates updates = bench::make_client_updates(kind);
        code = updates.code;
        for (const bytes &payload : updates.payloads) {
            bytes frame = {0,
                           0,
                           0,
                           0,
                           static_cast<uint8_t>(code >> 8),
                           static_cast<uint8_t>(code),
                           static_cast<uint8_t>(payload.size() >> 8),
                           static_cast<uint8_t>(payload.size())};
            frame.insert(frame.end(), payload.begin(), payload.end());
            total_bytes += payload.size();
            frames.push_back(std::move(frame));
        }
    }

    uint16_t code;
    std::vector<bytes> frames;
    size_t total_bytes = 0;
};

void parse_all(framed_updates &updates)
{
    for (bytes &frame : updates.frames) {
        uint8_t header[header_size];
        std::memcpy(header, frame.data(), header_size);
        updatetype_local update = {};
        update.payload = frame.data();
        parse(update, updates.code);
        std::memcpy(frame.data(), header, header_size); // which stripping has converted in place
    }
}

// A few updates of each kind may be such that the client library drops them, as in a real stream.
void run(benchmark::State &state, std::string_view kind)
{
    framed_updates updates(kind); // of this thread alone: stripping writes to them
    delivered() = 0;
    parse_all(updates);
    const uint64_t expected = delivered();
    if (expected < updates.frames.size() / 10 * 9)
        return state.SkipWithError("many updates were not delivered");
    for (auto _ : state)
        parse_all(updates);
    if (delivered() != expected * (static_cast<uint64_t>(state.iterations()) + 1))
        state.SkipWithError("an update was not delivered");
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(updates.frames.size()));
    state.counters["messages"] =
        benchmark::Counter(static_cast<double>(updates.frames.size()), benchmark::Counter::kAvgThreads);
    state.counters["bytes"] =
        benchmark::Counter(static_cast<double>(updates.total_bytes), benchmark::Counter::kAvgThreads);
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    for (const std::string_view kind : bench::client_update_kinds()) {
        for (const int threads : {1, 2}) {
            const std::string name = "entry/" + std::string(kind) + "/librib:" + std::to_string(threads) + build;
            benchmark::RegisterBenchmark(name.c_str(), [kind](benchmark::State &state) {
                run(state, kind);
            })->Threads(threads)->UseRealTime();
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
