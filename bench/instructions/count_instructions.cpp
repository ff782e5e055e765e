// A fixed set of operations, to be run under callgrind: the counts of what the library itself executes are the same on
// every machine. bench/check_instructions builds this with one pinned compiler, runs it and compares the counts.
//
// One dump of callgrind's is one operation on one set of messages, named "operation messages".

#include "bench/workloads.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <valgrind/callgrind.h>

namespace bench
{
namespace
{

// Small enough that the whole takes seconds under callgrind.
constexpr size_t messages = 2000;
constexpr uint32_t wide_paths = 16;
constexpr uint32_t keys = 64;
constexpr size_t room = size_t{1} << 22;

// A bump allocator: what it executes is not counted.
struct memory {
    std::vector<uint64_t> block = std::vector<uint64_t>(room / sizeof(uint64_t));
    size_t used = 0;
};

__attribute__((noinline)) void *take(size_t size, void *from)
{
    memory &mem = *static_cast<memory *>(from);
    void *const taken = mem.block.data() + mem.used;
    mem.used += (size + 7) / 8;
    return mem.used <= mem.block.size() ? taken : nullptr;
}

void give_back(void *, void *) {}

struct message_set {
    std::string name;
    const zidl::message_descriptor *type;
    std::vector<bytes> messages;
};

// Records of every message of a set.
class records
{
public:
    records(const message_set &set, memory &mem) : set_(set), words_(set.type->size / 8 + 1)
    {
        for (const bytes &message : set.messages) {
            all_.emplace_back(words_);
            if (decode(all_.size() - 1, message, mem) != ZIDL_OK)
                throw std::runtime_error("a message cannot be decoded");
        }
    }

    int32_t decode(size_t i, const bytes &message, memory &mem)
    {
        return set_.type->decode(all_[i].data(), message.data(), message.size(), take, &mem, 0);
    }
    void *at(size_t i) { return all_[i].data(); }
    size_t count() const { return all_.size(); }

private:
    const message_set &set_;
    size_t words_;
    std::vector<std::vector<uint64_t>> all_;
};

template <class Work>
void count(const char *operation, const message_set &set, size_t total, Work work)
{
    const std::string name = std::string(operation) + " " + set.name;
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    for (size_t i = 0; i < total; ++i)
        work(i);
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

void count_codec(const message_set &set)
{
    const zidl::message_descriptor &type = *set.type;
    memory mem;
    records all(set, mem);
    memory scratch;
    std::vector<uint64_t> record(type.size / 8 + 1);
    bytes buf(size_t{1} << 20);
    std::vector<zidl_segment> segments(4096);

    count("decode", set, all.count(), [&](size_t i) {
        scratch.used = 0;
        type.decode(record.data(), set.messages[i].data(), set.messages[i].size(), take, &scratch, 0);
    });
    count("size", set, all.count(), [&](size_t i) { type.encode(all.at(i), nullptr, 0, nullptr, nullptr, 0); });
    count("encode", set, all.count(),
          [&](size_t i) { type.encode(all.at(i), buf.data(), buf.size(), nullptr, nullptr, 0); });
    count("encode_segments", set, all.count(), [&](size_t i) {
        auto capacity = static_cast<uint32_t>(segments.size());
        type.encode(all.at(i), buf.data(), buf.size(), segments.data(), &capacity, ZIDL_ZERO_COPY);
    });
    count("duplicate", set, all.count(), [&](size_t i) {
        scratch.used = 0;
        type.duplicate(record.data(), all.at(i), take, &scratch);
    });
    count("release", set, all.count(), [&](size_t i) { type.release(all.at(i), give_back, nullptr, 0); });
}

void count_conversion(const message_set &set)
{
    const bytes &route = set.messages.front();
    struct rib_routetype_ *record = nullptr;
    count("convert", set, 1,
          [&](size_t) { rib_lib_route_decode(route.data(), static_cast<uint32_t>(route.size()), &record); });
    if (record == nullptr || record->rt_path_count != wide_paths)
        throw std::runtime_error("the route was not converted");
    std::free(record->rt_advertisement);
    for (void *const block : record->rt_attr_blocks)
        std::free(block);
    std::free(record);
}

} // namespace

int run()
{
    for (const std::string_view name : {"mixed", "full", "proto", "opaque", "srv6"}) {
        const workload made = make_workload(name, messages);
        count_codec({std::string(name), made.type, made.messages});
    }
    count_codec({"wide", zidl::find_message("rib_route"), {make_route(wide_paths)}});
    count_codec({"grid", zidl::find_message("rib_grid_sync_list"), {make_grid(keys)}});
    count_conversion({"wide", zidl::find_message("rib_route"), {make_convertible_route(wide_paths)}});
    return 0;
}

} // namespace bench

int main()
{
    if (RUNNING_ON_VALGRIND)
        return bench::run();
    std::fputs("This program counts nothing by itself: bench/check_instructions runs it under callgrind.\n", stderr);
    return 2;
}
