# zidl_generate(target schema... [options]): compiles message schemas into a target.
#
#     find_package(rib 1.1 REQUIRED)                # or add_subdirectory(rib)
#     add_executable(station main.c)
#     zidl_generate(station schema/sensors.zidl)    # main.c: #include "messages/sensors.h"
#
# A target that does not exist yet becomes a static library of the messages alone, to link to whatever needs them. Generated files
# lie in the build folder, below <target>_zidl, and are made anew when a schema changes, also one that is only used. Their sources
# are compiled as C++17 without exceptions, RTTI and C++ runtime, whatever else the target holds. They need librib's headers, and
# not librib.
#
#   PREFIX name          what C names begin with, by default zidl: zidlc --help has this and the next three
#   FOLDER folder        where headers are included from, by default messages
#   PROTO_PACKAGE name   with PROTO: the package, by default <prefix>.proto
#   PROTO_FOLDER folder  with PROTO: where .proto files import each other from, by default the prefix
#   IMPORT folder...     where to look for groups that the schemas use and that do not lie beside them (zidlc -I)
#   PROTO                writes .proto files, too, into <target>_zidl/proto
#   DESCRIPTORS          writes and compiles tables of all records, too: <folder>/descriptors.hpp
#   DISPATCH             compiles what schemas dispatch for newer processors, too, where the compiler can do so
#
# What runs is the target rib::zidlc, or RIB_ZIDLC, the path of a zidlc: a cross build names one there that runs where it builds.

include(${CMAKE_CURRENT_LIST_DIR}/zidl_can_dispatch.cmake)

# Makes rib::zidlc, unless there is one: of RIB_ZIDLC, of what lies beside an installed librib, or of the PATH. What is installed for
# another machine does not run on this one.
function(zidl_find_compiler)
  if(TARGET rib::zidlc)
    return()
  endif()
  set(root ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../..)
  set(where HINTS ${root}/../bin ${root}/../../bin)
  if(CMAKE_CROSSCOMPILING)
    set(where NO_PACKAGE_ROOT_PATH NO_CMAKE_PATH NO_CMAKE_ENVIRONMENT_PATH NO_CMAKE_FIND_ROOT_PATH)
  endif()
  find_program(RIB_ZIDLC zidlc ${where} DOC "The compiler of message schemas, for the machine that builds")
  if(RIB_ZIDLC)
    add_executable(rib::zidlc IMPORTED GLOBAL)
    set_target_properties(rib::zidlc PROPERTIES IMPORTED_LOCATION "${RIB_ZIDLC}")
  endif()
endfunction()

function(zidl_generate target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "DISPATCH;PROTO;DESCRIPTORS" "PREFIX;FOLDER;PROTO_PACKAGE;PROTO_FOLDER" "IMPORT")
  set(tree ${CMAKE_CURRENT_BINARY_DIR}/${target}_zidl)
  zidl_check_call()
  zidl_list_files()
  zidl_add_command()
  zidl_add_sources()
endfunction()

# The steps of zidl_generate, which share its variables.

macro(zidl_refuse)
  message(FATAL_ERROR "zidl_generate(${target}): " ${ARGN})
endmacro()

