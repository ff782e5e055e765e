// The entry points of the client library, from the update to the callback and back: framed, as updates arrive, and already
// stripped; on one thread and on two, each with updates of its own. The time is the threads' processor time. What a call
// converts in place is put back before the next, within the time: eight bytes of a frame, some more of an older form.
// Built twice: with the default client library, and with the one that decodes out of an arena.

#include "bench/client_updates.hpp"
#include "bench/entry_points.hpp"

#include <benchmark/benchmark.h>

#include <stdexcept>

namespace
{

using bench::form;

#ifdef RIB_CLIENT_ARENA
constexpr const char *build = "_arena";
#else
constexpr const char *build = "";
#endif

// Some updates of some kinds are such that the client library drops them, as in a real stream.
void run(benchmark::State &state, std::string_view kind, form how)
{
    bench::arrivals updates(bench::make_client_updates(kind), how); // of this thread alone: a call writes to them
    const size_t delivered = updates.parse_all();
    if (delivered < updates.count() / 10 * 9)
        return state.SkipWithError("many updates were not delivered");
    size_t missing = 0;
    for (auto _ : state)
        missing += delivered - updates.parse_all();
    if (missing != 0)
        state.SkipWithError("an update was not delivered");
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(updates.count()));
    state.counters["messages"] =
        benchmark::Counter(static_cast<double>(updates.count()), benchmark::Counter::kAvgThreads);
    state.counters["bytes"] =
        benchmark::Counter(static_cast<double>(updates.payload_bytes()), benchmark::Counter::kAvgThreads);
}

void register_benchmark(std::string_view kind, int threads, form how)
{
    const std::string name = "entry/" + std::string(kind) + "/librib:" + std::to_string(threads) +
                             (how == form::stripped ? "_stripped" : "") + build;
    auto *const made =
        benchmark::RegisterBenchmark(name.c_str(), [kind, how](benchmark::State &state) { run(state, kind, how); });
    made->Threads(threads)->UseRealTime();
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    for (const auto &kinds : {bench::client_update_kinds(), bench::older_update_kinds()}) {
        for (const std::string_view kind : kinds) {
            register_benchmark(kind, 1, form::framed);
            register_benchmark(kind, 2, form::framed);
            register_benchmark(kind, 1, form::stripped);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
