// The codec beside its peers: every operation on every workload, all contenders in one run. Each result is compared
// with the message it came from before anything is timed.
//
// Benchmarks are named operation/workload/library:memory.

#include "bench/client_updates.hpp"
#include "bench/contender.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <map>
#include <valgrind/callgrind.h>

namespace
{

using bench::bytes;
using bench::contender;
using bench::job;
using bench::message_table;

bench::workload make(std::string_view workload)
{
    return workload == "real" ? *bench::make_real_workload() : bench::make_workload(workload);
}

// A workload's messages, made at first use.
const message_table &table_for(std::string_view workload)
{
    static std::map<std::string, message_table, std::less<>> made;
    auto found = made.find(workload);
    if (found == made.end())
        found = made.try_emplace(std::string(workload), make(workload)).first;
    return found->second;
}

// The first thousand messages and a sample of the rest.
bool gives_equal_results(const job &work, const message_table &table)
{
    if (!work.result)
        return true;
    for (size_t i = 0; i < table.messages().size(); i += i < 1000 ? 1 : 101) {
        const bench::byte_span message = table.messages()[i];
        const bytes result = work.result(i);
        if (!std::ranges::equal(result, message) &&
            !std::ranges::equal(bench::canonical(table.type(), result), message))
            return false;
    }
    return true;
}

class lazy_job
{
public:
    lazy_job(contender who, std::string workload) : who_(std::move(who)), workload_(std::move(workload)) {}

    void time(benchmark::State &state)
    {
        const message_table &table = table_for(workload_);
        if (!work_.run) {
            work_ = who_.prepare(table);
            equal_ = gives_equal_results(work_, table);
            work_.run();
        }
        if (!equal_)
            return state.SkipWithError("the result is not the message that went in");
        for (auto _ : state)
            work_.run();
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(table.messages().size()));
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(table.total_bytes()));
        state.counters["messages"] = static_cast<double>(table.messages().size());
        state.counters["bytes"] = static_cast<double>(table.total_bytes());
    }

private:
    contender who_;
    std::string workload_;
    job work_;
    bool equal_ = false;
};

std::vector<std::string_view> workload_names()
{
    std::vector<std::string_view> names = bench::workload_names();
    if (std::getenv("RIB_DATA_DIR") != nullptr)
        names.push_back("real");
    return names;
}

const char *type_name(std::string_view workload)
{
    return workload == "real" ? "rib_route" : bench::type_name(workload);
}

std::string benchmark_name(const contender &who, std::string_view workload)
{
    return std::string(to_string(who.op)) + "/" + std::string(workload) + "/" + who.library + ":" + who.memory;
}

// Under callgrind: one dump a contender, named "benchmark messages", with everything that it executes for the first
// messages of a workload, the libraries below it included.
int count_instructions()
{
    constexpr size_t limit = 500;
    std::deque<message_table> tables; // which what is decoded from them refers to
    for (const std::string_view workload : bench::workload_names()) {
        const message_table &table = tables.emplace_back(bench::make_workload(workload, limit));
        for (const contender &who : bench::all_contenders(type_name(workload))) {
            const job work = who.prepare(table);
            work.run();
            const std::string name = benchmark_name(who, workload) + " " + std::to_string(table.messages().size());
            CALLGRIND_ZERO_STATS;
            CALLGRIND_TOGGLE_COLLECT;
            work.run();
            CALLGRIND_TOGGLE_COLLECT;
            CALLGRIND_DUMP_STATS_AT(name.c_str());
        }
    }
    return 0;
}

void register_all()
{
    for (const std::string_view workload : workload_names()) {
        for (contender &who : bench::all_contenders(type_name(workload))) {
            const std::string name = benchmark_name(who, workload);
            auto work = std::make_shared<lazy_job>(std::move(who), std::string(workload));
            benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State &state) { work->time(state); });
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && std::string_view(argv[1]) == "--count-instructions")
        return count_instructions();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    register_all();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
