// Threads that encode, decode, duplicate and release messages of every type at once: with records and inputs of their own,
// and with const ones that they all share. Built once more with the thread sanitizer, which also sees a race that ends well.

#include "messages/descriptors.hpp"
#include "tests/messages/sample_records.hpp"
#include "tests/reference/codec_reference.hpp"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace
{

using byte_string = std::vector<uint8_t>;

constexpr size_t THREADS = 4;
constexpr size_t ROUNDS = 8;
constexpr uint32_t FLAGS[] = {0, ZIDL_ZERO_COPY};
constexpr uint32_t MOST_SEGMENTS = 64;

// A record of every type and its encoding. Nothing here is made by the codec: whatever it might set up on its first call
// is left to the threads.
class samples
{
public:
    samples()
    {
        for (size_t i = 0; i < zidl::message_count; i++) {
            const zidl::message_descriptor &type = *zidl::all_messages[i];
            void *msg = memory_.allocate(type.size);
            fill_sample(type, msg, sample::dense, memory_);
            uint32_t segment_count = 0;
            byte_string encoding = encoding_of(type, msg, nullptr, 0);
            byte_string without_bytes = encoding_of(type, msg, &segment_count, ZIDL_ZERO_COPY);
            all_.push_back({type, msg, std::move(encoding), std::move(without_bytes), segment_count});
        }
    }

    struct one {
        const zidl::message_descriptor &type;
        const void *msg;
        byte_string encoding;
        byte_string without_bytes; // that of a zero-copy encoder, with so many segments
        uint32_t segment_count;
    };

    const std::vector<one> &all() const { return all_; }

private:
    static byte_string encoding_of(const zidl::message_descriptor &type, const void *msg, uint32_t *nsegs,
                                   uint32_t flags)
    {
        byte_string encoding(codec_reference::encode(type, msg, nullptr, 0, nullptr, nsegs, flags));
        codec_reference::encode(type, msg, encoding.data(), encoding.size(), nullptr, nullptr, flags);
        return encoding;
    }

    test_arena memory_;
    std::vector<one> all_;
};

// One thread's own part: what it decodes into and what it encodes into.
class worker
{
public:
    // Every operation on every type, beginning with the one of the number given.
    void use_all(const samples &given, size_t first)
    {
        const size_t count = given.all().size();
        for (size_t i = 0; i < count; i++)
            use(given.all()[(first + i) % count]);
    }

    int wrong = 0;        // results that are not the sample's
    int64_t blocks = 0;   // allocated and not released
    uint64_t decoded = 0; // messages

private:
    static void *allocate(size_t size, void *self)
    {
        static_cast<worker *>(self)->blocks++;
        return std::malloc(size);
    }

    static void give_back(void *block, void *self)
    {
        static_cast<worker *>(self)->blocks--;
        std::free(block);
    }

    void expect(bool right) { wrong += right ? 0 : 1; }

    void use(const samples::one &given)
    {
        const zidl::message_descriptor &type = given.type;
        encode(type, given.msg, given.encoding);
        encode_segments(given);
        for (const uint32_t flags : FLAGS) {
            void *msg = record(type);
            expect(type.decode(msg, given.encoding.data(), given.encoding.size(), allocate, this, flags) == ZIDL_OK);
            encode(type, msg, given.encoding);
            type.release(msg, give_back, this, flags);
            decoded++;
        }
        void *copy = record(type);
        expect(type.duplicate(copy, given.msg, allocate, this) == ZIDL_OK);
        encode(type, copy, given.encoding);
        type.release(copy, give_back, this, 0);
    }

    // Measured, into a buffer that fits, and into one with much room.
    void encode(const zidl::message_descriptor &type, const void *msg, const byte_string &expected)
    {
        constexpr size_t MUCH_ROOM = 16384;
        expect(type.encode(msg, nullptr, 0, nullptr, nullptr, 0) == expected.size());
        for (const size_t len : {expected.size(), expected.size() + MUCH_ROOM}) {
            output_.assign(len, 0);
            expect(type.encode(msg, output_.data(), len, nullptr, nullptr, 0) == expected.size());
            output_.resize(expected.size());
            expect(output_ == expected);
        }
    }

    void encode_segments(const samples::one &given)
    {
        zidl_segment segments[MOST_SEGMENTS];
        uint32_t count = MOST_SEGMENTS;
        output_.assign(given.without_bytes.size(), 0);
        expect(given.type.encode(given.msg, output_.data(), output_.size(), segments, &count, ZIDL_ZERO_COPY) ==
               given.without_bytes.size());
        expect(output_ == given.without_bytes);
        expect(count == given.segment_count);
    }

    // Memory for a record of the type; what an earlier call returned is gone.
    void *record(const zidl::message_descriptor &type)
    {
        record_.assign((type.size + sizeof(uint64_t) - 1) / sizeof(uint64_t), 0);
        return record_.data();
    }

    std::vector<uint64_t> record_;
    byte_string output_;
};

// Runs the threads, all of them let go at the same time; `sample_of` tells what the one of a number works on.
template <class SampleOf>
void run_at_once(SampleOf sample_of)
{
    worker workers[THREADS];
    std::atomic<size_t> ready = 0;
    std::vector<std::thread> threads;
    for (size_t number = 0; number < THREADS; number++)
        threads.emplace_back([&, number] {
            const samples &mine = sample_of(number);
            ready++;
            while (ready < THREADS)
                std::this_thread::yield();
            for (size_t round = 0; round < ROUNDS; round++)
                workers[number].use_all(mine, round % 2 == 0 ? 0 : 19 * number); // the same type, or another
        });
    for (std::thread &thread : threads)
        thread.join();
    for (const worker &each : workers) {
        EXPECT_EQ(each.wrong, 0);
        EXPECT_EQ(each.blocks, 0);
        EXPECT_EQ(each.decoded, ROUNDS * 2 * zidl::message_count);
    }
}

TEST(codec_threads, use_const_records_and_inputs_that_they_share)
{
    const samples shared;
    run_at_once([&](size_t) -> const samples & { return shared; });
}

TEST(codec_threads, use_records_and_inputs_of_their_own)
{
    const samples each[THREADS];
    run_at_once([&](size_t number) -> const samples & { return each[number]; });
}

} // namespace
