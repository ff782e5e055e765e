// How much stack the operations of all messages take, held against docs/ownership.md.

#include "messages/descriptors.hpp"
#include "tests/messages/random_input.hpp"
#include "tests/messages/random_record.hpp"
#include "tests/messages/sample_records.hpp"
#include "tests/messages/test_arena.hpp"
#include "tests/painted_stack.hpp"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using zidl::message_descriptor;

// Takes no stack to speak of itself. Refuses what would be more memory than there is.
struct bump {
    std::vector<uint64_t> memory = std::vector<uint64_t>(size_t{4} << 20);
    size_t used = 0;

    static void *allocate(size_t size, void *ctx)
    {
        auto &self = *static_cast<bump *>(ctx);
        const size_t words = (size + 7) / 8;
        if (self.memory.size() - self.used < words)
            return nullptr;
        void *const block = self.memory.data() + self.used;
        self.used += words;
        return block;
    }
};

void keep(void *, void *) {}

struct stack_of_operations : testing::Test {
    rib_test::painted_stack stack{size_t{32} << 10};
    bump memory;
    size_t most = 0;
    std::string deepest;

    // Twice: the first call of a function may take the dynamic linker's stack, too.
    void run(const message_descriptor &type, const std::function<void()> &work)
    {
        stack.used_by(work);
        const size_t used = stack.used_by(work);
        if (used > most) {
            most = used;
            deepest = type.name;
        }
    }

    void expect_documented(const char *operation)
    {
        const size_t limit = rib_test::documented_bytes(RIB_DOCS "ownership.md", operation);
        std::printf("%s: %zu bytes (%s), documented %zu\n", operation, most, deepest.c_str(), limit);
        EXPECT_LE(most, limit) << deepest;
        EXPECT_GE(3 * most + 1024, limit) << "the page claims far more than is used";
    }

    template <class Work>
    void each_record(const Work &work)
    {
        random_source random(7);
        test_arena arena;
        for (size_t i = 0; i < zidl::message_count; i++) {
            const message_descriptor &type = *zidl::all_messages[i];
            std::vector<uint64_t> record(type.size / 8 + 1);
            for (int round = 0; round < 12; round++) {
                arena.reset();
                std::fill(record.begin(), record.end(), 0);
                if (round < 2)
                    fill_sample(type, record.data(), round == 0 ? sample::dense : sample::sparse, arena);
                else
                    fill_at_random(type, record.data(), random, arena);
                work(type, record.data());
            }
        }
    }

    template <class Work>
    void each_input(const Work &work)
    {
        random_source random(11);
        each_record([&](const message_descriptor &type, const void *record) {
            byte_string input(type.encode(record, nullptr, 0, nullptr, nullptr, 0));
            type.encode(record, input.data(), input.size(), nullptr, nullptr, 0);
            work(type, input);
            work(type, random_fields(type, random));
            mutate(input, random_noise(random), random);
            work(type, input);
        });
    }
};

TEST_F(stack_of_operations, encode_takes_no_more_than_documented_whatever_the_room)
{
    std::vector<uint8_t> buffer(size_t{1} << 20);
    std::vector<zidl_segment> segments(1000);
    each_record([&](const message_descriptor &type, const void *record) {
        const size_t size = type.encode(record, nullptr, 0, nullptr, nullptr, 0);
        for (const size_t room : {size_t{0}, size / 2, size - (size > 0), size, size + 5, size + 4096, buffer.size()})
            run(type, [&] { type.encode(record, buffer.data(), std::min(room, buffer.size()), nullptr, nullptr, 0); });
        for (const uint32_t flags : {0u, 1u}) // copying and ZIDL_ZERO_COPY
            run(type, [&] {
                uint32_t count = static_cast<uint32_t>(segments.size());
                type.encode(record, buffer.data(), buffer.size(), segments.data(), &count, flags);
            });
    });
    expect_documented("encode");
}

TEST_F(stack_of_operations, decode_takes_no_more_than_documented_whatever_the_input)
{
    std::vector<uint64_t> record;
    each_input([&](const message_descriptor &type, const byte_string &input) {
        record.assign(type.size / 8 + 1, 0);
        for (const size_t len : {input.size(), input.size() / 2, input.size() - (input.size() > 0)})
            run(type, [&] {
                memory.used = 0;
                type.decode(record.data(), input.data(), len, bump::allocate, &memory, 0);
            });
    });
    expect_documented("decode");
}

TEST_F(stack_of_operations, duplicate_takes_no_more_than_documented)
{
    std::vector<uint64_t> copy;
    each_record([&](const message_descriptor &type, const void *record) {
        copy.assign(type.size / 8 + 1, 0);
        run(type, [&] {
            memory.used = 0;
            type.duplicate(copy.data(), record, bump::allocate, &memory);
        });
    });
    expect_documented("duplicate");
}

TEST_F(stack_of_operations, release_takes_no_more_than_documented)
{
    each_record([&](const message_descriptor &type, const void *record) {
        std::vector<uint64_t> copy(type.size / 8 + 1);
        run(type, [&] {
            std::copy_n(static_cast<const uint8_t *>(record), type.size, reinterpret_cast<uint8_t *>(copy.data()));
            type.release(copy.data(), keep, nullptr, 0);
        });
    });
    expect_documented("release");
}

} // namespace
