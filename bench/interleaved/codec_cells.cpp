#include "bench/bump.hpp"
#include "bench/interleaved/cell.hpp"
#include "bench/workloads.hpp"
#include "codec/zidl_arena.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <span>
#include <stdexcept>

namespace bench
{
namespace
{

// Of large workloads the first, far more than the nearer caches hold.
constexpr size_t message_limit = 16'384;

void *heap_alloc(size_t size, void *)
{
    return std::malloc(size);
}

void heap_free(void *ptr, void *)
{
    std::free(ptr);
}

// The messages of a workload one behind the other, as a receiver has them, and a decoded record of each. Both builds read
// the same.
class message_set
{
public:
    explicit message_set(const workload &source) : type_(*source.type), stride_((type_.size + 7) / 8)
    {
        data_.reserve(source.total_bytes());
        for (const bytes &message : source.messages) {
            encoded_.emplace_back(data_.data() + data_.size(), message.size());
            data_.insert(data_.end(), message.begin(), message.end());
            longest_ = std::max(longest_, message.size());
        }
        records_.resize(stride_ * count());
        for (size_t i = 0; i < count(); ++i) {
            const std::span<const uint8_t> message = encoded_[i];
            if (type_.decode(record(i), message.data(), message.size(), heap_alloc, nullptr, 0) != ZIDL_OK)
                throw std::runtime_error("a message cannot be decoded");
        }
    }

    message_set(const message_set &) = delete;
    message_set &operator=(const message_set &) = delete;

    ~message_set()
    {
        for (size_t i = 0; i < count(); ++i)
            type_.release(record(i), heap_free, nullptr, 0);
    }

