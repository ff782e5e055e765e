// The codec beside its peers: every operation on every workload, all contenders in one run. Each result is compared
// with the message it came from before anything is timed.
//
// Benchmarks are named operation/workload/library:memory. Their counter `ns` is the median of a repetition's samples; a
// sample is the time of a message among some hundred, or of a single large one. --library=NAME=PATH lets another build of
// librib take part, --workload=NAME leaves one workload.

#include "bench/client_updates.hpp"
#include "bench/contender.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <map>
#include <stdexcept>
#include <valgrind/callgrind.h>

namespace
{

using bench::bytes;
using bench::contender;
using bench::job;
using bench::message_table;

// As many bytes of routes as `full` has, but so few of them that a processor knows each by heart.
constexpr std::string_view learnt_workload = "learnt";
constexpr size_t learnt_routes = 128;

bench::workload make(std::string_view workload)
{
    if (workload == "real")
        return *bench::make_real_workload();
    if (workload != bench::cold_workload && workload != learnt_workload)
        return bench::make_workload(workload);
    bench::workload made = bench::make_workload(workload == learnt_workload ? "full" : "mixed");
    made.name = workload;
    if (workload == learnt_workload) {
        for (size_t i = learnt_routes; i < made.messages.size(); ++i)
            made.messages[i] = made.messages[i - learnt_routes];
    }
    return made;
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
bool gives_equal_results(const job &work, const message_table &table, size_t total)
{
    if (!work.result)
        return true;
    for (size_t i = 0; i < total; i += i < 1000 ? 1 : 101) {
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
        const size_t total = who_.op == bench::operation::decode ? table.messages().size() : table.kept();
        if (!work_.run) {
            work_ = who_.prepare(table);
            equal_ = gives_equal_results(work_, table, total);
        }
        if (!equal_)
            return state.SkipWithError("the result is not the message that went in");
        // Others have had their turn since the last repetition: the processor's caches and predictors are theirs.
        for (size_t i = 0; i < 2; ++i)
            run_sample(table, total);
        std::vector<double> samples;
        for (auto _ : state) {
            const auto [seconds, messages] = run_sample(table, total);
            state.SetIterationTime(seconds);
            samples.push_back(seconds * 1e9 / static_cast<double>(messages));
        }
        const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
        std::nth_element(samples.begin(), middle, samples.end());
        state.counters["ns"] = *middle;
        state.counters["bytes"] =
            static_cast<double>(table.total_bytes()) / static_cast<double>(table.messages().size());
    }

private:
    // Seconds for so many messages.
    std::pair<double, size_t> run_sample(const message_table &table, size_t total)
    {
        const size_t first = next_;
        const size_t end = std::min(total, first + table.sample());
        next_ = end == total ? 0 : end;
        const auto start = std::chrono::steady_clock::now();
        work_.run(first, end);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        return {taken.count(), end - first};
    }

    contender who_;
    std::string workload_;
    job work_;
    bool equal_ = false;
    size_t next_ = 0; // the message that the next sample begins with
};

std::vector<std::string_view> workload_names()
{
    std::vector<std::string_view> names = bench::workload_names();
    names.insert(names.end(), {learnt_workload, bench::cold_workload});
    if (std::getenv("RIB_DATA_DIR") != nullptr)
        names.push_back("real");
    return names;
}

const char *type_name(std::string_view workload)
{
    const bool is_route = workload == "real" || workload == bench::cold_workload || workload == learnt_workload;
    return is_route ? "rib_route" : bench::type_name(workload);
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
            const size_t total = table.messages().size();
            work.run(0, total);
            const std::string name = benchmark_name(who, workload) + " " + std::to_string(total);
            CALLGRIND_ZERO_STATS;
            CALLGRIND_TOGGLE_COLLECT;
            work.run(0, total);
            CALLGRIND_TOGGLE_COLLECT;
            CALLGRIND_DUMP_STATS_AT(name.c_str());
        }
    }
    return 0;
}

void register_all(const std::string &only)
{
    for (const std::string_view workload : workload_names()) {
        if (!only.empty() && workload != only)
            continue;
        for (contender &who : bench::all_contenders(type_name(workload))) {
            const std::string name = benchmark_name(who, workload);
            auto work = std::make_shared<lazy_job>(std::move(who), std::string(workload));
            benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State &state) {
                work->time(state);
            })->UseManualTime();
        }
    }
}

// What this program's own options say; they are taken out of the command line.
struct own_options {
    own_options(int &argc, char **argv)
    {
        const auto rest = std::remove_if(argv + 1, argv + argc, [this](std::string_view argument) {
            return take(argument, "--workload=", [this](const std::string &name) { workload = name; }) ||
                   take(argument, "--library=", add_library);
        });
        argc = static_cast<int>(rest - argv);
    }

    std::string workload; // the only one, or empty for all

private:
    template <class Use>
    static bool take(std::string_view argument, std::string_view option, Use use)
    {
        if (!argument.starts_with(option))
            return false;
        use(std::string(argument.substr(option.size())));
        return true;
    }

    static void add_library(const std::string &name_and_path)
    {
        const size_t name_len = name_and_path.find('=');
        if (name_len == std::string::npos)
            throw std::invalid_argument("--library needs NAME=PATH");
        bench::add_librib(name_and_path.substr(0, name_len), name_and_path.substr(name_len + 1));
    }
};

} // namespace

int main(int argc, char **argv)
{
    const own_options options(argc, argv);
    if (argc == 2 && std::string_view(argv[1]) == "--count-instructions")
        return count_instructions();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    register_all(options.workload);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
