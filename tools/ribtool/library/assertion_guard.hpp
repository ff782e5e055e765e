// Lets a program outlive an assertion of the library.
//
// The library stops the process through __assert_fail. ribtool defines that function itself and exports it, so that the
// shared library binds to it; while a guarded call runs, it records the failed assertion and leaves the call with
// longjmp. What the library allocated for the call and what it holds on the way stays allocated.

#pragma once

#include <optional>

namespace ribtool
{

// The texts are the library's own constants.
struct failed_assertion {
    const char *expression;
    const char *file;
    unsigned line;
    const char *function;
};

// Runs call(argument) and returns the assertion that ended it, if one did. Guarded calls do not nest. Between the call
// and the assertion there must be no object whose destructor matters: the library has none.
std::optional<failed_assertion> run_guarded(void (*call)(void *argument), void *argument);

template <class Argument>
std::optional<failed_assertion> run_guarded(void (*call)(Argument &), Argument &argument)
{
    struct bound {
        void (*call)(Argument &);
        Argument &argument;
    } all{call, argument};
    return run_guarded([](void *of) { static_cast<bound *>(of)->call(static_cast<bound *>(of)->argument); }, &all);
}

} // namespace ribtool
