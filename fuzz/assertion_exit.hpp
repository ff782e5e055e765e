// The fuzzers' own __assert_fail: a documented assertion ends the call, not the process. Included once a fuzzer.

#pragma once

#include "fuzz/update_input.hpp"

std::jmp_buf assertion_exit;

extern "C" [[noreturn]] void __assert_fail(const char *, const char *, unsigned, const char *) noexcept
{
    std::longjmp(assertion_exit, 1);
}
