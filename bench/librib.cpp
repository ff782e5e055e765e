// librib's own contenders: the exported functions of the shared library, as any user calls them. Besides the library that
// the benchmark is linked with, other builds of it take part that are loaded by their paths.

#include "bench/bump.hpp"
#include "bench/jobs.hpp"
#include "bench/message_types.hpp"
#include "codec/zidl_arena.h"

#include <cstdlib>
#include <dlfcn.h>
#include <stdexcept>
#include <unordered_map>

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

// zidl_arena with a first block of ours.
struct arena {
    explicit arena(std::span<uint8_t> block) { zidl_arena_init(&state, block.data(), block.size()); }
    arena(const arena &) = delete;
    arena &operator=(const arena &) = delete;
    ~arena() { zidl_arena_destroy(&state); }

    void reset() { zidl_arena_reset(&state); }

    zidl_arena state;
};

// A record of every kept message of a table.
template <class Record>
class decoded_table
{
public:
    explicit decoded_table(const message_table &table) : records_(table.kept())
    {
        for (size_t i = 0; i < records_.size(); ++i) {
            const byte_span message = table.messages()[i];
            if (operations.decode(&records_[i], message.data(), message.size(), heap_alloc, nullptr, 0) != ZIDL_OK)
                throw std::runtime_error("a message cannot be decoded");
        }
    }

    decoded_table(const decoded_table &) = delete;
    decoded_table &operator=(const decoded_table &) = delete;

    ~decoded_table()
    {
        for (Record &record : records_)
            operations.release(&record, heap_free, nullptr, 0);
    }

    const Record &operator[](size_t i) const { return records_[i]; }

private:
    static constexpr const record_operations<Record> &operations = linked_operations<Record>;

    std::vector<Record> records_;
};

// Records whose blocks come from malloc.
template <class Record, uint32_t Flags>
class heap_batch
{
public:
    heap_batch(const message_table &table, const record_operations<Record> &use) : use_(use), records_(table.batch()) {}

    void decode(size_t i, byte_span message)
    {
        use_.decode(&records_[i], message.data(), message.size(), heap_alloc, nullptr, Flags);
    }

    void release(size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            use_.release(&records_[i], heap_free, nullptr, Flags);
    }

    bytes encoded(size_t i) { return use_.encoded(records_[i]); }

private:
    record_operations<Record> use_;
    std::vector<Record> records_;
};

// Records whose blocks come from zidl_arena.h's bump allocator; the reset is the release.
template <class Record, uint32_t Flags>
class bump_batch
{
public:
    bump_batch(const message_table &table, const record_operations<Record> &use)
        : use_(use), records_(table.batch()), memory_(table)
    {
    }

    void decode(size_t i, byte_span message)
    {
        use_.decode(&records_[i], message.data(), message.size(), zidl_arena_alloc, &memory_[i].state, Flags);
    }

    void release(size_t) { memory_.reset(); }

    bytes encoded(size_t i) { return use_.encoded(records_[i]); }

private:
    record_operations<Record> use_;
    std::vector<Record> records_;
    batch_arenas<arena> memory_;
};

// The blocks that a decode takes and gives back, in the order of either, without the decode: what no decoder that hands
// out the same blocks can be faster than.
class block_trace
{
public:
    template <class Record>
    void record(const message_table &table, std::vector<Record> &batch)
    {
        constexpr const record_operations<Record> &use = linked_operations<Record>;
        for (size_t first = 0; first < table.messages().size(); first += batch.size()) {
            const size_t count = std::min(batch.size(), table.messages().size() - first);
            for (size_t i = 0; i < count; ++i) {
                const byte_span message = table.messages()[first + i];
                use.decode(&batch[i], message.data(), message.size(), trace_alloc, this, 0);
            }
            for (size_t i = 0; i < count; ++i)
                use.release(&batch[i], trace_free, this, 0);
            for (const auto &[block, index] : indices_)
                std::free(block);
            ends_.push_back(sizes_.size());
            indices_.clear();
        }
    }

    void replay(size_t batch)
    {
        const size_t first = batch == 0 ? 0 : ends_[batch - 1];
        const size_t count = ends_[batch] - first;
        blocks_.resize(std::max(blocks_.size(), count));
        for (size_t i = 0; i < count; ++i)
            blocks_[i] = std::malloc(sizes_[first + i]);
        benchmark::ClobberMemory();
        for (size_t i = 0; i < count; ++i)
            std::free(blocks_[released_[first + i]]);
    }

private:
    static void *trace_alloc(size_t size, void *trace)
    {
        auto &self = *static_cast<block_trace *>(trace);
        void *const block = std::malloc(size);
        self.sizes_.push_back(size);
        self.indices_.emplace(block, static_cast<uint32_t>(self.indices_.size()));
        return block;
    }

    static void trace_free(void *block, void *trace)
    {
        auto &self = *static_cast<block_trace *>(trace);
        self.released_.push_back(self.indices_.at(block));
    }

    std::vector<size_t> ends_;                     // of each batch
    std::vector<size_t> sizes_;                    // of the blocks taken
    std::vector<uint32_t> released_;               // which block of its batch goes next
    std::unordered_map<void *, uint32_t> indices_; // of the batch that is recorded
    std::vector<void *> blocks_;                   // of the batch that is replayed
};

template <class Record>
job blocks_alone(const message_table &table)
{
    auto trace = std::make_shared<block_trace>();
    std::vector<Record> batch(table.batch());
    trace->record(table, batch);
    return {[trace, size = table.batch()](size_t first, size_t end) {
                for (size_t at = first; at < end; at += size)
                    trace->replay(at / size);
            },
            {}};
}

