// Time against size: paths of a route, keys of a grid list, depth of nesting. Each more should cost the same.

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

// A path with one number at the given depth: 1 in the path itself, 5 in the IPv6 address of the address of the prefix
// of its instance-identifier attribute.
bytes make_nested_path(uint32_t depth)
{
    constexpr uint32_t numbers[] = {29, 3, 1, 3}; // of each member in the message around it
    constexpr uint8_t prefix_depth = 3;           // whose number is field 2
    bytes encoded = {depth == prefix_depth ? uint8_t{0x10} : uint8_t{0x08}, 1};
    for (uint32_t level = depth - 1; level > 0; --level)
        wrap(encoded, numbers[level - 1]);
    return encoded;
}

std::vector<sample> samples()
{
    std::vector<sample> made;
    for (const uint32_t paths : {1U, 10U, 100U, 500U, 1000U, 2000U, 5000U, 10000U, 15000U, 20000U})
        made.push_back({"paths", paths, zidl::find_message("rib_route"), bench::make_route(paths)});
    for (const uint32_t keys : {1U, 64U, 128U, 256U, 512U, 768U, 1026U})
        made.push_back({"keys", keys, zidl::find_message("rib_grid_sync_list"), bench::make_grid(keys)});
    for (uint32_t depth = 1; depth <= 5; ++depth)
        made.push_back({"depth", depth, zidl::find_message("rib_path"), make_nested_path(depth)});
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
