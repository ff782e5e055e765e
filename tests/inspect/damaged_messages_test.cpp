// Random and damaged messages of every type: the walk, held against the real decoder, and the text format, there and back.

#include "inspect/formats/message_json.hpp"
#include "inspect/formats/message_text.hpp"
#include "inspect/wire/hex.hpp"
#include "tests/inspect/message_json_check.hpp"
#include "tests/inspect/message_text_check.hpp"
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

uint64_t seed_of(const zidl::message_descriptor &type)
{
    return std::hash<std::string_view>()(type.name);
}

// Calls `check` with whole samples, damaged ones, random fields and noise.
template <class Check>
void for_damaged_messages(size_t count, Check check)
{
    test_arena memory(size_t{1} << 20);
    for (const zidl::message_descriptor *type : every_message()) {
        random_source random(seed_of(*type));
        const byte_string dense = encoded_sample(*type, sample::dense, memory);
        const byte_string sparse = encoded_sample(*type, sample::sparse, memory);
        ASSERT_EQ(check(*type, dense), "") << type->name;
        ASSERT_EQ(check(*type, sparse), "") << type->name;
        for (size_t i = 0; i < count; ++i) {
            byte_string input = i % 8 == 0 ? dense : i % 8 == 1 ? random_noise(random) : random_fields(*type, random);
            if (i % 2 == 0)
                mutate(input, dense, random);
            ASSERT_EQ(check(*type, input), "") << type->name << ' ' << rib_inspect::to_hex(input);
        }
    }
}

TEST(damaged_messages, walk_has_the_decoders_status_values_and_failure)
{
    for_damaged_messages(exhaustive() ? 50000 : 200, check_walk);
}

TEST(damaged_messages, text_gives_every_byte_back)
{
    for_damaged_messages(exhaustive() ? 50000 : 200, check_bytes_through_text);
}

TEST(damaged_messages, damaged_text_is_read_or_has_an_error_with_a_place)
{
    random_source random(1);
    for_damaged_messages(
        exhaustive() ? 20000 : 60, [&](const zidl::message_descriptor &type, const byte_string &input) {
            const std::string whole = rib_inspect::to_text(type, input);
            byte_string text(whole.begin(), whole.end());
            mutate(text, {'!', 't', 'a', 'g', '=', ' ', '{', '"', '\n', '0', '}', '#', ':', '['}, random);
            return check_text(type, {reinterpret_cast<const char *>(text.data()), text.size()});
        });
}

TEST(damaged_messages, json_gives_what_the_library_keeps_or_says_why_not)
{
    for_damaged_messages(exhaustive() ? 50000 : 100, check_bytes_through_json);
}

TEST(damaged_messages, damaged_json_is_read_or_has_a_problem_with_a_place)
{
    random_source random(1);
    for_damaged_messages(
        exhaustive() ? 20000 : 60, [&](const zidl::message_descriptor &type, const byte_string &input) {
            std::string whole;
            rib_inspect::json_writer(type, {false, true}).append(whole, input);
            byte_string text(whole.begin(), whole.end());
            mutate(text, {'{', '}', '[', ']', '"', '\\', 'u', ',', ':', '0', '9', '.', 'e', '-', 'n', '='}, random);
            return check_json_text(type, {reinterpret_cast<const char *>(text.data()), text.size()});
        });
}

} // namespace
