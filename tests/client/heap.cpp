// The wrapped memory functions.

#include "tests/client/heap.hpp"

#include <algorithm>
#include <cstring>

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void __wrap_free(void *block);
}

namespace rib_test
{

namespace
{

thread_local heap_record record;
thread_local bool watching = false;

bool refuses()
{
    const size_t index = record.requests.size();
    return index == record.refused || (record.refuse_all_behind && index > record.refused);
}

template <class Allocate>
void *remember(size_t size, bool zeroed, Allocate allocate)
{
    void *block = refuses() ? nullptr : allocate();
    record.requests.push_back({size, zeroed, block});
    if (block != nullptr)
        record.live.push_back(block);
    return block;
}

} // namespace

heap_record &heap()
{
    return record;
}

void watch_heap(size_t refused, bool refuse_all_behind)
{
    record = heap_record{};
    record.refused = refused;
    record.refuse_all_behind = refuse_all_behind;
    watching = true;
}

size_t end_watch()
{
    watching = false;
    const size_t left = record.live.size();
    for (void *block : record.live)
        __real_free(block);
    record.live.clear();
    return left;
}

} // namespace rib_test

using namespace rib_test;

void *__wrap_malloc(size_t size)
{
    if (!watching)
        return __real_malloc(size);
    return remember(size, false, [&] {
        void *const block = __real_malloc(size);
        return block == nullptr ? nullptr : std::memset(block, 0x5A, size);
    });
}

void *__wrap_calloc(size_t count, size_t size)
{
    if (!watching)
        return __real_calloc(count, size);
    return remember(count * size, true, [&] { return __real_calloc(count, size); });
}

void __wrap_free(void *block)
{
    if (watching && block != nullptr) {
        const auto found = std::find(record.live.begin(), record.live.end(), block);
        if (found == record.live.end()) {
            record.foreign_releases++;
            return;
        }
        record.live.erase(found);
        record.releases.push_back(block);
    }
    __real_free(block);
}
