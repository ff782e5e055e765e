# Where the client library cannot be: the codec, and its tests.
#   rib_codec_alone, rib::codec   librib_codec.a
# The client's records are laid out for 64-bit pointers, and IPv6 addresses and the older forms of updates are taken for what
# they are in the memory of a little-endian processor. ip/rib/lib/src/rib_lib_update.h refuses to be compiled elsewhere.

message(STATUS "Building the codec alone: the client library and the tools need a 64-bit little-endian processor")

add_subdirectory(messages)
add_library(rib_status_name OBJECT about/zidl_status_name.cpp)
rib_library_objects(rib_status_name)
add_library(rib_codec_alone STATIC $<TARGET_OBJECTS:rib_codec> $<TARGET_OBJECTS:rib_status_name>)
set_target_properties(rib_codec_alone PROPERTIES OUTPUT_NAME rib_codec LINKER_LANGUAGE C)
target_include_directories(rib_codec_alone INTERFACE ${PROJECT_SOURCE_DIR})
add_library(rib::codec ALIAS rib_codec_alone)

install(TARGETS rib_codec_alone ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/codec ${PROJECT_SOURCE_DIR}/messages DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rib
        FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

if(RIB_BUILD_TESTS)
  enable_testing()
  add_subdirectory(tests/foreign)
endif()
