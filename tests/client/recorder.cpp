// The recording stand-ins, in place of the platform libraries and of the C library's assertion failure.

#include "tests/client/recorder.hpp"

#include <cstdio>
#include <cstdlib>

namespace rib_test
{

thread_local platform_record platform;
thread_local jmp_buf assertion_exit;
thread_local bool assertion_expected = false;

} // namespace rib_test

using rib_test::platform;

extern "C" rib_tlv_t *rib_tlv_strip(uchar_t **cursor)
{
    platform.strips.push_back({cursor, *cursor});
    rib_tlv_t *header = platform.header != nullptr ? platform.header : reinterpret_cast<rib_tlv_t *>(*cursor);
    *cursor += platform.strip_advance;
    return header;
}

extern "C" void rib_tlv_handle_delim(uchar_t **cursor)
{
    std::vector<uint8_t> payload;
    if (platform.delim_reads_payload)
        payload.assign(*cursor, *cursor + 24);
    platform.delims.push_back({cursor, *cursor, payload});
}

extern "C" void __strcpy_to_buf(size_t size, char *dst, const char *src)
{
    platform.copies.push_back({size, dst, src});
    size_t len = 0;
    for (; len + 1 < size && src[len] != '\0'; len++)
        dst[len] = src[len];
    if (size > 0)
        dst[len] = '\0';
}

extern "C" [[noreturn]] void __assert_fail(const char *expression, const char *file, unsigned line,
                                           const char *function) noexcept
{
    if (!rib_test::assertion_expected) {
        std::fprintf(stderr, "%s:%u: %s: unexpected failure of `%s'\n", file, line, function, expression);
        std::abort();
    }
    platform.failures.push_back({expression, file, line, function});
    std::longjmp(rib_test::assertion_exit, 1);
}

// Updates that are dropped and assertions that come back to a test leave blocks allocated, as the contract says.
// allocation_test and the differential count them block by block; here they are not looked for.
extern "C" const char *__asan_default_options();

const char *__asan_default_options()
{
    return "detect_leaks=0";
}
