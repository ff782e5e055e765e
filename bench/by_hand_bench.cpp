// What the client library saves: framed updates of the kinds that the arguments name, through its entry point and by hand:
// the frame read, the payload decoded by another library, the message converted into the same record, the same callback.
// Every record is compared with the client library's before anything is timed.

#include "bench/by_hand/deliver.hpp"
#include "inspect/records/record_json.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using bench::client_callbacks;
using bench::by_hand::contender;

constexpr size_t update_limit = 10'000;

// ---- The records as text ----

using record_texts = std::vector<std::string>;

int keep(void *texts, const rib_inspect::client_record &record, const std::string &beside = {})
{
    std::string text = beside;
    rib_inspect::append_json(text, record);
    static_cast<record_texts *>(texts)->push_back(std::move(text));
    return 0;
}

// Where an empty block lies is of no use to a client, and protobuf-c does not say.
int keep_opaque(void *texts, uint32_t sub_id, rib_opaque_update opaque)
{
    if (opaque.first_len == 0)
        opaque.first_block = nullptr;
    if (opaque.second_len == 0)
        opaque.second_block = nullptr;
    return keep(texts, rib_inspect::view_of(opaque), std::to_string(sub_id) + ' ');
}

client_callbacks keeping(record_texts &texts)
{
    using rib_inspect::view_of;
    return {
        [](uint32_t, rib_protoid_map *map, void *to) { return keep(to, view_of(*map)); },
        [](uint32_t, uint32_t sub_id, rib_opaque_update *opaque, void *to) { return keep_opaque(to, sub_id, *opaque); },
        [](uint32_t, struct rib_routetype_ *route, void *to) { return keep(to, view_of(*route)); },
        [](void *record, void *to, uint32_t type) {
            return keep(to, type == RIB_TLV_GRID ? view_of(*static_cast<grid_sync_list *>(record))
                                                 : view_of(*static_cast<nhid_update_local *>(record)));
        },
        &texts,
    };
}

void check(const contender &other, std::span<const bench::bytes> frames, const record_texts &expected)
{
    record_texts found;
    other.take(frames, keeping(found));
    if (found == expected)
        return;
    size_t i = 0;
    while (i < std::min(found.size(), expected.size()) && found[i] == expected[i])
        ++i;
    throw std::runtime_error(other.library + " " + other.memory + ": record " + std::to_string(i) + " differs:\n" +
                             (i < found.size() ? found[i] : "none") + "\n" +
                             (i < expected.size() ? expected[i] : "none"));
}

// ---- The runs ----

struct updates_of_kind {
    explicit updates_of_kind(std::string_view kind)
        : made(limited(bench::make_client_updates(kind))), framed(made, bench::form::framed)
    {
    }

    static bench::client_updates limited(bench::client_updates updates)
    {
        updates.payloads.resize(std::min(updates.payloads.size(), update_limit));
        return updates;
    }

    bench::client_updates made;
    bench::arrivals framed;
};

std::vector<contender> contenders_for(uint16_t code)
{
    using namespace bench::by_hand;
    std::vector<contender> chosen;
    for (const auto &list : {protobuf_contenders(), protobuf_c_contenders(), protozero_contenders()})
        std::copy_if(list.begin(), list.end(), std::back_inserter(chosen),
                     [code](const contender &one) { return one.code == code; });
    return chosen;
}

void check_kind(std::string_view kind)
{
    updates_of_kind updates(kind);
    record_texts expected;
    updates.framed.parse({}, 0, updates.framed.count(), keeping(expected));
    for (const contender &other : contenders_for(updates.made.code))
        check(other, updates.framed.updates(), expected);
}

// In a process of its own: what is timed finds a heap that nothing else has been at.
void check_all(std::span<char *const> kinds)
{
    const pid_t child = fork();
    if (child == 0) {
        for (const char *const kind : kinds)
            check_kind(kind);
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0)
        throw std::runtime_error("a conversion by hand gives another record than the client library");
}

template <class Take>
void register_benchmark(const std::string &name, const std::shared_ptr<updates_of_kind> &updates, Take take)
{
    benchmark::RegisterBenchmark(name.c_str(), [updates, take](benchmark::State &state) {
        for (auto _ : state)
            take();
        state.counters["messages"] = static_cast<double>(updates->framed.count());
        state.counters["bytes"] = static_cast<double>(updates->framed.payload_bytes());
    });
}

void register_kind(std::string_view kind)
{
    const auto updates = std::make_shared<updates_of_kind>(kind);
    const std::string prefix = "by_hand/" + std::string(kind) + "/";
    register_benchmark(prefix + "librib:entry", updates, [updates] { updates->framed.parse_all(); });
    for (const contender &other : contenders_for(updates->made.code)) {
        register_benchmark(prefix + other.library + ":" + other.memory, updates, [updates, take = other.take] {
            take(updates->framed.updates(), bench::counting_callbacks);
        });
    }
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    const auto kinds = std::span<char *const>(argv, static_cast<size_t>(argc)).subspan(1);
    check_all(kinds);
    for (const char *const kind : kinds)
        register_kind(kind);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
