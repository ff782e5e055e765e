// protobuf C++, with the code that protoc generates. Three ways of holding a decoded message: an object of ours whose
// parts are on the heap and released, objects on an arena that starts with a block of ours, and an object that is used
// again and again and keeps its parts.

#include "bench/bump.hpp"
#include "bench/jobs.hpp"
#include "bench/message_types.hpp"

#include "rib/ip_rib.pb.h"
#include "rib/ip_rib_srv6.pb.h"
#include "rib/rib_common.pb.h"
#include "rib/rib_encap.pb.h"

#include <google/protobuf/arena.h>

#include <optional>
#include <stdexcept>

namespace bench
{
namespace
{

template <class Record>
struct message_for;
#define MESSAGE(name)                                                                                                  \
    template <>                                                                                                        \
    struct message_for<zidl_##name> {                                                                                  \
        using type = zidl::proto::name;                                                                                \
    }
BENCH_MESSAGE_TYPES(MESSAGE);
#undef MESSAGE

template <class Message>
void parse(Message &message, byte_span encoded)
{
    if (!message.ParseFromArray(encoded.data(), static_cast<int>(encoded.size())))
        throw std::runtime_error("protobuf cannot decode a message");
}

template <class Message>
bytes encoded(const Message &message)
{
    bytes out(message.ByteSizeLong());
    message.SerializeWithCachedSizesToArray(out.data());
    return out;
}

template <class Message>
class heap_batch
{
public:
    explicit heap_batch(const message_table &table) : messages_(table.batch()) {}

    void decode(size_t i, byte_span encoding) { parse(messages_[i].emplace(), encoding); }

    void release(size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            messages_[i].reset();
    }

    bytes encoded(size_t i) { return bench::encoded(*messages_[i]); }

private:
    std::vector<std::optional<Message>> messages_;
};

// An arena with its first block, which it keeps across resets.
struct arena_with_block {
    explicit arena_with_block(std::span<uint8_t> block) : arena(options(block)) {}

    static google::protobuf::ArenaOptions options(std::span<uint8_t> block)
    {
        google::protobuf::ArenaOptions chosen;
        chosen.initial_block = reinterpret_cast<char *>(block.data());
        chosen.initial_block_size = block.size();
        return chosen;
    }

    void reset() { arena.Reset(); }

    google::protobuf::Arena arena;
};

template <class Message>
class arena_batch
{
public:
    explicit arena_batch(const message_table &table) : messages_(table.batch()), memory_(table) {}

    void decode(size_t i, byte_span encoding)
    {
        messages_[i] = google::protobuf::Arena::CreateMessage<Message>(&memory_[i].arena);
        parse(*messages_[i], encoding);
    }

    void release(size_t) { memory_.reset(); }
    bytes encoded(size_t i) { return bench::encoded(*messages_[i]); }

private:
    std::vector<Message *> messages_;
    batch_arenas<arena_with_block> memory_;
};

template <class Message>
class reused_batch
{
public:
    explicit reused_batch(const message_table &table) : messages_(table.batch()) {}

    void decode(size_t i, byte_span encoding) { parse(messages_[i], encoding); }
    void release(size_t) {}
    bytes encoded(size_t i) { return bench::encoded(messages_[i]); }

private:
    std::vector<Message> messages_;
};

template <class Message>
class parsed_table
{
public:
    explicit parsed_table(const message_table &table) : messages_(table.kept())
    {
        for (size_t i = 0; i < messages_.size(); ++i)
            parse(messages_[i], table.messages()[i]);
    }

    const Message &operator[](size_t i) const { return messages_[i]; }

private:
    std::vector<Message> messages_;
};

template <class Message>
job size(const message_table &table)
{
    return each_job(shared_for<parsed_table<Message>>(table),
                    [](const Message &message) { benchmark::DoNotOptimize(message.ByteSizeLong()); });
}

// SerializeToArray measures first, as every encoder of protobuf's does: the writer needs the cached sizes.
template <class Message>
job encode(const message_table &table)
{
    auto buf = std::make_shared<bytes>(table.room());
    const auto encode_one = [buf](const Message &message) {
        benchmark::DoNotOptimize(message.SerializeToArray(buf->data(), static_cast<int>(buf->size())));
    };
    return each_job(shared_for<parsed_table<Message>>(table), encode_one, [buf, encode_one](const Message &message) {
        encode_one(message);
        return bytes(buf->begin(), buf->begin() + message.GetCachedSize());
    });
}

template <class Message>
job encode_sized(const message_table &table)
{
    auto buf = std::make_shared<bytes>(table.longest());
    return each_job(
        shared_for<parsed_table<Message>>(table),
        [buf](const Message &message) {
            benchmark::DoNotOptimize(message.ByteSizeLong());
            benchmark::DoNotOptimize(message.SerializeWithCachedSizesToArray(buf->data()));
        },
        [](const Message &message) { return encoded(message); });
}

template <class Message>
job duplicate_heap(const message_table &table)
{
    return each_job(
        shared_for<parsed_table<Message>>(table),
        [](const Message &message) {
            const Message copy(message);
            benchmark::DoNotOptimize(&copy);
        },
        [](const Message &message) { return encoded(Message(message)); });
}

template <class Message>
job duplicate_arena(const message_table &table)
{
    auto memory = std::make_shared<batch_arenas<arena_with_block>>(table);
    const auto duplicate = [memory](const Message &message) {
        (*memory)[0].reset();
        auto *const copy = google::protobuf::Arena::CreateMessage<Message>(&(*memory)[0].arena);
        copy->CopyFrom(message);
        benchmark::DoNotOptimize(copy);
        return copy;
    };
    return each_job(shared_for<parsed_table<Message>>(table), duplicate,
                    [duplicate](const Message &message) { return encoded(*duplicate(message)); });
}

template <class Message>
job duplicate_reused(const message_table &table)
{
    auto copy = std::make_shared<Message>();
    const auto duplicate = [copy](const Message &message) {
        copy->CopyFrom(message);
        benchmark::DoNotOptimize(copy.get());
    };
    return each_job(shared_for<parsed_table<Message>>(table), duplicate, [copy, duplicate](const Message &message) {
        duplicate(message);
        return encoded(*copy);
    });
}

template <class Message>
std::vector<contender> contenders()
{
    return {
        {"protobuf", "heap", operation::decode, decode_job<heap_batch<Message>>},
        {"protobuf", "arena", operation::decode, decode_job<arena_batch<Message>>},
        {"protobuf", "reused", operation::decode, decode_job<reused_batch<Message>>},
        {"protobuf", "buffer", operation::size, size<Message>},
        {"protobuf", "buffer", operation::encode, encode<Message>},
        {"protobuf", "buffer", operation::encode_sized, encode_sized<Message>},
        {"protobuf", "heap", operation::duplicate, duplicate_heap<Message>},
        {"protobuf", "arena", operation::duplicate, duplicate_arena<Message>},
        {"protobuf", "reused", operation::duplicate, duplicate_reused<Message>},
    };
}

} // namespace

std::vector<contender> protobuf_contenders(std::string_view type)
{
    return visit_message_type(type, []<class Record>() { return contenders<typename message_for<Record>::type>(); });
}

bytes unpacked_by_protobuf(std::string_view type, byte_span encoding)
{
    return visit_message_type(type, [&]<class Record>() {
        typename message_for<Record>::type message;
        parse(message, encoding);
        return encoded(message);
    });
}

} // namespace bench
