// protozero reading into and writing from our own records. protozero is a reader and a writer, not a codec: the code
// that a user writes around it, one function a message, comes from make_protozero and stands in
// protozero_messages.hpp. Arrays grow by doubling, which is faster here than a counting pass before the first element.
// The build raises the inliner's threshold for this file: the reader is then kept in registers.

#include "bench/bump.hpp"
#include "bench/contender.hpp"
#include "bench/message_types.hpp"

#include <benchmark/benchmark.h>
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

template <class Memory>
void set_bytes(uint8_t *&data, uint64_t &size, Memory &mem, data_view view)
{
    data = static_cast<uint8_t *>(mem.take(view.size()));
    size = view.size();
    std::memcpy(data, view.data(), view.size());
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
bytes encoded(const Record &record)
{
    bytes out(record_operations<Record>::encode(&record, nullptr, 0, nullptr, nullptr, 0));
    record_operations<Record>::encode(&record, out.data(), out.size(), nullptr, nullptr, 0);
    return out;
}

template <class Record>
job decode_heap(const message_table &table)
{
    auto record = std::make_shared<Record>();
    return {[&table, record] {
                for (const byte_span message : table.messages()) {
                    heap_memory mem;
                    std::memset(record.get(), 0, sizeof(Record));
                    read(reader(message), *record, mem);
                    benchmark::DoNotOptimize(record.get());
                    release(*record);
                }
            },
            [&table, record](size_t i) {
                heap_memory mem;
                std::memset(record.get(), 0, sizeof(Record));
                read(reader(table.messages()[i]), *record, mem);
                bytes out = encoded(*record);
                release(*record);
                return out;
            }};
}

template <class Record>
job decode_bump(const message_table &table)
{
    auto record = std::make_shared<Record>();
    auto memory = std::make_shared<bump>(bump_size);
    return {[&table, record, memory] {
                bump_memory mem{*memory};
                for (const byte_span message : table.messages()) {
                    std::memset(record.get(), 0, sizeof(Record));
                    read(reader(message), *record, mem);
                    benchmark::DoNotOptimize(record.get());
                    memory->reset();
                }
            },
            [&table, record, memory](size_t i) {
                bump_memory mem{*memory};
                std::memset(record.get(), 0, sizeof(Record));
                read(reader(table.messages()[i]), *record, mem);
                bytes out = encoded(*record);
                memory->reset();
                return out;
            }};
}

template <class Record>
class decoded_table
{
public:
    explicit decoded_table(const message_table &table) : records_(table.messages().size())
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

    const std::vector<Record> &records() const { return records_; }

private:
    std::vector<Record> records_;
};

template <class Record>
job encode_string(const message_table &table)
{
    auto decoded = shared_for<decoded_table<Record>>(table);
    auto buf = std::make_shared<std::string>();
    return {[decoded, buf] {
                for (const Record &record : decoded->records()) {
                    buf->clear();
                    protozero::pbf_writer out{*buf};
                    write(out, record);
                    benchmark::DoNotOptimize(buf->data());
                }
            },
            [decoded, buf](size_t i) {
                buf->clear();
                protozero::pbf_writer out{*buf};
                write(out, decoded->records()[i]);
                return bytes(buf->begin(), buf->end());
            }};
}

using fixed_writer = protozero::basic_pbf_writer<protozero::fixed_size_buffer_adaptor>;

// The room is larger than any message: an open submessage takes five bytes for its length.
template <class Record>
job encode_buffer(const message_table &table)
{
    auto decoded = shared_for<decoded_table<Record>>(table);
    auto room = std::make_shared<std::vector<char>>(16 * table.longest() + 4096);
    return {[decoded, room] {
                for (const Record &record : decoded->records()) {
                    protozero::fixed_size_buffer_adaptor buf{room->data(), room->size()};
                    fixed_writer out{buf};
                    write(out, record);
                    benchmark::DoNotOptimize(buf.data());
                }
            },
            [decoded, room](size_t i) {
                protozero::fixed_size_buffer_adaptor buf{room->data(), room->size()};
                fixed_writer out{buf};
                write(out, decoded->records()[i]);
                return bytes(buf.begin(), buf.end());
            }};
}

template <class Record>
std::vector<contender> contenders()
{
    return {
        {"protozero", "heap", operation::decode, decode_heap<Record>},
        {"protozero", "bump", operation::decode, decode_bump<Record>},
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
