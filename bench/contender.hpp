// What the benchmarks compare: libraries, each with its ways of doing an operation on a table of messages.

#pragma once

#include "bench/workloads.hpp"

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bench
{

using byte_span = std::span<const uint8_t>;

// The messages of a workload one behind the other in memory, as a receiver has them, and how they are worked on.
class message_table
{
public:
    explicit message_table(const workload &source);
    message_table(const message_table &) = delete;
    message_table &operator=(const message_table &) = delete;

    const std::string &name() const { return name_; }
    const zidl::message_descriptor &type() const { return *type_; }
    std::span<const byte_span> messages() const { return messages_; }
    size_t total_bytes() const { return data_.size(); }
    size_t longest() const { return longest_; }

    // Messages that are decoded into as many records, then released: some while the first is still in the nearest cache,
    // or, for a cold table, so many that none is when its turn comes again.
    size_t batch() const { return batch_; }
    // The first messages, which are kept decoded for the operations that begin with a record.
    size_t kept() const { return kept_; }
    // What is timed at once.
    size_t sample() const { return sample_; }

    // What an encoder gets: six times the longest message.
    size_t room() const { return 6 * longest_; }

private:
    std::string name_;
    const zidl::message_descriptor *type_;
    bytes data_;
    std::vector<byte_span> messages_;
    size_t longest_ = 0;
    size_t batch_;
    size_t kept_;
    size_t sample_;
};

// The workload whose records are in no near cache: otherwise the same as `mixed`.
constexpr std::string_view cold_workload = "cold";

enum class operation { decode, size, encode, encode_sized, duplicate };

const char *to_string(operation op);

// An operation made ready for a table.
struct job {
    std::function<void(size_t first, size_t end)> run; // on some of the messages, timed
    std::function<bytes(size_t)> result; // on one message, as encoded bytes; empty where the result is a mere number
};

// `memory` says what holds the outcome, since comparing unlike ownership misleads:
//   heap    blocks of their own from malloc, given back after each batch
//   arena   memory of the library's own kind that starts with a block of the caller's and is reset after each batch
//   bump    a bump allocator behind the library's allocation functions, reset after each batch
//   reused  objects that are never given back and keep their blocks for the next message
//   buffer  a buffer of the caller's that is large enough
//   string  a std::string that keeps its capacity
struct contender {
    std::string library;
    std::string memory;
    operation op;
    std::function<job(const message_table &)> prepare;
};

// The contenders of each library for messages of one type.
std::vector<contender> librib_contenders(std::string_view type);
std::vector<contender> protobuf_contenders(std::string_view type);
std::vector<contender> protobuf_c_contenders(std::string_view type);
std::vector<contender> nanopb_contenders(std::string_view type);
std::vector<contender> protozero_contenders(std::string_view type);

std::vector<contender> all_contenders(std::string_view type);

// Another build of librib that takes part under a name of its own. To be called before contenders are asked for.
void add_librib(const std::string &name, const std::string &path);

// The same message as librib encodes it; empty when it cannot be decoded. Others may write fields in another order.
bytes canonical(const zidl::message_descriptor &type, byte_span encoded);

// The same message with its arrays of integers unpacked, as librib and the others write them: nanopb packs them.
bytes unpacked_by_protobuf(std::string_view type, byte_span encoded);

} // namespace bench