template <class Record>
job size(const message_table &table, const record_operations<Record> &use)
{
    return each_job(shared_for<decoded_table<Record>>(table), [use](const Record &record) {
        benchmark::DoNotOptimize(use.encode(&record, nullptr, 0, nullptr, nullptr, 0));
    });
}

template <class Record>
job encode(const message_table &table, const record_operations<Record> &use)
{
    auto buf = std::make_shared<bytes>(table.room());
    const auto encode_one = [use, buf](const Record &record) {
        const size_t len = use.encode(&record, buf->data(), buf->size(), nullptr, nullptr, 0);
        benchmark::DoNotOptimize(len);
        return len;
    };
    return each_job(shared_for<decoded_table<Record>>(table), encode_one, [buf, encode_one](const Record &record) {
        return bytes(buf->data(), buf->data() + encode_one(record));
    });
}

// Into exactly as many bytes as the measuring says.
template <class Record>
job encode_sized(const message_table &table, const record_operations<Record> &use)
{
    auto buf = std::make_shared<bytes>(table.longest());
    return each_job(
        shared_for<decoded_table<Record>>(table),
        [use, buf](const Record &record) {
            const size_t len = use.encode(&record, nullptr, 0, nullptr, nullptr, 0);
            benchmark::DoNotOptimize(use.encode(&record, buf->data(), len, nullptr, nullptr, 0));
        },
        [use](const Record &record) { return use.encoded(record); });
}

template <class Record>
job duplicate_heap(const message_table &table, const record_operations<Record> &use)
{
    auto copy = std::make_shared<Record>();
    return each_job(
        shared_for<decoded_table<Record>>(table),
        [use, copy](const Record &record) {
            use.duplicate(copy.get(), &record, heap_alloc, nullptr);
            benchmark::ClobberMemory();
            use.release(copy.get(), heap_free, nullptr, 0);
        },
        [use, copy](const Record &record) {
            use.duplicate(copy.get(), &record, heap_alloc, nullptr);
            bytes out = use.encoded(*copy);
            use.release(copy.get(), heap_free, nullptr, 0);
            return out;
        });
}

template <class Record>
job duplicate_bump(const message_table &table, const record_operations<Record> &use)
{
    auto copy = std::make_shared<Record>();
    auto memory = std::make_shared<batch_arenas<arena>>(table);
    const auto duplicate = [use, copy, memory](const Record &record) {
        (*memory)[0].reset();
        use.duplicate(copy.get(), &record, zidl_arena_alloc, &(*memory)[0].state);
        benchmark::ClobberMemory();
    };
    return each_job(shared_for<decoded_table<Record>>(table), duplicate, [use, copy, duplicate](const Record &record) {
        duplicate(record);
        return use.encoded(*copy);
    });
}

template <class Record>
std::vector<contender> contenders(const std::string &library, const record_operations<Record> &use)
{
    using std::placeholders::_1;
    const auto decode = [&](auto batch) {
        return [use](const message_table &table) { return decode_job<typename decltype(batch)::type>(table, use); };
    };
    return {
        {library, "heap", operation::decode, decode(std::type_identity<heap_batch<Record, 0>>{})},
        {library, "bump", operation::decode, decode(std::type_identity<bump_batch<Record, 0>>{})},
        {library, "heap_zero_copy", operation::decode,
         decode(std::type_identity<heap_batch<Record, ZIDL_ZERO_COPY>>{})},
        {library, "bump_zero_copy", operation::decode,
         decode(std::type_identity<bump_batch<Record, ZIDL_ZERO_COPY>>{})},
        {library, "buffer", operation::size, std::bind(size<Record>, _1, use)},
        {library, "buffer", operation::encode, std::bind(encode<Record>, _1, use)},
        {library, "buffer", operation::encode_sized, std::bind(encode_sized<Record>, _1, use)},
        {library, "heap", operation::duplicate, std::bind(duplicate_heap<Record>, _1, use)},
        {library, "bump", operation::duplicate, std::bind(duplicate_bump<Record>, _1, use)},
    };
}

struct loaded_library {
    std::string name;
    void *handle;

    template <class Function>
    void find(Function *&function, const std::string &symbol) const
    {
        function = reinterpret_cast<Function *>(dlsym(handle, symbol.c_str()));
        if (function == nullptr)
            throw std::runtime_error(name + " has no " + symbol);
    }
};

std::vector<loaded_library> &loaded_libraries()
{
    static std::vector<loaded_library> all;
    return all;
}

template <class Record>
record_operations<Record> find_operations(const loaded_library &library)
{
    const std::string prefix = std::string("zidl_") + record_name<Record>;
    record_operations<Record> found;
    library.find(found.encode, prefix + "_encode_ext");
    library.find(found.decode, prefix + "_decode_ext");
    library.find(found.duplicate, prefix + "_duplicate");
    library.find(found.release, prefix + "_free_ext");
    return found;
}

} // namespace

// Its calls of its own functions must not end in the library that is linked.
void add_librib(const std::string &name, const std::string &path)
{
    void *const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (handle == nullptr)
        throw std::runtime_error(dlerror());
    loaded_libraries().push_back({name, handle});
}

std::vector<contender> librib_contenders(std::string_view type)
{
    return visit_message_type(type, []<class Record>() {
        std::vector<contender> all = contenders<Record>("librib", linked_operations<Record>);
        all.push_back({"malloc_and_free_alone", "heap", operation::decode, blocks_alone<Record>});
        for (const loaded_library &library : loaded_libraries()) {
            for (contender &one : contenders<Record>(library.name, find_operations<Record>(library)))
                all.push_back(std::move(one));
        }
        return all;
    });
}

} // namespace bench
