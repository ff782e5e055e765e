// protobuf C++, with the code that protoc generates. Three ways of holding a decoded message: an object on the stack
// whose parts are on the heap, objects on an arena that starts with a block of ours, one object reused for every
// message.

#include "bench/bump.hpp"
#include "bench/contender.hpp"
#include "bench/message_types.hpp"

#include "proto/ip_rib.pb.h"
#include "proto/ip_rib_srv6.pb.h"
#include "proto/rib_common.pb.h"
#include "proto/rib_encap.pb.h"

#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>

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
job decode_heap(const message_table &table)
{
    return {[&table] {
                for (const byte_span encoding : table.messages()) {
                    Message message;
                    parse(message, encoding);
                    benchmark::DoNotOptimize(&message);
                }
            },
            [&table](size_t i) {
                Message message;
                parse(message, table.messages()[i]);
                return encoded(message);
            }};
}

// An arena with its first block, which it keeps across resets.
struct arena_with_block {
    arena_with_block() : block(bump_size), arena(options(block)) {}

    static google::protobuf::ArenaOptions options(std::vector<char> &block)
    {
        google::protobuf::ArenaOptions chosen;
        chosen.initial_block = block.data();
        chosen.initial_block_size = block.size();
        return chosen;
    }

    std::vector<char> block;
    google::protobuf::Arena arena;
};

template <class Message>
job decode_arena(const message_table &table)
{
    auto memory = std::make_shared<arena_with_block>();
    return {[&table, memory] {
                for (const byte_span encoding : table.messages()) {
                    auto *const message = google::protobuf::Arena::CreateMessage<Message>(&memory->arena);
                    parse(*message, encoding);
                    benchmark::DoNotOptimize(message);
                    memory->arena.Reset();
                }
            },
            [&table, memory](size_t i) {
                auto *const message = google::protobuf::Arena::CreateMessage<Message>(&memory->arena);
                parse(*message, table.messages()[i]);
                bytes out = encoded(*message);
                memory->arena.Reset();
                return out;
            }};
}

template <class Message>
job decode_reused(const message_table &table)
{
    auto message = std::make_shared<Message>();
    return {[&table, message] {
                for (const byte_span encoding : table.messages()) {
                    parse(*message, encoding);
                    benchmark::DoNotOptimize(message.get());
                }
            },
            [&table, message](size_t i) {
                parse(*message, table.messages()[i]);
                return encoded(*message);
            }};
}

template <class Message>
struct parsed_table {
    explicit parsed_table(const message_table &table) : messages(table.messages().size())
    {
        for (size_t i = 0; i < messages.size(); ++i)
            parse(messages[i], table.messages()[i]);
    }

    std::vector<Message> messages;
};

template <class Message>
job size(const message_table &table)
{
    return {[all = shared_for<parsed_table<Message>>(table)] {
                for (const Message &message : all->messages)
                    benchmark::DoNotOptimize(message.ByteSizeLong());
            },
            {}};
}

// SerializeToArray measures first, as every encoder of protobuf's does: the writer needs the cached sizes.
template <class Message>
job encode(const message_table &table)
{
    auto all = shared_for<parsed_table<Message>>(table);
    auto buf = std::make_shared<bytes>(table.longest());
    return {[all, buf] {
                for (const Message &message : all->messages)
                    benchmark::DoNotOptimize(message.SerializeToArray(buf->data(), static_cast<int>(buf->size())));
            },
            [all, buf](size_t i) {
                all->messages[i].SerializeToArray(buf->data(), static_cast<int>(buf->size()));
                return bytes(buf->begin(), buf->begin() + all->messages[i].GetCachedSize());
            }};
}

template <class Message>
job encode_sized(const message_table &table)
{
    auto all = shared_for<parsed_table<Message>>(table);
    auto buf = std::make_shared<bytes>(table.longest());
    return {[all, buf] {
                for (const Message &message : all->messages) {
                    benchmark::DoNotOptimize(message.ByteSizeLong());
                    message.SerializeWithCachedSizesToArray(buf->data());
                    benchmark::DoNotOptimize(buf->data());
                }
            },
            [all](size_t i) { return encoded(all->messages[i]); }};
}

template <class Message>
job duplicate(const message_table &table)
{
    auto all = shared_for<parsed_table<Message>>(table);
    return {[all] {
                for (const Message &message : all->messages) {
                    const Message copy(message);
                    benchmark::DoNotOptimize(&copy);
                }
            },
            [all](size_t i) { return encoded(Message(all->messages[i])); }};
}

template <class Message>
std::vector<contender> contenders()
{
    return {
        {"protobuf", "heap", operation::decode, decode_heap<Message>},
        {"protobuf", "arena", operation::decode, decode_arena<Message>},
        {"protobuf", "reused", operation::decode, decode_reused<Message>},
        {"protobuf", "buffer", operation::size, size<Message>},
        {"protobuf", "buffer", operation::encode, encode<Message>},
        {"protobuf", "buffer", operation::encode_sized, encode_sized<Message>},
        {"protobuf", "heap", operation::duplicate, duplicate<Message>},
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
