# What can be chosen when building, and what all of our own targets share.

option(RIB_BUILD_TOOLS "Build zidlc and ribtool" ${PROJECT_IS_TOP_LEVEL})
option(RIB_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(RIB_BUILD_BENCH "Build the benchmarks" OFF)
option(RIB_BUILD_FUZZ "Build the fuzzers (clang only)" OFF)
option(RIB_WERROR "Treat warnings as errors: for those who work on the library, as the presets do" OFF)
option(RIB_CLIENT_ARENA "Decode updates out of an arena that lives for one call" OFF)
option(RIB_DISPATCH "Build the hottest code also for BMI2, and choose when the library is loaded (x86-64 with ifunc)" ON)
option(RIB_UNITY "Compile the tools' sources several at a time: a third of the time" ON)
option(RIB_ZIDLC_ALONE "Build the schema compiler and nothing else" OFF)
set(RIB_SANITIZE "" CACHE STRING "Sanitizers for everything, for example address,undefined")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/compiler_cache.cmake)
endif()

add_library(rib_warnings INTERFACE)
target_compile_options(rib_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                              $<$<BOOL:${RIB_WERROR}>:-Werror>)

if(RIB_SANITIZE)
  add_compile_options(-fsanitize=${RIB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # The check of function types needs the C++ runtime of the sanitizer; C programs link the library, too.
  add_compile_options($<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fno-sanitize=function>)
  add_link_options(-fsanitize=${RIB_SANITIZE})
endif()

# For what is large and runs for moments, such as what reads a command line.
set(RIB_QUICK_TO_BUILD $<$<CONFIG:Release>:-O1>)
if(RIB_SANITIZE)
  set(RIB_QUICK_TO_BUILD -O0)
endif()

# rib_precompile(target headers...): what its files all include is read once, in a way that a cache of compiled files knows.
function(rib_precompile target)
  target_precompile_headers(${target} PRIVATE ${ARGN})
  target_compile_options(${target} PRIVATE
    "$<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>" "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
endfunction()

# rib_need(package) is find_package for the tools, rib_need_module(PREFIX module) the same by pkg-config.
macro(rib_need package)
  find_package(${package} QUIET)
  rib_refuse_without(${package} ${package})
endmacro()
macro(rib_need_module prefix module)
  pkg_check_modules(${prefix} QUIET IMPORTED_TARGET ${module})
  rib_refuse_without(${prefix} ${module})
endmacro()
function(rib_refuse_without prefix name)
  if(NOT ${prefix}_FOUND)
    message(FATAL_ERROR " \n  The tools need ${name}, which is not here. Install it: script/bootstrap build. Or leave the tools out: "
                        "-DRIB_BUILD_TOOLS=OFF\n ")
  endif()
endfunction()

# What the library itself is built from: C++17 without the C++ runtime, everything hidden that is not marked.
function(rib_library_objects target)
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD 17 POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics)
  # Calls of other objects, the C library's foremost, go straight to where they lead.
  target_compile_options(${target} PRIVATE -fno-plt)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE rib_warnings)
  # Records are cleared and copied by the C library. The string instructions that g++ would write take longer to start than
  # a record takes to clear.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64|AMD64|i[3-6]86")
    set(strategy unrolled_loop:64:noalign,libcall:-1:noalign)
    target_compile_options(${target} PRIVATE -mmemset-strategy=${strategy} -mmemcpy-strategy=${strategy})
  endif()
endfunction()

# The codec is straight-line code: what -O3 adds makes it larger, not faster, and so does alignment within functions. Vectors
# that clang makes of neighbouring scalars make the measuring of messages slower. Functions that begin anywhere make small
# messages slower by up to a fifth, by chance.
function(rib_codec_objects target)
  rib_library_objects(${target})
  target_compile_options(${target} PRIVATE
    $<$<CONFIG:Release>:-O2>
    "$<$<CXX_COMPILER_ID:Clang>:-fno-slp-vectorize;-falign-functions=32>"
    "$<$<CXX_COMPILER_ID:GNU>:-falign-jumps=1;-falign-loops=1;-falign-labels=1;-fno-reorder-blocks-and-partition>")
  # Distributions ask for guards behind what is written to the stack. Here that has sizes which its types prove, and guards would be
  # one instruction in 25 of a small message. What chooses among the builds for processors runs before a static program has guards.
  if(CMAKE_CXX_FLAGS MATCHES "-fstack-protector")
    target_compile_options(${target} PRIVATE -fno-stack-protector)
  endif()
endfunction()

# Where flags do not allow to choose, there is one build of everything.
if(RIB_DISPATCH)
  include(${CMAKE_CURRENT_LIST_DIR}/../packaging/zidl_can_dispatch.cmake)
  zidl_can_dispatch(can_dispatch)
  if(RIB_SANITIZE OR NOT can_dispatch)
    set(RIB_DISPATCH OFF)
  endif()
endif()
