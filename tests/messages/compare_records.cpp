// See compare_records.hpp.

#include "tests/messages/compare_records.hpp"

#include "tests/reference/record_access.hpp"

namespace
{

using namespace record_access;

struct comparison {
    const test_arena &got_memory;
    const test_arena &expected_memory;

    bool same_place(const void *got, const void *expected) const
    {
        if (!got_memory.owns(got) || !expected_memory.owns(expected))
            return got == expected;
        return got_memory.offset_of(got) == expected_memory.offset_of(expected);
    }
};

std::string record_difference(const comparison &both, const message_descriptor &type, const void *got,
                              const void *expected);

std::string bytes_difference(const comparison &both, const zidl_bytes &got, const zidl_bytes &expected)
{
    if (!both.same_place(got.data, expected.data))
        return " (pointer)";
    if (got.size != expected.size)
        return " (size)";
    const bool has_contents = got.data != nullptr && got.data != expected.data && got.size > 0;
    return has_contents && std::memcmp(got.data, expected.data, static_cast<size_t>(got.size)) != 0 ? " (contents)"
                                                                                                    : "";
}

std::string string_difference(const comparison &both, const char *got, const char *expected)
{
    if (!both.same_place(got, expected))
        return " (pointer)";
    return got != nullptr && std::strcmp(got, expected) != 0 ? " (contents)" : "";
}

std::string element_difference(const comparison &both, const field_descriptor &field, const uint8_t *got,
                               const uint8_t *expected)
{
    if (is_message(field))
        return record_difference(both, *field.message, got, expected);
    if (field.type == kind::bytes)
        return bytes_difference(both, load<zidl_bytes>(got), load<zidl_bytes>(expected));
    return load_number(field, got) == load_number(field, expected) ? "" : " (value)";
}

std::string array_difference(const comparison &both, const field_descriptor &field, const void *got,
                             const void *expected)
{
    const uint8_t *got_array = load_pointer(field, got);
    const uint8_t *expected_array = load_pointer(field, expected);
    if (!both.same_place(got_array, expected_array))
        return " (pointer)";
    if (load_count(field, got) != load_count(field, expected))
        return " (count)";
    if (got_array == nullptr)
        return "";
    for (uint32_t i = 0; i < load_count(field, got); ++i) {
        const size_t at = i * element_size(field);
        const std::string found = element_difference(both, field, got_array + at, expected_array + at);
        if (!found.empty())
            return "[" + std::to_string(i) + "]" + found;
    }
    return "";
}

std::string member_difference(const comparison &both, const field_descriptor &field, const void *got,
                              const void *expected)
{
    if (field.repeated)
        return array_difference(both, field, got, expected);
    if (field.type == kind::string)
        return string_difference(both, load_pointer<char>(field, got), load_pointer<char>(field, expected));
    if (field.type == kind::bytes)
        return bytes_difference(both, {load_pointer(field, got), load_size(field, got)},
                                {load_pointer(field, expected), load_size(field, expected)});
    return element_difference(both, field, member_address(field, got), member_address(field, expected));
}

std::string record_difference(const comparison &both, const message_descriptor &type, const void *got,
                              const void *expected)
{
    for (const field_descriptor &field : fields_of(type)) {
        const std::string found = member_difference(both, field, got, expected);
        if (!found.empty())
            return std::string(".") + field.member + found;
    }
    return load_presence(type, got) == load_presence(type, expected) ? "" : ".presence";
}

} // namespace

std::string difference(const message_descriptor &type, const placed_record &got, const placed_record &expected)
{
    return record_difference({got.memory, expected.memory}, type, got.msg, expected.msg);
}
