# Installs the pkg-config files. Their prefix is relative to the file itself, so that the installed tree can be moved; where the
# libraries' folder is an absolute one, nothing can be.

if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
  set(pc_prefix "\${pcfiledir}/${pc_prefix}")
endif()
foreach(folder LIBDIR INCLUDEDIR BINDIR DATADIR)
  set(pc_${folder} ${CMAKE_INSTALL_${folder}})
  if(NOT IS_ABSOLUTE "${pc_${folder}}")
    set(pc_${folder} "\${prefix}/${pc_${folder}}")
  endif()
endforeach()

# As rib_build_options() tells them.
foreach(option CLIENT_ARENA DISPATCH)
  set(pc_${option} OFF)
  if(RIB_${option})
    set(pc_${option} ON)
  endif()
endforeach()

foreach(file rib rib-core rib-inspect)
  configure_file(${file}.pc.in ${file}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${file}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
