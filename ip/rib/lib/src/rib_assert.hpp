// Assertions that hold in every kind of build. The expression, the source path, the line and the prototype that they
// report are part of the library's interface, so that they are fixed texts: the file has a constant `source_path`, a
// function that asserts has a constant `prototype`, and the line is written at the check.

#ifndef IP_RIB_LIB_SRC_RIB_ASSERT_HPP
#define IP_RIB_LIB_SRC_RIB_ASSERT_HPP

// <assert.h> declares it only in builds without NDEBUG.
extern "C" void __assert_fail(const char *expression, const char *file, unsigned int line,
                              const char *function) noexcept __attribute__((noreturn));

#define RIB_ASSERT(line, condition)                                                                                    \
    ((condition) ? static_cast<void>(0) : __assert_fail(#condition, source_path, line, prototype))

#endif