macro(zidl_check_call)
  zidl_find_compiler()
  get_property(languages GLOBAL PROPERTY ENABLED_LANGUAGES)
  if(arg_KEYWORDS_MISSING_VALUES)
    zidl_refuse("say a value after ${arg_KEYWORDS_MISSING_VALUES}")
  elseif(NOT arg_UNPARSED_ARGUMENTS)
    zidl_refuse("name a schema, GROUP.zidl")
  elseif(NOT CXX IN_LIST languages)
    zidl_refuse("generated sources are C++ inside: say LANGUAGES C CXX in project()")
  elseif(TARGET ${target}_zidl_files)
    zidl_refuse("the target has messages already: name all schemas in one call, or give these a target of their own")
  elseif(NOT TARGET rib::zidlc AND NOT RIB_ZIDLC)
    zidl_refuse("there is no zidlc: install librib's tools (package ribtool), build librib with -DRIB_BUILD_TOOLS=ON, or say where it is "
                "with -DRIB_ZIDLC=/path/to/zidlc")
  elseif(NOT RIB_ZIDLC AND TARGET zidlc AND CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    zidl_refuse("zidlc is built for another machine: name one that runs here with -DRIB_ZIDLC=/path/to/zidlc")
  elseif(RIB_ZIDLC AND NOT EXISTS "${RIB_ZIDLC}")
    zidl_refuse("RIB_ZIDLC is ${RIB_ZIDLC}, which does not exist: say where zidlc is")
  elseif(RIB_ZIDLC AND IS_DIRECTORY "${RIB_ZIDLC}")
    zidl_refuse("RIB_ZIDLC is ${RIB_ZIDLC}, which is a folder: name the program in it")
  endif()
endmacro()

macro(zidl_list_files)
  set(folder messages)
  if(arg_FOLDER)
    set(folder ${arg_FOLDER})
  endif()
  set(schemas)
  set(sources)
  set(generated)
  foreach(schema IN LISTS arg_UNPARSED_ARGUMENTS)
    get_filename_component(path ${schema} ABSOLUTE)
    get_filename_component(group ${schema} NAME_WLE)
    if(NOT EXISTS ${path} OR NOT path MATCHES "[.]zidl$")
      zidl_refuse("${schema} is neither a file GROUP.zidl nor an option")
    endif()
    list(APPEND schemas ${path})
    list(APPEND sources ${tree}/${folder}/${group}.cpp)
    list(APPEND generated ${tree}/${folder}/${group}.h ${tree}/${folder}/${group}.hpp ${tree}/${folder}/${group}.message.hpp)
  endforeach()
  set(tables)
  if(arg_DESCRIPTORS)
    set(tables ${tree}/${folder}/descriptors.cpp)
    list(APPEND generated ${tree}/${folder}/descriptors.hpp)
  endif()
endmacro()

# What does not change keeps its time: the file with the dependencies says when the compiler ran.
macro(zidl_add_command)
  set(options --only header,codec)
  if(arg_DESCRIPTORS)
    string(APPEND options ,descriptors)
  endif()
  if(arg_PROTO)
    string(APPEND options ,proto)
  endif()
  foreach(option PREFIX FOLDER PROTO_PACKAGE PROTO_FOLDER)
    if(DEFINED arg_${option})
      string(TOLOWER --${option} word)
      string(REPLACE _ - word ${word})
      list(APPEND options ${word} ${arg_${option}})
    endif()
  endforeach()
  foreach(import IN LISTS arg_IMPORT)
    get_filename_component(import ${import} ABSOLUTE)
    list(APPEND options -I ${import})
  endforeach()
  set(zidlc rib::zidlc)
  if(RIB_ZIDLC)
    set(zidlc ${RIB_ZIDLC})
  endif()
  add_custom_command(
    OUTPUT ${tree}/schemas.d
    BYPRODUCTS ${sources} ${generated} ${tables}
    COMMAND ${zidlc} -MD ${tree}/schemas.d -MT ${tree}/schemas.d -o ${tree} ${options} ${schemas}
    DEPENDS ${zidlc} ${schemas}
    DEPFILE ${tree}/schemas.d
    COMMENT "Compiling the schemas of ${target}"
    VERBATIM)
  add_custom_target(${target}_zidl_files DEPENDS ${tree}/schemas.d)
endmacro()

# Headers come from the build folder and from librib; they are nobody's to repair where they are included.
macro(zidl_add_sources)
  get_property(generated_before GLOBAL PROPERTY zidl_generated)
  set_property(GLOBAL APPEND PROPERTY zidl_generated ${target}_zidl_files)
  set(librib rib::core)
  if(NOT TARGET rib::core)
    set(librib rib::core_static)
  endif()
  set(includes $<BUILD_INTERFACE:${tree}> $<BUILD_INTERFACE:$<TARGET_PROPERTY:${librib},INTERFACE_INCLUDE_DIRECTORIES>>)
  if(NOT TARGET ${target})
    zidl_add_library(${target} STATIC ${target})
    target_include_directories(${target} SYSTEM INTERFACE ${includes})
    return()
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL EXECUTABLE)
    zidl_add_library(${target}_zidl STATIC ${target}_zidl)
    # As a file, so that a program in C links with the C compiler: the sources need no C++ runtime.
    # Into the property, so that callers may use either signature of target_link_libraries.
    set_property(TARGET ${target} APPEND PROPERTY LINK_LIBRARIES $<TARGET_FILE:${target}_zidl>)
    add_dependencies(${target} ${target}_zidl)
  elseif(type MATCHES "^(STATIC|SHARED|MODULE)_LIBRARY$")
    # Whole, so that a shared library exports what nothing in it calls.
    zidl_add_library(${target}_zidl OBJECT ${target})
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_zidl>)
  else()
    zidl_refuse("a target of this kind (${type}) takes none: give the messages a target of their own, and link it")
  endif()
  target_include_directories(${target} SYSTEM PUBLIC ${includes})
  add_dependencies(${target} ${target}_zidl_files)
endmacro()

# zidl_add_library(name type receiver): objects of a second build go to the receiver.
macro(zidl_add_library name type receiver)
  add_library(${name} ${type} ${sources} ${tables})
  zidl_compile_as_library(${name})
  if(arg_DISPATCH)
    zidl_can_dispatch(can_dispatch)
    if(can_dispatch)
      add_library(${name}_bmi2 OBJECT ${sources})
      zidl_compile_as_library(${name}_bmi2)
      target_compile_options(${name}_bmi2 PRIVATE -mbmi -mbmi2)
      target_sources(${receiver} PRIVATE $<TARGET_OBJECTS:${name}_bmi2>)
      target_compile_definitions(${name} PRIVATE ZIDL_DISPATCH)
      target_compile_definitions(${name}_bmi2 PRIVATE ZIDL_DISPATCH)
    endif()
  endif()
endmacro()

# Groups that are used may come from another target, which this one is linked to, and whose headers are generated before.
# Warnings in generated sources are not for those who compile them.
function(zidl_compile_as_library name)
  set_target_properties(${name} PROPERTIES
    CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_CLANG_TIDY "" CXX_CPPCHECK "" CXX_INCLUDE_WHAT_YOU_USE "")
  target_compile_options(${name} PRIVATE
    "$<$<OR:$<CXX_COMPILER_ID:GNU>,$<CXX_COMPILER_ID:Clang>>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics;-w>")
  target_include_directories(${name} SYSTEM PRIVATE ${includes})
  if(NOT name STREQUAL target)
    target_include_directories(${name} SYSTEM PRIVATE $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
  endif()
  add_dependencies(${name} ${generated_before} ${target}_zidl_files)
endfunction()
