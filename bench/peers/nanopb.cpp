// nanopb in pointer mode: scalars and nested messages lie in the struct, strings, bytes and arrays are pointers to
// blocks from realloc. It writes arrays of integers packed, which is shorter and less work; it reads both forms.

#include "bench/jobs.hpp"
#include "bench/message_types.hpp"

#include "rib/ip_rib.nanopb.h"
#include "rib/ip_rib_srv6.nanopb.h"
#include "rib/rib_common.nanopb.h"
#include "rib/rib_encap.nanopb.h"

#include <pb_decode.h>
#include <pb_encode.h>

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
        using type = zidl_proto_##name;                                                                                \
    }
BENCH_MESSAGE_TYPES(MESSAGE);
#undef MESSAGE

// The struct is cleared by the decoder itself.
template <class Message>
void unpack(Message &message, byte_span encoded)
{
    pb_istream_t in = pb_istream_from_buffer(encoded.data(), encoded.size());
    if (!pb_decode(&in, nanopb::MessageDescriptor<Message>::fields(), &message))
        throw std::runtime_error("nanopb cannot decode a message");
}

template <class Message>
void release(Message &message)
{
    pb_release(nanopb::MessageDescriptor<Message>::fields(), &message);
}

template <class Message>
size_t packed_size(const Message &message)
{
    size_t len = 0;
    if (!pb_get_encoded_size(&len, nanopb::MessageDescriptor<Message>::fields(), &message))
        throw std::runtime_error("nanopb cannot measure a message");
    return len;
}

template <class Message>
size_t pack(const Message &message, bytes &buf)
{
    pb_ostream_t out = pb_ostream_from_buffer(buf.data(), buf.size());
    if (!pb_encode(&out, nanopb::MessageDescriptor<Message>::fields(), &message))
        throw std::runtime_error("nanopb cannot encode a message");
    return out.bytes_written;
}

template <class Message>
bytes encoded(const message_table &table, const Message &message)
{
    bytes out(packed_size(message));
    pack(message, out);
    return unpacked_by_protobuf(table.type().name, out);
}

template <class Message>
class heap_batch
{
public:
    explicit heap_batch(const message_table &table) : table_(table), messages_(table.batch()) {}

    void decode(size_t i, byte_span encoding) { unpack(messages_[i], encoding); }

    void release(size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            bench::release(messages_[i]);
    }

    bytes encoded(size_t i) { return bench::encoded(table_, messages_[i]); }

private:
    const message_table &table_;
    std::vector<Message> messages_;
};

template <class Message>
class unpacked_table
{
public:
    explicit unpacked_table(const message_table &table) : messages_(table.kept())
    {
        for (size_t i = 0; i < messages_.size(); ++i)
            unpack(messages_[i], table.messages()[i]);
    }

    unpacked_table(const unpacked_table &) = delete;
    unpacked_table &operator=(const unpacked_table &) = delete;

    ~unpacked_table()
    {
        for (Message &message : messages_)
            release(message);
    }

    const Message &operator[](size_t i) const { return messages_[i]; }

private:
    std::vector<Message> messages_;
};

template <class Message>
job size(const message_table &table)
{
    return each_job(shared_for<unpacked_table<Message>>(table),
                    [](const Message &message) { benchmark::DoNotOptimize(packed_size(message)); });
}

template <class Message>
job encode(const message_table &table)
{
    auto buf = std::make_shared<bytes>(table.room());
    return each_job(
        shared_for<unpacked_table<Message>>(table),
        [buf](const Message &message) { benchmark::DoNotOptimize(pack(message, *buf)); },
        [&table](const Message &message) { return encoded(table, message); });
}

template <class Message>
job encode_sized(const message_table &table)
{
    auto buf = std::make_shared<bytes>(table.longest());
    return each_job(
        shared_for<unpacked_table<Message>>(table),
        [buf](const Message &message) {
            pb_ostream_t out = pb_ostream_from_buffer(buf->data(), packed_size(message));
            if (!pb_encode(&out, nanopb::MessageDescriptor<Message>::fields(), &message))
                throw std::runtime_error("nanopb cannot encode a message");
            benchmark::DoNotOptimize(out.bytes_written);
        },
        [&table](const Message &message) { return encoded(table, message); });
}

template <class Message>
std::vector<contender> contenders()
{
    return {
        {"nanopb", "heap", operation::decode, decode_job<heap_batch<Message>>},
        {"nanopb", "buffer", operation::size, size<Message>},
        {"nanopb", "buffer", operation::encode, encode<Message>},
        {"nanopb", "buffer", operation::encode_sized, encode_sized<Message>},
    };
}

} // namespace

std::vector<contender> nanopb_contenders(std::string_view type)
{
    return visit_message_type(type, []<class Record>() { return contenders<typename message_for<Record>::type>(); });
}

} // namespace bench
