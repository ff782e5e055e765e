#include "tools/ribtool/library/assertion_guard.hpp"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

namespace
{

std::jmp_buf *armed = nullptr;
ribtool::failed_assertion failed;

} // namespace

extern "C" {

__attribute__((visibility("default"), noreturn)) void __assert_fail(const char *expression, const char *file,
                                                                    unsigned line, const char *function) noexcept
{
    if (armed == nullptr) {
        std::fprintf(stderr, "ribtool: %s:%u: %s: Assertion `%s' failed.\n", file, line, function, expression);
        std::abort();
    }
    failed = {expression, file, line, function};
    std::longjmp(*armed, 1);
}
}

namespace ribtool
{

std::optional<failed_assertion> run_guarded(void (*call)(void *argument), void *argument)
{
    std::jmp_buf place;
    armed = &place;
    if (setjmp(place) == 0) {
        call(argument);
        armed = nullptr;
        return std::nullopt;
    }
    armed = nullptr;
    return failed;
}

} // namespace ribtool
