// protobuf-c, which unpacks by tables. Its allocator is malloc, or a bump allocator behind ProtobufCAllocator.

#include "bench/bump.hpp"
#include "bench/contender.hpp"
#include "bench/message_types.hpp"

#include "proto/ip_rib.pb-c.h"
#include "proto/ip_rib_srv6.pb-c.h"
#include "proto/rib_common.pb-c.h"
#include "proto/rib_encap.pb-c.h"

#include <benchmark/benchmark.h>

#include <stdexcept>

namespace bench
{
namespace
{

using descriptor = const ProtobufCMessageDescriptor *;

void *bump_alloc(void *from, size_t size)
{
    return static_cast<bump *>(from)->take(size);
}

void bump_free(void *, void *) {}

// Null for `allocator` means malloc and free.
ProtobufCMessage *unpack(descriptor type, byte_span encoded, ProtobufCAllocator *allocator)
{
    ProtobufCMessage *const message = protobuf_c_message_unpack(type, allocator, encoded.size(), encoded.data());
    if (message == nullptr)
        throw std::runtime_error("protobuf-c cannot decode a message");
    return message;
}

bytes encoded(const ProtobufCMessage *message)
{
    bytes out(protobuf_c_message_get_packed_size(message));
    protobuf_c_message_pack(message, out.data());
    return out;
}

job decode_heap(descriptor type, const message_table &table)
{
    return {[type, &table] {
                for (const byte_span encoding : table.messages()) {
                    ProtobufCMessage *const message = unpack(type, encoding, nullptr);
                    benchmark::DoNotOptimize(message);
                    protobuf_c_message_free_unpacked(message, nullptr);
                }
            },
            [type, &table](size_t i) {
                ProtobufCMessage *const message = unpack(type, table.messages()[i], nullptr);
                bytes out = encoded(message);
                protobuf_c_message_free_unpacked(message, nullptr);
                return out;
            }};
}

job decode_bump(descriptor type, const message_table &table)
{
    auto memory = std::make_shared<bump>(bump_size);
    return {[type, &table, memory] {
                ProtobufCAllocator allocator{bump_alloc, bump_free, memory.get()};
                for (const byte_span encoding : table.messages()) {
                    benchmark::DoNotOptimize(unpack(type, encoding, &allocator));
                    memory->reset();
                }
            },
            [type, &table, memory](size_t i) {
                ProtobufCAllocator allocator{bump_alloc, bump_free, memory.get()};
                bytes out = encoded(unpack(type, table.messages()[i], &allocator));
                memory->reset();
                return out;
            }};
}

template <class Record>
constexpr descriptor descriptor_for = nullptr;
#define DESCRIPTOR(name)                                                                                               \
    template <>                                                                                                        \
    constexpr descriptor descriptor_for<zidl_##name> = &zidl__proto__##name##__descriptor
BENCH_MESSAGE_TYPES(DESCRIPTOR);
#undef DESCRIPTOR

descriptor find_descriptor(std::string_view type)
{
    return visit_message_type(type, []<class Record>() { return descriptor_for<Record>; });
}

class unpacked_table
{
public:
    explicit unpacked_table(const message_table &table)
    {
        const descriptor type = find_descriptor(table.type().name);
        for (const byte_span encoding : table.messages())
            messages_.push_back(unpack(type, encoding, nullptr));
    }

    unpacked_table(const unpacked_table &) = delete;
    unpacked_table &operator=(const unpacked_table &) = delete;

    ~unpacked_table()
    {
        for (ProtobufCMessage *const message : messages_)
            protobuf_c_message_free_unpacked(message, nullptr);
    }

    const std::vector<ProtobufCMessage *> &messages() const { return messages_; }

private:
    std::vector<ProtobufCMessage *> messages_;
};

job size(const message_table &table)
{
    return {[all = shared_for<unpacked_table>(table)] {
                for (const ProtobufCMessage *message : all->messages())
                    benchmark::DoNotOptimize(protobuf_c_message_get_packed_size(message));
            },
            {}};
}

job encode(const message_table &table)
{
    auto all = shared_for<unpacked_table>(table);
    auto buf = std::make_shared<bytes>(table.longest());
    return {[all, buf] {
                for (const ProtobufCMessage *message : all->messages())
                    benchmark::DoNotOptimize(protobuf_c_message_pack(message, buf->data()));
            },
            [all](size_t i) { return encoded(all->messages()[i]); }};
}

job encode_sized(const message_table &table)
{
    auto all = shared_for<unpacked_table>(table);
    auto buf = std::make_shared<bytes>(table.longest());
    return {[all, buf] {
                for (const ProtobufCMessage *message : all->messages()) {
                    benchmark::DoNotOptimize(protobuf_c_message_get_packed_size(message));
                    benchmark::DoNotOptimize(protobuf_c_message_pack(message, buf->data()));
                }
            },
            [all](size_t i) { return encoded(all->messages()[i]); }};
}

} // namespace

std::vector<contender> protobuf_c_contenders(std::string_view name)
{
    const descriptor type = find_descriptor(name);
    using std::placeholders::_1;
    return {
        {"protobuf-c", "heap", operation::decode, std::bind(decode_heap, type, _1)},
        {"protobuf-c", "bump", operation::decode, std::bind(decode_bump, type, _1)},
        {"protobuf-c", "buffer", operation::size, size},
        {"protobuf-c", "buffer", operation::encode, encode},
        {"protobuf-c", "buffer", operation::encode_sized, encode_sized},
    };
}

} // namespace bench
