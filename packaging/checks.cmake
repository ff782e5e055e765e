# An installation is whole or is refused before anything is written: check_install.cmake runs first.

# Builds what is installed and nothing else.
add_custom_target(rib_installable)

# rib_check_built(component targets...) or rib_check_built(component FILES files... BY target): the component cannot be installed
# before these are built.
function(rib_check_built component)
  cmake_parse_arguments(ARG "" "BY" "FILES" ${ARGN})
  foreach(target IN LISTS ARG_UNPARSED_ARGUMENTS)
    list(APPEND ARG_FILES $<TARGET_FILE:${target}>)
    add_dependencies(rib_installable ${target})
  endforeach()
  foreach(file IN LISTS ARG_FILES)
    set_property(TARGET rib_installable APPEND PROPERTY RIB_BUILT "${component}:${file}")
  endforeach()
  if(ARG_BY)
    add_dependencies(rib_installable ${ARG_BY})
  endif()
endfunction()

# The list is complete when all of this folder has been read, which is before the build system is written.
install(CODE "set(rib_built \"$<TARGET_GENEX_EVAL:rib_installable,$<TARGET_PROPERTY:rib_installable,RIB_BUILT>>\")
  set(rib_build_folder \"${CMAKE_BINARY_DIR}\")
  set(rib_folders \"${CMAKE_INSTALL_BINDIR};${CMAKE_INSTALL_LIBDIR};${CMAKE_INSTALL_INCLUDEDIR};${CMAKE_INSTALL_DATADIR}\")"
  ALL_COMPONENTS)
install(SCRIPT check_install.cmake ALL_COMPONENTS)
