// A fixed set of operations, to be run under callgrind: the counts of what the library itself executes are the same on
// every machine, and so is what it asks of the C library. bench/check_instructions builds this with one pinned compiler,
// runs it and compares the counts.
//
// One dump of callgrind's is one operation on one set of messages, named "operation messages". One line of the output is
// the C library's part of it: that name and the members of libc_work.

#include "bench/entry_points.hpp"
#include "bench/instructions/libc_work.hpp"
#include "bench/instructions/updates.hpp"
#include "bench/workloads.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <valgrind/callgrind.h>

namespace bench
{
namespace
{

// Small enough that the whole takes seconds under callgrind.
constexpr size_t messages = 2000;
constexpr size_t room = size_t{1} << 24;

// A bump allocator: what it executes is not counted, what is asked of it is.
struct memory {
    std::vector<uint64_t> block = std::vector<uint64_t>(room / sizeof(uint64_t));
    size_t used = 0;
};

__attribute__((noinline)) void *take(size_t size, void *from)
{
    memory &mem = *static_cast<memory *>(from);
    ++libc_work_done.malloc_calls;
    libc_work_done.malloc_bytes += size;
    void *const taken = mem.block.data() + mem.used;
    mem.used += (size + 7) / 8;
    return mem.used <= mem.block.size() ? taken : nullptr;
}

void give_back(void *, void *)
{
    ++libc_work_done.free_calls;
}

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

void print_libc_work(const std::string &name, const libc_work &work)
{
    std::printf("%s", name.c_str());
    for (const uint64_t count : {work.malloc_calls, work.malloc_bytes, work.calloc_calls, work.calloc_bytes,
                                 work.free_calls, work.memset_calls, work.memset_bytes, work.memcpy_calls,
                                 work.memcpy_bytes, work.strlen_calls, work.strlen_bytes})
        std::printf(" %" PRIu64, count);
    std::printf("\n");
}

template <class Work>
void count(const char *operation, const std::string &set, size_t total, Work work)
{
    const std::string name = std::string(operation) + " " + set;
    libc_work_done = {};
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    for (size_t i = 0; i < total; ++i)
        work(i);
    CALLGRIND_TOGGLE_COLLECT;
    print_libc_work(name, libc_work_done);
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
    std::vector<zidl_segment> segments(8192);

    const auto decode = [&](size_t i, uint32_t flags) {
        scratch.used = 0;
        type.decode(record.data(), set.messages[i].data(), set.messages[i].size(), take, &scratch, flags);
    };
    const auto encode_into = [&](size_t i, size_t buflen) {
        type.encode(all.at(i), buf.data(), buflen, nullptr, nullptr, 0);
    };
    count("decode", set.name, all.count(), [&](size_t i) { decode(i, 0); });
    count("decode_zero_copy", set.name, all.count(), [&](size_t i) { decode(i, ZIDL_ZERO_COPY); });
    count("measure", set.name, all.count(), [&](size_t i) { type.encode(all.at(i), nullptr, 0, nullptr, nullptr, 0); });
    count("encode", set.name, all.count(), [&](size_t i) { encode_into(i, buf.size()); });
    count("encode_exact", set.name, all.count(), [&](size_t i) { encode_into(i, set.messages[i].size()); });
    count("encode_half", set.name, all.count(), [&](size_t i) { encode_into(i, set.messages[i].size() / 2); });
    count("encode_segments", set.name, all.count(), [&](size_t i) {
        auto capacity = static_cast<uint32_t>(segments.size());
        type.encode(all.at(i), buf.data(), buf.size(), segments.data(), &capacity, ZIDL_ZERO_COPY);
    });
    count("duplicate", set.name, all.count(), [&](size_t i) {
        scratch.used = 0;
        type.duplicate(record.data(), all.at(i), take, &scratch);
    });
    count("release", set.name, all.count(), [&](size_t i) { type.release(all.at(i), give_back, nullptr, 0); });
}

void count_entry(const named_updates &set, form how)
{
    arrivals updates(set.updates, how);
    if (updates.parse_all() != updates.count())
        throw std::runtime_error("an update is not delivered: " + set.name);
    count(how == form::framed ? "entry_framed" : "entry_stripped", set.name, updates.count(),
          [&](size_t i) { updates.parse({}, i, 1); });
}

} // namespace

int run()
{
    for (const std::string_view name : workload_names()) {
        const workload made = make_workload(name, messages);
        count_codec({std::string(name), made.type, made.messages});
    }
    for (const named_updates &set : updates_of_every_code()) {
        count_entry(set, form::framed);
        count_entry(set, form::stripped);
    }
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
