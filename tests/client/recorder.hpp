// Stand-ins for the three platform functions and for the C library's assertion failure. They remember how they were
// called, and a failed assertion comes back to the test instead of stopping the process.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"

#include <csetjmp>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace rib_test
{

struct strip_call {
    uchar_t **cursor_address;
    uchar_t *cursor;
};

struct delim_call {
    uchar_t **cursor_address;
    uchar_t *cursor;
    std::vector<uint8_t> payload; // the 24 bytes at the cursor when the call came
};

struct copy_call {
    size_t size;
    char *dst;
    std::string src;
};

struct failed_assertion {
    std::string expression;
    std::string file;
    unsigned line;
    std::string function;
};

inline bool operator==(const failed_assertion &a, const failed_assertion &b)
{
    return a.expression == b.expression && a.file == b.file && a.line == b.line && a.function == b.function;
}

inline void PrintTo(const failed_assertion &failure, std::ostream *out)
{
    *out << failure.file << ':' << failure.line << ": " << failure.function << ": " << failure.expression;
}

struct platform_record {
    std::vector<strip_call> strips;
    std::vector<delim_call> delims;
    std::vector<copy_call> copies;
    std::vector<failed_assertion> failures;

    // What rib_tlv_strip returns; null: the header is where the cursor points.
    rib_tlv_t *header = nullptr;
    // What rib_tlv_strip adds to the cursor.
    size_t strip_advance = sizeof(rib_tlv_t);
    // Whether rib_tlv_handle_delim looks at the payload (it cannot when the cursor points elsewhere).
    bool delim_reads_payload = true;
};

// What this thread's calls recorded.
extern thread_local platform_record platform;

// Where a failed assertion comes back to, while `assertion_expected`; otherwise it stops the process.
extern thread_local jmp_buf assertion_exit;
extern thread_local bool assertion_expected;

// Runs the call; true when an assertion failed inside (platform.failures tells which). The call must leave nothing
// behind that has a destructor.
template <class Call>
bool asserts(Call &&call)
{
    if (setjmp(assertion_exit) != 0) {
        assertion_expected = false;
        return true;
    }
    assertion_expected = true;
    call();
    assertion_expected = false;
    return false;
}

} // namespace rib_test
