// Converting a route into the client's record, against the least that it can cost: getting the record's memory,
// cleared, and giving it back. For several numbers of paths:
//   convert  rib_lib_route_decode and the release of its record
//   codec    the part of it that the codec does: decode and release of the message
//   calloc   calloc and free of a block of the record's size
//   both     the last two in one loop, the block between decode and release, as a conversion has it: all that it does but
//            convert. A large block drives the message out of the nearer caches, so that this is more than their sum.
// The counter peak_kib is the resident memory that one conversion adds at its peak.

#include "bench/client_updates.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

namespace
{

using bench::bytes;

constexpr uint32_t path_counts[] = {1, 4, 64, 1024, 20000};

void *heap_alloc(size_t size, void *)
{
    return std::malloc(size);
}

void heap_free(void *ptr, void *)
{
    std::free(ptr);
}

struct rib_routetype_ *convert(const bytes &route)
{
    struct rib_routetype_ *record = nullptr;
    if (rib_lib_route_decode(route.data(), static_cast<uint32_t>(route.size()), &record) != ZERRNO_OK)
        throw std::runtime_error("the route cannot be converted");
    return record;
}

// Like the library's own release: no calls for blocks that are not there.
void release(struct rib_routetype_ *record)
{
    if (record->rt_advertisement != nullptr)
        std::free(record->rt_advertisement);
    for (void *const block : record->rt_attr_blocks) {
        if (block != nullptr)
            std::free(block);
    }
    std::free(record);
}

size_t record_size(uint32_t paths)
{
    return sizeof(struct rib_routetype_) + paths * sizeof(rib_path_entry);
}

// What is compared must be what is said: every path converted, as far as a record goes.
void check_conversion(const bytes &route, uint32_t paths)
{
    struct rib_routetype_ *const record = convert(route);
    const bool all_converted = record->rt_path_count == std::min(paths, uint32_t{RIB_MAX_PATHS});
    release(record);
    if (!all_converted)
        throw std::runtime_error("not every path was converted");
}

// A line of /proc/self/status, in KiB.
long status_kib(const std::string &name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size(), name) == 0)
            return std::stol(line.substr(name.size()));
    }
    throw std::runtime_error("no " + name + " in /proc/self/status");
}

// What one conversion adds to the resident memory of a process that has done little else, printed.
int report_peak(uint32_t paths)
{
    const bytes route = bench::make_client_route(paths);
    std::ofstream("/proc/self/clear_refs") << "5"; // the high-water mark starts anew
    const long before = status_kib("VmRSS:");
    release(convert(route));
    std::printf("%ld\n", status_kib("VmHWM:") - before);
    return 0;
}

// From a fresh process: memory that this one has freed is resident already.
long measure_peak_kib(uint32_t paths)
{
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    FILE *const child = popen(("'" + program + "' --peak " + std::to_string(paths)).c_str(), "r");
    long peak = 0;
    const bool heard = child != nullptr && std::fscanf(child, "%ld", &peak) == 1;
    if (child == nullptr || pclose(child) != 0 || !heard)
        throw std::runtime_error("the measuring process failed");
    return peak;
}

void register_benchmark(uint32_t paths, const char *what, std::function<void(benchmark::State &)> run)
{
    const std::string name = "conversion/" + std::to_string(paths) + "/librib:" + what;
    benchmark::RegisterBenchmark(name.c_str(), [run](benchmark::State &state) {
        run(state);
        state.counters["messages"] = 1;
    });
}

void register_all(uint32_t paths, const bytes &route)
{
    check_conversion(route, paths);
    const long peak = measure_peak_kib(paths);
    register_benchmark(paths, "convert", [&route, peak](benchmark::State &state) {
        for (auto _ : state) {
            struct rib_routetype_ *const record = convert(route);
            benchmark::DoNotOptimize(record);
            release(record);
        }
        state.counters["bytes"] = static_cast<double>(route.size());
        state.counters["peak_kib"] = static_cast<double>(peak);
    });
    register_benchmark(paths, "codec", [&route](benchmark::State &state) {
        zidl_rib_route message = {};
        for (auto _ : state) {
            zidl_rib_route_decode_ext(&message, route.data(), route.size(), heap_alloc, nullptr, 0);
            benchmark::DoNotOptimize(&message);
            zidl_rib_route_free_ext(&message, heap_free, nullptr, 0);
        }
        state.counters["bytes"] = static_cast<double>(route.size());
    });
    register_benchmark(paths, "both", [&route, paths](benchmark::State &state) {
        zidl_rib_route message = {};
        for (auto _ : state) {
            zidl_rib_route_decode_ext(&message, route.data(), route.size(), heap_alloc, nullptr, 0);
            benchmark::DoNotOptimize(&message);
            void *block = std::calloc(1, record_size(paths));
            benchmark::DoNotOptimize(block);
            zidl_rib_route_free_ext(&message, heap_free, nullptr, 0);
            std::free(block);
        }
        state.counters["bytes"] = static_cast<double>(route.size());
    });
    register_benchmark(paths, "calloc", [paths](benchmark::State &state) {
        for (auto _ : state) {
            void *block = std::calloc(1, record_size(paths));
            benchmark::DoNotOptimize(block);
            std::free(block);
        }
        state.counters["bytes"] = static_cast<double>(record_size(paths));
    });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--peak") == 0)
        return report_peak(static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10)));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    std::vector<bytes> routes;
    for (const uint32_t paths : path_counts)
        routes.push_back(bench::make_client_route(paths));
    for (size_t i = 0; i < routes.size(); ++i)
        register_all(path_counts[i], routes[i]);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
