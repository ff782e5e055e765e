// Assertions that hold in every kind of build. The expression, the source path, the line and the prototype that they
// report are part of the library's interface, so that they are fixed texts: path and line are written at the check, and a
// function that asserts has a constant `prototype`.

#ifndef IP_RIB_LIB_SRC_RIB_ASSERT_HPP
#define IP_RIB_LIB_SRC_RIB_ASSERT_HPP

#include "ip/rib/lib/src/witness.hpp"

// <assert.h> declares it only in builds without NDEBUG.
extern "C" void __assert_fail(const char *expression, const char *file, unsigned int line,
                              const char *function) noexcept __attribute__((noreturn));

namespace rib_client
{

// The source paths that are reported. They name no file of today.
inline constexpr char API_PARSE[] = "ip/rib/lib/src/rib_lib_api_parse";
inline constexpr char GRID_DEC[] = "ip/rib/lib/src/rib_lib_grid_dec";
inline constexpr char ROUTE_DECODE[] = "ip/rib/lib/src/rib_lib_route_decode";

} // namespace rib_client

// `why` is for the inspector, whose copy of these sources leaves a failed assertion as an exception.
#ifdef RIB_WITNESS
#define RIB_ASSERT(path, line, condition, why)                                                                         \
    ((condition) ? static_cast<void>(0) : rib_inspect::stop(why, #condition, path, line, prototype))
#else
#define RIB_ASSERT(path, line, condition, why)                                                                         \
    ((condition) ? static_cast<void>(0) : __assert_fail(#condition, path, line, prototype))
#endif

#endif
