// protozero reading into and writing from our own records. protozero is a reader and a writer, not a codec: the code
// that a user writes around it, one function a message, comes from make_protozero and stands in
// protozero_messages.hpp. Arrays grow by doubling, which is faster here than a counting pass before the first element.
// The build raises the inliner's threshold for this file: the reader is then kept in registers.

#include "bench/bump.hpp"
#include "bench/jobs.hpp"
#include "bench/message_types.hpp"

#include <protozero/buffer_fixed.hpp>
#include <protozero/pbf_reader.hpp>
#include <protozero/pbf_writer.hpp>

#include <cstdlib>
#include <cstring>

namespace bench
{
namespace
{

using protozero::data_view;
using protozero::pbf_reader;
using protozero::pbf_wire_type;
using protozero::tag_and_type;

struct heap_memory {
    void *take(size_t size) { return std::malloc(size); }
    void give_back(void *block) { std::free(block); }

    char *string(data_view view)
    {
        char *const text = static_cast<char *>(take(view.size() + 1));
        std::memcpy(text, view.data(), view.size());
        text[view.size()] = '\0';
        return text;
    }
};

struct bump_memory {
    bump &from;

    void *take(size_t size) { return from.take(size); }
    void give_back(void *) {}

    char *string(data_view view)
    {
        char *const text = static_cast<char *>(take(view.size() + 1));
        std::memcpy(text, view.data(), view.size());
        text[view.size()] = '\0';
        return text;
    }
};

// Bytes stay in the input; strings need their NUL.
struct borrowing_memory : bump_memory {
    uint8_t *bytes(data_view view) { return reinterpret_cast<uint8_t *>(const_cast<char *>(view.data())); }
};

template <class Memory>
void set_bytes(uint8_t *&data, uint64_t &size, Memory &mem, data_view view)
{
    size = view.size();
    if constexpr (requires { mem.bytes(view); }) {
        data = mem.bytes(view);
    } else {
        data = static_cast<uint8_t *>(mem.take(view.size()));
        std::memcpy(data, view.data(), view.size());
    }
}

// One more element; arrays double when their count reaches a power of two.
template <class Memory, class Element, class ReadOne>
void read_element(pbf_reader &in, Memory &mem, Element *&array, uint32_t &count, ReadOne read_one)
{
    if ((count & (count - 1)) == 0) {
        auto *const larger = static_cast<Element *>(mem.take((count == 0 ? 1 : size_t{2} * count) * sizeof(Element)));
        if (count != 0) {
            std::memcpy(larger, array, count * sizeof(Element));
            mem.give_back(array);
        }
        array = larger;
    }
    if constexpr (std::is_class_v<Element>)
        std::memset(array + count, 0, sizeof(Element));
    read_one(in, array[count++], mem);
}

template <class Memory>
void read_block(pbf_reader &in, Memory &mem, zidl_bytes *&array, uint32_t &count)
{
    read_element(in, mem, array, count, [](pbf_reader &at, zidl_bytes &block, Memory &from) {
        set_bytes(block.data, block.size, from, at.get_view());
    });
}

template <class Writer, class Record>
void write_message(Writer &out, protozero::pbf_tag_type number, const Record &msg);

#include "protozero_messages.hpp"

// A submessage into which nothing is written disappears, so an empty one is written as such.
template <class Writer, class Record>
void write_message(Writer &out, protozero::pbf_tag_type number, const Record &msg)
{
    if (msg.presence == 0)
        return out.add_message(number, data_view{});
    Writer inner{out, number};
    write(inner, msg);
}

pbf_reader reader(byte_span message)
{
    return {reinterpret_cast<const char *>(message.data()), message.size()};
}

template <class Record>
class heap_batch
{
public:
    explicit heap_batch(const message_table &table) : records_(table.batch()) {}

    void decode(size_t i, byte_span message)
    {
        heap_memory mem;
        std::memset(&records_[i], 0, sizeof(Record));
        read(reader(message), records_[i], mem);
    }

    void release(size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            bench::release(records_[i]);
    }

    bytes encoded(size_t i) { return linked_operations<Record>.encoded(records_[i]); }

private:
    std::vector<Record> records_;
};

template <class Record, class Memory>
class bump_batch
{
public:
    explicit bump_batch(const message_table &table) : records_(table.batch()), memory_(table) {}

    void decode(size_t i, byte_span message)
    {
        Memory mem{memory_[i]};
        std::memset(&records_[i], 0, sizeof(Record));
        read(reader(message), records_[i], mem);
    }

    void release(size_t) { memory_.reset(); }
    bytes encoded(size_t i) { return linked_operations<Record>.encoded(records_[i]); }

private:
    std::vector<Record> records_;
    batch_arenas<bump> memory_;
};

template <class Record>
class decoded_table
{
public:
    explicit decoded_table(const message_table &table) : records_(table.kept())
    {
        heap_memory mem;
        for (size_t i = 0; i < records_.size(); ++i)
            read(reader(table.messages()[i]), records_[i], mem);
    }

    decoded_table(const decoded_table &) = delete;
    decoded_table &operator=(const decoded_table &) = delete;

    ~decoded_table()
    {
        for (Record &record : records_)
            release(record);
    }

    const Record &operator[](size_t i) const { return records_[i]; }

private:
    std::vector<Record> records_;
};

template <class Record>
job encode_string(const message_table &table)
{
    auto buf = std::make_shared<std::string>();
    const auto encode_one = [buf](const Record &record) {
        buf->clear();
        protozero::pbf_writer out{*buf};
        write(out, record);
        benchmark::DoNotOptimize(buf->data());
    };
    return each_job(shared_for<decoded_table<Record>>(table), encode_one, [buf, encode_one](const Record &record) {
        encode_one(record);
        return bytes(buf->begin(), buf->end());
    });
}

using fixed_writer = protozero::basic_pbf_writer<protozero::fixed_size_buffer_adaptor>;

// The room is larger than any message: an open submessage takes five bytes for its length.
template <class Record>
job encode_buffer(const message_table &table)
{
    auto room = std::make_shared<std::vector<char>>(table.room());
    const auto encode_one = [room](const Record &record) {
        protozero::fixed_size_buffer_adaptor buf{room->data(), room->size()};
        fixed_writer out{buf};
        write(out, record);
        benchmark::DoNotOptimize(buf.data());
        return buf.size();
    };
    return each_job(shared_for<decoded_table<Record>>(table), encode_one, [room, encode_one](const Record &record) {
        return bytes(room->data(), room->data() + encode_one(record));
    });
}

template <class Record>
std::vector<contender> contenders()
{
    return {
        {"protozero", "heap", operation::decode, decode_job<heap_batch<Record>>},
        {"protozero", "bump", operation::decode, decode_job<bump_batch<Record, bump_memory>>},
        {"protozero", "bump_zero_copy", operation::decode, decode_job<bump_batch<Record, borrowing_memory>>},
        {"protozero", "string", operation::encode, encode_string<Record>},
        {"protozero", "buffer", operation::encode, encode_buffer<Record>},
    };
}

} // namespace

std::vector<contender> protozero_contenders(std::string_view type)
{
    return visit_message_type(type, []<class Record>() { return contenders<Record>(); });
}

} // namespace bench
