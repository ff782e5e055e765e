// Time against size: paths of a route, keys of a grid list, depth of nesting. Twice the size should take twice the time;
// with the depth the record grows, too, and so does the clearing of it.

#include "bench/bump.hpp"
#include "bench/contender.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <stdexcept>

namespace
{

using bench::bytes;

void *heap_alloc(size_t size, void *)
{
    return std::malloc(size);
}

void heap_free(void *ptr, void *)
{
    std::free(ptr);
}

struct sample {
    std::string scale; // what grows
    uint32_t size;     // how far
    const zidl::message_descriptor *type;
    bytes encoded;
};

void time_decode(benchmark::State &state, const sample &of)
{
    std::vector<uint64_t> record(of.type->size / 8 + 1);
    for (auto _ : state) {
        of.type->decode(record.data(), of.encoded.data(), of.encoded.size(), heap_alloc, nullptr, 0);
        benchmark::DoNotOptimize(record.data());
        of.type->release(record.data(), heap_free, nullptr, 0);
    }
}

void time_encode(benchmark::State &state, const sample &of)
{
    std::vector<uint64_t> record(of.type->size / 8 + 1);
    if (of.type->decode(record.data(), of.encoded.data(), of.encoded.size(), heap_alloc, nullptr, 0) != ZIDL_OK)
        throw std::runtime_error("a message cannot be decoded");
    bytes buf(16 * of.encoded.size() + 4096);
    for (auto _ : state)
        benchmark::DoNotOptimize(of.type->encode(record.data(), buf.data(), buf.size(), nullptr, nullptr, 0));
    of.type->release(record.data(), heap_free, nullptr, 0);
}

// Each message is wrapped into the next: field `number` of `type` holds what is there already.
struct wrapping {
    const char *type;
    uint32_t number;
};

constexpr wrapping nesting[] = {
    {"rib_address", 3}, {"rib_prefix", 1}, {"rib_path_iid_attr", 3}, {"rib_path", 29}, {"rib_route", 26},
};

void wrap(bytes &encoded, uint32_t number)
{
    const uint32_t tag = number << 3 | 2;
    bytes head;
    if (tag > 127)
        head = {static_cast<uint8_t>(tag | 128), static_cast<uint8_t>(tag >> 7)};
    else
        head = {static_cast<uint8_t>(tag)};
    head.push_back(static_cast<uint8_t>(encoded.size())); // below 128 here
    encoded.insert(encoded.begin(), head.begin(), head.end());
}

std::vector<sample> samples()
{
    std::vector<sample> made;
    for (const uint32_t paths : {1U, 10U, 100U, 500U, 1000U, 2000U, 5000U, 10000U, 15000U, 20000U})
        made.push_back({"paths", paths, zidl::find_message("rib_route"), bench::make_route(paths)});
    for (const uint32_t keys : {1U, 64U, 128U, 256U, 512U, 768U, 1026U})
        made.push_back({"keys", keys, zidl::find_message("rib_grid_sync_list"), bench::make_grid(keys)});
    bytes encoded = {0x08, 1, 0x10, 2};
    made.push_back({"depth", 1, zidl::find_message("rib_ipv6_address"), encoded});
    for (const wrapping &next : nesting) {
        wrap(encoded, next.number);
        made.push_back({"depth", made.back().size + 1, zidl::find_message(next.type), encoded});
    }
    return made;
}

void register_benchmark(const sample &of, const char *operation, void (*run)(benchmark::State &, const sample &))
{
    const std::string name = "scaling_" + of.scale + "/" + std::to_string(of.size) + "/librib:" + operation;
    benchmark::RegisterBenchmark(name.c_str(), [&of, run](benchmark::State &state) {
        run(state, of);
        state.counters["messages"] = 1;
        state.counters["bytes"] = static_cast<double>(of.encoded.size());
    });
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const std::vector<sample> all = samples();
    for (const sample &one : all) {
        register_benchmark(one, "decode", time_decode);
        register_benchmark(one, "encode", time_encode);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
