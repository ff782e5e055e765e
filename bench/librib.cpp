// librib's own contenders: the exported functions of the shared library, as any user calls them.

#include "bench/bump.hpp"
#include "bench/contender.hpp"
#include "bench/message_types.hpp"
#include "codec/zidl_arena.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace bench
{
namespace
{

void *heap_alloc(size_t size, void *)
{
    return std::malloc(size);
}

void heap_free(void *ptr, void *)
{
    std::free(ptr);
}

// zidl_arena with a first block of ours that no message outgrows.
struct arena {
    arena() : block(bump_size / sizeof(uint64_t)) { zidl_arena_init(&state, block.data(), bump_size); }
    arena(const arena &) = delete;
    arena &operator=(const arena &) = delete;
    ~arena() { zidl_arena_destroy(&state); }

    std::vector<uint64_t> block;
    zidl_arena state;
};

template <class Record>
bytes encoded(const Record &record)
{
    bytes out(record_operations<Record>::encode(&record, nullptr, 0, nullptr, nullptr, 0));
    record_operations<Record>::encode(&record, out.data(), out.size(), nullptr, nullptr, 0);
    return out;
}

// A record of every message of a table.
template <class Record>
class decoded_table
{
public:
    explicit decoded_table(const message_table &table) : records_(table.messages().size())
    {
        for (size_t i = 0; i < records_.size(); ++i) {
            const byte_span message = table.messages()[i];
            if (record_operations<Record>::decode(&records_[i], message.data(), message.size(), heap_alloc, nullptr,
                                                  0) != ZIDL_OK)
                throw std::runtime_error("a message cannot be decoded");
        }
    }

    decoded_table(const decoded_table &) = delete;
    decoded_table &operator=(const decoded_table &) = delete;

    ~decoded_table()
    {
        for (Record &record : records_)
            record_operations<Record>::release(&record, heap_free, nullptr, 0);
    }

    const std::vector<Record> &records() const { return records_; }

private:
    std::vector<Record> records_;
};

// Decode and release with malloc and free.
template <class Record, uint32_t Flags>
job decode_heap(const message_table &table)
{
    using operations = record_operations<Record>;
    auto record = std::make_shared<Record>();
    return {[&table, record] {
                for (const byte_span message : table.messages()) {
                    operations::decode(record.get(), message.data(), message.size(), heap_alloc, nullptr, Flags);
                    benchmark::DoNotOptimize(record.get());
                    operations::release(record.get(), heap_free, nullptr, Flags);
                }
            },
            [&table, record](size_t i) {
                const byte_span message = table.messages()[i];
                operations::decode(record.get(), message.data(), message.size(), heap_alloc, nullptr, Flags);
                bytes out = encoded(*record);
                operations::release(record.get(), heap_free, nullptr, Flags);
                return out;
            }};
}

// The blocks that a decode takes and gives back, in the order of either, without the decode: what no decoder that hands
// out the same blocks can be faster than.
class block_trace
{
public:
    template <class Record>
    void record(Record &message, byte_span encoded)
    {
        using operations = record_operations<Record>;
        const size_t first = sizes_.size();
        operations::decode(&message, encoded.data(), encoded.size(), trace_alloc, this, 0);
        operations::release(&message, trace_free, this, 0);
        for (void *const block : blocks_)
            std::free(block);
        blocks_.clear();
        counts_.push_back(sizes_.size() - first);
    }

    void replay()
    {
        size_t at = 0;
        for (const size_t count : counts_) {
            for (size_t i = 0; i < count; ++i)
                blocks_.push_back(std::malloc(sizes_[at + i]));
            for (size_t i = 0; i < count; ++i)
                std::free(blocks_[released_[at + i]]);
            blocks_.clear();
            at += count;
        }
    }

private:
    static void *trace_alloc(size_t size, void *trace)
    {
        auto &self = *static_cast<block_trace *>(trace);
        self.sizes_.push_back(size);
        self.blocks_.push_back(std::malloc(size));
        return self.blocks_.back();
    }

    static void trace_free(void *block, void *trace)
    {
        auto &self = *static_cast<block_trace *>(trace);
        const auto found = std::find(self.blocks_.begin(), self.blocks_.end(), block);
        self.released_.push_back(static_cast<uint32_t>(found - self.blocks_.begin()));
    }

    std::vector<size_t> counts_; // blocks of each message
    std::vector<size_t> sizes_;
    std::vector<uint32_t> released_; // which block of its message goes next
    std::vector<void *> blocks_;     // of the current message
};

template <class Record>
job blocks_alone(const message_table &table)
{
    auto trace = std::make_shared<block_trace>();
    Record record = {};
    for (const byte_span message : table.messages())
        trace->record(record, message);
    return {[trace] { trace->replay(); }, {}};
}

// Decode out of zidl_arena.h's bump allocator; the reset is the release.
template <class Record, uint32_t Flags>
job decode_bump(const message_table &table)
{
    using operations = record_operations<Record>;
    auto record = std::make_shared<Record>();
    auto memory = std::make_shared<arena>();
    return {[&table, record, memory] {
                for (const byte_span message : table.messages()) {
                    operations::decode(record.get(), message.data(), message.size(), zidl_arena_alloc, &memory->state,
                                       Flags);
                    benchmark::DoNotOptimize(record.get());
                    zidl_arena_reset(&memory->state);
                }
            },
            [&table, record, memory](size_t i) {
                const byte_span message = table.messages()[i];
                operations::decode(record.get(), message.data(), message.size(), zidl_arena_alloc, &memory->state,
                                   Flags);
                bytes out = encoded(*record);
                zidl_arena_reset(&memory->state);
                return out;
            }};
}

template <class Record>
job size(const message_table &table)
{
    auto decoded = shared_for<decoded_table<Record>>(table);
    return {[decoded] {
                for (const Record &record : decoded->records())
                    benchmark::DoNotOptimize(
                        record_operations<Record>::encode(&record, nullptr, 0, nullptr, nullptr, 0));
            },
            {}};
}

template <class Record>
job encode(const message_table &table)
{
    auto decoded = shared_for<decoded_table<Record>>(table);
    auto buf = std::make_shared<bytes>(16 * table.longest() + 4096);
    return {[decoded, buf] {
                for (const Record &record : decoded->records())
                    benchmark::DoNotOptimize(
                        record_operations<Record>::encode(&record, buf->data(), buf->size(), nullptr, nullptr, 0));
            },
            [decoded, buf](size_t i) {
                const size_t len = record_operations<Record>::encode(&decoded->records()[i], buf->data(), buf->size(),
                                                                     nullptr, nullptr, 0);
                return bytes(buf->begin(), buf->begin() + static_cast<std::ptrdiff_t>(len));
            }};
}

template <class Record>
job encode_sized(const message_table &table)
{
    auto decoded = shared_for<decoded_table<Record>>(table);
    auto buf = std::make_shared<bytes>(table.longest());
    return {[decoded, buf] {
                for (const Record &record : decoded->records()) {
                    const size_t len = record_operations<Record>::encode(&record, nullptr, 0, nullptr, nullptr, 0);
                    record_operations<Record>::encode(&record, buf->data(), len, nullptr, nullptr, 0);
                    benchmark::DoNotOptimize(buf->data());
                }
            },
            [decoded](size_t i) { return encoded(decoded->records()[i]); }};
}

template <class Record>
job duplicate(const message_table &table)
{
    using operations = record_operations<Record>;
    auto decoded = shared_for<decoded_table<Record>>(table);
    auto copy = std::make_shared<Record>();
    return {[decoded, copy] {
                for (const Record &record : decoded->records()) {
                    operations::duplicate(copy.get(), &record, heap_alloc, nullptr);
                    benchmark::DoNotOptimize(copy.get());
                    operations::release(copy.get(), heap_free, nullptr, 0);
                }
            },
            [decoded, copy](size_t i) {
                operations::duplicate(copy.get(), &decoded->records()[i], heap_alloc, nullptr);
                bytes out = encoded(*copy);
                operations::release(copy.get(), heap_free, nullptr, 0);
                return out;
            }};
}

template <class Record>
std::vector<contender> contenders()
{
    return {
        {"librib", "heap", operation::decode, decode_heap<Record, 0>},
        {"librib", "bump", operation::decode, decode_bump<Record, 0>},
        {"librib", "heap_zero_copy", operation::decode, decode_heap<Record, ZIDL_ZERO_COPY>},
        {"librib", "bump_zero_copy", operation::decode, decode_bump<Record, ZIDL_ZERO_COPY>},
        {"malloc_and_free_alone", "heap", operation::decode, blocks_alone<Record>},
        {"librib", "buffer", operation::size, size<Record>},
        {"librib", "buffer", operation::encode, encode<Record>},
        {"librib", "buffer", operation::encode_sized, encode_sized<Record>},
        {"librib", "heap", operation::duplicate, duplicate<Record>},
    };
}

} // namespace

std::vector<contender> librib_contenders(std::string_view type)
{
    return visit_message_type(type, []<class Record>() { return contenders<Record>(); });
}

} // namespace bench
