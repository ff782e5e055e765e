// The walk over random and damaged messages of every type, held against the real decoder.

#include "inspect/hex.hpp"
#include "tests/inspect/walk_check.hpp"
#include "tests/messages/every_message.hpp"
#include "tests/messages/exhaustive.hpp"
#include "tests/messages/random_input.hpp"
#include "tests/messages/sample_records.hpp"

namespace
{

byte_string encoded_sample(const zidl::message_descriptor &type, sample which, test_arena &memory)
{
    memory.reset();
    byte_string record(type.size);
    fill_sample(type, record.data(), which, memory);
    byte_string encoded(type.encode(record.data(), nullptr, 0, nullptr, nullptr, 0));
    type.encode(record.data(), encoded.data(), encoded.size(), nullptr, nullptr, 0);
    return encoded;
}

TEST(walk_differential, status_values_and_failure_are_the_decoders)
{
    const size_t count = exhaustive() ? 200000 : 300;
    test_arena memory(size_t{1} << 20);
    for (const zidl::message_descriptor *type : every_message()) {
        random_source random(type->name[4] + size_t{7} * type->field_count + type->size);
        const byte_string dense = encoded_sample(*type, sample::dense, memory);
        for (size_t i = 0; i < count; ++i) {
            byte_string input = i % 8 == 0 ? dense : i % 8 == 1 ? random_noise(random) : random_fields(*type, random);
            if (i % 2 == 0)
                mutate(input, dense, random);
            ASSERT_EQ(check_walk(*type, input), "") << type->name << ' ' << rib_inspect::to_hex(input);
        }
    }
}

} // namespace
