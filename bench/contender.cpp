#include "bench/contender.hpp"

#include <algorithm>
#include <cstdlib>

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

} // namespace

message_table::message_table(const workload &source) : name_(source.name), type_(source.type)
{
    constexpr size_t cold_batch = 2048, cold_kept = 16'384;
    constexpr size_t warm_batch = 16, warm_kept = 4096, warm_sample = 512;
    const bool is_cold = name_ == cold_workload;
    const size_t total = source.messages.size();
    batch_ = std::min(total, is_cold ? cold_batch : warm_batch);
    kept_ = std::min(total, is_cold ? cold_kept : warm_kept);
    sample_ = std::min(total, is_cold ? cold_batch : warm_sample);
    data_.reserve(source.total_bytes());
    for (const bytes &message : source.messages) {
        const uint8_t *const start = data_.data() + data_.size();
        data_.insert(data_.end(), message.begin(), message.end());
        messages_.emplace_back(start, message.size());
        longest_ = std::max(longest_, message.size());
    }
}

const char *to_string(operation op)
{
    switch (op) {
    case operation::decode:
        return "decode";
    case operation::size:
        return "size";
    case operation::encode:
        return "encode";
    case operation::encode_sized:
        return "encode_sized";
    case operation::duplicate:
        return "duplicate";
    }
    return "";
}

std::vector<contender> all_contenders(std::string_view type)
{
    std::vector<contender> all;
    for (const auto &list :
         {librib_contenders, protobuf_contenders, protobuf_c_contenders, nanopb_contenders, protozero_contenders}) {
        for (contender &one : list(type))
            all.push_back(std::move(one));
    }
    return all;
}

bytes canonical(const zidl::message_descriptor &type, byte_span encoded)
{
    std::vector<uint64_t> record(type.size / 8 + 1);
    bytes again;
    if (type.decode(record.data(), encoded.data(), encoded.size(), heap_alloc, nullptr, 0) == ZIDL_OK) {
        again.resize(type.encode(record.data(), nullptr, 0, nullptr, nullptr, 0));
        type.encode(record.data(), again.data(), again.size(), nullptr, nullptr, 0);
    }
    type.release(record.data(), heap_free, nullptr, 0);
    return again;
}

} // namespace bench
