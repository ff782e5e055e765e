# The library as programs link it.
#   rib, rib_static   librib.so.1 and librib.a
#   rib::core, rib::core_static   the library alone: the three platform functions are the program's to provide
#   rib::rib, rib::rib_static     with the reference platform libraries: enough to link any program

# Of functions that the baseline and the rest both have a copy of, the linker takes the first: the one without unwind tables.
set(rib_objects $<TARGET_OBJECTS:rib_codec> $<TARGET_OBJECTS:rib_client> $<TARGET_OBJECTS:rib_about>)
if(RIB_DISPATCH)
  list(PREPEND rib_objects $<TARGET_OBJECTS:rib_codec_baseline>)
  list(APPEND rib_objects $<TARGET_OBJECTS:rib_codec_bmi2>)
endif()

add_library(rib SHARED ${rib_objects})
add_library(rib_static STATIC ${rib_objects})
set_target_properties(rib PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE C EXPORT_NAME core)
set_target_properties(rib_static PROPERTIES OUTPUT_NAME rib LINKER_LANGUAGE C EXPORT_NAME core_static)
# CMake links the C++ runtime on its own account; nothing here uses it, so it does not become a dependency.
target_link_options(rib PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/librib.map -Wl,--as-needed -Wl,--hash-style=gnu)
# Every import is bound when the library is loaded: what is missing is named then, not in the middle of an update, and what calls
# go through is read-only from then on.
target_link_options(rib PRIVATE -Wl,-z,relro,-z,now)
set_property(TARGET rib APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/librib.map)

foreach(library rib rib_static)
  target_include_directories(${library} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/rib>)
endforeach()
add_library(rib::core ALIAS rib)
add_library(rib::core_static ALIAS rib_static)

add_library(rib_with_platform INTERFACE)
target_link_libraries(rib_with_platform INTERFACE rib rib_platform)
add_library(rib::rib ALIAS rib_with_platform)

add_library(rib_static_with_platform INTERFACE)
target_link_libraries(rib_static_with_platform INTERFACE rib_static rib_platform_static)
add_library(rib::rib_static ALIAS rib_static_with_platform)