    const zidl::message_descriptor &type() const { return type_; }
    size_t count() const { return encoded_.size(); }
    size_t longest() const { return longest_; }
    std::span<const uint8_t> encoded(size_t i) const { return encoded_[i]; }
    void *record(size_t i) { return records_.data() + i * stride_; }

private:
    const zidl::message_descriptor &type_;
    size_t stride_; // of the records, in words
    bytes data_;
    std::vector<std::span<const uint8_t>> encoded_;
    size_t longest_ = 0;
    std::vector<uint64_t> records_;
};

// Memory that an operation works in. Both builds work in the same.
struct work_space {
    explicit work_space(const message_set &set)
        : record(set.type().size / 8 + 1), buf(16 * set.longest() + 4096), block(bump_size / sizeof(uint64_t)),
          segments(16'384)
    {
        zidl_arena_init(&arena, block.data(), bump_size);
    }

    work_space(const work_space &) = delete;
    work_space &operator=(const work_space &) = delete;
    ~work_space() { zidl_arena_destroy(&arena); }

    std::vector<uint64_t> record;
    bytes buf;
    std::vector<uint64_t> block;
    std::vector<zidl_segment> segments;
    zidl_arena arena;
};

// One operation of a type, on one message.
using operation_function = void (*)(const codec_functions &codec, message_set &set, size_t i, work_space &space);

template <uint32_t Flags>
void decode_malloc(const codec_functions &codec, message_set &set, size_t i, work_space &space)
{
    const std::span<const uint8_t> message = set.encoded(i);
    codec.decode(space.record.data(), message.data(), message.size(), heap_alloc, nullptr, Flags);
    codec.release(space.record.data(), heap_free, nullptr, Flags);
}

template <uint32_t Flags>
void decode_bump(const codec_functions &codec, message_set &set, size_t i, work_space &space)
{
    const std::span<const uint8_t> message = set.encoded(i);
    codec.decode(space.record.data(), message.data(), message.size(), zidl_arena_alloc, &space.arena, Flags);
    zidl_arena_reset(&space.arena);
}

void measure(const codec_functions &codec, message_set &set, size_t i, work_space &)
{
    codec.encode(set.record(i), nullptr, 0, nullptr, nullptr, 0);
}

void encode(const codec_functions &codec, message_set &set, size_t i, work_space &space)
{
    codec.encode(set.record(i), space.buf.data(), space.buf.size(), nullptr, nullptr, 0);
}

void measure_and_encode(const codec_functions &codec, message_set &set, size_t i, work_space &space)
{
    const size_t len = codec.encode(set.record(i), nullptr, 0, nullptr, nullptr, 0);
    codec.encode(set.record(i), space.buf.data(), len, nullptr, nullptr, 0);
}

void encode_segments(const codec_functions &codec, message_set &set, size_t i, work_space &space)
{
    auto capacity = static_cast<uint32_t>(space.segments.size());
    codec.encode(set.record(i), space.buf.data(), space.buf.size(), space.segments.data(), &capacity, ZIDL_ZERO_COPY);
}

void duplicate_malloc(const codec_functions &codec, message_set &set, size_t i, work_space &space)
{
    codec.duplicate(space.record.data(), set.record(i), heap_alloc, nullptr);
    codec.release(space.record.data(), heap_free, nullptr, 0);
}

void duplicate_bump(const codec_functions &codec, message_set &set, size_t i, work_space &space)
{
    codec.duplicate(space.record.data(), set.record(i), zidl_arena_alloc, &space.arena);
    zidl_arena_reset(&space.arena);
}

// The operation on a range of messages. A template, so that the harness adds no indirect call to a message.
template <operation_function Operation>
range_function on_range(const codec_functions &codec, const std::shared_ptr<message_set> &set,
                        const std::shared_ptr<work_space> &space)
{
    return [codec, set, space](size_t first, size_t count) {
        for (size_t i = first; i < first + count; ++i)
            Operation(codec, *set, i, *space);
    };
}

bytes encoded(const codec_functions &codec, const void *record)
{
    bytes out(codec.encode(record, nullptr, 0, nullptr, nullptr, 0));
    codec.encode(record, out.data(), out.size(), nullptr, nullptr, 0);
    return out;
}

// A build that does something else is not faster.
void check_that_results_agree(const codec_functions &ours, const codec_functions &theirs, message_set &set)
{
    work_space space(set);
    for (size_t i = 0; i < std::min<size_t>(set.count(), 64); ++i) {
        const std::span<const uint8_t> message = set.encoded(i);
        bytes results[2];
        for (const codec_functions *codec : {&ours, &theirs}) {
            codec->decode(space.record.data(), message.data(), message.size(), heap_alloc, nullptr, 0);
            results[codec == &theirs] = encoded(*codec, space.record.data());
            codec->release(space.record.data(), heap_free, nullptr, 0);
        }
        if (results[0] != results[1])
            throw std::runtime_error(std::string("the builds encode a ") + set.type().name + " differently");
    }
}

// Made once for all operations on a workload, and given back when the last of them is done with.
std::shared_ptr<message_set> set_of(const std::string &name)
{
    static std::map<std::string, std::weak_ptr<message_set>> made;
    static std::shared_ptr<message_set> newest;
    std::shared_ptr<message_set> set = made[name].lock();
    if (set == nullptr)
        made[name] = newest = set = std::make_shared<message_set>(make_workload(name, message_limit));
    return set;
}

template <operation_function Operation>
cell make_cell(const std::string &operation, std::string_view workload_name)
{
    const std::string name(workload_name);
    return {operation + "/" + name, [name](const loaded_library &ours, const loaded_library &theirs) {
                const std::shared_ptr<message_set> set = set_of(name);
                const auto space = std::make_shared<work_space>(*set);
                const codec_functions our_codec(ours, set->type());
                const codec_functions their_codec(theirs, set->type());
                check_that_results_agree(our_codec, their_codec, *set);
                return prepared_cell{set->count(), on_range<Operation>(our_codec, set, space),
                                     on_range<Operation>(their_codec, set, space)};
            }};
}

} // namespace

std::vector<cell> codec_cells()
{
    std::vector<cell> cells;
    for (const std::string_view workload : workload_names()) {
        cells.push_back(make_cell<decode_malloc<0>>("decode_malloc", workload));
        cells.push_back(make_cell<decode_bump<0>>("decode_bump", workload));
        cells.push_back(make_cell<decode_malloc<ZIDL_ZERO_COPY>>("decode_malloc_zero_copy", workload));
        cells.push_back(make_cell<decode_bump<ZIDL_ZERO_COPY>>("decode_bump_zero_copy", workload));
        cells.push_back(make_cell<encode>("encode", workload));
        cells.push_back(make_cell<measure>("measure", workload));
        cells.push_back(make_cell<measure_and_encode>("measure_encode", workload));
        cells.push_back(make_cell<encode_segments>("encode_segments", workload));
        cells.push_back(make_cell<duplicate_malloc>("duplicate_malloc", workload));
        cells.push_back(make_cell<duplicate_bump>("duplicate_bump", workload));
    }
    return cells;
}

} // namespace bench
