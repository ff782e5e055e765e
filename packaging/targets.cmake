# Installs libraries and tools. Each set of libraries has an export file of its own, which rib-config.cmake reads when what it
# describes is there, since packages may separate them. Of these it makes rib::rib, rib::inspect and their static twins.

# rib_install(set COMPONENT name TARGETS targets... [ALSO interface targets...]): ALSO is what has no file.
function(rib_install set)
  cmake_parse_arguments(ARG "" "COMPONENT" "TARGETS;ALSO" ${ARGN})
  install(TARGETS ${ARG_TARGETS} ${ARG_ALSO} EXPORT rib-${set}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${ARG_COMPONENT} NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${ARG_COMPONENT})
  install(EXPORT rib-${set} NAMESPACE rib:: FILE rib-${set}.cmake DESTINATION ${cmake_root} COMPONENT development)
  rib_check_built(${ARG_COMPONENT} ${ARG_TARGETS})
endfunction()

rib_install(core COMPONENT librib TARGETS rib)
rib_install(tlv COMPONENT librib_tlv TARGETS rib_tlv)
rib_install(strutil COMPONENT librib_strutil TARGETS rib_strutil)
rib_install(platform COMPONENT development ALSO rib_platform)
rib_install(inspect COMPONENT librib_inspect TARGETS rib_inspect_shared)
rib_install(static COMPONENT development
  TARGETS rib_static rib_tlv_static rib_strutil_static rib_inspect ALSO rib_platform_static)
foreach(tool zidlc ribtool)
  if(TARGET ${tool})
    install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    rib_check_built(tools ${tool})
  endif()
endforeach()

configure_package_config_file(rib-config.cmake.in rib-config.cmake
  INSTALL_DESTINATION ${cmake_root} PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(rib-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rib-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/rib-config-version.cmake
              zidl_generate.cmake zidl_can_dispatch.cmake
        DESTINATION ${cmake_root} COMPONENT development)
