# The groups of messages, each behind those that it uses: one schema, one header, one source, one .proto file, one fuzzer.
set(RIB_GROUPS rib_common rib_encap ip_rib ip_rib_srv6)

file(GLOB schemas RELATIVE ${PROJECT_SOURCE_DIR}/schema CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/schema/*.zidl)
list(TRANSFORM schemas REPLACE "[.]zidl$" "")
file(READ ${PROJECT_SOURCE_DIR}/rib.h umbrella)
foreach(group ${schemas} ${RIB_GROUPS})
  if(NOT group IN_LIST RIB_GROUPS OR NOT group IN_LIST schemas)
    message(FATAL_ERROR "schema/ and RIB_GROUPS (cmake/groups.cmake) differ in ${group}")
  endif()
  if(NOT umbrella MATCHES "#include \"messages/${group}[.]h\"")
    message(FATAL_ERROR "rib.h does not include messages/${group}.h")
  endif()
endforeach()
