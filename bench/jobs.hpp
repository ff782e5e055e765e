// The loops that every contender's operations run in.

#pragma once

#include "bench/contender.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>

namespace bench
{

// The decoded messages of a table, of a contender's own type: made once and shared by its operations.
template <class Decoded>
std::shared_ptr<Decoded> shared_for(const message_table &table)
{
    static std::map<const message_table *, std::shared_ptr<Decoded>> made;
    std::shared_ptr<Decoded> &entry = made[&table];
    if (entry == nullptr)
        entry = std::make_shared<Decoded>(table);
    return entry;
}

// Batches of messages decoded and released. Batch holds a contender's records: made for a table, it has
//   decode(i, message)    into its record i
//   release(count)        of its first records
//   encoded(i)            of its record i
template <class Batch, class... Arguments>
job decode_job(const message_table &table, const Arguments &...arguments)
{
    auto batch = std::make_shared<Batch>(table, arguments...);
    return {[&table, batch](size_t first, size_t end) {
                while (first < end) {
                    const size_t count = std::min(end - first, table.batch());
                    for (size_t i = 0; i < count; ++i)
                        batch->decode(i, table.messages()[first + i]);
                    benchmark::ClobberMemory();
                    batch->release(count);
                    first += count;
                }
            },
            [&table, batch](size_t i) {
                batch->decode(0, table.messages()[i]);
                bytes out = batch->encoded(0);
                batch->release(1);
                return out;
            }};
}

// One operation on each kept message, in the contender's own form; `result` makes bytes of one.
template <class Messages, class Each, class Result>
job each_job(std::shared_ptr<Messages> all, Each each, Result result)
{
    return {[all, each](size_t first, size_t end) {
                for (size_t i = first; i < end; ++i)
                    each((*all)[i]);
            },
            [all, result](size_t i) { return result((*all)[i]); }};
}

template <class Messages, class Each>
job each_job(std::shared_ptr<Messages> all, Each each)
{
    return {[all, each](size_t first, size_t end) {
                for (size_t i = first; i < end; ++i)
                    each((*all)[i]);
            },
            {}};
}

} // namespace bench
