// protobuf-c, which unpacks by tables. Its allocator is malloc, or a bump allocator behind ProtobufCAllocator.

#include "bench/bump.hpp"
#include "bench/jobs.hpp"
#include "bench/message_types.hpp"

#include "rib/ip_rib.pb-c.h"
#include "rib/ip_rib_srv6.pb-c.h"
#include "rib/rib_common.pb-c.h"
#include "rib/rib_encap.pb-c.h"

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

class heap_batch
{
public:
    explicit heap_batch(const message_table &table)
        : type_(find_descriptor(table.type().name)), messages_(table.batch())
    {
    }

    void decode(size_t i, byte_span encoding) { messages_[i] = unpack(type_, encoding, nullptr); }

    void release(size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            protobuf_c_message_free_unpacked(messages_[i], nullptr);
    }

    bytes encoded(size_t i) { return bench::encoded(messages_[i]); }

private:
    descriptor type_;
    std::vector<ProtobufCMessage *> messages_;
};

class bump_batch
{
public:
    explicit bump_batch(const message_table &table)
        : type_(find_descriptor(table.type().name)), messages_(table.batch()), memory_(table)
    {
    }

    void decode(size_t i, byte_span encoding)
    {
        ProtobufCAllocator allocator{bump_alloc, bump_free, &memory_[i]};
        messages_[i] = unpack(type_, encoding, &allocator);
    }

    void release(size_t) { memory_.reset(); }
    bytes encoded(size_t i) { return bench::encoded(messages_[i]); }

private:
    descriptor type_;
    std::vector<ProtobufCMessage *> messages_;
    batch_arenas<bump> memory_;
};

class unpacked_table
{
public:
    explicit unpacked_table(const message_table &table)
    {
        const descriptor type = find_descriptor(table.type().name);
        for (const byte_span encoding : table.messages().first(table.kept()))
            messages_.push_back(unpack(type, encoding, nullptr));
    }

    unpacked_table(const unpacked_table &) = delete;
    unpacked_table &operator=(const unpacked_table &) = delete;

    ~unpacked_table()
    {
        for (ProtobufCMessage *const message : messages_)
            protobuf_c_message_free_unpacked(message, nullptr);
    }

    const ProtobufCMessage *operator[](size_t i) const { return messages_[i]; }

private:
    std::vector<ProtobufCMessage *> messages_;
};

job size(const message_table &table)
{
    return each_job(shared_for<unpacked_table>(table), [](const ProtobufCMessage *message) {
        benchmark::DoNotOptimize(protobuf_c_message_get_packed_size(message));
    });
}

job encode(const message_table &table)
{
    auto buf = std::make_shared<bytes>(table.room());
    return each_job(
        shared_for<unpacked_table>(table),
        [buf](const ProtobufCMessage *message) {
            benchmark::DoNotOptimize(protobuf_c_message_pack(message, buf->data()));
        },
        encoded);
}

job encode_sized(const message_table &table)
{
    auto buf = std::make_shared<bytes>(table.longest());
    return each_job(
        shared_for<unpacked_table>(table),
        [buf](const ProtobufCMessage *message) {
            benchmark::DoNotOptimize(protobuf_c_message_get_packed_size(message));
            benchmark::DoNotOptimize(protobuf_c_message_pack(message, buf->data()));
        },
        encoded);
}

} // namespace

std::vector<contender> protobuf_c_contenders(std::string_view)
{
    return {
        {"protobuf-c", "heap", operation::decode, decode_job<heap_batch>},
        {"protobuf-c", "bump", operation::decode, decode_job<bump_batch>},
        {"protobuf-c", "buffer", operation::size, size},
        {"protobuf-c", "buffer", operation::encode, encode},
        {"protobuf-c", "buffer", operation::encode_sized, encode_sized},
    };
}

} // namespace bench
